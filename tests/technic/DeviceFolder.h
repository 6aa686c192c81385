#pragma once

#include <stdlib.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// The file's bytes; empty when there is none.
inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeContent(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

// Whether a time stamp of an event log stands at this place of the text.
inline bool isTimeAt(const std::string& text, std::size_t at) {
    const std::string layout = "dddd-dd-dd dd:dd:dd";
    if (text.size() - at < layout.size()) {
        return false;
    }
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const char c = text[at + i];
        const bool isDigit = c >= '0' && c <= '9';
        if (layout[i] == 'd' ? !isDigit : c != layout[i]) {
            return false;
        }
    }
    return true;
}

// The text with "TIME" for every time stamp of an event log.
inline std::string withoutTimes(std::string text) {
    constexpr std::size_t kTimeSize = 19;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isTimeAt(text, at)) {
            text.replace(at, kTimeSize, "TIME");
        }
    }
    return text;
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
