#pragma once

#include <sys/vfs.h>

#include <functional>
#include <string>

// What the file system answers to this program's own code is replaced while one of these lives: for
// the thread that made it. Not to be nested. A test in which nobody asked meanwhile fails: it would
// show nothing.

// Directories tell the names of their entries but not the kinds.
class NoEntryKinds {
  public:
    NoEntryKinds();
    ~NoEntryKinds();
    NoEntryKinds(const NoEntryKinds&) = delete;
    NoEntryKinds& operator=(const NoEntryKinds&) = delete;
};

// Every file system has this size.
class FixedFileSystem {
  public:
    explicit FixedFileSystem(const struct statfs& size);
    ~FixedFileSystem();
    FixedFileSystem(const FixedFileSystem&) = delete;
    FixedFileSystem& operator=(const FixedFileSystem&) = delete;
};

// Something happens just before an entry of this name in an open directory is opened.
class BeforeOpening {
  public:
    BeforeOpening(std::string name, std::function<void()> action);
    ~BeforeOpening();
    BeforeOpening(const BeforeOpening&) = delete;
    BeforeOpening& operator=(const BeforeOpening&) = delete;
};

// Something happens just before the program creates a directory.
class BeforeMkdir {
  public:
    explicit BeforeMkdir(std::function<void(const char* path)> action);
    ~BeforeMkdir();
    BeforeMkdir(const BeforeMkdir&) = delete;
    BeforeMkdir& operator=(const BeforeMkdir&) = delete;
};
