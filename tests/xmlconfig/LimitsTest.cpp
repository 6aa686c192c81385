#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "xmlconfig/XmlLimits.h"

namespace {

std::string nested(int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) {
        text += "<a b=\"/>\">";
    }
    for (int i = 0; i < levels; ++i) {
        text += "</a>";
    }
    return text;
}

std::string withAttributes(int count) {
    std::string text = "<a";
    for (int i = 0; i < count; ++i) {
        text += " b" + std::to_string(i) + "=''";
    }
    return text + "/>";
}

TEST(XmlLimits, AllowTwoHundredLevelsAndNoMore) {
    EXPECT_TRUE(isWithinXmlLimits(nested(kMostXmlLevels), true));
    EXPECT_FALSE(isWithinXmlLimits(nested(kMostXmlLevels + 1), true));
}

TEST(XmlLimits, AllowAThousandAttributesAndNoMore) {
    EXPECT_TRUE(isWithinXmlLimits(withAttributes(kMostXmlAttributes), true));
    EXPECT_FALSE(isWithinXmlLimits(withAttributes(kMostXmlAttributes + 1), true));
}

TEST(XmlLimits, DoNotCountWhatIsInComments) {
    std::string text = "<a>";
    for (int i = 0; i < 1000; ++i) {
        text += "<!-- <b> <c> -->";
    }
    EXPECT_TRUE(isWithinXmlLimits(text + "</a>", true));
}

// What each piece shows: an opening that seems to be closed and is not.
class HiddenLevel : public testing::TestWithParam<std::string> {};

TEST_P(HiddenLevel, IsCounted) {
    std::string text;
    for (int i = 0; i <= kMostXmlLevels; ++i) {
        text += GetParam();
    }
    EXPECT_FALSE(isWithinXmlLimits(text, true));
}

INSTANTIATE_TEST_SUITE_P(Pieces, HiddenLevel,
                         testing::Values("<a b=\"</a>\">", "<a b='/>'>", "<a><!-- </a> -->",
                                         "<a><![CDATA[</a>]]>", "<a><?xml version=\"></a>\"?>",
                                         "<a><?xml encoding = '></a>'?>", "<a><! </a>",
                                         "<a b=\"\xF0\"/></a>\">", "<a>\xE5</a>", "<_>",
                                         "<\xC3\xA4>", "<a b=c>"));

int depthOf(const TiXmlNode& node) {
    int deepest = 0;
    for (const TiXmlElement* child = node.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        deepest = std::max(deepest, 1 + depthOf(*child));
    }
    return deepest;
}

class RandomMarkup : public testing::TestWithParam<bool> {};

// The one promise that the parser's stack rests on, tried against the parser itself.
TEST_P(RandomMarkup, NeverParsesDeeperThanTheLimitsAllow) {
    const bool utf8 = GetParam();
    const std::vector<std::string> pieces = {
        "<a>",         "<a>",        "<a>",  "</a>",   "<a b=\"",
        "\"",          "'",          ">",    "/>",     "<!--",
        "-->",         "<![CDATA[",  "]]>",  "<?xml ", "version=",
        "encoding = ", "?>",         "<!",   "\xF0",   "\xEF\xBB\xBF",
        "\xC4",        "&#x41;",     "&",    "<",      "=",
        " ",           "x",          "/",    "<a c='", "</",
        "&#65",        "standalone", "\xE5", "<a b=c", "<a b=\"</a>\">"};
    std::mt19937 random(20);
    int deep = 0;
    for (int round = 0; round < 500; ++round) {
        const std::size_t kinds = 3 + random() % pieces.size();
        std::string text;
        while (text.size() < 4000) {
            text += pieces[random() % std::min(kinds, pieces.size())];
        }
        TiXmlDocument document;
        document.SetTabSize(0);
        document.Parse((text + std::string(4, '\0')).c_str(), nullptr,
                       utf8 ? TIXML_ENCODING_UTF8 : TIXML_ENCODING_LEGACY);
        if (depthOf(document) > kMostXmlLevels) {
            ++deep;
            EXPECT_FALSE(isWithinXmlLimits(text, utf8)) << text;
        }
    }
    EXPECT_GT(deep, 20);
}

INSTANTIATE_TEST_SUITE_P(Encodings, RandomMarkup, testing::Bool(),
                         [](const auto& test) { return test.param ? "Utf8" : "Legacy"; });

}  // namespace
