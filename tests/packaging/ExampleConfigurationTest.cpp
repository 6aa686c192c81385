#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "app/UpdateConfig.h"

namespace {

constexpr char kExample[] = MCU_SOURCE_DIR "/packaging/update.xml";

std::string textOf(const char* path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(ExampleConfiguration, IsLoadedWithItsLineAndBothFiles) {
    UpdateConfig config;
    ASSERT_TRUE(readUpdateConfig(kExample, config));
    EXPECT_EQ(config.param.deviceName, "/dev/ttyS1");
    EXPECT_EQ(config.param.BaudRate, 115200);
    ASSERT_EQ(config.entries.size(), 2U);
    EXPECT_EQ(config.entries.front().fileName, "arm1.bin");
    EXPECT_TRUE(config.entries.front().HigherVersion);
    EXPECT_EQ(config.entries.back().hardwareInfoMask, "ff00");
    EXPECT_TRUE(config.entries.back().ForceUpdate);
}

TEST(ExampleConfiguration, IsTheOneOfTheReadme) {
    const std::string example = textOf(kExample);
    ASSERT_FALSE(example.empty());
    EXPECT_NE(textOf(MCU_SOURCE_DIR "/README.md").find("```xml\n" + example + "```\n"),
              std::string::npos);
}

}  // namespace
