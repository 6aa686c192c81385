#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <cstdint>
#include <filesystem>
#include <ostream>

#include "technic/DiskManager.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/FileSystemAnswers.h"

namespace {

struct SizeCase {
    std::uint64_t blockBytes;
    std::uint64_t blocks;
    std::uint64_t freeBlocks;
    std::uint32_t total;
    std::uint32_t used;
};

void PrintTo(const SizeCase& row, std::ostream* out) {
    *out << row.blocks << " blocks of " << row.blockBytes << " bytes, " << row.freeBlocks
         << " free";
}

class FileSystemSize : public testing::TestWithParam<SizeCase> {};

TEST_P(FileSystemSize, IsTold) {
    struct statfs size {};
    using Blocks = decltype(size.f_blocks);
    size.f_bsize = static_cast<decltype(size.f_bsize)>(GetParam().blockBytes);
    size.f_blocks = static_cast<Blocks>(GetParam().blocks);
    size.f_bfree = static_cast<Blocks>(GetParam().freeBlocks);
    size.f_bavail = 0;
    const FixedFileSystem fixed(size);
    std::uint32_t total = 77;
    std::uint32_t used = 88;
    EXPECT_TRUE(DiskManager::diskSpace("/", total, used));
    EXPECT_EQ(total, GetParam().total);
    EXPECT_EQ(used, GetParam().used);
}

INSTANTIATE_TEST_SUITE_P(Megabytes, FileSystemSize,
                         testing::Values(SizeCase{4096, 2560, 256, 10, 9},
                                         SizeCase{1024, 2048, 2048, 2, 0},
                                         SizeCase{1024, 2048, 0, 2, 2},
                                         SizeCase{4096, 0, 0, 0, 0}));

INSTANTIATE_TEST_SUITE_P(RestsBelowAMegabyteAreDropped, FileSystemSize,
                         testing::Values(SizeCase{1024, 2047, 1, 1, 1},
                                         SizeCase{1024, 2047, 1024, 1, 0},
                                         SizeCase{4096, 511, 0, 1, 1},
                                         SizeCase{4096, 255, 0, 0, 0}));

INSTANTIATE_TEST_SUITE_P(BlockSizesAreWholeKilobytes, FileSystemSize,
                         testing::Values(SizeCase{512, 4096000, 0, 0, 0},
                                         SizeCase{1023, 4096, 0, 0, 0},
                                         SizeCase{1536, 4096, 2048, 4, 2},
                                         SizeCase{131072, 16, 8, 2, 1}));

// 2^32 kilobytes are 4 terabytes.
INSTANTIATE_TEST_SUITE_P(KilobytesHave32Bits, FileSystemSize,
                         testing::Values(SizeCase{4096, 0x3FFFFFFF, 0, 0x3FFFFF, 0x3FFFFF},
                                         SizeCase{4096, 0x40000000, 0, 0, 0},
                                         SizeCase{4096, 0x40000200, 0x200, 2, 0},
                                         SizeCase{1024, 0x80000000, 0, 0x200000, 0x200000},
                                         SizeCase{1024, 0xFFFFFFFF, 0x400, 0x3FFFFF, 0x3FFFFE}));

class DiskSpace : public testing::Test {
  protected:
    const DeviceFolder m_folder;
};

// A file system that is written to meanwhile changes its free blocks, so this asks again then.
TEST_F(DiskSpace, AgreesWithTheFileSystem) {
    std::uint32_t used = 0;
    std::uint32_t least = 0;
    std::uint32_t most = 0;
    for (int attempt = 0; attempt < 20; ++attempt) {
        struct statvfs before {};
        struct statvfs after {};
        std::uint32_t total = 0;
        ASSERT_EQ(statvfs(m_folder.path("").c_str(), &before), 0);
        ASSERT_TRUE(DiskManager::diskSpace(m_folder.path(""), total, used));
        ASSERT_EQ(statvfs(m_folder.path("").c_str(), &after), 0);
        const auto megabytes = [](std::uint64_t blocks, std::uint64_t blockBytes) {
            return static_cast<std::uint32_t>(blocks * (blockBytes / 1024) % 0x100000000U / 1024);
        };
        ASSERT_EQ(total, megabytes(before.f_blocks, before.f_bsize));
        least = megabytes(before.f_blocks - before.f_bfree, before.f_bsize);
        most = megabytes(after.f_blocks - after.f_bfree, after.f_bsize);
        if (least == most) {
            break;
        }
    }
    EXPECT_EQ(used, least);
    EXPECT_EQ(used, most);
}

TEST_F(DiskSpace, CreatesThePathWhenItIsMissing) {
    std::uint32_t total = 0;
    std::uint32_t used = 0;
    EXPECT_TRUE(DiskManager::diskSpace(m_folder.path("one"), total, used));
    EXPECT_EQ(std::filesystem::status(m_folder.path("one")).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(DiskSpace, IsUnknownWhenThePathCannotBeCreated) {
    writeContent(m_folder.path("file"), "");
    std::uint32_t total = 77;
    std::uint32_t used = 88;
    EXPECT_FALSE(DiskManager::diskSpace(m_folder.path("file/one"), total, used));
    EXPECT_FALSE(DiskManager::diskSpace("", total, used));
    EXPECT_EQ(total, 77U);
    EXPECT_EQ(used, 88U);
}

}  // namespace
