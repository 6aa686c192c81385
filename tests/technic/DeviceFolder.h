#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

// The file's bytes; empty when there is none.
inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeContent(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

// The text with "TIME" for every time stamp of an event log.
inline std::string withoutTimes(const std::string& text) {
    static const std::regex time("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}");
    return std::regex_replace(text, time, "TIME");
}

// A folder of its own on the device, gone with the object.
class DeviceFolder {
  public:
    DeviceFolder() {
        std::string folder = "/mnt/mtd/log/test-XXXXXX";
        m_path = mkdtemp(folder.data()) != nullptr ? folder : "";
    }
    ~DeviceFolder() {
        if (!m_path.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(m_path, ignored);
        }
    }
    DeviceFolder(const DeviceFolder&) = delete;
    DeviceFolder& operator=(const DeviceFolder&) = delete;

    std::string path(const std::string& name) const { return m_path + "/" + name; }

  private:
    std::string m_path;
};
