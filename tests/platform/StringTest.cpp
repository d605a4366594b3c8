#include "platform/base/CString.h"
#include "platform/base/IString.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kvString::CString;
using kvString::IString;

TEST(CString, FormatReplacesContentsAndHandlesLongText) {
    CString s("old");
    s.format("%ud f1 %f", 42u, 0.5);
    EXPECT_STREQ(s.asChar(), "42d f1 0.500000");
    const std::string big(5000, 'x');
    s.format("<%s>", big.c_str());
    EXPECT_EQ(s.length(), 5002u);
    s.format("%s", "");
    EXPECT_TRUE(s.isEmpty());
}

TEST(CString, AppendAndNullText) {
    CString s(nullptr);
    EXPECT_TRUE(s.isEmpty());
    s.append("a").append(CString("b")).append(static_cast<const char*>(nullptr));
    EXPECT_EQ(s, CString("ab"));
    EXPECT_NE(s, CString("abc"));
}

TEST(CString, CompareNoCase) {
    EXPECT_EQ(CString("On").compareNoCase(CString("oN")), 0);
    EXPECT_LT(CString("abc").compareNoCase(CString("ABD")), 0);
    EXPECT_GT(CString("abcd").compareNoCase(CString("ABC")), 0);
    EXPECT_NE(CString("on ").compareNoCase(CString("on")), 0);
}

TEST(CString, HashIsFnv1aAndIndependentOfPlatform) {
    // Published FNV-1a test vectors.
    EXPECT_EQ(kvString::hashfunction(CString("")), 0x811c9dc5u);
    EXPECT_EQ(kvString::hashfunction(CString("a")), 0xe40c292cu);
    EXPECT_EQ(kvString::hashfunction(CString("foobar")), 0xbf9cf968u);
    // Bytes above 0x7F hash as unsigned.
    EXPECT_EQ(kvString::hashfunction(CString("\xff")), (0x811c9dc5u ^ 0xffu) * 16777619u);
}

TEST(IString, Utf8KeepsValidTextAndReplacesMalformedBytes) {
    EXPECT_EQ(IString("caf\xc3\xa9", kvString::Utf8).utf8(), "caf\xc3\xa9");
    EXPECT_EQ(IString("caf\xc3\xa9", kvString::Utf8).length(), 4u);
    // A stray continuation byte, a truncated sequence and an overlong form.
    EXPECT_EQ(IString("a\x80"
                      "b",
                      kvString::Utf8)
                  .utf8(),
              "a\xef\xbf\xbd"
              "b");
    EXPECT_EQ(IString("\xe2\x82", kvString::Utf8).utf8(), "\xef\xbf\xbd\xef\xbf\xbd");
    EXPECT_EQ(IString("\xc0\xaf", kvString::Utf8).length(), 2u);
}

TEST(IString, MultibyteTakesInvalidBytesAsLatin1) {
    const IString path("r\xe9sum\xe9.txt", kvString::Multibyte);
    EXPECT_EQ(path.utf8(), "r\xc3\xa9sum\xc3\xa9.txt");
    EXPECT_STREQ(path.asMultibyte(kvString::Multibyte).asChar(), "r\xc3\xa9sum\xc3\xa9.txt");
    EXPECT_EQ(IString("same", kvString::Multibyte), IString("same", kvString::Utf8));
    EXPECT_TRUE(IString(nullptr, kvString::Utf8).isEmpty());
}

} // namespace
