#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "technic/FIFOChannel.h"
#include "tests/technic/DeviceFolder.h"
#include "tests/technic/Pipe.h"

inline const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

inline std::string lengthBytes(std::uint32_t length) {
    return {reinterpret_cast<const char*>(&length), sizeof(length)};
}

// A channel, and a pipe with a reader to open it on.
class Channel : public testing::Test {
  protected:
    void openForWriting() { ASSERT_TRUE(m_channel.open(m_pipe.path(), FIFOChannel::kWrite)); }
    // With `content` waiting in the pipe.
    void openForReading(const std::string& content) {
        m_pipe.put(content);
        ASSERT_TRUE(m_channel.open(m_pipe.path(), FIFOChannel::kRead));
    }
    int write(const std::string& text, unsigned timeout) {
        return m_channel.writeData(bytesOf(text), static_cast<int>(text.size()), timeout);
    }
    std::string read(int length, unsigned timeout) {
        std::string buffer(static_cast<std::size_t>(length), '\0');
        const int n =
            m_channel.readData(reinterpret_cast<unsigned char*>(buffer.data()), length, timeout);
        return buffer.substr(0, static_cast<std::size_t>(n));
    }
    std::string sendError(int length, int lastResult, int error) const {
        return "send data error, expected sendLength=" + std::to_string(length) +
               ",but actual sendLength = " + std::to_string(lastResult) +
               ",errno = " + std::to_string(error) +
               ",m_Handle=" + std::to_string(m_channel.getHandle()) + "\n";
    }

    DeviceFolder m_folder;
    Pipe m_pipe{m_folder.path("pipe")};
    FIFOChannel m_channel;
};
