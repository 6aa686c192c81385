#include "mcu/MCUCommand.h"

#include <cstddef>
#include <cstring>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

bool MCUCommand::parseCommand(const unsigned char* /*frame*/) {
    return false;
}

bool MCUCommand::makeFrame(const unsigned char* payload, int length) {
    if (payload == nullptr || length < 0) {
        return false;
    }
    const auto payloadLength = static_cast<std::size_t>(length);
    const std::size_t frameLength = payloadLength + mcu_frame::kOverhead;
    auto* frame = new (KD_HERE) unsigned char[frameLength];
    frame[0] = mcu_frame::kStart;
    std::memcpy(frame + 1, payload, payloadLength);
    frame[frameLength - 2] = static_cast<unsigned char>(calcCheckSum(payload, length));
    frame[frameLength - 1] = mcu_frame::kEnd;

    delete[] m_pCommandBuf;
    m_pCommandBuf = frame;
    m_nCommandLen = static_cast<std::uint32_t>(frameLength);
    return true;
}

std::uint32_t MCUCommand::calcCheckSum(const unsigned char* payload, int length) {
    std::uint32_t sum = 0;
    for (int i = 0; payload != nullptr && i < length; ++i) {
        sum += payload[i];
    }
    return sum;
}
