#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>

#include "app/EntryPreparation.h"
#include "tests/app/JobFolder.h"

namespace {

UpdateFileEntry entryOf(const std::string& fileName) {
    UpdateFileEntry entry;
    entry.armType = 3;
    entry.armName = "ARM3";
    entry.versionPosition = "0x10";
    entry.hardwareInfoPosition = "20";
    entry.fileName = fileName;
    entry.hardwareInfoLength = 4;
    return entry;
}

class Preparation : public testing::Test {
  protected:
    void SetUp() override { writeFile("arm3.bin", firmware()); }
    std::optional<PreparedEntry> prepare() const { return prepareEntry(m_entry, ""); }

    UpdateFileEntry m_entry = entryOf("arm3.bin");
};

TEST_F(Preparation, PrintsTheVersionFromTheThirdByteToTheFirst) {
    EXPECT_EQ(prepare()->fileVersion, "2105");
}

TEST_F(Preparation, PrintsTheHardwareInformationFromTheLastByteToTheFirst) {
    EXPECT_EQ(prepare()->fileHardware, "ff0cab01");
}

TEST_F(Preparation, CarriesTheConfiguredValues) {
    m_entry.hardwareInfoMask = "ff00";
    m_entry.ForceUpdate = true;
    const auto prepared = prepare();
    EXPECT_EQ(prepared->armType, 3);
    EXPECT_EQ(prepared->armName, "ARM3");
    EXPECT_EQ(prepared->fileName, "arm3.bin");
    EXPECT_EQ(prepared->hardwareInfoMask, "ff00");
    EXPECT_TRUE(prepared->ForceUpdate);
    EXPECT_FALSE(prepared->HigherVersion);
}

TEST_F(Preparation, CarriesTheFlagsApart) {
    m_entry.HigherVersion = true;
    EXPECT_FALSE(prepare()->ForceUpdate);
    EXPECT_TRUE(prepare()->HigherVersion);
}

TEST_F(Preparation, PutsThePrefixBeforeTheNameWithoutASeparator) {
    std::filesystem::create_directory("images");
    writeFile("images/v2-arm3.bin", firmware());
    EXPECT_EQ(prepareEntry(m_entry, "images/v2-")->filePath, "images/v2-arm3.bin");
    EXPECT_FALSE(prepareEntry(m_entry, "images"));
}

struct PositionRow {
    const char* what;
    const char* position;
    const char* version;  // null when the entry is dropped
};

void PrintTo(const PositionRow& row, std::ostream* out) {
    *out << row.what;
}

class VersionPosition : public testing::TestWithParam<PositionRow> {};

TEST_P(VersionPosition, IsAHexadecimalNumber) {
    std::string bytes(512, '\0');
    bytes.replace(0, 3, std::string("\x01\x02\x03", 3));
    bytes.replace(256, 3, std::string("\xFF\x00\x07", 3));
    bytes.replace(509, 3, std::string("\x09\x08\x07", 3));
    writeFile("a.bin", bytes);
    UpdateFileEntry entry = entryOf("a.bin");
    entry.versionPosition = GetParam().position;
    const auto prepared = prepareEntry(entry, "");
    ASSERT_EQ(prepared.has_value(), GetParam().version != nullptr);
    if (prepared) {
        EXPECT_EQ(prepared->fileVersion, GetParam().version);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Positions, VersionPosition,
    testing::Values(
        PositionRow{"WithoutPrefix", "100", "70255"}, PositionRow{"WithPrefix", "0x100", "70255"},
        PositionRow{"WithUpperCasePrefix", "0X100", "70255"},
        PositionRow{"LeadingBlanks", "  100", "70255"},
        PositionRow{"TrailingText", "100h", "70255"}, PositionRow{"UpperCase", "1FD", "789"},
        PositionRow{"LastThree", "1fd", "789"}, PositionRow{"NoNumber", "zz", "321"},
        PositionRow{"Empty", "", "321"}, PositionRow{"TwoBytesLeft", "1fe", nullptr},
        PositionRow{"AtTheEnd", "200", nullptr}, PositionRow{"BeyondTheEnd", "7fffffff", nullptr},
        PositionRow{"BeyondEveryNumber", "ffffffffffffffffffffffff", nullptr},
        PositionRow{"Negative", "-1", nullptr}),
    [](const auto& test) { return test.param.what; });

// Where a word has 32 bits, too.
TEST_F(Preparation, ReadsAFileBeyondFourGigabytes) {
    constexpr std::uintmax_t kPosition = 0x100000010;
    std::filesystem::resize_file("arm3.bin", kPosition);
    std::ofstream("arm3.bin", std::ios::binary | std::ios::app) << "\x01\x02\x03";
    m_entry.versionPosition = "100000010";
    ASSERT_TRUE(prepare());
    EXPECT_EQ(prepare()->fileVersion, "321");
}

struct HardwareRow {
    const char* what;
    const char* position;
    int length;
    const char* hardware;  // null when the entry is dropped
};

void PrintTo(const HardwareRow& row, std::ostream* out) {
    *out << row.what;
}

class HardwareInformation : public testing::TestWithParam<HardwareRow> {};

TEST_P(HardwareInformation, IsReadExactlyOrTheEntryIsDropped) {
    writeFile("a.bin", firmware());
    UpdateFileEntry entry = entryOf("a.bin");
    entry.hardwareInfoPosition = GetParam().position;
    entry.hardwareInfoLength = GetParam().length;
    const auto prepared = prepareEntry(entry, "");
    ASSERT_EQ(prepared.has_value(), GetParam().hardware != nullptr);
    if (prepared) {
        EXPECT_EQ(prepared->fileHardware, GetParam().hardware);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, HardwareInformation,
    testing::Values(HardwareRow{"OneByte", "21", 1, "ab"}, HardwareRow{"LastByte", "3f", 1, "77"},
                    HardwareRow{"NoLength", "20", 0, ""},
                    HardwareRow{"NegativeLength", "20", -5, ""},
                    HardwareRow{"NoLengthBeyondTheEnd", "1000", 0, ""},
                    HardwareRow{"OneByteTooMany", "3f", 2, nullptr},
                    HardwareRow{"BeyondTheEnd", "1000", 1, nullptr},
                    HardwareRow{"NegativePosition", "-20", 1, nullptr},
                    HardwareRow{"HugeLength", "0", 2000000000, nullptr},
                    HardwareRow{"HugeLengthAtAHugePosition", "7fffffff", 2147483647, nullptr}),
    [](const auto& test) { return test.param.what; });

TEST(HardwareInformationLength, TakesNoMemoryThatTheFileCouldNotFill) {
    writeFile("a.bin", firmware());
    UpdateFileEntry entry = entryOf("a.bin");
    entry.hardwareInfoLength = 2000000000;
    EXPECT_FALSE(prepareEntry(entry, ""));
    rusage usage{};
    ASSERT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    EXPECT_LT(usage.ru_maxrss, 1000000);  // in units of 1024 bytes
}

TEST(DroppedEntry, HasNoFile) {
    EXPECT_FALSE(prepareEntry(entryOf("missing.bin"), ""));
}

TEST(DroppedEntry, HasAnEmptyFile) {
    writeFile("empty.bin", "");
    EXPECT_FALSE(prepareEntry(entryOf("empty.bin"), ""));
}

TEST(DroppedEntry, HasAFolderAsFile) {
    std::filesystem::create_directory("folder.bin");
    EXPECT_FALSE(prepareEntry(entryOf("folder.bin"), ""));
}

TEST(DroppedEntry, HasAPipeAsFile) {
    ASSERT_EQ(mkfifo("pipe.bin", 0600), 0);
    EXPECT_FALSE(prepareEntry(entryOf("pipe.bin"), ""));
}

TEST(DroppedEntry, HasADeviceAsFile) {
    EXPECT_FALSE(prepareEntry(entryOf("zero"), "/dev/"));
}

TEST(DroppedEntry, HasANameThatNoFileCanHave) {
    EXPECT_FALSE(prepareEntry(entryOf(std::string(10000, 'x')), ""));
}

}  // namespace
