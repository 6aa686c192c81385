#include "tests/target/guest/SerialCard.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace {

const char kPortFolder[] = "/sys/class/tty/ttyS0";

void order(const std::string& file) {
    std::ofstream out(file);
    out << 1 << std::flush;
    if (!out) {
        throw std::runtime_error(file + " takes no order");
    }
}

bool isPortThere() {
    int type = 0;
    std::ifstream(std::string(kPortFolder) + "/type") >> type;
    return type != 0;
}

}  // namespace

SerialCard::SerialCard()
    : m_folder(std::filesystem::canonical(std::string(kPortFolder) + "/device")) {}

SerialCard::~SerialCard() {
    plugIn();
}

void SerialCard::unplug() {
    order(m_folder + "/remove");
    m_isPlugged = false;
}

void SerialCard::plugIn() {
    if (m_isPlugged) {
        return;
    }
    order("/sys/bus/pci/rescan");
    while (!isPortThere()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    m_isPlugged = true;
}
