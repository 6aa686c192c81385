#pragma once

#include <memory>
#include <string>

// One end of a named pipe, with length-prefixed, time-limited reads and writes. Lengths travel in
// the machine's own byte order. A write to a pipe whose reader went away raises SIGPIPE unless the
// process ignores it. Not for use by several threads at once.
class FIFOChannel {
  public:
    static constexpr int kRead = 1;
    static constexpr int kWrite = 2;

    FIFOChannel();
    ~FIFOChannel();
    FIFOChannel(const FIFOChannel&) = delete;
    FIFOChannel& operator=(const FIFOChannel&) = delete;

    // Makes the pipe, for its owner only. Returns mkfifo's result and prints a failure.
    static int create(const char* path);

    // Opens without waiting for the other end: writing fails when nobody reads. False also for a
    // mode that is neither kRead nor kWrite.
    bool open(const std::string& path, int mode);
    void close();

    // The number of bytes passed: fewer than `length` when 2 x `timeout` retries, 500 ms apart,
    // were not enough; 0 for a length below 1.
    int writeData(const unsigned char* data, int length, unsigned int timeout);
    int readData(unsigned char* data, int length, unsigned int timeout);
    // 0, or -1 when not all 4 bytes passed.
    int writeLength(unsigned int value, unsigned int timeout);
    int readLength(unsigned int* value, unsigned int timeout);
    // One message: 4-byte length and bytes. 0, or -1 when it did not pass whole. A received message
    // longer than 1024 bytes is refused.
    int sendString(const std::string& text, unsigned int timeout);
    int recvString(std::string& text, unsigned int timeout);

    // The descriptor; -1 when closed.
    int getHandle() const { return m_Handle; }

  private:
    int m_Handle = -1;
    std::string m_path;
    int m_mode = 0;
    std::unique_ptr<unsigned char[]> m_buffer;
};
