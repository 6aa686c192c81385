#pragma once

#include <array>

#include "mcu/MCUCommand.h"

class MCUSession;

// Collects the bytes of a session into frames, one byte a read. For the length of one awaited
// response; not thread-safe.
class FrameReceiver {
  public:
    explicit FrameReceiver(MCUSession& session) : m_session(session) {}

    // Skips everything up to a start byte and reads on up to the first end byte. False, with a
    // message, when a read brings nothing or the frame is too long.
    bool receive();

    // mcu_frame::kReceiveLength bytes. Behind the end of a short frame stands what a longer one
    // left there before it, zeros at first.
    const unsigned char* frame() const { return m_frame.data(); }

  private:
    bool readByte(unsigned char& byte);
    bool skipToStart();

    MCUSession& m_session;
    std::array<unsigned char, mcu_frame::kReceiveLength> m_frame{};
};
