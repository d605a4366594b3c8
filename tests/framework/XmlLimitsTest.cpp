// The guard that keeps deep or huge texts away from TinyXML.
#include "framework/description/XmlLimits.h"

#include <gtest/gtest.h>

#include <string>

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
    // Closing tags at the top level cannot pay for later depth.
    EXPECT_FALSE(isXmlWithinLimits((std::string(2000, ' ') + nested(1000, "", "</a>") + deep).c_str()));
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
