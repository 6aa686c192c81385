#include "technic/RegularFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <iterator>
#include <limits>
#include <string>

#include "tests/technic/DeviceFolder.h"

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();

class ReadFile : public testing::Test {
  protected:
    ReadFile() { writeContent(m_path, "0123456789"); }

    DeviceFolder m_folder;
    const std::string m_path = m_folder.path("file");
};

TEST_F(ReadFile, IsOpenWithItsSize) {
    const RegularFile file(m_path);
    EXPECT_TRUE(file.isOpen());
    EXPECT_EQ(file.size(), 10);
}

TEST_F(ReadFile, GivesItsBytesFromAnyPosition) {
    const RegularFile file(m_path);
    std::string bytes(4, ' ');
    EXPECT_TRUE(file.readAt(6, bytes.data(), bytes.size()));
    EXPECT_EQ(bytes, "6789");
    EXPECT_TRUE(file.readAt(0, bytes.data(), bytes.size()));
    EXPECT_EQ(bytes, "0123");
}

TEST_F(ReadFile, GivesNothingFromItsEnd) {
    const RegularFile file(m_path);
    EXPECT_TRUE(file.readAt(10, nullptr, 0));
}

TEST_F(ReadFile, RefusesToReadPastItsEnd) {
    const RegularFile file(m_path);
    std::string bytes(4, ' ');
    EXPECT_FALSE(file.readAt(7, bytes.data(), bytes.size()));
    EXPECT_FALSE(file.readAt(11, bytes.data(), 1));
    EXPECT_FALSE(file.readAt(-1, bytes.data(), 1));
}

TEST_F(ReadFile, RefusesToReadWhatWasCutOffMeanwhile) {
    const RegularFile file(m_path);
    std::filesystem::resize_file(m_path, 3);
    std::string bytes(4, ' ');
    EXPECT_FALSE(file.readAt(0, bytes.data(), bytes.size()));
}

struct RangeCase {
    std::int64_t position;
    std::int64_t length;
    bool isHeld;
};

class FileRange : public ReadFile, public testing::WithParamInterface<RangeCase> {};

TEST_P(FileRange, IsHeldWhenItLiesInTheFile) {
    const RegularFile file(m_path);
    EXPECT_EQ(file.holds(GetParam().position, GetParam().length), GetParam().isHeld);
}

INSTANTIATE_TEST_SUITE_P(Ranges, FileRange,
                         testing::Values(RangeCase{0, 10, true}, RangeCase{0, 11, false},
                                         RangeCase{9, 1, true}, RangeCase{9, 2, false},
                                         RangeCase{10, 0, true}, RangeCase{11, 0, false},
                                         RangeCase{-1, 1, false}, RangeCase{5, -1, false},
                                         RangeCase{kLargest, kLargest, false},
                                         RangeCase{kLargest, 1, false},
                                         RangeCase{1, kLargest, false}));

// What is no regular file, by how it is put at the path.
struct OtherCase {
    const char* name;
    void (*make)(const std::string& path);
};

class NoRegularFile : public testing::TestWithParam<OtherCase> {};

TEST_P(NoRegularFile, IsNotOpened) {
    const DeviceFolder folder;
    const std::string path = folder.path("other");
    GetParam().make(path);
    const RegularFile file(path);
    char byte = ' ';
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.size(), 0);
    EXPECT_FALSE(file.holds(0, 1));
    EXPECT_FALSE(file.readAt(0, &byte, 1));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, NoRegularFile,
    testing::Values(
        OtherCase{"Missing", [](const std::string&) {}},
        OtherCase{"Folder",
                  [](const std::string& path) { std::filesystem::create_directory(path); }},
        OtherCase{"PipeWithoutWriter", [](const std::string& path) { mkfifo(path.c_str(), 0600); }},
        OtherCase{
            "Device",
            [](const std::string& path) { std::filesystem::create_symlink("/dev/zero", path); }},
        OtherCase{"LinkToNothing",
                  [](const std::string& path) { std::filesystem::create_symlink("none", path); }}),
    [](const testing::TestParamInfo<OtherCase>& row) { return row.param.name; });

TEST_F(ReadFile, IsOpenedThroughALink) {
    std::filesystem::create_symlink(m_path, m_folder.path("link"));
    EXPECT_EQ(RegularFile(m_folder.path("link")).size(), 10);
}

TEST_F(ReadFile, IsClosedWithTheObject) {
    const auto openFiles = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    const auto before = openFiles();
    { const RegularFile file(m_path); }
    { const RegularFile folder("/"); }
    EXPECT_EQ(openFiles(), before);
}

}  // namespace
