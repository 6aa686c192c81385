#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <string>

#include "technic/DiskManager.h"
#include "tests/technic/DiskWalk.h"
#include "tests/technic/FileSystemAnswers.h"
#include "tests/technic/StdoutCapture.h"

namespace {

namespace fs = std::filesystem;

class RemoveTree : public DiskWalk {
  protected:
    // Expects, too, that it prints `output`.
    bool removeTree(const std::string& path, const std::string& output = "") const {
        StdoutCapture capture;
        const bool isGone = DiskManager::removeTree(path);
        EXPECT_EQ(capture.text(), output);
        return isGone;
    }
    // Whether there is something, be it a link to nothing.
    static bool isThere(const std::string& path) {
        return fs::symlink_status(path).type() != fs::file_type::not_found;
    }
};

TEST_F(RemoveTree, DeletesADirectoryWithAllThatLiesBelowIt) {
    addFiles({"a", "b/1", "b/sub/x"});
    addDirectories({"empty"});
    addPipeAndSocket();
    EXPECT_TRUE(removeTree(tree()));
    EXPECT_FALSE(isThere(tree()));
    EXPECT_TRUE(isOutsideWhole());
}

TEST_F(RemoveTree, DeletesAnEmptyDirectory) {
    EXPECT_TRUE(removeTree(tree()));
    EXPECT_FALSE(isThere(tree()));
}

TEST_F(RemoveTree, DeletesADirectoryGivenWithSlashesAtItsEnd) {
    addFiles({"a"});
    EXPECT_TRUE(removeTree(tree() + "//"));
    EXPECT_FALSE(isThere(tree()));
}

TEST_F(RemoveTree, DeletesADirectoryOfTheWorkingDirectory) {
    fs::create_directories("here/sub");
    EXPECT_TRUE(removeTree("here"));
    EXPECT_FALSE(isThere("here"));
}

TEST_F(RemoveTree, DeletesADirectoryWhoseOwnNameBeginsWithADot) {
    addFiles({".sub/file", "..sub/file"});
    EXPECT_TRUE(removeTree(tree(".sub")));
    EXPECT_TRUE(removeTree(tree("..sub")));
    EXPECT_FALSE(isThere(tree(".sub")));
    EXPECT_FALSE(isThere(tree("..sub")));
}

TEST_F(RemoveTree, DeletesLinksAndNotTheirTargets) {
    addFiles({"file"});
    addDirectories({"sub"});
    addLink("dangling", "nowhere");
    addLink("loop", "loop");
    addLink("to-outside", outside());
    addLink("to-file-outside", outside() + "/kept");
    addLink("sub/to-outside", "../../outside");
    addLink("sub/up", "..");
    EXPECT_TRUE(removeTree(tree()));
    EXPECT_FALSE(isThere(tree()));
    EXPECT_TRUE(isOutsideWhole());
}

TEST_F(RemoveTree, DeletesLinksWhereTheFileSystemDoesNotTellKinds) {
    addFiles({"sub/file"});
    addLink("to-outside", outside());
    const NoEntryKinds unknown;
    EXPECT_TRUE(removeTree(tree()));
    EXPECT_TRUE(isOutsideWhole());
}

class LinkAsRoot : public RemoveTree, public testing::WithParamInterface<const char*> {};

TEST_P(LinkAsRoot, GoesAloneAndItsTargetStays) {
    addLink("link", outside());
    EXPECT_TRUE(removeTree(tree("link") + GetParam()));
    EXPECT_FALSE(isThere(tree("link")));
    EXPECT_TRUE(isOutsideWhole());
}

INSTANTIATE_TEST_SUITE_P(Slashes, LinkAsRoot, testing::Values("", "/", "//"));

TEST_F(RemoveTree, DeletesADanglingLinkAndALinkToItself) {
    addLink("dangling", "nowhere");
    addLink("loop", "loop");
    EXPECT_TRUE(removeTree(tree("dangling")));
    EXPECT_TRUE(removeTree(tree("loop/")));
    EXPECT_FALSE(isThere(tree("dangling")));
    EXPECT_FALSE(isThere(tree("loop")));
}

TEST_F(RemoveTree, FollowsALinkThatThePathLeadsThrough) {
    addFiles({"sub/file"});
    fs::create_symlink("tree", m_folder.path("link"));
    EXPECT_TRUE(removeTree(m_folder.path("link/sub")));
    EXPECT_FALSE(isThere(tree("sub")));
    EXPECT_TRUE(isThere(m_folder.path("link")));
}

TEST_F(RemoveTree, KeepsWhatBeginsWithADotAndTheDirectoriesAboveIt) {
    addFiles({"a/b/.hidden", "a/b/seen", "a/c/seen", ".sub/file"});
    EXPECT_FALSE(removeTree(tree()));
    EXPECT_TRUE(isThere(tree("a/b/.hidden")));
    EXPECT_TRUE(isThere(tree(".sub/file")));
    EXPECT_FALSE(isThere(tree("a/b/seen")));
    EXPECT_FALSE(isThere(tree("a/c")));
}

TEST_F(RemoveTree, NamesAreTakenAsTheyAre) {
    addFiles({" /x", "%s%n%d/ y", "-rf/*", "\n/\n", "~/$(x)", "\xFF\xFE/\xFF"});
    EXPECT_TRUE(removeTree(tree()));
    EXPECT_FALSE(isThere(tree()));
}

class NoRoot : public RemoveTree, public testing::WithParamInterface<const char*> {};

TEST_P(NoRoot, IsNotDeletedAndSaysSo) {
    addFiles({"sub/file", "file"});
    const std::string root = tree(GetParam());
    EXPECT_FALSE(removeTree(root, openError(root)));
    EXPECT_TRUE(isThere(tree("sub/file")));
    EXPECT_TRUE(isThere(tree("file")));
}

INSTANTIATE_TEST_SUITE_P(MissingOrAFile, NoRoot,
                         testing::Values("missing", "missing/sub", "file", "file/sub", "%s%n"));
INSTANTIATE_TEST_SUITE_P(NoNameOfItsOwn, NoRoot,
                         testing::Values(".", "..", "sub/.", "sub/..", "sub/../.."));

TEST_F(RemoveTree, DoesNotReachTheTargetOfALinkBehindADot) {
    addLink("link", outside());
    EXPECT_FALSE(removeTree(tree("link/."), openError(tree("link/."))));
    EXPECT_TRUE(isOutsideWhole());
}

class RootOfAll : public RemoveTree, public testing::WithParamInterface<const char*> {};

TEST_P(RootOfAll, IsNotDeleted) {
    ASSERT_EQ(fs::current_path(), "/job") << "outside the device's sandbox all could be lost";
    fs::create_directory("here");
    fs::current_path("here");
    writeContent("kept", "kept");
    StdoutCapture capture;
    EXPECT_FALSE(DiskManager::removeTree(GetParam()));
    EXPECT_NE(capture.text(), "");
    EXPECT_EQ(contentOf("kept"), "kept");
    EXPECT_TRUE(isThere(tree()));
    fs::current_path("..");
    fs::remove_all("here");
}

INSTANTIATE_TEST_SUITE_P(Paths, RootOfAll,
                         testing::Values("", "/", "//", "/.", "/..", "/./", ".", "./", ".."));

// The entry becomes a file behind the walk's back, so that nobody can open it as a directory.
TEST_F(RemoveTree, GoesOnBehindWhatCannotBeDeleted) {
    addFiles({"a/1", "b/1", "c/1"});
    const BeforeOpening gone("b", [&] {
        fs::remove_all(tree("b"));
        addFiles({"b"});
    });
    EXPECT_FALSE(removeTree(tree(), openError(tree("b"))));
    EXPECT_FALSE(isThere(tree("a")));
    EXPECT_TRUE(isThere(tree("b")));
    EXPECT_FALSE(isThere(tree("c")));
}

TEST_F(RemoveTree, DoesNotFollowADirectoryThatBecameALink) {
    addFiles({"a/1", "b/1"});
    const BeforeOpening swapped("a", [&] {
        fs::remove_all(tree("a"));
        addLink("a", outside());
    });
    EXPECT_FALSE(removeTree(tree(), openError(tree("a"))));
    EXPECT_TRUE(isOutsideWhole());
    EXPECT_FALSE(isThere(tree("b")));
}

TEST_F(RemoveTree, DoesNotFollowARootThatBecameALink) {
    const BeforeOpening swapped("tree", [&] {
        fs::remove(tree());
        fs::create_symlink("outside", tree());
    });
    EXPECT_FALSE(removeTree(tree(), openError(tree())));
    EXPECT_TRUE(isOutsideWhole());
}

// The walk stays in the directory that it opened, wherever the path leads by then.
TEST_F(RemoveTree, DoesNotFollowALinkThatTookThePlaceOfADirectoryAboveIt) {
    addFiles({"a/b/1"});
    const BeforeOpening swapped("b", [&] {
        fs::create_directory(outside() + "/b");
        writeContent(outside() + "/b/1", "kept");
        fs::rename(tree("a"), tree("moved"));
        addLink("a", outside());
    });
    EXPECT_FALSE(removeTree(tree()));
    EXPECT_EQ(contentOf(outside() + "/b/1"), "kept");
    EXPECT_TRUE(isOutsideWhole());
}

class DeepTree : public RemoveTree {
  protected:
    static constexpr int kLevels = 200;

    // With names so long that no path reaches the bottom.
    DeepTree() {
        const std::string name(100, 'd');
        int directory = open(tree().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        for (int i = 0; i < kLevels; ++i) {
            mkdirat(directory, name.c_str(), 0700);
            const int below = openat(directory, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            close(directory);
            directory = below;
        }
        mknodat(directory, "file", S_IFREG | 0600, 0);
        close(directory);
    }
};

TEST_F(DeepTree, IsListedAndDeleted) {
    EXPECT_EQ(DiskManager::listDirs(tree()).size(), static_cast<std::size_t>(kLevels));
    EXPECT_EQ(DiskManager::countFiles(tree()), 1U);
    EXPECT_TRUE(removeTree(tree()));
    EXPECT_FALSE(isThere(tree()));
}

TEST_F(DeepTree, IsNotDeletedWithTooFewDescriptorsAndIsLater) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{100, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    StdoutCapture capture;
    EXPECT_FALSE(DiskManager::removeTree(tree()));
    EXPECT_EQ(capture.text().rfind("open dir(" + tree() + "/d", 0), 0U);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(removeTree(tree()));
}

TEST_F(RemoveTree, LeavesNoDescriptorOpen) {
    addFiles({"a/b/c", "d/.hidden"});
    const int before = dup(STDIN_FILENO);
    close(before);
    (void)removeTree(tree());
    (void)removeTree(tree("missing"), openError(tree("missing")));
    (void)DiskManager::listFiles(tree());
    const int after = dup(STDIN_FILENO);
    close(after);
    EXPECT_EQ(after, before);
}

}  // namespace
