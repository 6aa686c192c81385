#pragma once

#include <memory>
#include <string>

#include "technic/FIFOChannel.h"
#include "technic/GThreadInfo.h"
#include "technic/SafePointer.h"

// Sends and receives heartbeat records over a named pipe, one record a message. Not for use by
// several threads at once.
class GThreadFIFOComm {
  public:
    // `mode` as FIFOChannel::open. Opens nothing.
    GThreadFIFOComm(const std::string& path, int mode);
    // Closes. Throws only when a handle is misused, see SafePointer.
    ~GThreadFIFOComm() noexcept(false);
    GThreadFIFOComm(const GThreadFIFOComm&) = delete;
    GThreadFIFOComm& operator=(const GThreadFIFOComm&) = delete;

    bool open();
    void close();

    // 0; -405 when the record cannot be serialised; -1 when it did not go out whole.
    int send(SafePointer<GThreadInfo> info);
    // 0, with a new record in `info`; -213 without a length; -212 without the whole record, or when
    // it is longer than 1024 bytes; -404 when it is not a record.
    int recv(SafePointer<GThreadInfo>& info, unsigned int timeout);
    // The bytes that wait in the pipe; -1 when that cannot be told.
    int getFifoDataSize();

  private:
    SafePointer<FIFOChannel> m_channel;
    std::unique_ptr<unsigned char[]> m_buffer;
    std::string m_path;
    int m_mode;
};
