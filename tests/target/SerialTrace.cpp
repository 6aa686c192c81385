#include "tests/target/SerialTrace.h"

#include <fstream>
#include <regex>

std::vector<std::string> chipSettingsAtMarks(const std::filesystem::path& serialTrace) {
    // The modem control register: DTR and the interrupt's output without RTS.
    const std::string mark = "write addr 0x04 val 0x09";
    const std::regex programmed(R"(baudrate=(\d+) parity='(.)' data=(\d) stop=(\d))");
    std::vector<std::string> settings;
    std::string current;
    std::ifstream in(serialTrace);
    for (std::string line; std::getline(in, line);) {
        std::smatch found;
        if (std::regex_search(line, found, programmed)) {
            current = found[1].str() + ' ' + found[3].str() + found[2].str() + found[4].str();
        } else if (line.find(mark) != std::string::npos) {
            settings.push_back(current);
        }
    }
    return settings;
}
