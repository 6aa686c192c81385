#pragma once

#include <atomic>
#include <thread>

#include "tests/mcu/PseudoTerminal.h"

// The receiver on the other end of a line, for one transfer: asks for the start, answers each block
// and each end of transmission with the next of its replies, and falls silent when it has none
// left. A thread of its own from construction on.
class XmodemPeer {
  public:
    enum class AfterReplies { FallSilent, HangUp };

    // `start` is sent until the transfer begins. HangUp cuts the line in place of one more reply.
    XmodemPeer(PseudoTerminal& line, Bytes replies, unsigned char start = 'C',
               AfterReplies after = AfterReplies::FallSilent);
    ~XmodemPeer();
    XmodemPeer(const XmodemPeer&) = delete;
    XmodemPeer& operator=(const XmodemPeer&) = delete;

    // Ends the thread, to be called when the transfer is over. Everything that came over the line.
    Bytes stop();

  private:
    void run();
    bool awaitTransfer();
    bool receiveRestOfUnit();
    bool receiveByte();

    PseudoTerminal& m_line;
    const Bytes m_replies;
    const unsigned char m_start;
    const AfterReplies m_after;
    Bytes m_wire;
    std::atomic<bool> m_stopped{false};
    std::thread m_thread;
};
