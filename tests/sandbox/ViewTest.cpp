#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include "tests/sandbox/Sandbox.h"

// What the program sees of the device, and of the host.
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

struct PathRow {
    const char* guest;
    const char* host;
};

void PrintTo(const PathRow& row, std::ostream* out) {
    *out << row.guest;
}

class DevicePath : public testing::TestWithParam<PathRow> {};

TEST_P(DevicePath, IsWritableAndBackedByTheRunDirectory) {
    const Sandbox sandbox;
    const std::string file = std::string(GetParam().guest) + "/file";

    EXPECT_EQ(sandbox.shell({}, "echo content > " + file).status, 0);

    EXPECT_EQ(readText(sandbox.device(GetParam().host) / "file"), "content\n");
}

TEST_P(DevicePath, ShowsWhatWasPutThereBefore) {
    const Sandbox sandbox;
    sandbox.writeFile("device/" + std::string(GetParam().host) + "/file", "content\n");

    const RunResult result = sandbox.shell({}, "cat " + std::string(GetParam().guest) + "/file");

    EXPECT_EQ(result.output, "content\n");
}

INSTANTIATE_TEST_SUITE_P(All, DevicePath,
                         testing::Values(PathRow{"/mnt/mtd/log", "log"},
                                         PathRow{"/hd1/program/bin", "bin"},
                                         PathRow{"/var/run", "run"},
                                         PathRow{"/factory_setting", "factory_setting"},
                                         PathRow{"/job", "job"}));

TEST(View, WorkingDirectoryIsTheJob) {
    EXPECT_EQ(Sandbox().shell({}, "pwd; echo $PWD").output, "/job\n/job\n");
}

TEST(View, HasAHeartbeatPipeForItsOwnerOnly) {
    const Sandbox sandbox;

    const RunResult result = sandbox.shell({}, "stat -c '%F %a' /hd1/program/bin/threadchannel");

    EXPECT_EQ(result.output, "fifo 600\n");
}

TEST(View, HasNoHeartbeatPipeOnRequestEvenIfThereWasOne) {
    const Sandbox sandbox;
    sandbox.shell({}, "true");

    const RunResult result =
        sandbox.shell({"--no-heartbeat-pipe"}, "test -e /hd1/program/bin/threadchannel");

    EXPECT_EQ(result.status, 1);
}

TEST(View, HasATemporaryDirectoryOfItsOwn) {
    const std::string name = "/tmp/sandbox-view-test-" + std::to_string(getpid());

    EXPECT_EQ(Sandbox().shell({}, "echo x > " + name + " && cat " + name).output, "x\n");

    EXPECT_FALSE(fs::exists(name));
}

TEST(View, HostIsReadOnly) {
    const Sandbox sandbox;
    const std::string project = fs::path(SANDBOX_SCRIPT).parent_path().parent_path();

    for (const std::string& directory : {std::string("/usr"), std::string("/etc"), project}) {
        const RunResult result =
            sandbox.shell({}, "touch " + directory + "/sandbox-view-test 2>&1");
        EXPECT_EQ(result.status, 1) << directory;
        EXPECT_THAT(result.output, HasSubstr("Read-only file system"));
        EXPECT_FALSE(fs::exists(directory + "/sandbox-view-test"));
    }
}

TEST(View, RootOfTheHostIsNotThere) {
    const Sandbox sandbox;

    EXPECT_EQ(sandbox.shell({}, "touch /sandbox-view-test && mkdir -p /mnt/other").status, 0);

    EXPECT_FALSE(fs::exists("/sandbox-view-test"));
    EXPECT_FALSE(fs::exists("/mnt/other"));
}

TEST(View, ProcessesOfTheHostAreNotThere) {
    const std::string host = std::to_string(getpid());

    const RunResult result = Sandbox().shell({}, "cat /proc/[0-9]*/comm");

    EXPECT_THAT(result.output, Not(HasSubstr("sandbox_tests")));
    EXPECT_THAT(result.output, HasSubstr("bwrap\n"));
}

TEST(View, StandardInputIsEmpty) {
    EXPECT_EQ(Sandbox().shell({}, "readlink /proc/self/fd/0").output, "/dev/null\n");
}

TEST(View, BoundDirectoryIsWritable) {
    const Sandbox sandbox;
    fs::create_directories(sandbox.path("more"));

    sandbox.shell({"--bind", std::string(sandbox.path("more")) + "=/opt/more"},
                  "echo content > /opt/more/file");

    EXPECT_EQ(sandbox.readFile("more/file"), "content\n");
}

TEST(View, DirectoryThatIsBoundReadOnlyShowsItsFilesAndTakesNone) {
    const Sandbox sandbox;
    sandbox.writeFile("more/file", "content\n");

    const RunResult result =
        sandbox.shell({"--read-only", std::string(sandbox.path("more")) + "=/opt/more"},
                      "cat /opt/more/file; rm /opt/more/file 2>&1");

    EXPECT_THAT(result.output, HasSubstr("content\n"));
    EXPECT_THAT(result.output, HasSubstr("Read-only file system"));
    EXPECT_EQ(sandbox.readFile("more/file"), "content\n");
}

TEST(View, DiskIsEmptyAndTakesNoMoreThanItsSize) {
    const Sandbox sandbox;
    sandbox.writeFile("device/log/of-the-host", "");

    const RunResult result =
        sandbox.shell({"--disk", "65536=/mnt/mtd/log"},
                      "cd /mnt/mtd/log && ls && cat /dev/zero > filled; stat -c %s filled");

    EXPECT_EQ(result.output, "65536\n");
    EXPECT_THAT(result.errors, HasSubstr("No space left on device"));
    EXPECT_FALSE(fs::exists(sandbox.device("log/filled")));
}

// A pseudo-terminal of the host.
class HostTerminal : public testing::Test {
  protected:
    HostTerminal() {
        char name[64] = "";
        EXPECT_EQ(openpty(&m_master, &m_slave, name, nullptr, nullptr), 0);
        m_name = name;
    }
    ~HostTerminal() override {
        close(m_slave);
        close(m_master);
    }

    std::string received() const {
        char bytes[64] = "";
        const ssize_t count = read(m_master, bytes, sizeof bytes);
        return {bytes, static_cast<std::size_t>(count > 0 ? count : 0)};
    }

    int m_master = -1;
    int m_slave = -1;
    std::string m_name;
};

TEST_F(HostTerminal, IsTheSerialPort) {
    EXPECT_EQ(Sandbox().shell({"--tty", m_name}, "printf hello > /dev/ttyS1").status, 0);

    EXPECT_EQ(received(), "hello");
}

TEST_F(HostTerminal, MayBeGivenByALink) {
    const Sandbox sandbox;
    fs::create_symlink(m_name, sandbox.path("line"));

    sandbox.shell({"--tty", sandbox.path("line")}, "printf hello > /dev/ttyS1");

    EXPECT_EQ(received(), "hello");
}

TEST_F(HostTerminal, MayHaveAnotherName) {
    Sandbox().shell({"--tty", m_name + "=/dev/ttyO2"}, "printf hello > /dev/ttyO2");

    EXPECT_EQ(received(), "hello");
}

TEST_F(HostTerminal, AnswersTheLineStatusRequest) {
    const RunResult result = Sandbox().probe({"--tty", m_name}, {"line-status", "/dev/ttyS1"});

    EXPECT_EQ(result.output, "0 0 1\n");
}

TEST(View, MissingTerminalIsRefused) {
    const RunResult result = Sandbox().shell({"--tty", "/dev/pts/none"}, "echo run");

    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
}

}  // namespace
