#include "mcu/FrameReceiver.h"

#include <cstdio>

#include "mcu/MCUSession.h"
#include "mcu/UpdateNote.h"

bool FrameReceiver::receive() {
    if (!skipToStart()) {
        return false;
    }
    m_frame[0] = mcu_frame::kStart;
    std::size_t length = 1;
    unsigned char last = mcu_frame::kStart;
    while (last != mcu_frame::kEnd) {
        if (!readByte(last)) {
            return false;
        }
        if (length == m_frame.size()) {
            (void)std::printf("szRecvCommandBuf out of range: %d \n", static_cast<int>(length + 1));
            return false;
        }
        m_frame[length] = last;
        ++length;
    }
    return true;
}

bool FrameReceiver::skipToStart() {
    unsigned char byte = 0;
    do {
        if (!readByte(byte)) {
            return false;
        }
    } while (byte != mcu_frame::kStart);
    return true;
}

bool FrameReceiver::readByte(unsigned char& byte) {
    byte = 0;  // so that a read which brings nothing is traced as 00
    const int result = m_session.RecvCommand(&byte, 1);
    if (result >= 1) {
        return true;
    }
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), "recvCommand Ret = %d\n", result);
    UpdateNote::log(text.data());
    return false;
}
