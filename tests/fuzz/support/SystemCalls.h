#pragma once

#include <pthread.h>
#include <sys/select.h>
#include <sys/types.h>
#include <termios.h>

#include <cstddef>
#include <ctime>

// Stands between the product and the system on the thread that made it, while it lives; one at a
// time. Here every call goes on to the system, but that nobody sleeps; derive to answer calls.
class SystemCalls {
  public:
    SystemCalls();
    virtual ~SystemCalls();
    SystemCalls(const SystemCalls&) = delete;
    SystemCalls& operator=(const SystemCalls&) = delete;

    virtual int open(const char* path, int flags, mode_t mode);
    virtual int close(int fd);
    virtual ssize_t read(int fd, void* buffer, std::size_t size);
    virtual ssize_t write(int fd, const void* buffer, std::size_t size);
    virtual ssize_t recv(int socket, void* buffer, std::size_t size, int flags);
    // A wait for `reads`. `wait` is null for a wait without end.
    virtual int select(int count, fd_set* reads, timeval* wait);
    // A wait for nothing.
    virtual void sleep(const timeval& length);
    virtual int ioctl(int fd, unsigned long request, void* argument);
    virtual int fsync(int fd);
    virtual int tcgetattr(int fd, termios* settings);
    virtual int tcsetattr(int fd, int when, const termios* settings);
    virtual int tcflush(int fd, int queue);
    virtual std::time_t time();
    // What times returns.
    virtual std::clock_t ticks();
    // No thread is made: what the product does on threads of its own is not in an input's hand.
    virtual int createThread();
};
