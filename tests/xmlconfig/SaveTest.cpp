#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/xmlconfig/Loaded.h"
#include "xmlconfig/XmlFile.h"

namespace {

constexpr int kUtf8 = XmlConfigureTool::kEncodingUtf8;

constexpr char kNewDocument[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"no\" ?>\n"
    "<Configure name=\"New\" />\n";

TEST(Save, WritesACreatedDocumentToItsPath) {
    const TemporaryFolder folder;
    XmlConfigureTool tool;
    tool.setName("New");
    ASSERT_TRUE(tool.load(folder.path("new.xml"), kUtf8, XmlConfigureTool::kModeCreate));
    EXPECT_FALSE(std::filesystem::exists(folder.path("new.xml")));
    EXPECT_TRUE(tool.isLoaded());
    EXPECT_TRUE(tool.save());
    EXPECT_FALSE(tool.isLoaded());
    EXPECT_EQ(folder.read("new.xml"), kNewDocument);
}

TEST(Save, WritesTheSameCreatedDocumentUnderTheLegacyEncoding) {
    const TemporaryFolder folder;
    XmlConfigureTool tool;
    tool.setName("New");
    ASSERT_TRUE(tool.load(folder.path("new.xml"), 2, XmlConfigureTool::kModeCreate));
    EXPECT_TRUE(tool.save());
    EXPECT_EQ(folder.read("new.xml"), kNewDocument);
}

TEST(Save, ReplacesTheFileInPlaceOfACreatedDocumentOnlyThen) {
    const std::string old = section("");
    Loaded loaded(old);
    loaded.tool().setName("New");
    ASSERT_TRUE(loaded.tool().load(loaded.folder().path("config.xml"), kUtf8,
                                   XmlConfigureTool::kModeCreate));
    EXPECT_FALSE(loaded.has("S"));
    EXPECT_EQ(loaded.folder().read("config.xml"), old);
    EXPECT_TRUE(loaded.tool().save());
    EXPECT_EQ(loaded.folder().read("config.xml"), kNewDocument);
}

TEST(Save, NeedsNoExistingFileToCreateADocument) {
    XmlConfigureTool tool;
    EXPECT_TRUE(tool.load("/no/such/folder/new.xml", kUtf8, XmlConfigureTool::kModeCreate));
    EXPECT_FALSE(tool.save());
    EXPECT_TRUE(tool.isLoaded());
}

TEST(Save, ReadsBackWhatItCreated) {
    const TemporaryFolder folder;
    XmlConfigureTool tool;
    tool.setName("a \"quoted\" <name> & more");
    ASSERT_TRUE(tool.load(folder.path("new.xml"), kUtf8, XmlConfigureTool::kModeCreate));
    ASSERT_TRUE(tool.close());
    EXPECT_FALSE(tool.isLoaded());
    XmlConfigureTool again;
    ASSERT_TRUE(again.load(folder.path("new.xml"), kUtf8, XmlConfigureTool::kModeRead));
    EXPECT_EQ(again.getName(), "a \"quoted\" <name> & more");
}

TEST(Save, WritesADocumentThatWasOpenedForSavingAndDeclaresUtf8) {
    Loaded loaded;
    ASSERT_TRUE(loaded.load(
        "<?xml version='1.0' encoding='gb2312'?><Configure name='D'><Configure name='S'/>"
        "</Configure>",
        kUtf8, XmlConfigureTool::kModeReadWrite));
    EXPECT_TRUE(loaded.tool().save());
    EXPECT_FALSE(loaded.tool().isLoaded());
    EXPECT_FALSE(loaded.has("S"));
    EXPECT_EQ(loaded.folder().read("config.xml"),
              "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<Configure name=\"D\">\n"
              "    <Configure name=\"S\" />\n</Configure>\n");
}

TEST(Save, KeepsEverythingElseOfTheDocument) {
    Loaded loaded;
    ASSERT_TRUE(loaded.load(
        "<?xml version='1.1' encoding='gb2312' standalone='yes'?><!-- c --><Configure name='D'>"
        "<Configure name='L'><ConfigItem a='&lt;1'/>text<Other b=''/></Configure>"
        "</Configure>",
        kUtf8, XmlConfigureTool::kModeReadWrite));
    EXPECT_TRUE(loaded.tool().save());
    EXPECT_EQ(loaded.folder().read("config.xml"),
              "<?xml version=\"1.1\" encoding=\"utf-8\" standalone=\"yes\" ?>\n<!-- c -->\n"
              "<Configure name=\"D\">\n    <Configure name=\"L\">\n"
              "        <ConfigItem a=\"&lt;1\" />\n        text\n"
              "        <Other b=\"\" />\n    </Configure>\n</Configure>\n");
}

TEST(Save, ReplacesALongerFileCompletely) {
    Loaded loaded;
    ASSERT_TRUE(loaded.load("<Configure name='D'/>" + std::string(1000, ' '), kUtf8,
                            XmlConfigureTool::kModeReadWrite));
    EXPECT_TRUE(loaded.tool().save());
    EXPECT_EQ(loaded.folder().read("config.xml"), "<Configure name=\"D\" />\n");
}

class UnsavedMode : public testing::TestWithParam<int> {};

TEST_P(UnsavedMode, WritesNothing) {
    const std::string text = "<Configure   name='D'/>";
    Loaded loaded;
    ASSERT_TRUE(loaded.load(text, kUtf8, GetParam()));
    EXPECT_TRUE(loaded.tool().save());
    EXPECT_FALSE(loaded.tool().isLoaded());
    EXPECT_EQ(loaded.folder().read("config.xml"), text);
}

INSTANTIATE_TEST_SUITE_P(Modes, UnsavedMode, testing::Values(XmlConfigureTool::kModeRead, 0, 4));

TEST(Save, WritesNothingAfterALoadThatFailed) {
    const std::string text = "<Configure   name='D'/>";
    Loaded loaded;
    ASSERT_TRUE(loaded.load(text, kUtf8, XmlConfigureTool::kModeReadWrite));
    const std::string other = loaded.folder().write("other.xml", "<Other/>");
    ASSERT_FALSE(loaded.tool().load(other, kUtf8, XmlConfigureTool::kModeReadWrite));
    EXPECT_TRUE(loaded.tool().save());
    EXPECT_EQ(loaded.folder().read("config.xml"), text);
    EXPECT_EQ(loaded.folder().read("other.xml"), "<Other/>");
}

TEST(Save, SucceedsWhenNothingIsLoaded) {
    XmlConfigureTool tool;
    EXPECT_TRUE(tool.save());
    EXPECT_FALSE(tool.isLoaded());
}

TEST(Save, CanBeTriedAgainAfterAFailure) {
    Loaded loaded;
    ASSERT_TRUE(loaded.load("<Configure name='D'/>", kUtf8, XmlConfigureTool::kModeReadWrite));
    std::filesystem::remove(loaded.folder().path("config.xml"));
    std::filesystem::create_directory(loaded.folder().path("config.xml"));
    EXPECT_FALSE(loaded.tool().save());
    std::filesystem::remove(loaded.folder().path("config.xml"));
    EXPECT_TRUE(loaded.tool().save());
}

TEST(FileText, IsReadAndWrittenByteByByte) {
    const TemporaryFolder folder;
    const std::string bytes("a\0\xFF\r\n", 5);
    EXPECT_TRUE(XmlFile::write(folder.path("bytes"), bytes));
    std::string text;
    EXPECT_TRUE(XmlFile::read(folder.path("bytes"), text));
    EXPECT_EQ(text, bytes);
}

TEST(FileText, OfNoBytesIsNotRead) {
    const TemporaryFolder folder;
    EXPECT_TRUE(XmlFile::write(folder.path("empty"), ""));
    std::string text = "before";
    EXPECT_FALSE(XmlFile::read(folder.path("empty"), text));
    EXPECT_EQ(text, "before");
}

TEST(FileText, LargerThanThirtyTwoBitsIsNotRead) {
    const TemporaryFolder folder;
    folder.write("large", "x");
    std::filesystem::resize_file(folder.path("large"), 0x100000000);
    std::string text;
    EXPECT_FALSE(XmlFile::read(folder.path("large"), text));
}

// The system tells a length of a whole page for this file and then gives less.
TEST(FileText, ShorterThanItsLengthTellsIsNotRead) {
    constexpr char kShort[] = "/sys/devices/system/cpu/online";
    ASSERT_GT(std::filesystem::file_size(kShort), 0U);
    std::string text = "before";
    EXPECT_FALSE(XmlFile::read(kShort, text));
    EXPECT_EQ(text, "before");
}

TEST(FileText, LargerThanASixteenthOfTheMemoryIsNotRead) {
    const auto memory = static_cast<std::uintmax_t>(sysconf(_SC_PHYS_PAGES)) *
                        static_cast<std::uintmax_t>(sysconf(_SC_PAGESIZE));
    const TemporaryFolder folder;
    folder.write("large", "x");
    std::filesystem::resize_file(folder.path("large"),
                                 std::min<std::uintmax_t>(memory / 16 + 1, 0x100000000));
    std::string text;
    EXPECT_FALSE(XmlFile::read(folder.path("large"), text));
}

TEST(FileText, IsNotWrittenIntoAFolderThatIsNotThere) {
    EXPECT_FALSE(XmlFile::write("/no/such/folder/file", "text"));
}

TEST(FileText, IsNotWrittenToADeviceThatIsFull) {
    EXPECT_FALSE(XmlFile::write("/dev/full", "text"));
}

TEST(FileText, IsNotWrittenToAPipeThatNobodyReads) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(XmlFile::write(folder.path("pipe"), "text"));
}

}  // namespace
