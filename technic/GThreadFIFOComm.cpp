#include "technic/GThreadFIFOComm.h"

#include <sys/ioctl.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

namespace {

constexpr std::uint32_t kBufferSize = 1024;
constexpr std::uint32_t kLengthSize = 4;
constexpr unsigned kSendTimeout = 1;
constexpr int kNotSent = -1;
constexpr int kNoRecord = -212;
constexpr int kNoLength = -213;
constexpr int kNotARecord = -404;
constexpr int kNotSerialized = -405;

}  // namespace

GThreadFIFOComm::GThreadFIFOComm(const std::string& path, int mode)
    : m_channel(new (KD_HERE) FIFOChannel),
      m_buffer(new (KD_HERE) unsigned char[kBufferSize]()),
      m_path(path),
      m_mode(mode) {}

GThreadFIFOComm::~GThreadFIFOComm() noexcept(false) {
    close();
}

bool GThreadFIFOComm::open() {
    return m_channel->open(m_path, m_mode);
}

void GThreadFIFOComm::close() {
    m_channel->close();
}

int GThreadFIFOComm::send(SafePointer<GThreadInfo> info) {
    const std::uint32_t size = info->serializedSize();
    const std::unique_ptr<unsigned char[]> message(new (KD_HERE) unsigned char[kLengthSize + size]);
    std::memcpy(message.get(), &size, kLengthSize);
    if (info->serialize(message.get() + kLengthSize, size) != static_cast<int>(size)) {
        return kNotSerialized;
    }
    const auto whole = static_cast<int>(kLengthSize + size);
    const int sent = m_channel->writeData(message.get(), whole, kSendTimeout);
    if (sent < whole) {
        std::printf("send GThreadInfo'data error,dataLength = %d,but send length = %d\n",
                    static_cast<int>(size), sent);
        return kNotSent;
    }
    return 0;
}

int GThreadFIFOComm::recv(SafePointer<GThreadInfo>& info, unsigned int timeout) {
    unsigned int length = 0;
    if (m_channel->readLength(&length, timeout) != 0) {
        return kNoLength;
    }
    const int wanted = length > kBufferSize ? 0 : static_cast<int>(length);
    const int received = m_channel->readData(m_buffer.get(), wanted, timeout);
    if (length > kBufferSize || received < wanted) {
        std::printf("recv KdLogInfo error,dataLength = %d,but recv length =%d\n",
                    static_cast<int>(length), received);
        return kNoRecord;
    }
    const SafePointer<GThreadInfo> record(new (KD_HERE) GThreadInfo);
    if (record->deserialize(m_buffer.get(), length) != 0) {
        return kNotARecord;
    }
    info = record;
    return 0;
}

int GThreadFIFOComm::getFifoDataSize() {
    int waiting = 0;
    return ioctl(m_channel->getHandle(), FIONREAD, &waiting) == 0 ? waiting : -1;
}
