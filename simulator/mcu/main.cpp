#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "simulator/mcu/AtomicFile.h"
#include "simulator/mcu/Options.h"
#include "simulator/mcu/Simulator.h"

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int /*signal*/) {
    stopRequested = 1;
}

// SIGINT and SIGTERM arrive only while the loop waits. Gives the mask to wait with.
sigset_t prepareSignals() {
    struct sigaction stop {};
    stop.sa_handler = requestStop;
    (void)sigaction(SIGINT, &stop, nullptr);  // valid arguments: none of these calls can fail
    (void)sigaction(SIGTERM, &stop, nullptr);
    (void)signal(SIGPIPE, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    (void)sigemptyset(&blocked);
    (void)sigaddset(&blocked, SIGINT);
    (void)sigaddset(&blocked, SIGTERM);
    (void)sigprocmask(SIG_BLOCK, &blocked, &before);
    (void)sigdelset(&before, SIGINT);
    (void)sigdelset(&before, SIGTERM);
    return before;
}

// The file that says "the line is there"; there is none before, and none when the line is gone.
class ReadyFile {
  public:
    explicit ReadyFile(std::string path) : m_path(std::move(path)) { remove(); }
    ~ReadyFile() { remove(); }
    ReadyFile(const ReadyFile&) = delete;
    ReadyFile& operator=(const ReadyFile&) = delete;

    void announce(const std::string& address) const {
        if (!m_path.empty()) {
            replaceFile(m_path, address + "\n");
        }
    }

  private:
    void remove() const {
        if (!m_path.empty()) {
            (void)unlink(m_path.c_str());  // usually there is none
        }
    }

    std::string m_path;
};

void runUntilStopped(const Options& options) {
    const sigset_t waitMask = prepareSignals();
    const ReadyFile ready(options.readyFile);
    Simulator simulator(options);
    ready.announce(simulator.address());
    fmt::print("ready {}\n", simulator.address());
    (void)std::fflush(stdout);
    simulator.run(stopRequested, waitMask);
    fmt::print("{}", simulator.stateReport());
}

}  // namespace

int main(int argc, char** argv) {
    const ParsedOptions parsed = parseOptions(argc, argv);
    if (!parsed.options) {
        return parsed.exitStatus;
    }
    try {
        runUntilStopped(*parsed.options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "mcu-simulator: {}\n", error.what());
        return 1;
    }
    return 0;
}
