#include "simulator/sandbox/RecordFile.h"

#include <chrono>
#include <stdexcept>

using nlohmann::ordered_json;

namespace {

constexpr double kMillisecondsPerSecond = 1000;

double secondsSinceEpoch() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
    return static_cast<double>(milliseconds) / kMillisecondsPerSecond;
}

}  // namespace

RecordFile::RecordFile(const std::string& path) : m_path(path), m_file(path, std::ios::app) {
    if (!m_file) {
        throw std::runtime_error("cannot open " + path);
    }
}

void RecordFile::append(const ordered_json& record) {
    ordered_json line = {{"time", secondsSinceEpoch()}};
    line.update(record);
    m_file << line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << std::endl;
    if (!m_file) {
        throw std::runtime_error("cannot write " + m_path);
    }
}
