// Heartbeat records and the pipe that they go through. Input: a byte that chooses what is done; a
// text, the time-out in a byte, and the lengths of the pieces in which the rest comes as a text of
// their own. What is sent and received is compared with the stand-in of the heartbeat's reader,
// which was written apart from the product.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "simulator/sandbox/HeartbeatDecoder.h"
#include "technic/FIFOChannel.h"
#include "technic/GThreadFIFOComm.h"
#include "technic/GThreadInfo.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "tests/fuzz/support/FuzzInput.h"
#include "tests/fuzz/support/Require.h"
#include "tests/fuzz/support/SystemCalls.h"

namespace {

constexpr char kPipe[] = "/tmp/pipe";
constexpr std::size_t kFixedSize = 20;
constexpr std::size_t kLongestMessage = 1024;
constexpr std::size_t kLengthSize = 4;

bool makePipe() {
    return FIFOChannel::create(kPipe) == 0;
}

void requireSame(const GThreadInfo& record, const Heartbeat& heartbeat) {
    require(record.getThreadId() == heartbeat.threadId && record.getState() == heartbeat.state &&
                record.getTimeout() == heartbeat.timeout &&
                record.getTimestamp() == heartbeat.timestamp && record.getName() == heartbeat.name,
            "a record and what its reader sees are the same");
}

// Puts the bytes into the pipe: the first piece at once, another one in each sleep.
class Feeder : public SystemCalls {
  public:
    Feeder(std::string bytes, std::string pieces)
        : m_bytes(std::move(bytes)),
          m_pieces(std::move(pieces)),
          m_fd(SystemCalls::open(kPipe, O_WRONLY | O_NONBLOCK | O_CLOEXEC, 0)) {
        feed();
    }
    ~Feeder() override { (void)SystemCalls::close(m_fd); }

    void sleep(const timeval& /*length*/) override { feed(); }

  private:
    void feed() {
        const bool isCut = m_piece < m_pieces.size();
        const std::size_t length =
            isCut ? static_cast<unsigned char>(m_pieces[m_piece++]) : m_bytes.size();
        const std::string piece = m_bytes.substr(0, length);
        m_bytes.erase(0, length);
        require(piece.empty() || SystemCalls::write(m_fd, piece.data(), piece.size()) ==
                                     static_cast<ssize_t>(piece.size()),
                "the pipe takes an input");
    }

    std::string m_bytes;
    std::string m_pieces;
    std::size_t m_piece = 0;
    int m_fd;
};

std::uint32_t lengthIn(const std::string& bytes) {
    std::uint32_t length = 0;
    std::memcpy(&length, bytes.data(), sizeof length);
    return length;
}

void requireReceived(int result, const GThreadInfo& record, const std::string& bytes) {
    if (bytes.size() < kLengthSize) {
        require(result == -213, "without a length there is no record");
        return;
    }
    HeartbeatDecoder reader;
    reader.append(bytes.data(), bytes.size());
    const auto message = reader.next();
    if (!message || lengthIn(bytes) > HeartbeatDecoder::kLongestRecord) {
        require(result == -212, "a record that is too long or has not come whole is none");
    } else if (const auto* heartbeat = std::get_if<Heartbeat>(&*message)) {
        require(result == 0, "a record is received");
        requireSame(record, *heartbeat);
    } else {
        require(result == -404, "what is too short for a record is refused");
    }
}

void receiveRecord(const std::string& bytes, const std::string& pieces, unsigned timeout) {
    GThreadFIFOComm comm(kPipe, FIFOChannel::kRead);
    require(comm.open(), "the pipe opens for reading");
    const Feeder feeder(bytes, pieces);
    SafePointer<GThreadInfo> record(new (KD_HERE) GThreadInfo("before"));
    const int result = comm.recv(record, timeout);
    require(result == 0 || record->getName() == "before", "a failed reception changes nothing");
    if (pieces.empty()) {
        requireReceived(result, *record, bytes);
    }
    require(comm.getFifoDataSize() >= 0, "the pipe tells what waits in it");
}

// What a message of a text holds, or nothing.
bool holdsText(const std::string& bytes, std::string& text) {
    if (bytes.size() < kLengthSize) {
        return false;
    }
    const std::uint32_t length = lengthIn(bytes);
    text = bytes.substr(kLengthSize, length);
    return length <= kLongestMessage && text.size() == length;
}

void receiveText(const std::string& bytes, const std::string& pieces, unsigned timeout) {
    FIFOChannel channel;
    require(channel.open(kPipe, FIFOChannel::kRead), "the pipe opens for reading");
    const Feeder feeder(bytes, pieces);
    std::string text = "before";
    const int result = channel.recvString(text, timeout);
    require(result == 0 || text == "before", "a failed reception changes nothing");
    std::string expected;
    if (pieces.empty()) {
        require((result == 0) == holdsText(bytes, expected), "a whole text is received");
        require(result != 0 || text == expected, "the text is the one that was sent");
    }
}

// What waits in the pipe.
std::string drained(int fd) {
    std::array<char, 65536> bytes{};
    const ssize_t count = ::read(fd, bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

void requireSent(const GThreadInfo& info, const std::string& sent) {
    require(sent.size() == kLengthSize + info.serializedSize(), "a record is sent whole");
    if (info.serializedSize() > HeartbeatDecoder::kLongestRecord) {
        return;
    }
    HeartbeatDecoder reader;
    reader.append(sent.data(), sent.size());
    const auto message = reader.next();
    require(message && std::holds_alternative<Heartbeat>(*message), "what is sent is a record");
    GThreadInfo shown(upToZero(info.getName()));
    shown.setThreadId(info.getThreadId());
    shown.setState(info.getState());
    shown.setTimeout(info.getTimeout());
    shown.setTimestamp(info.getTimestamp());
    requireSame(shown, std::get<Heartbeat>(*message));
}

void sendRecord(FuzzInput& fields, const std::string& name) {
    const int reader = ::open(kPipe, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    require(reader != -1, "the pipe opens for reading");
    GThreadFIFOComm comm(kPipe, FIFOChannel::kWrite);
    require(comm.open(), "the pipe opens for writing");
    const SafePointer<GThreadInfo> info(new (KD_HERE) GThreadInfo(name));
    info->setThreadId(static_cast<std::uint32_t>(fields.number()));
    info->setState(static_cast<std::uint32_t>(fields.number()));
    info->setTimeout(static_cast<std::uint32_t>(fields.number()));
    info->setTimestamp(std::int64_t{fields.number()} * fields.number());
    info->setName(name + fields.rest());
    require(comm.send(info) == 0, "a record is sent");
    requireSent(*info, drained(reader));
    (void)::close(reader);
}

// A record read from exactly its bytes, and written again into exactly its size.
void readRecord(const std::string& name, const std::string& bytes) {
    const std::unique_ptr<unsigned char[]> record(new unsigned char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), record.get());
    GThreadInfo info(name);
    const auto length = static_cast<unsigned>(bytes.size());
    const bool fits = bytes.size() >= kFixedSize + name.size();
    require(info.deserialize(record.get(), length) == (fits ? 0 : -2),
            "a record is read from as many bytes as it has now, or more");
    require(fits || info.getName() == name, "a refused record changes nothing");
    const std::uint32_t size = info.serializedSize();
    const std::unique_ptr<unsigned char[]> again(new unsigned char[size]);
    require(info.serialize(again.get(), size - 1) == -2, "a record does not fit into less");
    require(info.serialize(again.get(), size) == static_cast<int>(size), "a record is written");
    require(!fits || std::equal(again.get(), again.get() + size, record.get()),
            "a record is written as it was read");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const bool kIsReady = makePipe();
    require(kIsReady, "the pipe is made");
    const LittleTime limit;
    FuzzInput input(data, size);
    const unsigned choice = input.byte() % 4U;
    const std::string name = input.text();
    const unsigned timeout = input.byte() % 4U;
    const std::string pieces = input.text();
    switch (choice) {
        case 0:
            readRecord(name, input.rest());
            break;
        case 1:
            receiveRecord(input.rest(), pieces, timeout);
            break;
        case 2:
            receiveText(input.rest(), pieces, timeout);
            break;
        default:
            sendRecord(input, name);
    }
    return 0;
}
