#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/PreparedEntry.h"
#include "tests/app/FakeMcu.h"
#include "tests/app/SleepHook.h"

using Texts = std::vector<std::string>;

// Answers of the MCU.
namespace answers {

const Bytes kHardwareAb01 = {0xFE, 0x06, 0x0C, 0x02, 0xAB, 0x01, 0xC0, 0xFF};
const Bytes kHardwareAb02 = {0xFE, 0x06, 0x0C, 0x02, 0xAB, 0x02, 0xC1, 0xFF};
const Bytes kVersion210 = {0xFE, 0x06, 0x02, 0x03, 0x02, 0x01, 0x00, 0x0E, 0xFF};
const Bytes kBootState = {0xFE, 0x05, 0x02, 0x01, 0x01, 0x09, 0xFF};
const Bytes kAppState = {0xFE, 0x05, 0x02, 0x01, 0x00, 0x08, 0xFF};
const Bytes kRefused = {0xFE, 0x05, 0x06, 0x01, 0x01, 0x0D, 0xFF};
const Bytes kPermitted = {0xFE, 0x05, 0x06, 0x01, 0x00, 0x0C, 0xFF};

}  // namespace answers

// Long enough for an answer on a busy machine, and short enough where none is to come.
constexpr int kPatientSeconds = 10;
constexpr int kImpatientSeconds = 1;

constexpr long kBootWaitMilliseconds = 1000;

// Does something before each sleep of any thread.
class AtSleep : public SleepHook {
  public:
    explicit AtSleep(std::function<void(long milliseconds)> action) : m_action(std::move(action)) {}

    long beforeSleep(long milliseconds) override {
        m_action(milliseconds);
        return milliseconds;
    }

  private:
    const std::function<void(long)> m_action;
};

// An MCU in boot state with hardware ab01 and version 210, which permits nothing, and an entry that
// it does not need.
class Updater : public testing::Test {
  protected:
    void SetUp() override;

    // One attempt from beginning to end; the result, what was asked and what was printed.
    void attempt(std::optional<int> timeoutSeconds = kPatientSeconds);

    // How many descriptors of the line this process has; the test's own is always among them.
    long openPorts() const;

    // The note's lines of the sequence itself.
    static Texts steps();
    // What was printed but for what tells of single bytes and of the session.
    Texts transcript() const;

    PreparedEntry entry;
    FakeMcu mcu;
    std::string deviceName = mcu.line().path();
    bool hasKeeper = true;
    int result = -1;
    long portsAtTheEnd = -1;
    Texts requests;
    std::string printed;
};
