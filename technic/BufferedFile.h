#pragma once

#include <cstddef>
#include <cstdio>

// A buffered file that is opened by flags and closed when the object goes. One thread at a time.
class BufferedFile {
  public:
    // Flags of open, to be combined with |.
    enum Flag : unsigned {
        kRead = 1,
        kWrite = 2,
        kUpdate = 4,
        kAppend = 32,
        kTruncate = 64,
    };

    BufferedFile() = default;
    ~BufferedFile();
    BufferedFile(const BufferedFile&) = delete;
    BufferedFile& operator=(const BufferedFile&) = delete;

    // Opens for reading (kRead alone), writing at the end (kWrite, with or without kAppend),
    // writing anew (kWrite and kTruncate), reading and writing (kUpdate), reading and writing at
    // the end (kUpdate and kAppend) or reading and writing anew (kUpdate, kAppend and kTruncate). A
    // file that was open is closed first. Returns false, and the file is closed, when the path is
    // null, the flags are any others or the system refuses. Writing alone does not wait for the
    // reader of a pipe that stands there: without a reader it is refused, and what a full pipe does
    // not take is an error.
    bool open(const char* path, unsigned flags);

    // 0, also when the file was closed already; -1 when buffered data could not be written. The
    // file is closed in every case.
    int close();

    // The number of bytes taken. -1 when the buffer is null, the file closed or the stream in
    // error.
    long write(const void* buffer, std::size_t size);

    // Hands buffered data to the system. 0, or -1 when the file is closed or on an error.
    int flush();

    // The file's size in bytes without what is still buffered. -1 when the file is closed or on an
    // error.
    long long size() const;

    bool isOpen() const { return m_stream != nullptr; }

  private:
    std::FILE* m_stream = nullptr;
};
