#include "simulator/mcu/AtomicFile.h"

#include <fmt/format.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

void replaceFile(const std::string& path, const void* content, std::size_t length) {
    const std::string draft = path + ".new";
    std::ofstream out(draft, std::ios::binary | std::ios::trunc);
    out.write(static_cast<const char*>(content), static_cast<std::streamsize>(length));
    out.close();
    if (!out || std::rename(draft.c_str(), path.c_str()) != 0) {
        throw std::runtime_error(fmt::format("{}: cannot be written", path));
    }
}

void replaceFile(const std::string& path, const std::string& content) {
    replaceFile(path, content.data(), content.size());
}
