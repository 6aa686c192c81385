#include "technic/FIFOChannel.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "technic/CancelGuard.h"
#include "technic/SourceLocation.h"
#include "technic/TimeUtil.h"
#include "technic/TrackedAlloc.h"

namespace {

constexpr std::size_t kBufferSize = 1024;
constexpr mode_t kOwnerOnly = 0600;
constexpr std::uint64_t kRetriesPerTimeout = 2;
constexpr long kRetryMicroseconds = 500000;

struct Transfer {
    int passed;
    int lastResult;
};

// Passes `length` bytes by `step(offset, rest)`, pausing before each retry.
template <class Step>
Transfer passAll(int length, unsigned int timeout, Step step) {
    Transfer transfer{0, 0};
    std::uint64_t retries = 0;
    while (transfer.passed < length) {
        transfer.lastResult = static_cast<int>(
            step(transfer.passed, static_cast<std::size_t>(length - transfer.passed)));
        if (transfer.lastResult > 0) {
            transfer.passed += transfer.lastResult;
            continue;
        }
        if (retries == kRetriesPerTimeout * timeout) {
            break;
        }
        ++retries;
        sleepFor(0, kRetryMicroseconds);
    }
    return transfer;
}

}  // namespace

FIFOChannel::FIFOChannel() : m_buffer(new (KD_HERE) unsigned char[kBufferSize]()) {}

FIFOChannel::~FIFOChannel() {
    close();
}

int FIFOChannel::create(const char* path) {
    const int result = mkfifo(path, kOwnerOnly);
    // The result is -1 and never the error number, so the first text is not seen in practice.
    if (result == EEXIST) {
        std::printf("Fail to create FIFO %s is exist: %s", path, std::strerror(errno));
    } else if (result != 0) {
        std::printf("Fail to create FIFO %s: %s", path, std::strerror(errno));
    }
    return result;
}

bool FIFOChannel::open(const std::string& path, int mode) {
    close();
    m_path = path;
    m_mode = mode;
    if (mode != kRead && mode != kWrite) {
        return false;
    }
    const int direction = mode == kRead ? O_RDONLY : O_WRONLY;
    // It does not wait, and a thread that was killed within it would leave a descriptor nobody has.
    const CancelGuard whole;
    m_Handle = ::open(path.c_str(), direction | O_NONBLOCK | O_CLOEXEC);
    return m_Handle != -1;
}

void FIFOChannel::close() {
    if (m_Handle != -1) {
        const CancelGuard whole;
        ::close(m_Handle);
        m_Handle = -1;
    }
}

int FIFOChannel::writeData(const unsigned char* data, int length, unsigned int timeout) {
    if (length < 1) {
        return 0;
    }
    const Transfer transfer = passAll(length, timeout, [&](int offset, std::size_t rest) {
        return ::write(m_Handle, data + offset, rest);
    });
    if (transfer.passed < length) {
        std::printf(
            "send data error, expected sendLength=%d,but actual sendLength = %d,errno = "
            "%d,m_Handle=%d\n",
            length, transfer.lastResult, errno, m_Handle);
    }
    return transfer.passed;
}

int FIFOChannel::readData(unsigned char* data, int length, unsigned int timeout) {
    if (length < 1) {
        return 0;
    }
    return passAll(
               length, timeout,
               [&](int offset, std::size_t rest) { return ::read(m_Handle, data + offset, rest); })
        .passed;
}

int FIFOChannel::writeLength(unsigned int value, unsigned int timeout) {
    unsigned char bytes[sizeof(value)];
    std::memcpy(bytes, &value, sizeof(value));
    return writeData(bytes, sizeof(bytes), timeout) == sizeof(bytes) ? 0 : -1;
}

int FIFOChannel::readLength(unsigned int* value, unsigned int timeout) {
    unsigned char bytes[sizeof(*value)];
    if (readData(bytes, sizeof(bytes), timeout) != sizeof(bytes)) {
        return -1;
    }
    std::memcpy(value, bytes, sizeof(*value));
    return 0;
}

int FIFOChannel::sendString(const std::string& text, unsigned int timeout) {
    const auto length = static_cast<std::uint32_t>(text.size());
    std::vector<unsigned char> message(sizeof(length) + text.size());
    std::memcpy(message.data(), &length, sizeof(length));
    std::copy(text.begin(), text.end(), message.begin() + sizeof(length));
    const auto whole = static_cast<int>(message.size());
    if (writeData(message.data(), whole, timeout) < whole) {
        std::printf("send data(%s)error..\n", text.c_str());
        return -1;
    }
    return 0;
}

int FIFOChannel::recvString(std::string& text, unsigned int timeout) {
    unsigned int length = 0;
    if (readLength(&length, timeout) != 0 || length > kBufferSize) {
        return -1;
    }
    std::fill_n(m_buffer.get(), kBufferSize, static_cast<unsigned char>(0));
    const auto wanted = static_cast<int>(length);
    if (readData(m_buffer.get(), wanted, timeout) < wanted) {
        return -1;
    }
    text.assign(reinterpret_cast<const char*>(m_buffer.get()), length);
    return 0;
}
