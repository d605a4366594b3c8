// The guard that keeps deep or huge texts away from TinyXML.
#include "platform/base/XmlGuard.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using kvUtil::kMaxXmlBytes;
using kvUtil::kMaxXmlDepth;

std::string opened(int depth, const std::string& open = "<a>") {
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += open;
    return text;
}

std::string closed(int depth) {
    return opened(depth, "</a>");
}

std::string nested(int depth, const std::string& open = "<a>") {
    return opened(depth, open) + closed(depth);
}

bool within(const std::string& text) {
    return kvUtil::isXmlWithinLimits(text.c_str(), text.size());
}

// Deepest element nesting in what TinyXML built, partial trees included.
int parsedDepth(const std::string& text) {
    TiXmlDocument document;
    document.Parse(text.c_str());
    int deepest = 0;
    std::vector<std::pair<const TiXmlNode*, int>> pending = {{&document, 0}};
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        deepest = std::max(deepest, depth);
        for (const TiXmlNode* child = node->FirstChild(); child; child = child->NextSibling())
            pending.emplace_back(child, child->ToElement() ? depth + 1 : depth);
    }
    return deepest;
}

TEST(XmlGuard, BoundsElementDepth) {
    EXPECT_TRUE(within(nested(kMaxXmlDepth)));
    EXPECT_FALSE(within(nested(kMaxXmlDepth + 1)));
    EXPECT_FALSE(within(opened(1000, "<a x='1'>")));
    EXPECT_FALSE(within(nested(100000)));

    std::string siblings = "<r>";
    for (int i = 0; i < 5000; ++i)
        siblings += "<a x=\"1\"/><b>t</b><c y='>' />";
    EXPECT_TRUE(within(siblings + "</r>"));
}

TEST(XmlGuard, SkipsWhatTheParserSkipsAndNothingElse) {
    const std::string deep = nested(kMaxXmlDepth + 1);
    EXPECT_TRUE(within("<r><!--" + deep + "--></r>"));
    EXPECT_TRUE(within("<r><![CDATA[" + deep + "]]></r>"));
    EXPECT_TRUE(within("<r a=\"" + deep + "\"/>"));
    EXPECT_TRUE(within("<?xml version=\"1.0\" encoding='UTF-8' standalone=\"yes\"?><r/>"));
    // Other processing instructions and DOCTYPEs end at their first '>'.
    EXPECT_TRUE(within("<?pi a='?><!-- '?>" + deep + "-->"));
    EXPECT_FALSE(within("<?pi " + nested(kMaxXmlDepth + 2) + "?>"));
    EXPECT_FALSE(within("<!DOCTYPE r [<!ELEMENT r ANY>]>" + deep));
}

// Texts a simpler scan let through although the parser nests them too deep.
TEST(XmlGuard, RejectsWhatOnceSlippedThrough) {
    const std::string deep = nested(kMaxXmlDepth + 1);
    std::vector<std::string> texts = {
        // A quoted '>' in an XML declaration does not end it.
        "<?xml version=\"x><!--\" ?><r>" + deep + "--></r>",
        "<?XML foo=\"a version=\"x><!--\" ?><r>" + deep + "--></r>",
        "<?xml encoding = 'x><!--'?><r>" + deep + "--></r>",
        // "<!-->" opens a comment without closing it, so the closing tags
        // inside do not pay for the open ones around it.
        opened(kMaxXmlDepth - 6) + "<!-->" + closed(kMaxXmlDepth - 6) + "-->" + opened(kMaxXmlDepth - 6),
        // A quoted '>' inside a start tag hides the closing tags after it.
        "<r a=\"></a></a></a>\">" + deep + "</r>",
        // Closing tags at the top level close nothing.
        closed(1000) + deep,
    };
    for (const std::string& text : texts) {
        EXPECT_FALSE(within(text)) << text.substr(0, 60);
        EXPECT_GT(parsedDepth(text), kMaxXmlDepth) << text.substr(0, 60);
    }
}

// Random markup around a block nested past the bound: whenever the guard
// lets a text through, the parser must not have nested that deep.
TEST(XmlGuard, AgreesWithTheParserOnRandomMarkup) {
    // Pieces separated by '|'.
    std::istringstream list(
        "<?xml version=\"|<?xml foo=\"a |<?XML encoding='|\"|'|>|?>|<!--|-->|<![CDATA[|]]>|<!DOCTYPE x "
        "[|]>|<b x=\"|<b x='|<b x=|/>|</a>|</b>|<?pi | |=|<c>|version=|&#x41;|<|a|\xef\xbb\xbf|\x7f");
    std::vector<std::string> pieces;
    for (std::string piece; std::getline(list, piece, '|');)
        pieces.push_back(piece);
    const std::string block = opened(kMaxXmlDepth + 40);
    std::mt19937 random(20261122);
    int accepted = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        for (unsigned int i = random() % 10; i > 0; --i)
            text += pieces[random() % pieces.size()];
        text += block;
        for (unsigned int i = random() % 4; i > 0; --i)
            text += pieces[random() % pieces.size()];
        if (!kvUtil::isXmlWithinLimits(text.c_str()))
            continue;
        ++accepted;
        ASSERT_LE(parsedDepth(text), kMaxXmlDepth) << text.substr(0, 200);
    }
    EXPECT_GT(accepted, 100);
}

TEST(XmlGuard, BoundsSizeUpToTheFirstNul) {
    std::string text = "<r>" + std::string(kMaxXmlBytes - 7, ' ') + "</r>";
    EXPECT_TRUE(within(text));
    EXPECT_TRUE(kvUtil::isXmlWithinLimits(text.c_str()));
    text += ' ';
    EXPECT_FALSE(within(text));
    EXPECT_FALSE(kvUtil::isXmlWithinLimits(text.c_str()));
    text[10] = '\0'; // the parser stops at the NUL
    EXPECT_TRUE(within(text));
    EXPECT_FALSE(kvUtil::isXmlWithinLimits(nullptr));
    EXPECT_FALSE(kvUtil::isXmlWithinLimits(nullptr, 0));
}

} // namespace
