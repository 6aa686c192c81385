#include "technic/DiskManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <string>

#include "tests/technic/ControlDaemon.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/FileSystemAnswers.h"
#include "tests/technic/SocketCalls.h"
#include "tests/technic/StdoutCapture.h"

namespace {

namespace fs = std::filesystem;

// The permissions of what is at the path itself; 0 when there is nothing.
mode_t permissionsOf(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

// The umask of the process, set back at the end.
class Umask {
  public:
    explicit Umask(mode_t mask) : m_before(umask(mask)) {}
    ~Umask() { umask(m_before); }
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;

  private:
    const mode_t m_before;
};

class DiskManagerTest : public testing::Test {
  protected:
    std::string path(const std::string& name) const { return m_folder.path(name); }

  private:
    const DeviceFolder m_folder;
};

using Exists = DiskManagerTest;

TEST_F(Exists, FilesAndDirectoriesDo) {
    writeContent(path("file"), "");
    EXPECT_TRUE(DiskManager::exists(path("file")));
    EXPECT_TRUE(DiskManager::exists(path("")));
}

TEST_F(Exists, MissingThingsDoNot) {
    EXPECT_FALSE(DiskManager::exists(path("nothing")));
    EXPECT_FALSE(DiskManager::exists(""));
}

TEST_F(Exists, FileIsNoDirectoryOnTheWay) {
    writeContent(path("file"), "");
    EXPECT_FALSE(DiskManager::exists(path("file/")));
    EXPECT_FALSE(DiskManager::exists(path("file/below")));
}

TEST_F(Exists, LinkDoesWhenItsTargetDoes) {
    fs::create_symlink("target", path("link"));
    EXPECT_FALSE(DiskManager::exists(path("link")));
    writeContent(path("target"), "");
    EXPECT_TRUE(DiskManager::exists(path("link")));
}

using MakeDirs = DiskManagerTest;

// Whoever is bound by permissions cannot go on below a directory without the right to search it.
TEST_F(MakeDirs, CreatesEveryMissingLevelForTheOwnerToReadAndWrite) {
    ASSERT_TRUE(fs::create_directory(path("one")));
    const mode_t before = permissionsOf(path("one"));
    const int result = DiskManager::makeDirs(path("one/two/three"));
    const bool isBound = access(path("one/two").c_str(), X_OK) != 0;
    EXPECT_EQ(result, isBound ? 0 : 1);
    EXPECT_EQ(permissionsOf(path("one")), before);
    EXPECT_EQ(permissionsOf(path("one/two")), 0600U);
    EXPECT_EQ(permissionsOf(path("one/two/three")), isBound ? 0U : 0600U);
    EXPECT_FALSE(fs::is_regular_file(path("one/two/three")));
}

TEST_F(MakeDirs, TheUsersMaskTakesFromThePermissions) {
    const Umask mask(0277);
    EXPECT_EQ(DiskManager::makeDirs(path("one")), 1);
    EXPECT_EQ(permissionsOf(path("one")), 0400U);
}

TEST_F(MakeDirs, TheUsersMaskAddsNoPermissions) {
    const Umask mask(0);
    EXPECT_EQ(DiskManager::makeDirs(path("one")), 1);
    EXPECT_EQ(permissionsOf(path("one")), 0600U);
}

TEST_F(MakeDirs, SomebodyElseMayCreateALevelMeanwhile) {
    const BeforeMkdir meanwhile([](const char* level) { fs::create_directory(level); });
    EXPECT_EQ(DiskManager::makeDirs(path("one/two")), 1);
    EXPECT_TRUE(fs::is_directory(path("one/two")));
}

TEST_F(MakeDirs, LeavesWhatExistsAsItIs) {
    ASSERT_EQ(mkdir(path("one").c_str(), 0750), 0);
    const mode_t before = permissionsOf(path("one"));
    EXPECT_EQ(DiskManager::makeDirs(path("one")), 1);
    EXPECT_EQ(DiskManager::makeDirs("/"), 1);
    EXPECT_EQ(permissionsOf(path("one")), before);
}

TEST_F(MakeDirs, AFileOfThatNameExists) {
    writeContent(path("file"), "content");
    EXPECT_EQ(DiskManager::makeDirs(path("file")), 1);
    EXPECT_EQ(contentOf(path("file")), "content");
}

TEST_F(MakeDirs, RelativePathIsBuiltFromTheRoot) {
    const std::string relative = path("one").substr(1);
    ASSERT_FALSE(fs::exists(relative)) << "the working directory is not the root";
    EXPECT_EQ(DiskManager::makeDirs(relative), 1);
    EXPECT_TRUE(fs::is_directory(path("one")));
    EXPECT_FALSE(fs::exists(relative.substr(0, relative.find('/'))));
}

TEST_F(MakeDirs, RelativePathThatExistsInTheWorkingDirectoryIsNotBuilt) {
    ASSERT_TRUE(fs::create_directory("here"));
    EXPECT_EQ(DiskManager::makeDirs("here"), 1);
    EXPECT_FALSE(fs::exists("/here"));
    fs::remove("here");
}

TEST_F(MakeDirs, AdjacentAndTrailingSlashesCountAsOne) {
    std::string slashes = "/" + path("one//");
    slashes.replace(slashes.find("/log"), 4, "///log");
    EXPECT_EQ(DiskManager::makeDirs(slashes), 1);
    EXPECT_EQ(permissionsOf(path("one")), 0600U);
}

TEST_F(MakeDirs, NameIsTakenAsItIs) {
    const std::string name = " %s\n$(x) ";
    EXPECT_EQ(DiskManager::makeDirs(path(name)), 1);
    EXPECT_TRUE(fs::is_directory(path(name)));
}

TEST_F(MakeDirs, EmptyPathCreatesNothing) {
    EXPECT_EQ(DiskManager::makeDirs(""), 0);
}

class Obstacle : public DiskManagerTest, public testing::WithParamInterface<const char*> {};

TEST_P(Obstacle, MakesItFailAndStays) {
    writeContent(path("file"), "content");
    fs::create_symlink("nowhere", path("dangling"));
    EXPECT_EQ(DiskManager::makeDirs(path(GetParam())), 0);
    EXPECT_EQ(contentOf(path("file")), "content");
    EXPECT_TRUE(fs::is_symlink(path("dangling")));
    EXPECT_FALSE(fs::exists(path("nowhere")));
}

INSTANTIATE_TEST_SUITE_P(Paths, Obstacle,
                         testing::Values("file/one", "file/one/two", "file/", "dangling",
                                         "dangling/one"));

TEST_F(MakeDirs, LinkToADirectoryOnTheWayIsFollowed) {
    ASSERT_TRUE(fs::create_directory(path("target")));
    fs::create_symlink("target", path("link"));
    EXPECT_EQ(DiskManager::makeDirs(path("link/one")), 1);
    EXPECT_TRUE(fs::is_directory(path("target/one")));
}

using Remove = DiskManagerTest;

TEST_F(Remove, DeletesAFile) {
    writeContent(path("file"), "");
    EXPECT_EQ(DiskManager::remove(path("file")), 0);
    EXPECT_FALSE(fs::exists(path("file")));
}

TEST_F(Remove, DeletesAnEmptyDirectory) {
    ASSERT_TRUE(fs::create_directory(path("one")));
    EXPECT_EQ(DiskManager::remove(path("one")), 0);
    EXPECT_FALSE(fs::exists(path("one")));
}

TEST_F(Remove, DeletesTheLinkAlone) {
    writeContent(path("file"), "");
    fs::create_symlink("file", path("link"));
    EXPECT_EQ(DiskManager::remove(path("link")), 0);
    EXPECT_FALSE(fs::is_symlink(path("link")));
    EXPECT_TRUE(fs::exists(path("file")));
}

TEST_F(Remove, LeavesADirectoryWithEntries) {
    ASSERT_TRUE(fs::create_directory(path("one")));
    writeContent(path("one/.hidden"), "");
    EXPECT_EQ(DiskManager::remove(path("one")), -1);
    EXPECT_TRUE(fs::exists(path("one/.hidden")));
}

TEST_F(Remove, FailsWhenThereIsNothing) {
    EXPECT_EQ(DiskManager::remove(path("nothing")), -1);
}

TEST(Move, SendsTheShellsCommand) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    EXPECT_EQ(DiskManager::move("/mnt/mtd/a", "/hd1/b"), 1);
    EXPECT_EQ(daemon.received(), ControlDaemon::request("mv /mnt/mtd/a /hd1/b"));
}

TEST(Move, SendsTheNamesAsTheyAre) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    EXPECT_EQ(DiskManager::move("a b%s%n\n", " ;c"), 1);
    EXPECT_EQ(daemon.received(), ControlDaemon::request("mv a b%s%n\n  ;c"));
}

TEST(Move, SendsEmptyNames) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    EXPECT_EQ(DiskManager::move("", ""), 1);
    EXPECT_EQ(daemon.received(), ControlDaemon::request("mv  "));
}

class MoveResult : public testing::TestWithParam<std::int32_t> {};

TEST_P(MoveResult, IsNotTold) {
    const ControlDaemon daemon(ControlDaemon::reply(GetParam()));
    EXPECT_EQ(DiskManager::move("a", "b"), 1);
}

INSTANTIATE_TEST_SUITE_P(Codes, MoveResult, testing::Values(1, -1, -9, 256));

TEST(Move, ResultIsTheSameWithoutADaemon) {
    const StderrCapture quiet;
    EXPECT_EQ(DiskManager::move("a", "b"), 1);
}

TEST(Move, WaitsThirtySecondsForTheReply) {
    const ControlDaemon daemon(ControlDaemon::silence());
    SocketCalls calls;
    timeval waited{};
    calls.select = [&](const timeval& wait) {
        waited = wait;
        return 0;
    };
    EXPECT_EQ(DiskManager::move("a", "b"), 1);
    EXPECT_EQ(waited.tv_sec, 30);
    EXPECT_EQ(waited.tv_usec, 0);
}

class LongMove : public testing::TestWithParam<std::size_t> {};

TEST_P(LongMove, IsCutTo999Bytes) {
    ControlDaemon daemon(ControlDaemon::reply(0));
    const std::string from(500, 'a');
    const std::string to(GetParam() - std::strlen("mv ") - from.size() - 1, 'b');
    const std::string command = "mv " + from + " " + to;
    EXPECT_EQ(DiskManager::move(from, to), 1);
    EXPECT_EQ(daemon.received(), ControlDaemon::request(command.substr(0, 999)));
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongMove, testing::Values(999, 1000, 1023, 1024, 100000));

}  // namespace
