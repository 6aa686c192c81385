#include "simulator/sandbox/ControlDaemon.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace {

constexpr int kWaitingConnections = 32;

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// An address has room for about a hundred bytes of path. The directory's descriptor stands for a
// path of any length.
sockaddr_un addressIn(const Descriptor& directory, const std::string& name) {
    const std::string path = fmt::format("/proc/self/fd/{}/{}", directory.get(), name);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        throw std::runtime_error("the name of the socket is too long: " + name);
    }
    path.copy(address.sun_path, path.size());
    return address;
}

Descriptor openDirectory(const std::string& socketPath) {
    const std::string directory = std::filesystem::absolute(socketPath).parent_path();
    Descriptor opened(open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (opened.get() == -1) {
        fail(directory);
    }
    return opened;
}

}  // namespace

ControlDaemon::ControlDaemon(const std::string& socketPath, std::optional<std::int32_t> reply,
                             RecordFile& records)
    : m_directory(openDirectory(socketPath)),
      m_name(std::filesystem::path(socketPath).filename()),
      m_listener(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)),
      m_reply(reply),
      m_records(records) {
    const sockaddr_un address = addressIn(m_directory, m_name);
    (void)unlinkat(m_directory.get(), m_name.c_str(), 0);  // usually there is none
    if (m_listener.get() == -1 ||
        bind(m_listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(m_listener.get(), kWaitingConnections) != 0) {
        fail(socketPath);
    }
}

ControlDaemon::~ControlDaemon() {
    (void)unlinkat(m_directory.get(), m_name.c_str(), 0);  // may be gone already
}

void ControlDaemon::run(const StopSignals& stop) {
    while (!stop.isRequested()) {
        serve(stop, true);
    }
    while (serve(stop, false)) {
    }
    for (const Client& client : m_clients) {
        if (!client.isDone) {
            record(client.request, "the daemon ended before the request did");
        }
    }
}

bool ControlDaemon::serve(const StopSignals& stop, bool mayWait) {
    std::vector<pollfd> polled = {{m_listener.get(), POLLIN, 0}};
    for (const Client& client : m_clients) {
        polled.push_back({client.socket.get(), POLLIN, 0});
    }
    const timespec noTime{};
    if (ppoll(polled.data(), polled.size(), mayWait ? nullptr : &noTime, &stop.waitMask()) <= 0) {
        return false;
    }
    auto result = polled.begin() + 1;
    for (Client& client : m_clients) {
        if ((result++)->revents != 0) {
            receive(client);
        }
    }
    m_clients.remove_if([](const Client& client) { return client.isFinished; });
    if (polled.front().revents != 0) {
        acceptClient();
    }
    return true;
}

void ControlDaemon::acceptClient() {
    Descriptor socket(accept4(m_listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (socket.get() != -1) {
        m_clients.push_back({std::move(socket), {}});
    }
}

void ControlDaemon::receive(Client& client) {
    std::array<char, 4096> bytes{};
    const ssize_t count = recv(client.socket.get(), bytes.data(), bytes.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (count <= 0) {
        if (!client.isDone) {
            record(client.request, "the client ended before the request did");
        }
        client.isFinished = true;
        return;
    }
    client.request.append(bytes.data(), static_cast<std::size_t>(count));
    if (!client.isDone) {
        answer(client);
    }
}

// The record is written first: who has the answer finds the record.
void ControlDaemon::answer(Client& client) {
    switch (client.request.state()) {
        case DaemonRequest::State::Incomplete:
            return;
        case DaemonRequest::State::Malformed:
            record(client.request,
                   fmt::format("the length is not from 1 to {}", DaemonRequest::kLongestCommand));
            client.isFinished = true;
            break;
        case DaemonRequest::State::Complete:
            record(client.request, "");
            if (m_reply) {
                // A client that does not wait for the answer has gone by now.
                (void)send(client.socket.get(), &*m_reply, sizeof *m_reply, MSG_NOSIGNAL);
                client.isFinished = true;
            }
            break;
    }
    client.isDone = true;
}

void ControlDaemon::record(const DaemonRequest& request, const std::string& error) {
    nlohmann::ordered_json entry = {
        {"length", nullptr}, {"command", request.command()}, {"reply", nullptr}};
    if (request.length()) {
        entry["length"] = *request.length();
    }
    if (!error.empty()) {
        entry["error"] = error;
    } else if (m_reply) {
        entry["reply"] = *m_reply;
    }
    m_records.append(entry);
}
