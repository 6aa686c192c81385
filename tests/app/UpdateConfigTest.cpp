#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/UpdateConfig.h"
#include "tests/app/ConfigText.h"
#include "tests/app/JobFolder.h"

namespace {

bool readText(const std::string& text, UpdateConfig& config) {
    writeFile("config.xml", text);
    return readUpdateConfig("config.xml", config);
}

TEST(UpdateConfig, HoldsTheLineParameters) {
    UpdateConfig config;
    ASSERT_TRUE(readText(configText(completeParam(), {completeEntry()}), config));
    EXPECT_EQ(config.param.deviceName, "/no/such/tty");
    EXPECT_EQ(config.param.BaudRate, 115200);
    EXPECT_EQ(config.param.DataBits, 8);
    EXPECT_EQ(config.param.StopBits, 0);
    EXPECT_EQ(config.param.Parity, 2);
}

TEST(UpdateConfig, HoldsEveryKeyOfAnEntry) {
    Attributes entry = with(completeEntry(), "hardwareInfoMask", "ff00ff00");
    entry = with(with(entry, "ForceUpdate", "true"), "HigherVersion", "TRUE");
    UpdateConfig config;
    ASSERT_TRUE(readText(configText(completeParam(), {entry}), config));
    ASSERT_EQ(config.entries.size(), 1U);
    const UpdateFileEntry& read = config.entries.front();
    EXPECT_EQ(read.armType, 3);
    EXPECT_EQ(read.armName, "ARM3");
    EXPECT_EQ(read.versionPosition, "0x10");
    EXPECT_EQ(read.hardwareInfoPosition, "20");
    EXPECT_EQ(read.fileName, "arm3.bin");
    EXPECT_EQ(read.hardwareInfoLength, 4);
    EXPECT_EQ(read.hardwareInfoMask, "ff00ff00");
    EXPECT_TRUE(read.ForceUpdate);
    EXPECT_TRUE(read.HigherVersion);
}

TEST(UpdateConfig, TakesAnEntryWithoutMaskAndFlags) {
    UpdateConfig config;
    ASSERT_TRUE(readText(configText(completeParam(), {completeEntry()}), config));
    EXPECT_EQ(config.entries.front().hardwareInfoMask, "");
    EXPECT_FALSE(config.entries.front().ForceUpdate);
    EXPECT_FALSE(config.entries.front().HigherVersion);
}

TEST(UpdateConfig, TakesFlagsOfOtherTextsAsFalse) {
    const Attributes entry =
        with(with(completeEntry(), "ForceUpdate", "yes"), "HigherVersion", "1");
    UpdateConfig config;
    ASSERT_TRUE(readText(configText(completeParam(), {entry}), config));
    EXPECT_FALSE(config.entries.front().ForceUpdate);
    EXPECT_FALSE(config.entries.front().HigherVersion);
}

TEST(UpdateConfig, IsReadAsUtf8) {
    UpdateConfig config;
    ASSERT_TRUE(readText(configText(completeParam(), {with(completeEntry(), "armName", "&#xC4;")}),
                         config));
    EXPECT_EQ(config.entries.front().armName, "\xC3\x84");
}

TEST(UpdateConfig, KeepsTheOrderOfTheEntries) {
    UpdateConfig config;
    ASSERT_TRUE(readText(configText(completeParam(), {with(completeEntry(), "armName", "C"),
                                                      with(completeEntry(), "armName", "A"),
                                                      with(completeEntry(), "armName", "B")}),
                         config));
    std::string names;
    for (const UpdateFileEntry& entry : config.entries) {
        names += entry.armName;
    }
    EXPECT_EQ(names, "CAB");
}

TEST(UpdateConfig, ReadsNumbersThatAreNoneAsZero) {
    UpdateConfig config;
    ASSERT_TRUE(readText(configText(with(completeParam(), "BaudRate", "fast"),
                                    {with(completeEntry(), "armType", "")}),
                         config));
    EXPECT_EQ(config.param.BaudRate, 0);
    EXPECT_EQ(config.entries.front().armType, 0);
}

// The read fails and leaves what was there.
void expectRefused(const std::string& text) {
    UpdateConfig config;
    config.param.deviceName = "before";
    config.param.BaudRate = 7;
    config.entries.resize(2);
    EXPECT_FALSE(readText(text, config));
    EXPECT_EQ(config.param.deviceName, "before");
    EXPECT_EQ(config.param.BaudRate, 7);
    EXPECT_EQ(config.entries.size(), 2U);
}

class RequiredParamKey : public testing::TestWithParam<std::string> {};

TEST_P(RequiredParamKey, MissingFailsTheRead) {
    expectRefused(configText(without(completeParam(), GetParam()), {completeEntry()}));
}

INSTANTIATE_TEST_SUITE_P(Keys, RequiredParamKey,
                         testing::Values("deviceName", "BaudRate", "DataBits", "StopBits", "Parity",
                                         "name"),
                         [](const auto& test) { return test.param; });

class RequiredEntryKey : public testing::TestWithParam<std::string> {};

TEST_P(RequiredEntryKey, MissingFailsTheRead) {
    expectRefused(configText(completeParam(), {without(completeEntry(), GetParam())}));
}

TEST_P(RequiredEntryKey, MissingInTheThirdEntryFailsTheWholeRead) {
    expectRefused(configText(
        completeParam(), {completeEntry(), completeEntry(), without(completeEntry(), GetParam())}));
}

INSTANTIATE_TEST_SUITE_P(Keys, RequiredEntryKey,
                         testing::Values("armType", "armName", "versionPosition",
                                         "hardwareInfoPosition", "fileName", "hardwareInfoLength"),
                         [](const auto& test) { return test.param; });

TEST(UpdateConfig, NeedsTheParamSection) {
    expectRefused(element("Configure", {{"name", "D"}},
                          element("Configure", {{"name", "UpdateFileList"}},
                                  element("ConfigItem", completeEntry()))));
}

TEST(UpdateConfig, NeedsTheListSection) {
    expectRefused(element("Configure", {{"name", "D"}}, element("Configure", completeParam())));
}

TEST(UpdateConfig, NeedsAnItemInTheList) {
    expectRefused(configText(completeParam(), {}));
}

TEST(UpdateConfig, TakesEveryElementBehindTheFirstItemForAnEntry) {
    const std::string param = element("Configure", completeParam());
    const auto list = [](const std::string& items) {
        return element("Configure", {{"name", "UpdateFileList"}}, items);
    };
    const std::string item = element("ConfigItem", completeEntry());
    const std::string other = element("Other", with(completeEntry(), "armName", "Other"));
    UpdateConfig config;
    ASSERT_TRUE(
        readText(element("Configure", {{"name", "D"}}, param + list(item + other)), config));
    ASSERT_EQ(config.entries.size(), 2U);
    EXPECT_EQ(config.entries[1].armName, "Other");
    expectRefused(element("Configure", {{"name", "D"}}, param + list(item + "<Other/>")));
}

TEST(UpdateConfig, NeedsTheFile) {
    UpdateConfig config;
    EXPECT_FALSE(readUpdateConfig("missing.xml", config));
}

TEST(UpdateConfig, NeedsANameOfTheRootButNoCertainOne) {
    const std::string sections =
        element("Configure", completeParam()) +
        element("Configure", {{"name", "UpdateFileList"}}, element("ConfigItem", completeEntry()));
    UpdateConfig config;
    EXPECT_TRUE(readText(element("Configure", {{"name", ""}}, sections), config));
    EXPECT_FALSE(readText(element("Configure", {}, sections), config));
}

TEST(UpdateConfig, TakesTheListBeforeTheParam) {
    UpdateConfig config;
    EXPECT_TRUE(readText(element("Configure", {{"name", "D"}},
                                 element("Configure", {{"name", "UpdateFileList"}},
                                         element("ConfigItem", completeEntry())) +
                                     element("Configure", completeParam())),
                         config));
}

}  // namespace
