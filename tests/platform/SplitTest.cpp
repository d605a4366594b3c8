#include "platform/base/Split.h"

#include <gtest/gtest.h>

namespace {

using kvString::CString;

std::string joined(const kv::vector<CString>& pieces) {
    std::string out;
    for (const CString& p : pieces)
        out += "[" + p.str() + "]";
    return out;
}

TEST(Split, DropEmptyRemovesEmptyPiecesIncludingTheTrailingLine) {
    EXPECT_EQ(joined(kvUtil::split(CString("pkg:/a\n7d f2 0.5 1\n"), '\n', true, false)),
              "[pkg:/a][7d f2 0.5 1]");
    EXPECT_EQ(joined(kvUtil::split(CString(",,1,,2,"), ',', true, false)), "[1][2]");
    EXPECT_TRUE(kvUtil::split(CString(""), ',', true, false).empty());
}

TEST(Split, KeepingEmptyPieces) {
    EXPECT_EQ(joined(kvUtil::split(CString(",a,"), ',', false, false)), "[][a][]");
    EXPECT_EQ(joined(kvUtil::split(CString(""), ',', false, false)), "[]");
}

TEST(Split, SpacesAreKeptUnlessTrimmed) {
    EXPECT_EQ(joined(kvUtil::split(CString("1, 2 ,3"), ',', true, false)), "[1][ 2 ][3]");
    EXPECT_EQ(joined(kvUtil::split(CString("1, 2 , ,3"), ',', true, true)), "[1][2][3]");
}

} // namespace
