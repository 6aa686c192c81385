#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/xmlconfig/Loaded.h"

namespace {

TEST(Load, TakesADocumentWhoseRootIsANamedConfigure) {
    Loaded loaded;
    EXPECT_TRUE(loaded.load("<?xml version=\"1.0\"?><!-- c --><Configure name=\"UpdateConfig\"/>"));
    EXPECT_TRUE(loaded.tool().isLoaded());
    EXPECT_EQ(loaded.tool().getName(), "UpdateConfig");
}

struct Rejected {
    const char* what;
    std::string text;
};

void PrintTo(const Rejected& row, std::ostream* out) {
    *out << row.what;
}

class RejectedDocument : public testing::TestWithParam<Rejected> {};

TEST_P(RejectedDocument, LeavesTheToolUnloaded) {
    Loaded loaded(section(""));
    EXPECT_FALSE(loaded.load(GetParam().text));
    EXPECT_FALSE(loaded.tool().isLoaded());
    EXPECT_FALSE(loaded.has("S"));
}

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

std::string manyAttributes() {
    std::string all = "<Configure name=\"D\"";
    for (int i = 0; i < 5000; ++i) {
        all += " a" + std::to_string(i) + "=\"\"";
    }
    return all + "/>";
}

INSTANTIATE_TEST_SUITE_P(
    Documents, RejectedDocument,
    testing::Values(
        Rejected{"Empty", ""}, Rejected{"OnlyBlanks", " \n\t "},
        Rejected{"LowerCaseRoot", "<configure name=\"D\"/>"},
        Rejected{"RootWithoutName", "<Configure/>"},
        Rejected{"LongerRoot", "<Configures name=\"D\"/>"},
        Rejected{"RootWithUpperCaseName", "<Configure Name=\"D\"/>"},
        Rejected{"RootOfAnotherName", "<ConfigItem name=\"D\"/>"},
        Rejected{"ConfigureBehindTheRoot", "<Other name=\"D\"/><Configure name=\"D\"/>"},
        Rejected{"NoRoot", "<!-- only a comment -->"}, Rejected{"NoMarkup", "name=D"},
        Rejected{"UnclosedRoot", "<Configure name=\"D\">"},
        Rejected{"WrongEndTag", "<Configure name=\"D\"></configure>"},
        Rejected{"UnclosedTag", "<Configure name=\"D\""},
        Rejected{"UnclosedValue", "<Configure name=\"D"},
        Rejected{"AttributeTwice", "<Configure name=\"D\" a=\"1\" a=\"2\"/>"},
        Rejected{"NulByte", std::string("<Configure name=\"D\"/>\0", 22)},
        Rejected{"CutCharacter", "<Configure name=\"\xF0"},
        Rejected{"BytesOfNoText", "\xEF\xBB\xBF\xEF\xBF\xBE\xFF\xFE"},
        Rejected{"HundredThousandLevels", "<Configure name=\"D\">" + repeated("<a>", 100000)},
        Rejected{"ClosedDeepLevels", "<Configure name=\"D\">" + repeated("<a>", 100000) +
                                         repeated("</a>", 100000) + "</Configure>"},
        Rejected{"FiveThousandAttributes", manyAttributes()}),
    [](const auto& test) { return test.param.what; });

TEST(Load, TakesTheFirstElementAsTheRoot) {
    Loaded loaded;
    EXPECT_TRUE(loaded.load("<Configure name=\"D\"/><Other/>"));
}

class Opening : public testing::TestWithParam<int> {};

TEST_P(Opening, FailsForAFileThatIsNotThereAndMakesNone) {
    const TemporaryFolder folder;
    XmlConfigureTool tool;
    EXPECT_FALSE(tool.load(folder.path("no.xml"), XmlConfigureTool::kEncodingUtf8, GetParam()));
    EXPECT_FALSE(tool.isLoaded());
    EXPECT_FALSE(std::filesystem::exists(folder.path("no.xml")));
}

INSTANTIATE_TEST_SUITE_P(Modes, Opening,
                         testing::Values(XmlConfigureTool::kModeRead,
                                         XmlConfigureTool::kModeReadWrite));

TEST(Load, FailsForAFolder) {
    const TemporaryFolder folder;
    XmlConfigureTool tool;
    EXPECT_FALSE(
        tool.load(folder.path(), XmlConfigureTool::kEncodingUtf8, XmlConfigureTool::kModeRead));
}

TEST(Load, FailsAtOnceForAPipeThatNobodyWrites) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    XmlConfigureTool tool;
    EXPECT_FALSE(tool.load(folder.path("pipe"), XmlConfigureTool::kEncodingUtf8,
                           XmlConfigureTool::kModeRead));
}

TEST(Load, FollowsASymbolicLink) {
    Loaded loaded;
    const std::string file = loaded.folder().write("real.xml", section(""));
    std::filesystem::create_symlink(file, loaded.folder().path("link.xml"));
    EXPECT_TRUE(loaded.tool().load(loaded.folder().path("link.xml"),
                                   XmlConfigureTool::kEncodingUtf8, XmlConfigureTool::kModeRead));
}

TEST(Load, TakesNamesAndValuesOfTenThousandCharacters) {
    const std::string longText(10000, 'x');
    Loaded loaded(section(longText + "=\"" + longText + "\""));
    std::string value;
    EXPECT_TRUE(loaded.node("S")->getString(longText, value));
    EXPECT_EQ(value, longText);
}

TEST(Load, TakesAHundredLevels) {
    Loaded loaded;
    EXPECT_TRUE(loaded.load("<Configure name=\"D\">" + repeated("<a>", 100) +
                            repeated("</a>", 100) + "</Configure>"));
}

TEST(Load, TakesFiveThousandItemsInARow) {
    Loaded loaded(section("", repeated("<ConfigItem armType=\"1\"/>", 5000)));
    std::list<SafePointer<XmlConfigureItem>> items;
    EXPECT_TRUE(loaded.node("S")->getItems(items));
    EXPECT_EQ(items.size(), 5000U);
}

TEST(Load, ReplacesTheDocumentLoadedBefore) {
    Loaded loaded(section("a=\"1\""));
    ASSERT_TRUE(loaded.load("<Configure name=\"Other\"><Configure name=\"T\"/></Configure>"));
    EXPECT_FALSE(loaded.has("S"));
    EXPECT_TRUE(loaded.has("T"));
    EXPECT_EQ(loaded.tool().getName(), "Other");
}

TEST(Load, TakesAByteOrderMarkUnderEncodingOne) {
    Loaded loaded("\xEF\xBB\xBF" + section(""));
    EXPECT_TRUE(loaded.has("S"));
}

TEST(Load, ReadsUtf8CharactersUnderEncodingOne) {
    Loaded loaded(section("a=\"\xE8\xAE\xBE\xE5\xA4\x87\""));
    std::string value;
    EXPECT_TRUE(loaded.node("S")->getString("a", value));
    EXPECT_EQ(value, "\xE8\xAE\xBE\xE5\xA4\x87");
}

TEST(Load, TurnsCharacterNumbersIntoUtf8UnderEncodingOne) {
    Loaded loaded(section("a=\"&#xC4;\""));
    std::string value;
    EXPECT_TRUE(loaded.node("S")->getString("a", value));
    EXPECT_EQ(value, "\xC3\x84");
}

class LegacyEncoding : public testing::TestWithParam<int> {};

// As UTF-8 the first byte would take the quote with it, and the number would give two bytes.
TEST_P(LegacyEncoding, ReadsByteByByte) {
    Loaded loaded;
    ASSERT_TRUE(loaded.load(section("a=\"&#xC4;\xC4\""), GetParam()));
    std::string value;
    EXPECT_TRUE(loaded.node("S")->getString("a", value));
    EXPECT_EQ(value, "\xC4\xC4");
}

INSTANTIATE_TEST_SUITE_P(Numbers, LegacyEncoding, testing::Values(0, 2, -1));

TEST(Load, IsRememberedWithItsEncoding) {
    MemXmlConfigureTool document;
    EXPECT_EQ(document.getEncoding(), 0);
    ASSERT_TRUE(document.parse(section(""), 2));
    EXPECT_EQ(document.getEncoding(), 2);
    ASSERT_TRUE(document.parse(section(""), 1));
    EXPECT_EQ(document.getEncoding(), 1);
    EXPECT_FALSE(document.parse("", 2));
    EXPECT_EQ(document.getEncoding(), 1);
}

// Every prefix of a document with one of everything: none crashes, hangs or is taken.
TEST(Load, RejectsEveryCutOfADocument) {
    const std::string whole =
        "<?xml version='1.0' encoding=\"utf-8\"?>\n<!DOCTYPE x><!-- c -->\n"
        "<Configure name=\"D\"><![CDATA[ x ]]><Configure name = \"S\" a='&#x41;&amp;&lt;'>"
        "text <ConfigItem/></Configure></Configure>";
    MemXmlConfigureTool document;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(document.parse(whole.substr(0, length), 1)) << length;
    }
    EXPECT_TRUE(document.parse(whole, 1));
}

}  // namespace
