#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/technic/StdoutCapture.h"
#include "tests/xmlconfig/Loaded.h"
#include "xmlconfig/XmlFile.h"

using testing::HasSubstr;

namespace {

std::string history() {
    StdoutCapture capture;
    dumpAllocHistory();
    return capture.text();
}

// How often the history names an allocation of that size in that source file.
std::size_t countOf(const std::string& file, std::size_t size) {
    const std::string dumped = history();
    const std::string source = "alloc in " + file + " line ";
    const std::string length = " size=" + std::to_string(size) + ",";
    std::size_t count = 0;
    for (std::size_t at = dumped.find(source); at != std::string::npos;
         at = dumped.find(source, at + 1)) {
        const std::string line = dumped.substr(at, dumped.find('\n', at) - at);
        count += line.find(length) != std::string::npos ? 1U : 0U;
    }
    return count;
}

TEST(AllocationHistory, NamesTheBytesOfAReadFile) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", std::string(12345, 'x'));
    std::string text;
    ASSERT_TRUE(XmlFile::read(path, text));
    EXPECT_EQ(countOf("XmlFile.cpp", 12345), 1U);
}

TEST(AllocationHistory, NamesEveryNodeAndItemByItself) {
    Loaded loaded(section("", "<ConfigItem/><ConfigItem/><ConfigItem/>"));
    const SafePointer<XmlConfigureNode> node = loaded.node("S");
    std::list<SafePointer<XmlConfigureItem>> items;
    ASSERT_TRUE(node->getItems(items));
    EXPECT_EQ(countOf("XmlConfigureNode.cpp", sizeof(XmlConfigureNode)), 1U);
    EXPECT_EQ(countOf("XmlConfigureNode.cpp", sizeof(XmlConfigureItem)), 3U);
}

TEST(AllocationHistory, NamesTheDocument) {
    const Loaded loaded(section(""));
    EXPECT_THAT(history(), HasSubstr("alloc in MemXmlConfigureTool.cpp line "));
}

}  // namespace
