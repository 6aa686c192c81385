#pragma once

#include <dirent.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct DirectoryEntry {
    std::string name;
    // Whether the entry itself is a directory; a symbolic link to one is not.
    bool isDirectory;
};

// An open directory, closed with the object. One thread at a time.
class Directory {
  public:
    explicit Directory(const std::string& path);
    // A directory in an open one. A symbolic link of that name is not followed, so that the object
    // does not come to lie outside the tree.
    Directory(const Directory& parent, const std::string& name);

    // False when there is no such directory or it cannot be read.
    bool isOpen() const { return m_stream != nullptr; }
    // The entries whose names do not begin with ".", ordered by name. Reads them once: call it one
    // time, while open.
    std::vector<DirectoryEntry> visibleEntries();

    // Delete a file, or an empty directory, in the open directory. False when the system refuses.
    bool removeFile(const std::string& name);
    bool removeDirectory(const std::string& name);

  private:
    struct Close {
        void operator()(DIR* stream) const;
    };

    explicit Directory(int descriptor);
    bool isDirectory(const dirent& entry) const;
    int descriptor() const { return dirfd(m_stream.get()); }

    std::unique_ptr<DIR, Close> m_stream;
};
