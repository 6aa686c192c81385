#include "mcu/XmodemTransfer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string>

#include "mcu/UpdateNote.h"
#include "mcu/WaitClock.h"
#include "mcu/XmodemSender.h"
#include "technic/TimeUtil.h"

namespace {

constexpr unsigned char kStx = 0x02;
constexpr unsigned char kEot = 0x04;
constexpr unsigned char kAck = 0x06;
constexpr unsigned char kNak = 0x15;
constexpr unsigned char kCan = 0x18;
constexpr std::array<unsigned char, 4> kAbortSequence = {kCan, kCan, kCan, kCan};

constexpr int kSent = 0;
constexpr int kFileFailed = -1;
constexpr int kNoReply = -2;
constexpr int kCancelled = -3;
constexpr int kTooManyRepeats = -4;
constexpr int kUnknownReply = -5;
constexpr int kGoOn = 1;  // not a result: the blocks are not all sent

constexpr std::size_t kMostShownOfPath = 233;
constexpr int kMostRepeats = 10;  // exceeded, not reached: eleven repeats are made
constexpr long kFailedReadPauseMicroseconds = 5000;

}  // namespace

int XmodemTransfer::run(const char* path) {
    UpdateNote::log("Xmodem start !! \n");
    m_file.reset(std::fopen(path, "rb"));
    if (m_file == nullptr) {
        UpdateNote::log("Can't open file!");
        return kFileFailed;
    }
    // A path that is too long for the message is cut, not the message's end.
    const std::string shownPath(path, strnlen(path, kMostShownOfPath));
    trace("open flie success !(%s)\n", shownPath.c_str());
    (void)m_sender.flushInput();  // a dead line shows in the wait that follows
    if (!awaitStart()) {
        return kNoReply;
    }
    const int result = sendBlocks();
    if (result != kSent) {
        return result;
    }
    if (endTransmission() != kSent) {
        return kNoReply;
    }
    m_file.reset();
    trace("send flie success !(%s)\n", shownPath.c_str());
    return kSent;
}

bool XmodemTransfer::awaitStart() {
    if (!awaitReply()) {
        return false;
    }
    trace("Reviced start Command!  CommandId:0X%x\n", static_cast<unsigned>(m_reply));
    // Whatever the receiver asks for, it gets CRC mode with 1024-byte blocks.
    m_reply = kAck;
    return true;
}

int XmodemTransfer::sendBlocks() {
    int result = kGoOn;
    while (result == kGoOn) {
        result = answerReply();
    }
    return result;
}

int XmodemTransfer::answerReply() {
    switch (m_reply) {
        case kAck:
            return sendNextBlock();
        case kNak:
            return repeatBlock();
        case kCan:
            UpdateNote::log("cancel transfer !\r\n");
            return kCancelled;
        default:
            trace("Revice Command Error! CommandId:%d\r\n", static_cast<int>(m_reply));
            return giveUp(kUnknownReply);
    }
}

int XmodemTransfer::sendNextBlock() {
    const std::size_t count = std::fread(m_data.data(), 1, m_data.size(), m_file.get());
    if (std::ferror(m_file.get()) != 0) {
        // Not the end of the file: ending the transmission here would leave a cut image behind.
        UpdateNote::log("Can't read file!\r\n");
        return giveUp(kFileFailed);
    }
    if (count == 0) {
        return kSent;
    }
    if (count < m_data.size()) {
        UpdateNote::log("Start filling the last frame!\r\n");
        std::fill(m_data.begin() + static_cast<std::ptrdiff_t>(count), m_data.end(),
                  static_cast<unsigned char>(0));
    }
    ++m_blockCounter;
    buildBlock();
    trace("waiting for ACK,%d,%d,...", static_cast<int>(m_blockCounter), writeBlock());
    if (!awaitReply()) {
        return giveUp(kNoReply);
    }
    UpdateNote::log(m_reply == kAck ? "Ok!\r\n" : "Error!\r\n");
    m_repeatCounter = 0;
    return kGoOn;
}

int XmodemTransfer::repeatBlock() {
    if (m_repeatCounter > kMostRepeats) {
        UpdateNote::log("Retry too many times,Quit!\r\n");
        return giveUp(kTooManyRepeats);
    }
    ++m_repeatCounter;
    trace("Retry for ACK,%d,%d...", static_cast<int>(m_blockCounter), writeBlock());
    if (!awaitReply()) {
        return giveUp(kNoReply);
    }
    UpdateNote::log(m_reply == kAck ? "OK\r\n" : "Error!\r\n");
    return kGoOn;
}

int XmodemTransfer::endTransmission() {
    UpdateNote::log("Waiting for complete ACK ...");
    do {
        (void)::write(m_fd, &kEot, 1);  // the receiver's reply decides
        if (!awaitReply()) {
            return giveUp(kNoReply);
        }
    } while (m_reply != kAck);
    UpdateNote::log("OK\r\n");
    UpdateNote::log("Sending file complete\r\n");
    return kSent;
}

void XmodemTransfer::buildBlock() {
    const std::uint16_t crc =
        XmodemSender::calcCRC16(m_data.data(), static_cast<unsigned short>(m_data.size()));
    m_block[0] = kStx;
    m_block[1] = static_cast<unsigned char>(m_blockCounter);
    m_block[2] = static_cast<unsigned char>(~m_blockCounter);
    std::copy(m_data.begin(), m_data.end(), m_block.begin() + kHeaderLength);
    m_block[kBlockLength - 2] = static_cast<unsigned char>(crc >> 8);
    m_block[kBlockLength - 1] = static_cast<unsigned char>(crc);
}

// One write; a short one is only traced, for the receiver's reply decides.
int XmodemTransfer::writeBlock() {
    return static_cast<int>(::write(m_fd, m_block.data(), m_block.size()));
}

bool XmodemTransfer::awaitReply() {
    const WaitClock waited;
    for (;;) {
        if (waited.seconds() > m_timeoutSeconds) {
            UpdateNote::log("Revcice Command TimeOut");
            return false;
        }
        if (::read(m_fd, &m_reply, 1) == 1) {
            return true;
        }
        // A dead line answers at once; waiting for it must not take the processor. A silent one has
        // been waited for already, and what arrives now stays in the line.
        sleepFor(0, kFailedReadPauseMicroseconds);
    }
}

int XmodemTransfer::giveUp(int result) {
    sendAbortSequence();
    return result;
}

// Until all four bytes went out with one write, or the line is dead and there is nobody to tell.
void XmodemTransfer::sendAbortSequence() {
    ssize_t written = 0;
    do {
        written = ::write(m_fd, kAbortSequence.data(), kAbortSequence.size());
    } while (written != static_cast<ssize_t>(kAbortSequence.size()) &&
             (written >= 0 || errno == EINTR));
}

void XmodemTransfer::trace(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(m_message.data(), m_message.size(), format, arguments);
    va_end(arguments);
    UpdateNote::log(m_message.data());
}
