#include "simulator/sandbox/DaemonRequest.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

std::string withLength(std::uint32_t length, const std::string& command) {
    std::string bytes(sizeof length, '\0');
    std::memcpy(bytes.data(), &length, sizeof length);
    return bytes + command;
}

DaemonRequest requestOf(const std::string& bytes) {
    DaemonRequest request;
    request.append(bytes.data(), bytes.size());
    return request;
}

TEST(DaemonRequest, IsCompleteWithTheLastByteOfTheCommand) {
    const std::string bytes = withLength(5, "hello");
    DaemonRequest request;
    for (const char byte : bytes) {
        EXPECT_EQ(request.state(), DaemonRequest::State::Incomplete);
        request.append(&byte, 1);
    }

    EXPECT_EQ(request.state(), DaemonRequest::State::Complete);
    EXPECT_EQ(request.length(), 5U);
    EXPECT_EQ(request.command(), "hello");
}

TEST(DaemonRequest, IgnoresWhatFollows) {
    EXPECT_EQ(requestOf(withLength(2, "hello")).command(), "he");
}

TEST(DaemonRequest, MayHave999Bytes) {
    const DaemonRequest request = requestOf(withLength(999, std::string(999, 'x')));

    EXPECT_EQ(request.state(), DaemonRequest::State::Complete);
    EXPECT_EQ(request.command(), std::string(999, 'x'));
}

TEST(DaemonRequest, OfMoreThan999BytesIsMalformed) {
    EXPECT_EQ(requestOf(withLength(1000, "")).state(), DaemonRequest::State::Malformed);
    EXPECT_EQ(requestOf(withLength(UINT32_MAX, "")).state(), DaemonRequest::State::Malformed);
}

TEST(DaemonRequest, OfNoBytesIsMalformed) {
    EXPECT_EQ(requestOf(withLength(0, "")).state(), DaemonRequest::State::Malformed);
}

TEST(DaemonRequest, HasNoLengthBeforeItsFourthByte) {
    EXPECT_EQ(requestOf(withLength(5, "").substr(0, 3)).length(), std::nullopt);
}

}  // namespace
