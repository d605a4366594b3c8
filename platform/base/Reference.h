// Intrusive reference counting. An object starts with a count of 0; every
// holder adds one and the release that brings the count back to 0 deletes
// the object. Counts are atomic, so a reference may be dropped on any thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace kv {

// Base of the objects handled through kv::Reference<T>.
class ReferenceCount {
public:
    ReferenceCount() = default;
    // A copy is a new object: it starts unreferenced.
    ReferenceCount(const ReferenceCount&) : m_count(0) {}
    ReferenceCount& operator=(const ReferenceCount&) { return *this; }
    virtual ~ReferenceCount() = default;

    void addReference() const { m_count.fetch_add(1, std::memory_order_relaxed); }
    // Drops one reference and deletes the object when it was the last.
    void releaseReference() const {
        if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    int referenceCount() const { return m_count.load(std::memory_order_acquire); }

private:
    mutable std::atomic<int> m_count{0};
};

// Base of the image library's objects, handled through kv::TempReference<T>.
// The same counting, kept as a separate base so an image never converts to a
// model reference by accident.
class TempReferenceCount {
public:
    TempReferenceCount() = default;
    TempReferenceCount(const TempReferenceCount&) : m_count(0) {}
    TempReferenceCount& operator=(const TempReferenceCount&) { return *this; }
    virtual ~TempReferenceCount() = default;

    void addTempReference() const { m_count.fetch_add(1, std::memory_order_relaxed); }
    void releaseTempReference() const {
        if (m_count.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    int tempReferenceCount() const { return m_count.load(std::memory_order_acquire); }

private:
    mutable std::atomic<int> m_count{0};
};

namespace detail {

struct ModelCounting {
    static void acquire(const ReferenceCount* p) { p->addReference(); }
    static void release(const ReferenceCount* p) { p->releaseReference(); }
};

struct TempCounting {
    static void acquire(const TempReferenceCount* p) { p->addTempReference(); }
    static void release(const TempReferenceCount* p) { p->releaseTempReference(); }
};

// A smart pointer holding one counted reference of its object.
template <class T, class Counting>
class CountedPointer {
public:
    CountedPointer() = default;
    CountedPointer(std::nullptr_t) {}
    CountedPointer(T* object) : m_object(object) { acquire(); }
    CountedPointer(const CountedPointer& other) : m_object(other.m_object) { acquire(); }
    CountedPointer(CountedPointer&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    // From a reference to a derived class.
    template <class U>
    CountedPointer(const CountedPointer<U, Counting>& other) : m_object(other.get()) {
        acquire();
    }
    ~CountedPointer() { release(); }

    CountedPointer& operator=(CountedPointer other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    T* get() const { return m_object; }
    T* operator->() const { return m_object; }
    T& operator*() const { return *m_object; }
    explicit operator bool() const { return m_object != nullptr; }

    // Drops the held reference; the pointer becomes empty.
    void reset() { CountedPointer().swap(*this); }
    void swap(CountedPointer& other) noexcept { std::swap(m_object, other.m_object); }

    friend bool operator==(const CountedPointer& a, const CountedPointer& b) {
        return a.m_object == b.m_object;
    }
    friend bool operator!=(const CountedPointer& a, const CountedPointer& b) {
        return a.m_object != b.m_object;
    }
    friend bool operator==(const CountedPointer& a, std::nullptr_t) { return a.m_object == nullptr; }
    friend bool operator!=(const CountedPointer& a, std::nullptr_t) { return a.m_object != nullptr; }
    friend bool operator==(std::nullptr_t, const CountedPointer& a) { return a.m_object == nullptr; }
    friend bool operator!=(std::nullptr_t, const CountedPointer& a) { return a.m_object != nullptr; }

private:
    void acquire() {
        if (m_object)
            Counting::acquire(m_object);
    }
    void release() {
        if (m_object)
            Counting::release(std::exchange(m_object, nullptr));
    }

    T* m_object = nullptr;
};

} // namespace detail

// A counted reference to an object derived from kv::ReferenceCount.
template <class T>
using Reference = detail::CountedPointer<T, detail::ModelCounting>;

// A counted reference to an object derived from kv::TempReferenceCount.
template <class T>
using TempReference = detail::CountedPointer<T, detail::TempCounting>;

} // namespace kv
