#include "tests/fuzz/support/ReplyOracle.h"

#include <algorithm>

namespace {

constexpr std::size_t kFrameLength = 32;
constexpr std::size_t kHeaderLength = 4;

unsigned numberAt(const std::string& frame, std::size_t position) {
    return static_cast<unsigned char>(frame.at(position));
}

bool beginsWith(const std::string& frame, const std::string& header) {
    return frame.compare(0, header.size(), header) == 0;
}

}  // namespace

std::optional<std::string> versionIn(const std::string& frame) {
    if (!beginsWith(frame, "\xFE\x06\x02\x03")) {
        return std::nullopt;
    }
    return std::to_string(numberAt(frame, 4)) + std::to_string(numberAt(frame, 5)) +
           std::to_string(numberAt(frame, 6));
}

std::optional<std::string> hardwareIn(const std::string& frame) {
    const std::size_t length = numberAt(frame, 3);
    if (!beginsWith(frame, "\xFE\x06\x0C") || length > kFrameLength - kHeaderLength) {
        return std::nullopt;
    }
    const std::string digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        const unsigned byte = numberAt(frame, kHeaderLength + i);
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
    return text;
}

std::optional<std::string> stateIn(const std::string& frame) {
    if (!beginsWith(frame, "\xFE\x05\x02\x01")) {
        return std::nullopt;
    }
    return frame.substr(kHeaderLength, 1);
}

std::optional<std::string> permissionIn(const std::string& frame) {
    if (!beginsWith(frame, "\xFE\x05\x06\x01")) {
        return std::nullopt;
    }
    return std::string(1, numberAt(frame, kHeaderLength) == 0 ? '\1' : '\0');
}

std::optional<std::string> firstAnswer(const std::string& bytes, Decode decode) {
    // What a longer frame leaves behind a shorter one stays there.
    std::string frame(kFrameLength, '\0');
    for (std::size_t at = bytes.find('\xFE'); at != std::string::npos;) {
        const std::size_t end = bytes.find('\xFF', at);
        if (end == std::string::npos || end - at >= kFrameLength) {
            return std::nullopt;
        }
        std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                  bytes.begin() + static_cast<std::ptrdiff_t>(end) + 1, frame.begin());
        if (const std::optional<std::string> value = decode(frame)) {
            return value;
        }
        at = bytes.find('\xFE', end + 1);
    }
    return std::nullopt;
}
