// kv::LinkerSession over the real linker: what it makes, what it releases
// and when, and what a detached handle keeps alive.
#include "LinkerPushes.h"
#include "TestAssemblies.h"

#include "platform/engine/LinkerSession.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string delivered;

void keepDescription(SubstanceLinkerHandle*, unsigned int, const char* xml) {
    delivered = xml;
}

TEST(LinkerSession, OwnContextTakesCallbacksAndLinks) {
    delivered.clear();
    kv::LinkerSession session(&keepDescription);
    ASSERT_EQ(session.status(), 0);
    ASSERT_NE(session.handle(), nullptr);
    std::vector<char> linked = {'x'};
    EXPECT_EQ(session.link(linked), SubstanceStatus_InvalidState); // nothing pushed yet
    EXPECT_EQ(linked, std::vector<char>{'x'});                     // left alone on failure
    ASSERT_EQ(session.push(kvtest::package(11, kvtest::baseGraph(0))), 0);
    EXPECT_EQ(delivered, kvtest::descriptionFor(11));
    ASSERT_EQ(session.link(linked), 0);
    EXPECT_EQ(std::string(linked.begin(), linked.begin() + 4), "KVAS");
}

TEST(LinkerSession, LentContextOutlivesTheSessionsHandle) {
    SubstanceLinkerContext* context = nullptr;
    ASSERT_EQ(substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId), 0);
    {
        kv::LinkerSession session(context);
        ASSERT_EQ(session.status(), 0);
        EXPECT_EQ(session.context(), context);
        EXPECT_EQ(substanceLinkerContextRelease(context), SubstanceStatus_InvalidState); // the handle lives
    }
    EXPECT_EQ(substanceLinkerContextRelease(context), 0); // the session released its handle, not the context
}

TEST(LinkerSession, DetachedHandleStaysAliveForTheCaller) {
    SubstanceLinkerContext* context = nullptr;
    ASSERT_EQ(substanceLinkerContextInit(&context, SubstanceApiVersion, SubstanceCpuEngineId), 0);
    SubstanceLinkerHandle* kept = nullptr;
    {
        kv::LinkerSession session(context);
        std::vector<char> linked;
        ASSERT_EQ(session.link(linked), SubstanceStatus_InvalidState);
        kept = session.detach();
        EXPECT_EQ(session.handle(), nullptr);
    }
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(substanceLinkerContextRelease(context), SubstanceStatus_InvalidState);
    EXPECT_EQ(substanceLinkerHandlePushAssemblyMemory(kept, nullptr, 0), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(substanceLinkerHandleRelease(kept), 0);
    EXPECT_EQ(substanceLinkerContextRelease(context), 0);
}

TEST(LinkerSession, DetachingFromAnOwnContextHandsOverBoth) {
    SubstanceLinkerContext* context = nullptr;
    SubstanceLinkerHandle* handle = nullptr;
    {
        kv::LinkerSession session;
        context = session.context();
        handle = session.detach();
    }
    EXPECT_EQ(substanceLinkerContextRelease(context), SubstanceStatus_InvalidState);
    EXPECT_EQ(substanceLinkerHandleRelease(handle), 0);
    EXPECT_EQ(substanceLinkerContextRelease(context), 0);
}

TEST(LinkerSession, NoContextGivesTheInitStatusAndNoHandle) {
    kv::LinkerSession session(static_cast<SubstanceLinkerContext*>(nullptr));
    EXPECT_EQ(session.status(), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(session.handle(), nullptr);
}

} // namespace
