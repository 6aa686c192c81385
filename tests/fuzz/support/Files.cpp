#include "tests/fuzz/support/Files.h"

#include <fstream>
#include <iterator>

#include "tests/fuzz/support/Require.h"

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    file.close();
    require(file.good(), "a fuzzer can write its files");
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
