#include "FailureCases.h"

#include "engine/api/FailureReason.h"

#include <gtest/gtest.h>

namespace kvtest {

void expectEachFaultNamesItsPlace(const std::vector<FailureCase>& cases) {
    for (const FailureCase& c : cases) {
        kvengineClearFailure();
        EXPECT_EQ(c.call(), c.status) << c.name;
        const std::string reason = kvengine::lastFailure();
        EXPECT_NE(reason.find(c.reason), std::string::npos) << c.name << ": " << reason;
        EXPECT_EQ(reason.find('\n'), std::string::npos) << c.name << ": " << reason;
        bool layered = false;
        for (const char* layer : {"linker: ", "engine: ", "assembly: ", "package: "})
            layered = layered || reason.rfind(layer, 0) == 0;
        EXPECT_TRUE(layered) << c.name << ": " << reason;
    }
}

EngineScene::EngineScene(const std::vector<char>& assembly) {
    EXPECT_EQ(substanceContextInit(&context, nullptr), 0);
    EXPECT_EQ(substanceHandleInit(&handle, context, assembly.data(), assembly.size(), nullptr), 0)
        << kvengine::lastFailure();
}

EngineScene::~EngineScene() {
    if (handle)
        substanceHandleRelease(handle);
    if (context)
        substanceContextRelease(context);
}

} // namespace kvtest
