// The guard that keeps deep or huge texts away from TinyXML.
#include "framework/description/XmlLimits.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

using SubstanceAir::isXmlWithinLimits;
using SubstanceAir::maxXmlBytes;
using SubstanceAir::maxXmlDepth;

namespace {

std::string nested(size_t depth, const std::string& open = "<a>", const std::string& close = "</a>") {
    std::string text;
    for (size_t i = 0; i < depth; ++i) {
        text += open;
    }
    for (size_t i = 0; i < depth; ++i) {
        text += close;
    }
    return text;
}

TEST(XmlLimits, BoundsElementDepth) {
    EXPECT_TRUE(isXmlWithinLimits(nested(maxXmlDepth).c_str()));
    EXPECT_FALSE(isXmlWithinLimits(nested(maxXmlDepth + 1).c_str()));
    EXPECT_FALSE(isXmlWithinLimits(nested(maxXmlDepth + 1, "<a x='1'>").c_str()));
    EXPECT_FALSE(isXmlWithinLimits(nested(100000).c_str()));
}

TEST(XmlLimits, CountsSiblingsAndEmptyElementsAsFlat) {
    std::string siblings = "<r>";
    for (int i = 0; i < 5000; ++i) {
        siblings += "<a x=\"1\"/><b>t</b><c y='>' />";
    }
    siblings += "</r>";
    EXPECT_TRUE(isXmlWithinLimits(siblings.c_str()));
}

TEST(XmlLimits, SkipsWhatTheParserSkips) {
    const std::string deep = nested(maxXmlDepth + 1);
    EXPECT_TRUE(isXmlWithinLimits(("<r><!--" + deep + "--></r>").c_str()));
    EXPECT_TRUE(isXmlWithinLimits(("<r><![CDATA[" + deep + "]]></r>").c_str()));
    EXPECT_TRUE(isXmlWithinLimits(("<r a=\"" + deep + "\"/>").c_str()));
}

TEST(XmlLimits, IsNotFooledByMarkupInsideQuotesOrDeclarations) {
    const std::string deep = nested(maxXmlDepth + 1);
    // A quoted '>' that hides closing tags from a naive scan.
    EXPECT_FALSE(isXmlWithinLimits(("<r a=\"></a></a></a>\">" + deep + "</r>").c_str()));
    // Declarations whose quoted values open a comment for a naive scan only.
    for (const char* declaration : {"<?xml version=\"x><!--\" ?>", "<?XML foo=\"a version=\"x><!--\" ?>",
                                    "<?xml foo='a version=\"x'y><!--\" ?>", "<?xml encoding = 'x><!--'?>"}) {
        EXPECT_FALSE(isXmlWithinLimits((declaration + ("<r>" + deep + "--></r>")).c_str())) << declaration;
    }
    EXPECT_TRUE(isXmlWithinLimits("<?xml version=\"1.0\" encoding='UTF-8' standalone=\"yes\"?><r/>"));
    EXPECT_TRUE(isXmlWithinLimits(("<?pi a='?><!-- '?>" + deep + "-->").c_str()));
    // Closing tags inside a comment that starts like "<!-->" are no closing tags.
    const std::string half = nested(maxXmlDepth - 6).substr(0, 3 * (maxXmlDepth - 6));
    EXPECT_FALSE(
        isXmlWithinLimits((half + "<!-->" + nested(maxXmlDepth - 6, "", "</a>") + "-->" + half).c_str()));
    // Closing tags at the top level cannot pay for later depth.
    EXPECT_FALSE(isXmlWithinLimits((std::string(2000, ' ') + nested(1000, "", "</a>") + deep).c_str()));
}

// Deepest element nesting in what TinyXML built, partial trees included.
size_t parsedDepth(const TiXmlNode& root) {
    size_t deepest = 0;
    std::vector<std::pair<const TiXmlNode*, size_t>> pending = {{&root, 0}};
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        deepest = std::max(deepest, depth);
        for (const TiXmlNode* child = node->FirstChild(); child != nullptr; child = child->NextSibling()) {
            pending.emplace_back(child, child->ToElement() != nullptr ? depth + 1 : depth);
        }
    }
    return deepest;
}

// Random markup around a block nested past the bound: whenever the guard
// lets a text through, the parser must not have nested that deep.
TEST(XmlLimits, AgreesWithTheParserOnRandomMarkup) {
    const std::vector<std::string> pieces = {"<?xml version=\"",
                                             "<?xml foo=\"a ",
                                             "<?XML encoding='",
                                             "\"",
                                             "'",
                                             ">",
                                             "?>",
                                             "<!--",
                                             "-->",
                                             "<![CDATA[",
                                             "]]>",
                                             "<!DOCTYPE x [",
                                             "]>",
                                             "<b x=\"",
                                             "<b x='",
                                             "<b x=",
                                             "/>",
                                             "</a>",
                                             "</b>",
                                             "<?pi ",
                                             " ",
                                             "=",
                                             "<c>",
                                             "version=",
                                             "&#x41;",
                                             "<",
                                             "a",
                                             "\xef\xbb\xbf",
                                             "\x7f"};
    const std::string block = nested(maxXmlDepth + 40).substr(0, 3 * (maxXmlDepth + 40));
    std::mt19937 random(20261122);
    size_t accepted = 0;
    for (int round = 0; round < 4000; ++round) {
        std::string text;
        for (unsigned int i = random() % 10; i > 0; --i) {
            text += pieces[random() % pieces.size()];
        }
        text += block;
        for (unsigned int i = random() % 4; i > 0; --i) {
            text += pieces[random() % pieces.size()];
        }
        if (!isXmlWithinLimits(text.c_str())) {
            continue;
        }
        ++accepted;
        TiXmlDocument document;
        document.Parse(text.c_str());
        ASSERT_LE(parsedDepth(document), maxXmlDepth) << text.substr(0, 200);
    }
    EXPECT_GT(accepted, 100u);
}

TEST(XmlLimits, BoundsSize) {
    std::string text = "<r>";
    text.append(maxXmlBytes - 7, ' ');
    text += "</r>";
    EXPECT_TRUE(isXmlWithinLimits(text.c_str()));
    text += ' ';
    EXPECT_FALSE(isXmlWithinLimits(text.c_str()));
    EXPECT_FALSE(isXmlWithinLimits(nullptr));
}

} // namespace
