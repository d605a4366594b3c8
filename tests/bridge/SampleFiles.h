// The sample packages the build compiles, read as a host reads them, and a
// fixture for tests that need them.
#pragma once

#include "bridge/SubstanceBridge.h"

#include <gtest/gtest.h>

#include <string>

namespace kvtest {

// The bytes of <build>/samples/<name>.mpk; empty when it was not built.
inline kv::vector<char> sampleBytes(const std::string& name) {
    kv::vector<char> bytes;
    kvSubstance::readSubstanceContent(
        kvString::IString((std::string(KV_BINARY_DIR "/samples/") + name + ".mpk").c_str(),
                          kvString::Multibyte),
        bytes);
    return bytes;
}

class SampleTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (sampleBytes("stone_tiles").empty()) {
            GTEST_SKIP() << "sample packages not built under " KV_BINARY_DIR;
        }
    }
};

} // namespace kvtest
