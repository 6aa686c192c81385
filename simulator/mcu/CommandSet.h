#pragma once

#include <optional>
#include <string>

#include "simulator/mcu/Frame.h"

// What the host can ask of an MCU.
enum class RequestKind {
    Version,
    State,
    Hardware,
    Update,
    SetToBoot,
    Reboot,
    Reset,
    StartUpload,
    StopUpload,
    AlarmOff,
};

struct Request {
    RequestKind kind = RequestKind::Version;
    // The MCU that is meant; nothing for a request that reaches all of them.
    std::optional<std::uint8_t> target;
};

// The request that a frame is, or nothing when it is none of the command set.
std::optional<Request> decodeRequest(const Frame& frame);

// The request's name in fault scripts: "version", "set-to-boot" and so on.
const char* eventName(RequestKind kind);
// The request's name in the transcript: "version request", "set-to-boot" and so on.
const char* requestMeaning(RequestKind kind);

// Replies, as they go over the line.
Bytes versionReply(const Bytes& version);    // three bytes
Bytes stateReply(std::uint8_t state);        // 1 = boot state
Bytes updateReply(std::uint8_t refusal);     // 0 = accepted
Bytes hardwareReply(const Bytes& hardware);  // at most 255 bytes
// The reply to this request with any data; the request must be one that has a reply.
Bytes replyWithData(RequestKind kind, const Bytes& data);
