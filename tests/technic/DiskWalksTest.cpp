#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "technic/DiskManager.h"
#include "tests/technic/DiskWalk.h"
#include "tests/technic/FileSystemAnswers.h"
#include "tests/technic/StdoutCapture.h"

namespace {

namespace fs = std::filesystem;

class BottomDir : public DiskWalk {
  protected:
    // Expects, too, that it says which directory it looks at, and what else is given.
    bool isBottomDir(const std::string& path, const std::string& output = "") const {
        StdoutCapture capture;
        const bool is = DiskManager::isBottomDir(path);
        EXPECT_EQ(capture.text(), "DiskManager::isBottomDir(" + path + ")\n" + output);
        return is;
    }
};

TEST_F(BottomDir, HasNoSubdirectories) {
    EXPECT_TRUE(isBottomDir(tree()));
    addFiles({"a", "b"});
    EXPECT_TRUE(isBottomDir(tree()));
    addDirectories({"sub"});
    EXPECT_FALSE(isBottomDir(tree()));
}

TEST_F(BottomDir, MayHaveDirectoriesThatBeginWithADot) {
    addDirectories({".hidden", "..data", "..."});
    EXPECT_TRUE(isBottomDir(tree()));
    addDirectories({"a.b."});
    EXPECT_FALSE(isBottomDir(tree()));
}

TEST_F(BottomDir, MayHaveLinksToDirectoriesPipesAndSockets) {
    addLink("link", outside());
    addPipeAndSocket();
    EXPECT_TRUE(isBottomDir(tree()));
}

TEST_F(BottomDir, IsWhatCannotBeOpened) {
    addFiles({"file"});
    EXPECT_TRUE(isBottomDir(tree("missing"), openError(tree("missing"))));
    EXPECT_TRUE(isBottomDir(tree("file"), openError(tree("file"))));
    EXPECT_TRUE(isBottomDir("", openError("")));
    EXPECT_TRUE(isBottomDir("%s%n", openError("%s%n")));
}

TEST_F(BottomDir, PipeIsNotOpened) {
    addPipeAndSocket();
    EXPECT_TRUE(isBottomDir(tree("pipe"), openError(tree("pipe"))));
}

TEST_F(BottomDir, LinkToADirectoryIsFollowed) {
    addDirectories({"sub"});
    fs::create_symlink(tree(), m_folder.path("link"));
    EXPECT_FALSE(isBottomDir(m_folder.path("link")));
}

TEST_F(BottomDir, KindsAreFoundOutWhereTheFileSystemDoesNotTell) {
    addLink("link", outside());
    addFiles({"file"});
    const NoEntryKinds unknown;
    EXPECT_TRUE(isBottomDir(tree()));
    addDirectories({"sub"});
    EXPECT_FALSE(isBottomDir(tree()));
}

class EmptyDir : public DiskWalk {
  protected:
    bool isEmptyDir(const std::string& path, const std::string& output = "") const {
        StdoutCapture capture;
        const bool is = DiskManager::isEmptyDir(path);
        EXPECT_EQ(capture.text(), output);
        return is;
    }
};

TEST_F(EmptyDir, MayHaveEntriesThatBeginWithADot) {
    EXPECT_TRUE(isEmptyDir(tree()));
    addFiles({"..file", "...", ".hidden/file"});
    EXPECT_TRUE(isEmptyDir(tree()));
}

TEST_F(EmptyDir, HasNoFile) {
    addFiles({"file"});
    EXPECT_FALSE(isEmptyDir(tree()));
}

TEST_F(EmptyDir, HasNoSubdirectory) {
    addDirectories({"sub"});
    EXPECT_FALSE(isEmptyDir(tree()));
}

TEST_F(EmptyDir, HasNoLinkEvenToNothing) {
    addLink("dangling", "nowhere");
    EXPECT_FALSE(isEmptyDir(tree()));
}

TEST_F(EmptyDir, IsWhatCannotBeOpened) {
    addFiles({"file"});
    EXPECT_TRUE(isEmptyDir(tree("missing"), openError(tree("missing"))));
    EXPECT_TRUE(isEmptyDir(tree("file"), openError(tree("file"))));
    EXPECT_TRUE(isEmptyDir("", openError("")));
}

TEST_F(DiskWalk, ListsFilesAndDirectoriesInTheOrderOfTheirNames) {
    addFiles({"b/2", "b/1", "c", "a", "b/sub/x", "d/1"});
    EXPECT_EQ(DiskManager::listFiles(tree()), inTree({"a", "b/1", "b/2", "b/sub/x", "c", "d/1"}));
    EXPECT_EQ(DiskManager::listDirs(tree()), inTree({"b", "b/sub", "d"}));
    EXPECT_EQ(DiskManager::countFiles(tree()), 6U);
}

TEST_F(DiskWalk, DoesNotSeeWhatBeginsWithADot) {
    addFiles({".hidden", ".sub/file", "sub/..file", "sub/a.b"});
    EXPECT_EQ(DiskManager::listFiles(tree()), inTree({"sub/a.b"}));
    EXPECT_EQ(DiskManager::listDirs(tree()), inTree({"sub"}));
    EXPECT_EQ(DiskManager::countFiles(tree()), 1U);
}

TEST_F(DiskWalk, OfAnEmptyDirectoryFindsNothing) {
    StdoutCapture capture;
    EXPECT_EQ(DiskManager::listFiles(tree()), Paths{});
    EXPECT_EQ(DiskManager::listDirs(tree()), Paths{});
    EXPECT_EQ(DiskManager::countFiles(tree()), 0U);
    EXPECT_EQ(capture.text(), "");
}

TEST_F(DiskWalk, OfWhatCannotBeOpenedFindsNothingAndSaysSo) {
    addFiles({"file"});
    StdoutCapture capture;
    EXPECT_EQ(DiskManager::listFiles(tree("missing")), Paths{});
    EXPECT_EQ(DiskManager::listDirs(tree("file")), Paths{});
    EXPECT_EQ(DiskManager::countFiles(""), 0U);
    EXPECT_EQ(capture.text(), openError(tree("missing")) + openError(tree("file")) + openError(""));
}

TEST_F(DiskWalk, PassesOverADirectoryThatIsGoneMeanwhile) {
    addFiles({"a/1", "b/%s%n/1", "c/1"});
    const BeforeOpening gone("%s%n", [&] { fs::remove_all(tree("b/%s%n")); });
    StdoutCapture capture;
    EXPECT_EQ(DiskManager::listFiles(tree()), inTree({"a/1", "c/1"}));
    EXPECT_EQ(capture.text(), openError(tree("b/%s%n")));
}

TEST_F(DiskWalk, DoesNotFollowADirectoryThatBecameALink) {
    addFiles({"a/1", "b/1"});
    const BeforeOpening swapped("a", [&] {
        fs::remove_all(tree("a"));
        addLink("a", outside());
    });
    StdoutCapture capture;
    EXPECT_EQ(DiskManager::listFiles(tree()), inTree({"b/1"}));
    EXPECT_EQ(capture.text(), openError(tree("a")));
}

TEST_F(DiskWalk, LinksCountAsFilesAndAreNotFollowed) {
    addDirectories({"sub"});
    addLink("dangling", "nowhere");
    addLink("loop", "loop");
    addLink("outside", outside());
    addLink("sub/up", "..");
    StdoutCapture capture;
    EXPECT_EQ(DiskManager::listFiles(tree()), inTree({"dangling", "loop", "outside", "sub/up"}));
    EXPECT_EQ(DiskManager::listDirs(tree()), inTree({"sub"}));
    EXPECT_EQ(capture.text(), "");
}

TEST_F(DiskWalk, KindsAreFoundOutWhereTheFileSystemDoesNotTell) {
    addFiles({"sub/1"});
    addLink("link", outside());
    const NoEntryKinds unknown;
    EXPECT_EQ(DiskManager::listFiles(tree()), inTree({"link", "sub/1"}));
    EXPECT_EQ(DiskManager::listDirs(tree()), inTree({"sub"}));
}

TEST_F(DiskWalk, PipesAndSocketsCountAsFilesAndAreNotOpened) {
    addPipeAndSocket();
    EXPECT_EQ(DiskManager::listFiles(tree()), inTree({"pipe", "socket"}));
}

TEST_F(DiskWalk, StartsAtTheTargetOfALink) {
    addFiles({"file"});
    const std::string link = m_folder.path("link");
    fs::create_symlink("tree", link);
    EXPECT_EQ(DiskManager::listFiles(link), Paths{link + "/file"});
}

TEST_F(DiskWalk, SlashAtTheEndIsNotDoubled) {
    addFiles({"sub/1"});
    EXPECT_EQ(DiskManager::listFiles(tree() + "/"), inTree({"sub/1"}));
}

TEST_F(DiskWalk, NamesAreTakenAsTheyAre) {
    const Paths names = {" ", "%s%n%d", "-rf", "\n", "a\nb c", "\xFF\xFE", "~", "$(x)*;"};
    addFiles(names);
    Paths found = DiskManager::listFiles(tree());
    Paths expected = inTree(names);
    std::sort(found.begin(), found.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(found, expected);
}

}  // namespace
