#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A folder of one test's own, below the build tree; gone with the object.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::filesystem::create_directories(TEST_FILES_DIRECTORY);
        std::string pattern = std::string(TEST_FILES_DIRECTORY) + "/XXXXXX";
        m_path = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(m_path); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // Ends with a slash.
    std::string path() const { return m_path + "/"; }
    std::string path(const std::string& name) const { return m_path + "/" + name; }

    // The path of a new file of that content.
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
    std::string read(const std::string& name) const {
        std::ifstream in(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

  private:
    std::string m_path;
};
