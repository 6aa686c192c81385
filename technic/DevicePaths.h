#pragma once

// Every path that is fixed on the device, with its value. Nothing makes them configurable.
namespace device_paths {

constexpr char kUpdateNoteLog[] = "/mnt/mtd/log/MCUUpdateNote.log";
constexpr char kThreadExceptionLog[] = "/mnt/mtd/log/ThreadException.log";
constexpr char kSignalErrorLog[] = "/mnt/mtd/log/SignalError.log";
constexpr char kRebootLog[] = "/mnt/mtd/log/Reboot.log";
constexpr char kHeartbeatPipe[] = "/hd1/program/bin/threadchannel";
constexpr char kWatchdogDevice[] = "/dev/gpio_wtd";
constexpr char kControlDaemonSocket[] = "/var/run/systemd.sock";

}  // namespace device_paths
