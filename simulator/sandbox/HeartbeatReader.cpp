#include "simulator/sandbox/HeartbeatReader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

using nlohmann::ordered_json;

namespace {

constexpr timespec kPatience{1, 0};

std::string hexadecimal(const std::string& bytes) {
    std::string digits;
    for (const char byte : bytes) {
        digits += fmt::format("{:02x}", static_cast<unsigned char>(byte));
    }
    return digits;
}

ordered_json toJson(const Heartbeat& heartbeat) {
    return {{"threadId", heartbeat.threadId},
            {"state", heartbeat.state},
            {"timeout", heartbeat.timeout},
            {"timestamp", heartbeat.timestamp},
            {"name", heartbeat.name}};
}

ordered_json toJson(const MalformedMessage& message) {
    return {{"error", message.reason}, {"bytes", hexadecimal(message.bytes)}};
}

// Open for writing, too: so the pipe does not end when a writer closes it.
Descriptor openPipe(const std::string& path) {
    Descriptor pipe(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (pipe.get() == -1) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    struct stat status {};
    if (fstat(pipe.get(), &status) != 0 || !S_ISFIFO(status.st_mode)) {
        throw std::runtime_error(path + " is no pipe");
    }
    return pipe;
}

}  // namespace

HeartbeatReader::HeartbeatReader(const std::string& pipePath, RecordFile& records)
    : m_pipe(openPipe(pipePath)), m_records(records) {}

void HeartbeatReader::run(const StopSignals& stop) {
    while (!stop.isRequested()) {
        pollfd polled{m_pipe.get(), POLLIN, 0};
        const timespec* limit = m_decoder.isEmpty() ? nullptr : &kPatience;
        const int ready = ppoll(&polled, 1, limit, &stop.waitMask());
        if (ready > 0) {
            readSome();
        } else if (ready == 0) {
            recordIncomplete();
        }
    }
    while (readSome()) {
    }
    recordIncomplete();
}

bool HeartbeatReader::readSome() {
    std::array<char, 4096> bytes{};
    const ssize_t count = read(m_pipe.get(), bytes.data(), bytes.size());
    if (count <= 0) {
        return false;
    }
    m_decoder.append(bytes.data(), static_cast<std::size_t>(count));
    recordMessages();
    return true;
}

void HeartbeatReader::recordMessages() {
    while (const auto message = m_decoder.next()) {
        m_records.append(std::visit([](const auto& content) { return toJson(content); }, *message));
    }
}

void HeartbeatReader::recordIncomplete() {
    if (const auto rest = m_decoder.takeIncomplete()) {
        m_records.append(toJson(*rest));
    }
}
