// The guard that keeps deep, huge or costly texts away from TinyXML.
#include "platform/base/XmlGuard.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <chrono>
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
        // In UTF-8 mode a lead byte takes the next bytes with it, closing tags included.
        "<?xml version='1.0' encoding='UTF-8'?><r>" + opened(kMaxXmlDepth + 1, "<a>\xe0</a>"),
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

std::string refusal(const std::string& text) {
    return kvUtil::measureXml(text.c_str(), text.size()).refusal;
}

std::string withAttributes(std::size_t count) {
    std::string text = "<r";
    for (std::size_t i = 0; i < count; ++i)
        text += " a" + std::to_string(i) + "='" + std::to_string(i) + "'";
    return text + "/>";
}

std::string repeated(const std::string& piece, std::size_t count) {
    std::string text = "<r>";
    for (std::size_t i = 0; i < count; ++i)
        text += piece;
    return text + "</r>";
}

// Each limit at its boundary: the largest text within passes, one more
// node, attribute or level is refused with a reason naming the limit.
TEST(XmlGuard, BoundsCostAtEachLimit) {
    using kvUtil::kMaxXmlAttributes;
    using kvUtil::kMaxXmlElementAttributes;
    using kvUtil::kMaxXmlNodes;
    EXPECT_EQ(refusal(withAttributes(kMaxXmlElementAttributes)), "");
    EXPECT_EQ(refusal(withAttributes(kMaxXmlElementAttributes + 1)),
              "an XML element has more than 64 attributes");

    // The root and its children are nodes, and so is every run of text that
    // is not white space; comments are nodes too, closing tags are not.
    EXPECT_EQ(refusal(repeated("<a/>", kMaxXmlNodes - 1)), "");
    EXPECT_EQ(refusal(repeated("<a/>", kMaxXmlNodes)), "the XML holds more than 100000 nodes");
    EXPECT_EQ(refusal(repeated("<!---->", kMaxXmlNodes)), "the XML holds more than 100000 nodes");
    EXPECT_EQ(refusal(repeated("<a>t</a>", kMaxXmlNodes / 2)), "the XML holds more than 100000 nodes");
    EXPECT_EQ(refusal(repeated("<a>\n\t </a>", kMaxXmlNodes / 2)), "");

    const std::string eight = withAttributes(8).substr(3); // " a0='0' ... a7='7'/>"
    const std::string atLimit = repeated("<b" + eight, kMaxXmlAttributes / 8);
    EXPECT_EQ(refusal(atLimit), "");
    EXPECT_EQ(refusal(atLimit.substr(0, atLimit.size() - 4) + "<b x=''/></r>"),
              "the XML holds more than 100000 attributes");
    // Values may hold '=' and '>' without counting; every unquoted '=' counts.
    EXPECT_EQ(refusal("<r a='=' b=\"==>\"/>"), "");
    EXPECT_EQ(kvUtil::measureXml("<r a=b=c/>", 10).attributes, 2u);

    EXPECT_EQ(refusal(nested(kMaxXmlDepth + 1)), "the XML nests elements more than 256 deep");
    EXPECT_EQ(refusal(std::string(kMaxXmlBytes + 1, ' ')), "the XML text is larger than 8 MiB");
    EXPECT_EQ(refusal("<r>caf\xc3\xa9 \xf0\x9f\x8e\xa8</r>"), "");
    EXPECT_EQ(refusal("<r>\xe9t\xe9</r>"),
              "the XML text has a UTF-8 lead byte without its continuation bytes");
    EXPECT_EQ(refusal("<r/>\xc3"), "the XML text has a UTF-8 lead byte without its continuation bytes");
    EXPECT_EQ(refusal("<?xml version\x85='1'?><r/>"),
              "the XML declaration holds bytes the parser may misread");
}

// Nodes TinyXML built for text, partial trees included.
std::size_t parsedNodes(const std::string& text) {
    TiXmlDocument document;
    document.Parse(text.c_str());
    std::size_t nodes = 0;
    std::vector<const TiXmlNode*> pending = {&document};
    while (!pending.empty()) {
        const TiXmlNode* node = pending.back();
        pending.pop_back();
        for (const TiXmlNode* child = node->FirstChild(); child; child = child->NextSibling()) {
            ++nodes;
            pending.push_back(child);
        }
    }
    return nodes;
}

// Texts where an earlier count fell short of the tree: a self-closed leaf
// below the deepest open element, closing tags kept as unknown nodes
// outside every element, a start tag cut short.
TEST(XmlGuard, CountsAsMuchAsTheParserBuilds) {
    for (const std::string& text :
         {std::string("<a><b><c/></b></a>"), std::string("</x></y><r>t</r></z>"),
          std::string("<?xml version='1'?><!-- c --><r a='1'><![CDATA[d]]></r>"), std::string("<r><cut")}) {
        const kvUtil::XmlCost cost = kvUtil::measureXml(text.c_str(), text.size());
        EXPECT_EQ(cost.depth, parsedDepth(text)) << text;
        EXPECT_EQ(cost.nodes, parsedNodes(text)) << text;
    }
}

// What once cost seconds and gigabytes in the parser is refused in
// milliseconds, and what the guard lets through parses quickly too.
TEST(XmlGuard, RefusesCostlyTextsQuickly) {
    const std::vector<std::string> costly = {withAttributes(40000), repeated("<a/>", 4000000),
                                             repeated("<a x=''/>", kvUtil::kMaxXmlNodes)};
    const std::vector<std::string> affordable = {
        repeated("<b" + withAttributes(kvUtil::kMaxXmlElementAttributes).substr(2),
                 kvUtil::kMaxXmlAttributes / kvUtil::kMaxXmlElementAttributes),
        repeated("<a/>", kvUtil::kMaxXmlNodes - 1), "<r>" + std::string(kMaxXmlBytes - 7, 'x') + "</r>"};
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& text : costly)
        EXPECT_FALSE(within(text));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
    // About 100 ms each on an idle machine; the bound leaves room for a busy one.
    for (const std::string& text : affordable) {
        const auto parseStart = std::chrono::steady_clock::now();
        ASSERT_TRUE(within(text));
        TiXmlDocument document;
        document.Parse(text.c_str());
        EXPECT_FALSE(document.Error());
        EXPECT_LT(std::chrono::steady_clock::now() - parseStart, std::chrono::seconds(2));
    }
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
