// The failure reason as a host reads it: copied with C string rules, kept
// across threads and successful calls, replaced by newer failures, cleared
// on request.
#include "engine/api/FailureReason.h"
#include "platform/engine/LinkerSession.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

const std::string kNothingPushed = "linker: link: nothing has been pushed";

int failToLink() {
    kv::LinkerSession session;
    std::vector<char> linked;
    return session.link(linked);
}

TEST(FailureReason, CopiesLikeACString) {
    ASSERT_EQ(failToLink(), SubstanceStatus_InvalidState);
    const size_t length = kNothingPushed.size();
    EXPECT_EQ(kvengineLastFailure(nullptr, 0), length);

    char small[8];
    std::fill(std::begin(small), std::end(small), 'x');
    EXPECT_EQ(kvengineLastFailure(small, sizeof small), length); // the full length, not what fits
    EXPECT_EQ(std::string(small), kNothingPushed.substr(0, sizeof small - 1));

    char untouched = 'x';
    EXPECT_EQ(kvengineLastFailure(&untouched, 0), length);
    EXPECT_EQ(untouched, 'x');

    std::string exact(length + 1, 'x');
    EXPECT_EQ(kvengineLastFailure(&exact[0], exact.size()), length);
    EXPECT_EQ(exact.c_str(), kNothingPushed);
    EXPECT_EQ(kvengine::lastFailure(), kNothingPushed);
}

TEST(FailureReason, SurvivesSuccessesUntilANewerFailureOrAClear) {
    ASSERT_EQ(failToLink(), SubstanceStatus_InvalidState);
    {
        kv::LinkerSession session; // context and handle made and released without a failure
        ASSERT_EQ(session.status(), 0);
    }
    EXPECT_EQ(kvengine::lastFailure(), kNothingPushed);

    EXPECT_EQ(substanceLinkerHandleRelease(nullptr), SubstanceStatus_InvalidArgument);
    EXPECT_EQ(kvengine::lastFailure(), "linker: substanceLinkerHandleRelease: null handle");

    kvengineClearFailure();
    EXPECT_EQ(kvengineLastFailure(nullptr, 0), 0u);
    EXPECT_EQ(kvengine::lastFailure(), "");
}

TEST(FailureReason, AFailureOnAnotherThreadIsReadHere) {
    kvengineClearFailure();
    int status = 0;
    std::thread worker([&] { status = failToLink(); });
    worker.join();
    EXPECT_EQ(status, SubstanceStatus_InvalidState);
    EXPECT_EQ(kvengine::lastFailure(), kNothingPushed);
}

TEST(FailureReason, ConcurrentFailuresLeaveOneWholeReason) {
    kvengineClearFailure();
    std::vector<std::thread> workers;
    for (int t = 0; t < 4; ++t)
        workers.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                if (t % 2 == 0)
                    failToLink();
                else
                    substanceLinkerHandleRelease(nullptr);
                kvengine::lastFailure();
            }
        });
    for (std::thread& worker : workers)
        worker.join();
    const std::string reason = kvengine::lastFailure();
    EXPECT_TRUE(reason == kNothingPushed || reason == "linker: substanceLinkerHandleRelease: null handle")
        << reason;
}

} // namespace
