// Reading package files into byte buffers: exact bytes, and what each reader
// leaves behind when a file cannot be read.
#include "bridge/SubstanceBridge.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

class ContentLoading : public ::testing::Test {
protected:
    void SetUp() override {
        folder = std::filesystem::temp_directory_path() /
                 ("kv_content_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    kvString::IString write(const std::string& name, const std::string& bytes) {
        const std::filesystem::path path = folder / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return kvString::IString(path.string().c_str(), kvString::Multibyte);
    }
    kvString::IString path(const std::string& name) const {
        return kvString::IString((folder / name).string().c_str(), kvString::Multibyte);
    }

    std::filesystem::path folder;
};

std::string text(const kv::vector<char>& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

TEST_F(ContentLoading, BothReadersGiveTheBytesExactly) {
    const std::string bytes("line\r\nnext\0\xff", 12);
    const kvString::IString file = write("crlf.bin", bytes);
    kv::vector<char> byStdio{'o', 'l', 'd'}, byStream{'o', 'l', 'd'};
    kvSubstance::readSubstanceContent(file, byStdio);
    kvSubstance::readSubstanceContentAsChar(file, byStream);
    EXPECT_EQ(text(byStdio), bytes);
    EXPECT_EQ(text(byStream), bytes);

    const kvString::IString empty = write("empty.bin", "");
    kvSubstance::readSubstanceContent(empty, byStdio);
    kvSubstance::readSubstanceContentAsChar(empty, byStream);
    EXPECT_TRUE(byStdio.empty());
    EXPECT_TRUE(byStream.empty());
}

TEST_F(ContentLoading, UnreadableFilesLeaveOrEmptyTheBuffer) {
    for (const kvString::IString& unreadable : {path("missing.mpk"), path("")}) {
        kv::vector<char> byStdio{'o', 'l', 'd'}, byStream{'o', 'l', 'd'};
        kvSubstance::readSubstanceContent(unreadable, byStdio);
        kvSubstance::readSubstanceContentAsChar(unreadable, byStream);
        EXPECT_EQ(text(byStdio), "old");
        EXPECT_TRUE(byStream.empty());
    }
}

} // namespace
