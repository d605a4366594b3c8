// Hash tables of the host base library: one keyed by kvString::CString, one
// keyed by unsigned int.
//
// Iteration order is insertion order: first() is the entry inserted first and
// next() walks on in the order keys were first inserted. Replacing the value
// of a present key keeps its place. The order depends only on the sequence of
// insertions, so it is the same on every platform and every run.
//
// Entry pointers and value references stay valid until the next insertion or
// clear().
#pragma once

#include "platform/base/CString.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kv {

template <class Key, class Value, class Hash>
class HashTable {
public:
    struct Entry {
        Key key;
        Value value;
    };

    // The value stored under key, inserting a default-constructed one first
    // when the key is new.
    Value& getOrInsert(const Key& key) {
        if (Value* present = find(key))
            return *present;
        if ((m_entries.size() + 1) * 4 > m_slots.size() * 3)
            rehash(m_slots.empty() ? 16 : m_slots.size() * 2);
        m_entries.push_back(Entry{key, Value()});
        m_slots[freeSlotFor(key)] = static_cast<std::uint32_t>(m_entries.size());
        return m_entries.back().value;
    }

    // The value stored under key, or null.
    Value* find(const Key& key) {
        const std::size_t index = indexOf(key);
        return index < m_entries.size() ? &m_entries[index].value : nullptr;
    }
    const Value* find(const Key& key) const { return const_cast<HashTable*>(this)->find(key); }

    // Iteration in insertion order: null at the end.
    Entry* first() { return m_entries.empty() ? nullptr : &m_entries.front(); }
    const Entry* first() const { return m_entries.empty() ? nullptr : &m_entries.front(); }
    Entry* next(Entry* entry) {
        return entry + 1 == m_entries.data() + m_entries.size() ? nullptr : entry + 1;
    }
    const Entry* next(const Entry* entry) const {
        return entry + 1 == m_entries.data() + m_entries.size() ? nullptr : entry + 1;
    }

    std::size_t count() const { return m_entries.size(); }

    void clear() {
        m_entries.clear();
        m_slots.clear();
    }

private:
    // Spreads the key's hash over the slot index (Fibonacci hashing), so keys
    // whose hashes differ only in their high bits do not pile up.
    std::size_t homeSlot(const Key& key) const {
        const std::uint64_t mixed = std::uint64_t(Hash()(key)) * 0x9E3779B97F4A7C15ull;
        return static_cast<std::size_t>(mixed >> 32) & (m_slots.size() - 1);
    }

    std::size_t indexOf(const Key& key) const {
        if (m_slots.empty())
            return m_entries.size();
        for (std::size_t slot = homeSlot(key);; slot = (slot + 1) & (m_slots.size() - 1)) {
            const std::uint32_t stored = m_slots[slot];
            if (stored == 0)
                return m_entries.size();
            if (m_entries[stored - 1].key == key)
                return stored - 1;
        }
    }

    std::size_t freeSlotFor(const Key& key) const {
        std::size_t slot = homeSlot(key);
        while (m_slots[slot] != 0)
            slot = (slot + 1) & (m_slots.size() - 1);
        return slot;
    }

    void rehash(std::size_t slotCount) {
        m_slots.assign(slotCount, 0);
        for (std::size_t i = 0; i < m_entries.size(); ++i)
            m_slots[freeSlotFor(m_entries[i].key)] = static_cast<std::uint32_t>(i + 1);
    }

    std::vector<Entry> m_entries;       // in insertion order
    std::vector<std::uint32_t> m_slots; // open addressing: 0 is free, else entry index + 1
};

struct CStringHash {
    std::uint32_t operator()(const kvString::CString& key) const { return kvString::hashfunction(key); }
};

// The hash of an unsigned key is the key itself.
struct UIntHash {
    std::uint32_t operator()(unsigned int key) const { return key; }
};

template <class Value>
using StringHashTable = HashTable<kvString::CString, Value, CStringHash>;

template <class Value>
using UIntHashTable = HashTable<unsigned int, Value, UIntHash>;

} // namespace kv
