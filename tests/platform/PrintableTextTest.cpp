// The one escape used wherever outside text is printed.
#include "platform/base/PrintableText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kvUtil::printable;

TEST(PrintableText, EscapesControlCharactersAndDelete) {
    EXPECT_EQ(printable("plain text, \"quoted\" \\ back"), "plain text, \"quoted\" \\ back");
    EXPECT_EQ(printable("\x1b[31mred\x1b[0m"), "\\x1b[31mred\\x1b[0m");
    EXPECT_EQ(printable("line\nforged: ok\r\t\x7f"), "line\\x0aforged: ok\\x0d\\x09\\x7f");
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
}

TEST(PrintableText, KeepsWellFormedUtf8AndEscapesTheRest) {
    const std::string wellFormed = "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x8e\xa8 \xf4\x8f\xbf\xbf";
    EXPECT_EQ(printable(wellFormed), wellFormed);
    // Stray continuation, overlong forms, surrogates, past U+10FFFF, cut short.
    EXPECT_EQ(printable("\x80"), "\\x80");
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf");
    EXPECT_EQ(printable("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
    EXPECT_EQ(printable("\xe2\x82"), "\\xe2\\x82");
    EXPECT_EQ(printable("\xe2\x82z"), "\\xe2\\x82z");
    // A C1 control character is well-formed UTF-8 but still a control.
    EXPECT_EQ(printable("\xc2\x9b[2J"), "\\xc2\\x9b[2J");
    EXPECT_EQ(printable("\xc2\xa0"), "\xc2\xa0");
}

TEST(PrintableText, IsItsOwnFixedPoint) {
    std::string every;
    for (int c = 0; c < 256; ++c)
        every += static_cast<char>(c);
    const std::string once = printable(every);
    EXPECT_EQ(printable(once), once);
    for (char c : once)
        EXPECT_TRUE(c >= 0x20 && c < 0x7f) << static_cast<int>(c);
}

} // namespace
