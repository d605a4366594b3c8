#include "platform/base/HashTable.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

template <class Table>
std::vector<typename Table::Entry> walk(const Table& table) {
    std::vector<typename Table::Entry> entries;
    for (auto* e = table.first(); e; e = table.next(e))
        entries.push_back(*e);
    return entries;
}

TEST(HashTable, IteratesInInsertionOrderAndReplacingKeepsThePlace) {
    kv::StringHashTable<int> table;
    for (const char* key : {"roughness", "albedo", "$outputsize", "height"})
        table.getOrInsert(key) = static_cast<int>(table.count());
    table.getOrInsert("albedo") = 99;
    const auto entries = walk(table);
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0].key, kvString::CString("roughness"));
    EXPECT_EQ(entries[1].key, kvString::CString("albedo"));
    EXPECT_EQ(entries[1].value, 99);
    EXPECT_EQ(entries[2].key, kvString::CString("$outputsize"));
    EXPECT_EQ(entries[3].key, kvString::CString("height"));
}

TEST(HashTable, FindAndCount) {
    kv::UIntHashTable<std::string> table;
    EXPECT_EQ(table.find(7), nullptr);
    EXPECT_EQ(table.first(), nullptr);
    table.getOrInsert(7) = "seven";
    EXPECT_EQ(table.getOrInsert(7), "seven");
    EXPECT_EQ(table.count(), 1u);
    ASSERT_NE(table.find(7), nullptr);
    EXPECT_EQ(*table.find(7), "seven");
    EXPECT_EQ(table.find(8), nullptr);
    table.clear();
    EXPECT_EQ(table.count(), 0u);
    EXPECT_EQ(table.find(7), nullptr);
}

TEST(HashTable, KeysSharingLowBitsStayFindableThroughGrowth) {
    kv::UIntHashTable<unsigned> table;
    const unsigned n = 20000;
    for (unsigned i = 0; i < n; ++i)
        table.getOrInsert(i << 16) = i;
    ASSERT_EQ(table.count(), n);
    for (unsigned i = 0; i < n; ++i) {
        const unsigned* found = table.find(i << 16);
        ASSERT_NE(found, nullptr) << i;
        EXPECT_EQ(*found, i);
    }
    EXPECT_EQ(table.find(1), nullptr);
    unsigned expected = 0;
    for (auto* e = table.first(); e; e = table.next(e))
        EXPECT_EQ(e->value, expected++);
}

} // namespace
