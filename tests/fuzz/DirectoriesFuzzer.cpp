// The walks through directories, whose names come from whoever wrote on the disk. Input: the
// entries of a tree, each as a byte that says what it is (Kind, below) and a text for its name; an
// entry that cannot be made is left out.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "technic/DiskManager.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"

namespace {

namespace fs = std::filesystem;

enum Kind : unsigned { kFile, kDirectory, kUp, kLinkOutside, kLinkIntoItself, kPath, kKinds };

const std::string kTree = "/tmp/tree";
const std::string kOutside = "/tmp/outside";
constexpr std::size_t kMostLevels = 40;

std::string nameOf(std::string text) {
    std::replace(text.begin(), text.end(), '/', '_');
    return upToZero(text);
}

void makeEntry(unsigned kind, const std::string& name, std::vector<fs::path>& directories) {
    const fs::path path = directories.back() / name;
    std::error_code ignored;
    switch (kind) {
        case kFile:
            std::ofstream(path) << "x";
            break;
        case kDirectory:
            if (directories.size() < kMostLevels && fs::create_directory(path, ignored)) {
                directories.push_back(path);
            }
            break;
        case kLinkOutside:
            fs::create_directory_symlink(kOutside, path, ignored);
            break;
        case kLinkIntoItself:
            fs::create_directory_symlink(kTree, path, ignored);
            break;
        default:
            directories.resize(std::max<std::size_t>(1, directories.size() - 1));
    }
}

void makeTree(FuzzInput& input) {
    fs::remove_all(kTree);
    fs::create_directory(kTree);
    fs::create_directory(kOutside);
    std::ofstream(kOutside + "/file") << "x";
    std::vector<fs::path> directories{kTree};
    while (!input.isAtEnd()) {
        const unsigned kind = input.byte() % kKinds;
        const std::string name = input.text();
        if (kind == kPath && name.find("..") == std::string::npos) {
            (void)DiskManager::makeDirs(directories.back().string() + "/" + upToZero(name));
        } else {
            makeEntry(kind, nameOf(name), directories);
        }
    }
}

struct Content {
    std::vector<std::string> files;
    std::vector<std::string> directories;
    bool hasHidden = false;
};

void look(const std::string& directory, Content& content) {
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        const std::string path = entry.path().string();
        if (entry.path().filename().string().front() == '.') {
            content.hasHidden = true;
        } else if (entry.is_symlink() || !entry.is_directory()) {
            content.files.push_back(path);
        } else {
            content.directories.push_back(path);
            look(path, content);
        }
    }
}

std::vector<std::string> sorted(std::vector<std::string> paths) {
    std::sort(paths.begin(), paths.end());
    return paths;
}

void requireSpace() {
    std::uint32_t total = 0;
    std::uint32_t used = 0;
    require(DiskManager::diskSpace(kTree, total, used), "there is a disk below a directory");
}

void requireLists(const Content& content) {
    require(sorted(DiskManager::listFiles(kTree)) == sorted(content.files), "every file is listed");
    require(sorted(DiskManager::listDirs(kTree)) == sorted(content.directories),
            "every directory is listed");
    require(DiskManager::countFiles(kTree) == content.files.size(), "every file is counted");
    require(DiskManager::isBottomDir(kTree) == content.directories.empty(),
            "a directory without directories is the bottom");
    require(
        DiskManager::isEmptyDir(kTree) == (content.directories.empty() && content.files.empty()),
        "a directory without entries is empty");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const LittleTime limit;
    FuzzInput input(data, size);
    makeTree(input);
    Content content;
    look(kTree, content);
    requireLists(content);
    requireSpace();
    require(DiskManager::removeTree(kTree) == !content.hasHidden, "what is hidden stays");
    require(fs::exists(kTree) == content.hasHidden, "what is not hidden goes");
    require(fs::exists(kOutside + "/file"), "a link is not followed");
    return 0;
}
