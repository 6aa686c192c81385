// What an MCU runs and what it holds: restarts, installed images, the state report.
#include <fmt/format.h>

#include <algorithm>

#include "simulator/mcu/Mcu.h"

namespace {

constexpr std::size_t kVersionLength = 3;

// Bytes of an image from the last back to the first, as replies carry them.
Bytes backwards(const Bytes& image, std::size_t position, std::size_t length) {
    const auto first = image.begin() + static_cast<std::ptrdiff_t>(position);
    Bytes bytes(first, first + static_cast<std::ptrdiff_t>(length));
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

}  // namespace

void Mcu::runApplication(Time now) {
    m_state = State::Application;
    m_telemetry.begin(now);
}

void Mcu::restart(bool intoBoot, Time now) {
    m_telemetry.end();
    m_state = State::Restarting;
    m_wakesInBoot = intoBoot;
    m_wakeAt = now + m_settings.bootDelay;
}

// Requests that were read together may lie on both sides of a restart without a delay.
void Mcu::wakeWhenDue(Time now) {
    if (now >= m_wakeAt) {
        wake(now);
    }
}

void Mcu::wake(Time now) {
    m_wakeAt = kNever;
    m_lostTransfer = false;
    if (m_wakesInBoot || !m_applicationIsValid) {
        m_state = State::Boot;
    } else {
        runApplication(now);
    }
    m_port.note(name(), "running", stateText());
}

void Mcu::install(const Bytes& image, bool stored, const std::string& file) {
    const ImageLayout& layout = m_settings.layout;
    if (stored) {
        m_store.save(image);
    } else {
        m_store.adopt(image, file);
    }
    m_applicationIsValid = image.size() >= layout.versionPosition + kVersionLength &&
                           image.size() >= layout.hardwarePosition + layout.hardwareLength;
    if (m_applicationIsValid) {
        m_settings.version = backwards(image, layout.versionPosition, kVersionLength);
        m_settings.hardware = backwards(image, layout.hardwarePosition, layout.hardwareLength);
    }
}

std::string Mcu::versionText() const {
    const Bytes& version = m_settings.version;
    return fmt::format("{}{}{}", version[0], version[1], version[2]);
}

std::string Mcu::stateText() const {
    switch (m_state) {
        case State::Application:
            return "application";
        case State::Boot:
            return "boot";
        case State::Restarting:
            return "restarting";
        default:
            return "off";
    }
}

nlohmann::json Mcu::report() const {
    return {{"name", name()},
            {"target", m_settings.target},
            {"state", stateText()},
            {"receiving", m_program || (m_transfer && !m_transfer->isOver())},
            {"version", versionText()},
            {"version_bytes", m_settings.version},
            {"hardware", toHex(m_settings.hardware)},
            {"image", m_store.file().empty() ? nlohmann::json() : nlohmann::json(m_store.file())},
            {"image_bytes", m_store.image().size()},
            {"image_valid", m_applicationIsValid},
            {"images_received", m_imagesReceived},
            {"xmodem",
             {{"transfers", m_statistics.transfers},
              {"completed", m_statistics.completed},
              {"cancelled", m_statistics.cancelled},
              {"start_bytes", m_statistics.startBytes},
              {"blocks_accepted", m_statistics.blocksAccepted},
              {"blocks_repeated", m_statistics.blocksRepeated},
              {"blocks_refused", m_statistics.blocksRefused},
              {"eots", m_statistics.eots}}}};
}
