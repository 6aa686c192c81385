#include "tests/BuiltProgram.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

std::vector<std::string> commandOf(const std::string& name) {
    const char* const emulator = std::getenv("TEST_EMULATOR");
    std::istringstream in(emulator == nullptr ? "" : emulator);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    words.push_back(std::filesystem::read_symlink("/proc/self/exe").replace_filename(name));
    return words;
}

std::string shellCommandOf(const std::string& name) {
    std::string command;
    for (const std::string& word : commandOf(name)) {
        command += word + ' ';
    }
    return command;
}
