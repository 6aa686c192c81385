#include "tests/fuzz/support/SystemCalls.h"

#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/times.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

namespace {

thread_local SystemCalls* calls = nullptr;

}  // namespace

// The linker leads the program's calls of NAME to __wrap_NAME, and __real_NAME to the C library's.
// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {

int __real_open64(const char* path, int flags, ...);
int __real_close(int fd);
ssize_t __real_read(int fd, void* buffer, std::size_t size);
ssize_t __real_write(int fd, const void* buffer, std::size_t size);
ssize_t __real_recv(int socket, void* buffer, std::size_t size, int flags);
int __real_select(int count, fd_set* reads, fd_set* writes, fd_set* errors, timeval* wait);
int __real_ioctl(int fd, unsigned long request, ...);
int __real_fsync(int fd);
int __real_usleep(useconds_t length);
int __real_tcgetattr(int fd, termios* settings);
int __real_tcsetattr(int fd, int when, const termios* settings);
int __real_tcflush(int fd, int queue);
std::time_t __real_time(std::time_t* result);
std::clock_t __real_times(tms* used);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument);

int __wrap_open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);  // whatever, where no file is made
    va_end(arguments);
    return calls != nullptr ? calls->open(path, flags, mode) : __real_open64(path, flags, mode);
}

int __wrap_close(int fd) {
    return calls != nullptr ? calls->close(fd) : __real_close(fd);
}

ssize_t __wrap_read(int fd, void* buffer, std::size_t size) {
    return calls != nullptr ? calls->read(fd, buffer, size) : __real_read(fd, buffer, size);
}

ssize_t __wrap_write(int fd, const void* buffer, std::size_t size) {
    return calls != nullptr ? calls->write(fd, buffer, size) : __real_write(fd, buffer, size);
}

ssize_t __wrap_recv(int socket, void* buffer, std::size_t size, int flags) {
    return calls != nullptr ? calls->recv(socket, buffer, size, flags)
                            : __real_recv(socket, buffer, size, flags);
}

int __wrap_select(int count, fd_set* reads, fd_set* writes, fd_set* errors, timeval* wait) {
    if (calls == nullptr) {
        return __real_select(count, reads, writes, errors, wait);
    }
    if (count == 0 && wait != nullptr) {
        calls->sleep(*wait);
        return 0;
    }
    return calls->select(count, reads, wait);
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return calls != nullptr ? calls->ioctl(fd, request, argument)
                            : __real_ioctl(fd, request, argument);
}

int __wrap_fsync(int fd) {
    return calls != nullptr ? calls->fsync(fd) : __real_fsync(fd);
}

int __wrap_usleep(useconds_t length) {
    if (calls == nullptr) {
        return __real_usleep(length);
    }
    calls->sleep({0, static_cast<suseconds_t>(length)});
    return 0;
}

int __wrap_tcgetattr(int fd, termios* settings) {
    return calls != nullptr ? calls->tcgetattr(fd, settings) : __real_tcgetattr(fd, settings);
}

int __wrap_tcsetattr(int fd, int when, const termios* settings) {
    return calls != nullptr ? calls->tcsetattr(fd, when, settings)
                            : __real_tcsetattr(fd, when, settings);
}

int __wrap_tcflush(int fd, int queue) {
    return calls != nullptr ? calls->tcflush(fd, queue) : __real_tcflush(fd, queue);
}

std::time_t __wrap_time(std::time_t* result) {
    if (calls == nullptr) {
        return __real_time(result);
    }
    const std::time_t now = calls->time();
    if (result != nullptr) {
        *result = now;
    }
    return now;
}

std::clock_t __wrap_times(tms* used) {
    return calls != nullptr ? calls->ticks() : __real_times(used);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
    return calls != nullptr ? calls->createThread()
                            : __real_pthread_create(thread, attributes, entry, argument);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

SystemCalls::SystemCalls() {
    calls = this;
}

SystemCalls::~SystemCalls() {
    calls = nullptr;
}

int SystemCalls::open(const char* path, int flags, mode_t mode) {
    return __real_open64(path, flags, mode);
}

int SystemCalls::close(int fd) {
    return __real_close(fd);
}

ssize_t SystemCalls::read(int fd, void* buffer, std::size_t size) {
    return __real_read(fd, buffer, size);
}

ssize_t SystemCalls::write(int fd, const void* buffer, std::size_t size) {
    return __real_write(fd, buffer, size);
}

ssize_t SystemCalls::recv(int socket, void* buffer, std::size_t size, int flags) {
    return __real_recv(socket, buffer, size, flags);
}

int SystemCalls::select(int count, fd_set* reads, timeval* wait) {
    return __real_select(count, reads, nullptr, nullptr, wait);
}

void SystemCalls::sleep(const timeval& /*length*/) {}

int SystemCalls::ioctl(int fd, unsigned long request, void* argument) {
    return __real_ioctl(fd, request, argument);
}

int SystemCalls::fsync(int fd) {
    return __real_fsync(fd);
}

int SystemCalls::tcgetattr(int fd, termios* settings) {
    return __real_tcgetattr(fd, settings);
}

int SystemCalls::tcsetattr(int fd, int when, const termios* settings) {
    return __real_tcsetattr(fd, when, settings);
}

int SystemCalls::tcflush(int fd, int queue) {
    return __real_tcflush(fd, queue);
}

std::time_t SystemCalls::time() {
    return __real_time(nullptr);
}

std::clock_t SystemCalls::ticks() {
    tms used{};
    return __real_times(&used);
}

int SystemCalls::createThread() {
    return EAGAIN;
}
