// What the directory manager reads from directories, and its walks through whole trees.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>

#include "technic/Directory.h"
#include "technic/DiskManager.h"
#include "technic/PathTrim.h"

namespace {

std::string join(const std::string& directory, const std::string& entry) {
    const bool isSeparated = !directory.empty() && directory.back() == '/';
    return directory + (isSeparated ? "" : "/") + entry;
}

void printOpenError(const std::string& path) {
    std::printf("open dir(%s) error\n", path.c_str());
}

// Calls `visit` with the path and the kind of everything below an open directory, a directory
// before what lies in it.
template <class Visit>
void walk(Directory& directory, const std::string& path, const Visit& visit) {
    for (const DirectoryEntry& entry : directory.visibleEntries()) {
        const std::string entryPath = join(path, entry.name);
        visit(entryPath, entry.isDirectory);
        if (!entry.isDirectory) {
            continue;
        }
        Directory below(directory, entry.name);
        if (below.isOpen()) {
            walk(below, entryPath, visit);
        } else {
            printOpenError(entryPath);
        }
    }
}

// Nothing is visited when the directory cannot be opened, which is printed.
template <class Visit>
void walkFrom(const std::string& path, const Visit& visit) {
    Directory directory(path);
    if (directory.isOpen()) {
        walk(directory, path, visit);
    } else {
        printOpenError(path);
    }
}

// The same for what lies in the directory itself.
std::vector<DirectoryEntry> entriesOf(const std::string& path) {
    Directory directory(path);
    if (!directory.isOpen()) {
        printOpenError(path);
        return {};
    }
    return directory.visibleEntries();
}

std::vector<std::string> pathsBelow(const std::string& path, bool areDirectories) {
    std::vector<std::string> paths;
    walkFrom(path, [&](const std::string& entryPath, bool isDirectory) {
        if (isDirectory == areDirectories) {
            paths.push_back(entryPath);
        }
    });
    return paths;
}

bool removeDirectoryIn(Directory& parent, const std::string& name, const std::string& path);

// Returns whether nothing is left that the walk sees.
bool removeContents(Directory& directory, const std::string& path) {
    bool isGone = true;
    for (const DirectoryEntry& entry : directory.visibleEntries()) {
        const bool isEntryGone =
            entry.isDirectory ? removeDirectoryIn(directory, entry.name, join(path, entry.name))
                              : directory.removeFile(entry.name);
        isGone = isGone && isEntryGone;
    }
    return isGone;
}

bool removeDirectoryIn(Directory& parent, const std::string& name, const std::string& path) {
    Directory directory(parent, name);
    if (!directory.isOpen()) {
        printOpenError(path);
        return false;
    }
    return removeContents(directory, path) && parent.removeDirectory(name);
}

bool isSymbolicLink(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

// Whether a directory can be deleted from the one that it lies in under this name.
bool isNameInParent(const std::string& name) {
    return !name.empty() && name != "." && name != "..";
}

}  // namespace

bool DiskManager::isBottomDir(const std::string& path) {
    std::printf("DiskManager::isBottomDir(%s)\n", path.c_str());
    const std::vector<DirectoryEntry> entries = entriesOf(path);
    return std::none_of(entries.begin(), entries.end(),
                        [](const DirectoryEntry& entry) { return entry.isDirectory; });
}

bool DiskManager::isEmptyDir(const std::string& path) {
    return entriesOf(path).empty();
}

std::vector<std::string> DiskManager::listFiles(const std::string& directory) {
    return pathsBelow(directory, false);
}

std::vector<std::string> DiskManager::listDirs(const std::string& directory) {
    return pathsBelow(directory, true);
}

std::size_t DiskManager::countFiles(const std::string& directory) {
    return listFiles(directory).size();
}

// The directory is opened from the one that it lies in, so that it cannot become a link to another
// place between the look at it and the walk.
bool DiskManager::removeTree(const std::string& directory) {
    const std::string path = directory.substr(0, endWithoutTrailingSlashes(directory));
    const std::size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    Directory parent(slash == std::string::npos ? "." : path.substr(0, slash + 1));
    if (!parent.isOpen() || !isNameInParent(name)) {
        printOpenError(path);
        return false;
    }
    return isSymbolicLink(path) ? parent.removeFile(name) : removeDirectoryIn(parent, name, path);
}
