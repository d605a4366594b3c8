#include "platform/base/XmlGuard.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string nested(int depth, const std::string& inner = "") {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<e>";
    text += inner;
    for (int i = 0; i < depth; ++i)
        text += "</e>";
    return text;
}

bool within(const std::string& text) {
    return kvUtil::isXmlWithinLimits(text.c_str(), text.size());
}

TEST(XmlGuard, DepthBound) {
    EXPECT_TRUE(within(nested(kvUtil::kMaxXmlDepth)));
    EXPECT_FALSE(within(nested(kvUtil::kMaxXmlDepth + 1)));
    // Unclosed start tags count as well.
    EXPECT_FALSE(within(std::string(100000, '<') + "a"));
    std::string unclosed;
    for (int i = 0; i < 1000; ++i)
        unclosed += "<a x='1'>";
    EXPECT_FALSE(within(unclosed));
}

TEST(XmlGuard, SiblingsAndSelfClosingTagsDoNotAddDepth) {
    std::string flat = "<root>";
    for (int i = 0; i < 5000; ++i)
        flat += "<item a=\"1\"/><other></other>";
    flat += "</root>";
    EXPECT_TRUE(within(flat));
}

TEST(XmlGuard, CommentsCdataAndQuotedValuesHideNoTagsButAreSkipped) {
    const std::string deepText = nested(300);
    EXPECT_TRUE(within("<a><!--" + deepText + "--></a>"));
    EXPECT_TRUE(within("<a><![CDATA[" + deepText + "]]></a>"));
    EXPECT_TRUE(within("<a v=\"" + deepText + "\"/>"));
    EXPECT_TRUE(within("<?xml version=\"1.0\"?><a/>"));
    // A quote that does not follow '=' opens no value: the tags after it count.
    EXPECT_FALSE(within("<a b=x\">" + deepText + "\"/>"));
    // A processing instruction ends at the first '>' for the parser.
    EXPECT_FALSE(within("<?pi " + deepText + "?>"));
}

TEST(XmlGuard, SizeBoundAndEmbeddedNul) {
    std::string big(kvUtil::kMaxXmlBytes + 1, ' ');
    EXPECT_FALSE(within(big));
    big[10] = '\0'; // the parser stops at the NUL
    EXPECT_TRUE(within(big));
    EXPECT_TRUE(kvUtil::isXmlWithinLimits(nullptr, 0));
}

} // namespace
