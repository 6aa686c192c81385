#include "technic/DiskManager.h"

#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "technic/StringParser.h"
#include "technic/SystemControl.h"

namespace {

constexpr int kMoveWaitSeconds = 30;
constexpr mode_t kOwnerReadsAndWrites = 0600;
constexpr std::uint32_t kBytesPerKilobyte = 1024;
constexpr std::uint32_t kKilobytesPerMegabyte = 1024;

}  // namespace

bool DiskManager::exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

int DiskManager::makeDirs(const std::string& path) {
    if (exists(path)) {
        return 1;
    }
    StringParser parts;
    parts.split(path.c_str(), "/");
    std::string built = "/";
    for (std::size_t i = 0; i < parts.tokenCount(); ++i) {
        built += parts.token(i);
        // Somebody else may create it at the same moment.
        if (!exists(built) && mkdir(built.c_str(), kOwnerReadsAndWrites) != 0 && !exists(built)) {
            return 0;
        }
        built += "/";
    }
    // Behind the last slash, a file of that name is no directory.
    return parts.tokenCount() > 0 && exists(built) ? 1 : 0;
}

int DiskManager::move(const std::string& from, const std::string& to) {
    std::array<char, 1024> command{};
    (void)std::snprintf(command.data(), command.size(), "mv %s %s", from.c_str(), to.c_str());
    (void)sendLocalCommand(command.data(), kMoveWaitSeconds);
    return 1;
}

bool DiskManager::diskSpace(const std::string& path, std::uint32_t& total, std::uint32_t& used) {
    if (!exists(path)) {
        (void)makeDirs(path);  // statfs tells whether it is there
    }
    struct statfs status {};
    if (statfs(path.c_str(), &status) != 0) {
        return false;
    }
    const std::uint32_t blockKilobytes =
        static_cast<std::uint32_t>(status.f_bsize) / kBytesPerKilobyte;
    const auto blocks = static_cast<std::uint32_t>(status.f_blocks);
    const auto freeBlocks = static_cast<std::uint32_t>(status.f_bfree);
    total = blocks * blockKilobytes / kKilobytesPerMegabyte;
    used = blockKilobytes * (blocks - freeBlocks) / kKilobytesPerMegabyte;
    return true;
}

int DiskManager::remove(const std::string& path) {
    return std::remove(path.c_str());
}
