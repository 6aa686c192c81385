#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>

class XmodemSender;

// One run of XmodemSender::sendFile. Nothing is allocated for a block.
class XmodemTransfer {
  public:
    // `fd` is the sender's port; replies are awaited for `timeoutSeconds`.
    XmodemTransfer(XmodemSender& sender, int fd, int timeoutSeconds)
        : m_sender(sender), m_fd(fd), m_timeoutSeconds(timeoutSeconds) {}

    // The result of XmodemSender::sendFile. To be called once.
    int run(const char* path);

  private:
    static constexpr std::size_t kDataLength = 1024;
    static constexpr std::size_t kHeaderLength = 3;
    static constexpr std::size_t kBlockLength = kHeaderLength + kDataLength + 2;

    struct CloseFile {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }  // read only: no loss
    };

    bool awaitStart();
    int sendBlocks();
    int answerReply();
    int sendNextBlock();
    int repeatBlock();
    int endTransmission();

    void buildBlock();
    int writeBlock();
    bool awaitReply();
    int giveUp(int result);
    void sendAbortSequence();
    __attribute__((format(printf, 2, 3))) void trace(const char* format, ...);

    XmodemSender& m_sender;
    const int m_fd;
    const int m_timeoutSeconds;
    std::unique_ptr<std::FILE, CloseFile> m_file;
    std::uint32_t m_blockCounter = 0;
    int m_repeatCounter = 0;
    unsigned char m_reply = 0;
    std::array<unsigned char, kDataLength> m_data{};
    std::array<unsigned char, kBlockLength> m_block{};
    std::array<char, 256> m_message{};
};
