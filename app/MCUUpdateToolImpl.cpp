#include "app/MCUUpdateToolImpl.h"

#include <array>
#include <cstdio>
#include <optional>
#include <utility>

#include "app/EntryPreparation.h"
#include "app/MCUUpdater.h"
#include "app/ResultList.h"
#include "app/UpdateConfig.h"
#include "mcu/MCUCommandId.h"
#include "mcu/MCUSessionControler.h"
#include "mcu/UpdateNote.h"
#include "technic/TimeUtil.h"

namespace {

constexpr int kMostRetries = 5;
constexpr long kRetryWaitSeconds = 5;

using Message = std::array<char, 256>;

void logEntry(const PreparedEntry& entry) {
    UpdateNote::log("================== MCUUpdateToolImpl =================\n");
    Message message{};
    (void)std::snprintf(message.data(), message.size(), "The Update ARMName :%s ,File Name :%s\n",
                        entry.armName.c_str(), entry.fileName.c_str());
    UpdateNote::log(message.data());
}

// Names the MCU, not the file, although the text says otherwise; kept as it is read by others.
void logGivenUp(const PreparedEntry& entry) {
    Message message{};
    (void)std::snprintf(message.data(), message.size(), "\nThe File %s Update Fail,Update Next\n\n",
                        entry.armName.c_str());
    UpdateNote::log(message.data());
}

}  // namespace

bool MCUUpdateToolImpl::loadConfig() {
    UpdateConfig config;
    if (!readUpdateConfig(m_configFile, config)) {
        return false;
    }
    std::vector<PreparedEntry> entries;
    for (const UpdateFileEntry& entry : config.entries) {
        if (const std::optional<PreparedEntry> prepared = prepareEntry(entry, m_updateFilePath)) {
            entries.push_back(*prepared);
        }
    }
    m_param = std::move(config.param);
    m_entries = std::move(entries);
    return true;
}

bool MCUUpdateToolImpl::updateAll() {
    ResultList results;
    for (const PreparedEntry& entry : m_entries) {
        updateEntry(entry, results);
    }
    return results.allSucceeded();
}

// Up to six attempts, each with an updater of its own, which stays until what follows the attempt
// is done.
void MCUUpdateToolImpl::updateEntry(const PreparedEntry& entry, ResultList& results) const {
    for (int retries = 0;; ++retries) {
        MCUUpdater updater;
        configure(updater, entry);
        logEntry(entry);
        if (updater.update() > 0) {
            results.recordSuccess(entry.armType);
            return;
        }
        if (retries == kMostRetries) {
            results.recordFailure(entry.armType);
            logGivenUp(entry);
            return;
        }
        sleepFor(kRetryWaitSeconds, 0);
    }
}

void MCUUpdateToolImpl::configure(MCUUpdater& updater, const PreparedEntry& entry) const {
    updater.setEntry(entry);
    updater.setDeviceName(m_param.deviceName);
    updater.setParam(m_param.BaudRate, m_param.DataBits, m_param.StopBits, m_param.Parity);
    updater.setTimeout(m_timeout);
}

bool MCUUpdateToolImpl::rebootMCU() {
    return sendSingleCommand(mcu_command_id::kRebootReq);
}

bool MCUUpdateToolImpl::resetMCU() {
    return sendSingleCommand(mcu_command_id::kResetReq);
}

bool MCUUpdateToolImpl::sendSingleCommand(int requestId) const {
    MCUSessionControler controler;
    controler.setDeviceName(m_param.deviceName);
    controler.setParam(m_param.BaudRate, m_param.DataBits, m_param.StopBits, m_param.Parity);
    controler.setTimeout(m_timeout);
    if (!controler.open()) {
        return false;
    }
    const bool sent = controler.communicate(requestId);
    controler.close();
    return sent;
}
