#include "simulator/target/WatchdogDevice.h"

#define FUSE_USE_VERSION 31
#include <cuse_lowlevel.h>
#include <poll.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include "simulator/sandbox/StandIn.h"

namespace {

constexpr unsigned int kFeedRequest = 0xC028670E;
constexpr double kNanosecondsPerSecond = 1e9;

double monotonicSeconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) +
           static_cast<double>(now.tv_nsec) / kNanosecondsPerSecond;
}

void announce(void* /*records*/) {
    StandIn::announceReady();
}

void openDevice(fuse_req_t request, fuse_file_info* file) {
    if ((file->flags & O_ACCMODE) == O_WRONLY) {
        fuse_reply_open(request, file);
    } else {
        fuse_reply_err(request, EACCES);
    }
}

void takeRequest(fuse_req_t request, int number, void* argument, fuse_file_info* /*file*/,
                 unsigned int /*flags*/, const void* /*input*/, size_t /*inputSize*/,
                 size_t /*outputSize*/) {
    auto& records = *static_cast<RecordFile*>(fuse_req_userdata(request));
    const bool isFeed = static_cast<unsigned int>(number) == kFeedRequest;
    if (isFeed && argument == nullptr) {
        records.append({{"seconds", monotonicSeconds()}});
        fuse_reply_ioctl(request, 0, nullptr, 0);
        return;
    }
    records.append(
        {{"refused", static_cast<unsigned int>(number)}, {"argument", argument != nullptr}});
    fuse_reply_err(request, isFeed ? EINVAL : ENOTTY);
}

fuse_session* makeDevice(RecordFile& records) {
    std::array<const char*, 1> description = {"DEVNAME=gpio_wtd"};
    cuse_info information{};
    information.dev_info_argc = description.size();
    information.dev_info_argv = description.data();
    // The request's number announces an argument of 40 bytes; the kernel would look for them.
    information.flags = CUSE_UNRESTRICTED_IOCTL;

    cuse_lowlevel_ops operations{};
    operations.init_done = announce;
    operations.open = openDevice;
    operations.ioctl = takeRequest;

    std::array<char, 16> program = {"watchdog-device"};
    std::array<char, 3> foreground = {"-f"};
    std::array<char*, 2> arguments = {program.data(), foreground.data()};
    int isMultithreaded = 0;
    return cuse_lowlevel_setup(arguments.size(), arguments.data(), &information, &operations,
                               &isMultithreaded, &records);
}

void serveOne(fuse_session* session, fuse_buf& buffer) {
    if (fuse_session_receive_buf(session, &buffer) > 0) {
        fuse_session_process_buf(session, &buffer);
    }
}

}  // namespace

WatchdogDevice::WatchdogDevice(RecordFile& records) : m_session(makeDevice(records)) {
    if (m_session == nullptr) {
        throw std::runtime_error("/dev/gpio_wtd cannot be made (is there a /dev/cuse?)");
    }
}

WatchdogDevice::~WatchdogDevice() {
    cuse_lowlevel_teardown(m_session);
}

void WatchdogDevice::run(const StopSignals& stop) {
    fuse_buf buffer{};
    while (!stop.isRequested() && fuse_session_exited(m_session) == 0) {
        pollfd polled{fuse_session_fd(m_session), POLLIN, 0};
        if (ppoll(&polled, 1, nullptr, &stop.waitMask()) > 0) {
            serveOne(m_session, buffer);
        }
    }
    std::free(buffer.mem);
}
