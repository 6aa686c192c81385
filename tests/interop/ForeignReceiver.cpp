#include "tests/interop/ForeignReceiver.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "tests/e2e/Scenario.h"

namespace {

constexpr std::chrono::seconds kLimit{20};
constexpr std::chrono::milliseconds kPoll{5};

}  // namespace

SimulatedMcu arm1BehindRx(int startDelayMilliseconds, const std::string& state) {
    SimulatedMcu mcu = arm1({1, 0, 0}, state);
    mcu.more = {
        {"xmodem",
         {{"receiver", {RX_PROGRAM, "-c", "FILE"}}, {"start_delay_ms", startDelayMilliseconds}}}};
    return mcu;
}

void waitUntilReceptionIsOver(const SimulatedLine& line) {
    const auto deadline = std::chrono::steady_clock::now() + kLimit;
    while (line.mcuState("ARM1").at("receiving")) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("the reception does not end");
        }
        std::this_thread::sleep_for(kPoll);
    }
}
