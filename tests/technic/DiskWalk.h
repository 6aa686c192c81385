#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/technic/DeviceFolder.h"

using Paths = std::vector<std::string>;

inline std::string openError(const std::string& path) {
    return "open dir(" + path + ") error\n";
}

// A tree to walk through, and a place outside it.
class DiskWalk : public testing::Test {
  protected:
    DiskWalk() {
        std::filesystem::create_directory(m_folder.path("tree"));
        std::filesystem::create_directory(m_folder.path("outside"));
        writeContent(m_folder.path("outside/kept"), "kept");
    }

    std::string tree(const std::string& name = "") const {
        return m_folder.path(name.empty() ? "tree" : "tree/" + name);
    }
    std::string outside() const { return m_folder.path("outside"); }
    void addDirectories(const Paths& names) const {
        for (const std::string& name : names) {
            std::filesystem::create_directories(tree(name));
        }
    }
    void addFiles(const Paths& names) const {
        for (const std::string& name : names) {
            std::filesystem::create_directories(std::filesystem::path(tree(name)).parent_path());
            writeContent(tree(name), "content");
        }
    }
    void addLink(const std::string& name, const std::string& target) const {
        std::filesystem::create_symlink(target, tree(name));
    }
    void addPipeAndSocket() const {
        ASSERT_EQ(mkfifo(tree("pipe").c_str(), 0600), 0);
        const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        tree("socket").copy(address.sun_path, sizeof(address.sun_path) - 1);
        EXPECT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        close(listener);
    }
    Paths inTree(const Paths& names) const {
        Paths paths;
        for (const std::string& name : names) {
            paths.push_back(tree(name));
        }
        return paths;
    }
    bool isOutsideWhole() const { return contentOf(outside() + "/kept") == "kept"; }

    const DeviceFolder m_folder;
};
