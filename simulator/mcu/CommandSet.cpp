#include "simulator/mcu/CommandSet.h"

#include <algorithm>
#include <array>

namespace {

enum class Data { Target, Fixed };

struct RequestRow {
    RequestKind kind;
    const char* event;
    const char* meaning;
    std::uint8_t group;
    std::uint8_t code;
    Data data;
    std::size_t length;
    std::array<std::uint8_t, 4> fixed;
};

constexpr std::array<RequestRow, 10> kRequests{{
    {RequestKind::Version, "version", "version request", 0x06, 0x01, Data::Target, 1, {}},
    {RequestKind::State, "state", "state request", 0x05, 0x01, Data::Target, 1, {}},
    {RequestKind::Hardware, "hardware", "hardware request", 0x06, 0x0B, Data::Target, 1, {}},
    {RequestKind::Update, "update", "update request", 0x05, 0x05, Data::Target, 1, {}},
    {RequestKind::SetToBoot, "set-to-boot", "set-to-boot", 0x05, 0x03, Data::Target, 1, {}},
    {RequestKind::Reboot, "reboot", "reboot", 0x01, 0x10, Data::Fixed, 4, {0x00, 0x0F, 0, 0}},
    {RequestKind::Reset, "reset", "reset", 0x01, 0x10, Data::Fixed, 4, {0x00, 0x29, 0, 0}},
    {RequestKind::StartUpload, "start-upload", "start-upload", 0x05, 0x09, Data::Fixed, 1, {}},
    {RequestKind::StopUpload, "stop-upload", "stop-upload", 0x05, 0x07, Data::Fixed, 1, {}},
    {RequestKind::AlarmOff, "alarm-off", "alarm-off", 0x02, 0x06, Data::Fixed, 1, {}},
}};

bool matches(const RequestRow& row, const Frame& frame) {
    if (frame.group != row.group || frame.code != row.code || frame.data.size() != row.length) {
        return false;
    }
    return row.data == Data::Target ||
           std::equal(frame.data.begin(), frame.data.end(), row.fixed.begin());
}

const RequestRow& rowOf(RequestKind kind) {
    return *std::find_if(kRequests.begin(), kRequests.end(),
                         [kind](const RequestRow& row) { return row.kind == kind; });
}

}  // namespace

std::optional<Request> decodeRequest(const Frame& frame) {
    for (const RequestRow& row : kRequests) {
        if (!matches(row, frame)) {
            continue;
        }
        Request request{row.kind, std::nullopt};
        if (row.data == Data::Target) {
            request.target = frame.data[0];
        }
        return request;
    }
    return std::nullopt;
}

const char* eventName(RequestKind kind) {
    return rowOf(kind).event;
}

const char* requestMeaning(RequestKind kind) {
    return rowOf(kind).meaning;
}

Bytes replyWithData(RequestKind kind, const Bytes& data) {
    const RequestRow& row = rowOf(kind);
    return encodeFrame({row.group, static_cast<std::uint8_t>(row.code + 1), data});
}

Bytes versionReply(const Bytes& version) {
    return replyWithData(RequestKind::Version, version);
}

Bytes stateReply(std::uint8_t state) {
    return replyWithData(RequestKind::State, {state});
}

Bytes updateReply(std::uint8_t refusal) {
    return replyWithData(RequestKind::Update, {refusal});
}

Bytes hardwareReply(const Bytes& hardware) {
    return replyWithData(RequestKind::Hardware, hardware);
}
