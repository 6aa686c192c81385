#include "technic/BufferedFile.h"

#include <gtest/gtest.h>

#include <fcntl.h>

#include <cstring>
#include <string>

#include "tests/technic/MemoryFile.h"

namespace {

constexpr unsigned kAppendOnly = BufferedFile::kWrite | BufferedFile::kAppend;

// What a file that held "old" holds after "new" was written to it through `flags`.
std::string contentAfterWriting(unsigned flags) {
    const MemoryFile memory("old");
    BufferedFile file;
    if (!file.open(memory.path().c_str(), flags)) {
        return "refused";
    }
    if (file.write("new!", 4) != 4) {
        return "not writable";
    }
    return file.close() == 0 ? memory.content() : "close failed";
}

struct ModeCase {
    unsigned flags;
    const char* outcome;
};

class OpenMode : public testing::TestWithParam<ModeCase> {};

TEST_P(OpenMode, DecidesWhatAWriteDoes) {
    EXPECT_EQ(contentAfterWriting(GetParam().flags), GetParam().outcome);
}

INSTANTIATE_TEST_SUITE_P(Accepted, OpenMode,
                         testing::Values(ModeCase{2 | 64, "new!"}, ModeCase{2 | 32 | 64, "new!"},
                                         ModeCase{2, "oldnew!"}, ModeCase{34, "oldnew!"},
                                         ModeCase{4, "new!"}, ModeCase{4 | 32, "oldnew!"},
                                         ModeCase{4 | 32 | 64, "new!"}));

INSTANTIATE_TEST_SUITE_P(Refused, OpenMode,
                         testing::Values(ModeCase{0, "refused"}, ModeCase{1 | 2, "refused"},
                                         ModeCase{1 | 4, "refused"}, ModeCase{2 | 4, "refused"},
                                         ModeCase{1 | 2 | 4, "refused"}, ModeCase{32, "refused"},
                                         ModeCase{64, "refused"}, ModeCase{1 | 32, "refused"},
                                         ModeCase{1 | 64, "refused"}, ModeCase{4 | 64, "refused"},
                                         ModeCase{2 | 8, "refused"}));

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
