#include "mcu/MCUSessionControler.h"

#include <cstdio>

#include "mcu/FrameReceiver.h"
#include "mcu/MCUCommandFactory.h"
#include "mcu/MCUCommandId.h"
#include "mcu/MCURespCommands.h"
#include "mcu/UpdateNote.h"

void MCUSessionControler::setDeviceName(const std::string& name) {
    m_strDeviceName = name;
    m_session.setDeviceName(name);
}

void MCUSessionControler::setParam(int baudrate, int databits, int stopbits, int parity) {
    m_nBaudrate = baudrate;
    m_nDatabits = databits;
    m_nStopbits = stopbits;
    m_nParity = parity;
    m_session.setParam(baudrate, databits, stopbits, parity);
}

void MCUSessionControler::setTimeout(int seconds) {
    m_nTimeout = seconds;
    m_session.setTimeout(seconds);
}

void MCUSessionControler::setTarget(int target) {
    m_nTarget = target;
}

bool MCUSessionControler::open() {
    return m_session.open() >= 0;
}

void MCUSessionControler::close() {
    m_session.close();
}

bool MCUSessionControler::communicate(int requestId) {
    const SafePointer<MCUCommand> request = createReqCommand(requestId);
    request->setTarget(m_nTarget);
    if (!request->createCommand()) {
        (void)std::puts("createCommand error");
        return false;
    }
    UpdateNote::log("MCUSessionControler::communicate 1111111111\n");
    const auto length = static_cast<int>(request->getCommandLen());
    if (m_session.SendCommand(request->getCommandBuf(), length) < 0) {
        return false;
    }
    UpdateNote::log("MCUSessionControler::communicate 22222222222\n");
    return true;
}

bool MCUSessionControler::recvCommand(SafePointer<MCUCommand>& response, int responseId) {
    const SafePointer<MCUCommand> expected = createRespCommand(responseId);
    FrameReceiver receiver(m_session);
    while (receiver.receive()) {
        if (expected->parseCommand(receiver.frame())) {
            response = expected;
            return true;
        }
        UpdateNote::log("parseCommand failed!\n");
    }
    return false;
}

bool MCUSessionControler::reset() {
    return communicate(mcu_command_id::kResetReq);
}

bool MCUSessionControler::reboot() {
    return communicate(mcu_command_id::kRebootReq);
}

bool MCUSessionControler::stopUpload() {
    return communicate(mcu_command_id::kStopUploadReq);
}

bool MCUSessionControler::startUpload() {
    return communicate(mcu_command_id::kStartUploadReq);
}

bool MCUSessionControler::setToBoot() {
    return communicate(mcu_command_id::kSetToBootReq);
}

bool MCUSessionControler::getHardwareInfo(std::string& hardwareInfo) {
    return query(mcu_command_id::kHardwareInfoReq, mcu_command_id::kHardwareInfoResp,
                 &MCUHardwareInfoRespCommand::getHardwareInfo, hardwareInfo);
}

bool MCUSessionControler::getState(unsigned& state) {
    return query(mcu_command_id::kStateReq, mcu_command_id::kStateResp,
                 &MCUStateRespCommand::getState, state);
}

bool MCUSessionControler::update(unsigned char& result) {
    return query(mcu_command_id::kUpdateReq, mcu_command_id::kUpdateResp,
                 &MCUUpdateRespCommand::getResult, result);
}

bool MCUSessionControler::getVersion(std::string& version) {
    return query(mcu_command_id::kVersionReq, mcu_command_id::kVersionResp,
                 &MCUVersionRespCommand::getVersion, version);
}

int MCUSessionControler::clearRecvBuffer() {
    int result = 0;
    do {
        unsigned char discarded = 0;
        result = m_session.RecvCommand(&discarded, 1);
    } while (result > 0);
    return result;
}

template <class Response, class Value>
bool MCUSessionControler::query(int requestId, int responseId, Value (Response::*decoded)() const,
                                Value& value) {
    if (!communicate(requestId)) {
        return false;
    }
    // Holds an object of no meaning until the response takes its place.
    SafePointer<MCUCommand> response = createRespCommand(mcu_command_id::kNullResp);
    if (!recvCommand(response, responseId)) {
        return false;
    }
    const SafePointer<Response> concrete(response);
    value = ((*concrete).*decoded)();
    return true;
}
