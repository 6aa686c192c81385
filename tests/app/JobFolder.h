#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Files of the working directory, which is empty at the start of each test.

inline void writeFile(const std::string& name, const std::string& content) {
    std::ofstream(name, std::ios::binary) << content;
}

inline std::string readFile(const std::string& name) {
    std::ifstream in(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline bool exists(const std::string& name) {
    return std::filesystem::exists(name);
}

// A firmware file of 64 bytes: version bytes 05 0A 02 at 0x10 (2105), hardware information
// 01 AB 0C FF at 0x20.
inline std::string firmware() {
    std::string bytes(64, '\x77');
    bytes.replace(0x10, 3, std::string("\x05\x0A\x02", 3));
    bytes.replace(0x20, 4, std::string("\x01\xAB\x0C\xFF", 4));
    return bytes;
}
