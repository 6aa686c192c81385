#include "technic/BufferedFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <system_error>

#include "tests/technic/DeviceFolder.h"
#include "tests/technic/MemoryFile.h"
#include "tests/technic/SystemAnswers.h"

namespace {

constexpr unsigned kAppendOnly = BufferedFile::kWrite | BufferedFile::kAppend;

// How the descriptor of `path` that this process holds is open; empty when it holds none.
std::string accessTo(const std::string& path) {
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        std::error_code ignored;
        const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
        if (std::filesystem::read_symlink(link, ignored) != path) {
            continue;
        }
        const int flags = fcntl(descriptor, F_GETFL);
        const int access = flags & O_ACCMODE;
        const std::string end = (flags & O_APPEND) != 0 ? " at the end" : "";
        return (access == O_RDONLY ? "reads" : access == O_WRONLY ? "writes" : "updates") + end;
    }
    return "";
}

// What opening with `flags` does, to a file that is there and to one that is missing.
std::string opening(unsigned flags) {
    const DeviceFolder folder;
    const std::string present = folder.path("present");
    const std::string missing = folder.path("missing");
    writeContent(present, "old");
    BufferedFile file;
    std::string outcome = file.open(present.c_str(), flags) ? accessTo(present) : "refused";
    outcome += contentOf(present) == "old" ? ", keeps" : ", empties";
    const bool isOpen = file.open(missing.c_str(), flags);
    EXPECT_EQ(isOpen, std::filesystem::exists(missing));
    return outcome + (isOpen ? ", makes" : "");
}

struct ModeCase {
    unsigned flags;
    // With the mode of fopen that it stands for.
    const char* outcome;
};

constexpr std::array<ModeCase, 8> kModes{{
    {1, "reads, keeps"},                           // rb
    {2 | 64, "writes, empties, makes"},            // wb
    {2 | 32 | 64, "writes, empties, makes"},       // wb
    {2, "writes at the end, keeps, makes"},        // ab
    {2 | 32, "writes at the end, keeps, makes"},   // ab
    {4, "updates, keeps"},                         // r+b
    {4 | 32, "updates at the end, keeps, makes"},  // a+b
    {4 | 32 | 64, "updates, empties, makes"},      // w+b
}};

class OpenMode : public testing::TestWithParam<ModeCase> {};

TEST_P(OpenMode, IsThatOfTheFlags) {
    EXPECT_EQ(opening(GetParam().flags), GetParam().outcome);
}

INSTANTIATE_TEST_SUITE_P(Accepted, OpenMode, testing::ValuesIn(kModes));

class OpenModeForWriting : public testing::TestWithParam<unsigned> {};

TEST_P(OpenModeForWriting, NeverWaitsForTheReaderOfAPipe) {
    const DeviceFolder folder;
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    constexpr unsigned kHangSeconds = 30;
    (void)alarm(kHangSeconds);
    BufferedFile file;
    EXPECT_FALSE(file.open(pipe.c_str(), GetParam()));

    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_TRUE(file.open(pipe.c_str(), GetParam()));
    const std::string more(100000, 'x');  // than a pipe holds
    EXPECT_EQ(file.write(more.data(), more.size()), -1);
    (void)alarm(0);
    close(reader);
}

INSTANTIATE_TEST_SUITE_P(All, OpenModeForWriting, testing::Values(2, 2 | 32, 2 | 64, 2 | 32 | 64));

TEST(OpenModeOfAnyOtherFlags, IsRefusedAndTouchesNoFile) {
    const DeviceFolder folder;
    const std::string present = folder.path("present");
    const std::string missing = folder.path("missing");
    writeContent(present, "old");
    for (unsigned flags = 0; flags < 256; ++flags) {
        const bool isAccepted =
            std::any_of(kModes.begin(), kModes.end(),
                        [flags](const ModeCase& row) { return row.flags == flags; });
        BufferedFile file;
        if (!isAccepted) {
            EXPECT_FALSE(file.open(present.c_str(), flags)) << flags;
            EXPECT_FALSE(file.open(missing.c_str(), flags)) << flags;
            EXPECT_FALSE(file.isOpen()) << flags;
        }
    }
    EXPECT_EQ(contentOf(present), "old");
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST(OpenModeOfUpdate, OverwritesFromTheStart) {
    const MemoryFile memory("longer content");
    BufferedFile file;
    ASSERT_TRUE(file.open(memory.path().c_str(), BufferedFile::kUpdate));
    EXPECT_EQ(file.write("NEW", 3), 3);
    file.close();
    EXPECT_EQ(memory.content(), "NEWger content");
}

TEST(BufferedFile, ReadAloneOpensButCannotWrite) {
    const MemoryFile memory("old");
    BufferedFile file;
    ASSERT_TRUE(file.open(memory.path().c_str(), BufferedFile::kRead));
    EXPECT_EQ(file.write("new", 3), -1);
    file.close();
    EXPECT_EQ(memory.content(), "old");
}

TEST(BufferedFile, IsClosedAtFirst) {
    BufferedFile file;
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.write("x", 1), -1);
    EXPECT_EQ(file.flush(), -1);
    EXPECT_EQ(file.size(), -1);
}

TEST(BufferedFile, ClosingAClosedFileSucceeds) {
    BufferedFile file;
    EXPECT_EQ(file.close(), 0);
    const MemoryFile memory;
    ASSERT_TRUE(file.open(memory.path().c_str(), kAppendOnly));
    EXPECT_EQ(file.close(), 0);
    EXPECT_FALSE(file.isOpen());
    EXPECT_EQ(file.close(), 0);
}

TEST(BufferedFile, NullPathIsRefused) {
    BufferedFile file;
    EXPECT_FALSE(file.open(nullptr, kAppendOnly));
    EXPECT_FALSE(file.isOpen());
}

TEST(BufferedFile, PathThatCannotBeOpenedIsRefused) {
    BufferedFile file;
    EXPECT_FALSE(file.open("/no/such/folder/file", kAppendOnly));
    EXPECT_FALSE(file.open("/", kAppendOnly));
    EXPECT_FALSE(file.open("", kAppendOnly));
    EXPECT_FALSE(file.isOpen());
}

TEST(BufferedFile, FailedOpenLeavesItClosed) {
    const MemoryFile memory;
    BufferedFile file;
    ASSERT_TRUE(file.open(memory.path().c_str(), kAppendOnly));
    EXPECT_FALSE(file.open(nullptr, kAppendOnly));
    EXPECT_FALSE(file.isOpen());
}

TEST(BufferedFile, OpeningAnotherFileClosesTheFormer) {
    const MemoryFile former;
    const MemoryFile next;
    BufferedFile file;
    ASSERT_TRUE(file.open(former.path().c_str(), kAppendOnly));
    file.write("kept", 4);
    ASSERT_TRUE(file.open(next.path().c_str(), kAppendOnly));
    EXPECT_EQ(former.content(), "kept");
}

TEST(BufferedFile, NullBufferIsRefused) {
    const MemoryFile memory;
    BufferedFile file;
    ASSERT_TRUE(file.open(memory.path().c_str(), kAppendOnly));
    EXPECT_EQ(file.write(nullptr, 3), -1);
}

TEST(BufferedFile, WritingNothingSucceeds) {
    const MemoryFile memory;
    BufferedFile file;
    ASSERT_TRUE(file.open(memory.path().c_str(), kAppendOnly));
    EXPECT_EQ(file.write("", 0), 0);
}

TEST(BufferedFile, FlushHandsDataToTheSystem) {
    const MemoryFile memory("12");
    BufferedFile file;
    ASSERT_TRUE(file.open(memory.path().c_str(), kAppendOnly));
    EXPECT_EQ(file.write("345", 3), 3);
    EXPECT_EQ(file.size(), 2);
    EXPECT_EQ(file.flush(), 0);
    EXPECT_EQ(file.size(), 5);
    EXPECT_EQ(memory.content(), "12345");
}

TEST(BufferedFile, SizeOfAFileWithoutStatusIsNotTold) {
    const MemoryFile memory("12");
    BufferedFile file;
    ASSERT_TRUE(file.open(memory.path().c_str(), kAppendOnly));
    const NoFileStatus refused;
    EXPECT_EQ(file.size(), -1);
}

TEST(BufferedFile, IsClosedWhenTheObjectGoes) {
    const MemoryFile memory;
    {
        BufferedFile file;
        ASSERT_TRUE(file.open(memory.path().c_str(), kAppendOnly));
        file.write("kept", 4);
    }
    EXPECT_EQ(memory.content(), "kept");
}

TEST(BufferedFile, FullDeviceFailsTheFlushAndTheClose) {
    BufferedFile file;
    ASSERT_TRUE(file.open("/dev/full", kAppendOnly));
    EXPECT_EQ(file.write("lost", 4), 4);
    EXPECT_EQ(file.flush(), -1);
    EXPECT_EQ(file.write("more", 4), -1);
    EXPECT_EQ(file.close(), -1);
    EXPECT_FALSE(file.isOpen());
}

}  // namespace
