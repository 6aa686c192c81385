#include "simulator/mcu/Transcript.h"

#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace {

const char* directionText(Direction direction) {
    switch (direction) {
        case Direction::ToMcu:
            return "to-mcu";
        case Direction::FromMcu:
            return "from-mcu";
        default:
            return "event";
    }
}

// Seconds, rounded to microseconds.
double secondsOf(Time time) {
    return std::round(static_cast<double>(time.count()) / 1e3) / 1e6;
}

}  // namespace

Transcript::Transcript(const std::string& path) : m_path(path) {
    if (path.empty()) {
        return;
    }
    m_out.open(path, std::ios::trunc);
    if (!m_out) {
        throw std::runtime_error(fmt::format("{}: cannot be written", path));
    }
}

void Transcript::write(const Record& record) {
    if (m_path.empty()) {
        return;
    }
    nlohmann::ordered_json line;
    line["time"] = secondsOf(record.time);
    line["dir"] = directionText(record.direction);
    line["mcu"] =
        record.mcu.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(record.mcu);
    line["meaning"] = record.meaning;
    line["bytes"] = toHex(record.bytes);
    line["detail"] = record.detail;
    line["fault"] = record.fault;
    m_out << line.dump() << std::endl;
    if (!m_out) {
        throw std::runtime_error(fmt::format("{}: cannot be written", m_path));
    }
}
