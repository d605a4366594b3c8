#include "platform/base/Reference.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

struct Tracked : kv::ReferenceCount {
    explicit Tracked(int* counter) : deaths(counter) {}
    ~Tracked() override { ++*deaths; }
    int* deaths;
};

struct Derived : Tracked {
    using Tracked::Tracked;
};

TEST(Reference, CountStartsAtZeroAndLastReleaseDeletes) {
    int deaths = 0;
    auto* object = new Tracked(&deaths);
    EXPECT_EQ(object->referenceCount(), 0);
    {
        kv::Reference<Tracked> a(object);
        EXPECT_EQ(object->referenceCount(), 1);
        {
            kv::Reference<Tracked> b = a;
            EXPECT_EQ(object->referenceCount(), 2);
            EXPECT_TRUE(a == b);
        }
        EXPECT_EQ(object->referenceCount(), 1);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
}

TEST(Reference, MoveAssignAndResetTransferOwnership) {
    int deaths = 0;
    kv::Reference<Tracked> a(new Tracked(&deaths));
    kv::Reference<Tracked> b(std::move(a));
    EXPECT_FALSE(a);
    EXPECT_TRUE(a == nullptr);
    EXPECT_EQ(b->referenceCount(), 1);

    kv::Reference<Tracked> c(new Tracked(&deaths));
    c = b; // drops the second object
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(c.get(), b.get());
    EXPECT_EQ(c->referenceCount(), 2);

    b.reset();
    c.reset();
    EXPECT_EQ(deaths, 2);
}

TEST(Reference, ConvertsFromDerivedAndCopiedObjectsStartUnreferenced) {
    int deaths = 0;
    kv::Reference<Derived> derived(new Derived(&deaths));
    kv::Reference<Tracked> base = derived;
    EXPECT_EQ(base->referenceCount(), 2);
    Derived copy(*derived);
    EXPECT_EQ(copy.referenceCount(), 0);
    derived.reset();
    base.reset();
    EXPECT_EQ(deaths, 1);
}

struct Picture : kv::TempReferenceCount {
    explicit Picture(int* counter) : deaths(counter) {}
    ~Picture() override { ++*deaths; }
    int* deaths;
};

TEST(Reference, TempReferenceCountsSeparately) {
    int deaths = 0;
    kv::TempReference<Picture> a(new Picture(&deaths));
    kv::TempReference<Picture> b = a;
    EXPECT_EQ(a->tempReferenceCount(), 2);
    a.reset();
    EXPECT_EQ(deaths, 0);
    b.reset();
    EXPECT_EQ(deaths, 1);
}

TEST(ReferenceThread, ReferencesDroppedOnManyThreadsDeleteOnce) {
    int deaths = 0;
    for (int round = 0; round < 50; ++round) {
        kv::Reference<Tracked> shared(new Tracked(&deaths));
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([copy = shared]() mutable {
                for (int i = 0; i < 100; ++i) {
                    kv::Reference<Tracked> local = copy;
                }
                copy.reset();
            });
        shared.reset();
        for (auto& thread : threads)
            thread.join();
    }
    EXPECT_EQ(deaths, 50);
}

} // namespace
