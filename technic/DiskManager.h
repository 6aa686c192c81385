#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Directories of the device. Any thread; nothing is kept between calls.
//
// Entries whose names begin with "." are passed over everywhere. A directory that cannot be opened
// prints "open dir(%s) error\n" on standard output.
class DiskManager {
  public:
    // Whether there is something at `path`. False for a symbolic link to nothing.
    static bool exists(const std::string& path);
    // Whether a directory has no subdirectories, or has no entries at all. True when it cannot be
    // opened.
    static bool isBottomDir(const std::string& path);
    static bool isEmptyDir(const std::string& path);

    // Creates every missing directory of the path, readable and writable for the owner alone and
    // without the right to search them. The path starts at the root, whatever it begins with.
    // Returns 1 when the path exists afterwards, else 0.
    static int makeDirs(const std::string& path);

    // Has the control daemon's shell move something and waits up to 30 seconds for it. Always 1:
    // whether it was moved is not told. The names reach the shell as they are. A command ("mv" and
    // both names) longer than the 999 bytes that the daemon takes is cut off there and would move
    // to another place: keep the names shorter.
    static int move(const std::string& from, const std::string& to);

    // Size and used part in megabytes of the file system that `path` lies on, in 32-bit arithmetic;
    // 0 for a file system with blocks below 1024 bytes. Creates the path when it is missing. False,
    // and both unchanged, when the system does not tell.
    static bool diskSpace(const std::string& path, std::uint32_t& total, std::uint32_t& used);

    // Deletes a file, a symbolic link or an empty directory. Returns 0, or -1 when the system
    // refuses.
    static int remove(const std::string& path);

    // Walks through a directory and all that lies below it, in the order of the names. Symbolic
    // links count as files and are not followed below `directory`.
    // The paths of all files, each beginning with `directory`.
    static std::vector<std::string> listFiles(const std::string& directory);
    // The paths of all directories below, each before those that lie in it.
    static std::vector<std::string> listDirs(const std::string& directory);
    static std::size_t countFiles(const std::string& directory);

    // Deletes a directory with all that lies below it; of a symbolic link, the link alone. Returns
    // whether everything is gone. What begins with "." stays, and so do the directories above it.
    // Nothing is deleted when the path is empty, the root, or ends with "." or "..".
    static bool removeTree(const std::string& directory);
};
