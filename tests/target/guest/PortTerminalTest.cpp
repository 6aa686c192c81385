#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include "tests/target/guest/SerialCard.h"
#include "tests/target/guest/SerialLine.h"

// A process that leads a session without a terminal, as a service does, gets the line for its
// terminal by opening the port.
namespace {

constexpr int kTerminalExists = 1;
constexpr int kReadNothing = 2;
constexpr int kOther = 3;

// A child that has the port open; its further life is `live`, whose result is its exit status.
class Child {
  public:
    enum Session { kOfItsOwn, kOfItsParent };

    template <class Live>
    Child(Session session, Live live) {
        std::array<int, 2> ready{};
        if (pipe2(ready.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        m_pid = fork();
        if (m_pid == 0) {
            if (session == kOfItsOwn) {
                (void)setsid();
            }
            UART port;
            const bool isOpen = port.open(kPort);
            (void)!write(ready[1], &isOpen, 1);
            _exit(isOpen ? live(port) : kOther);
        }
        (void)close(ready[1]);
        char byte = 0;
        (void)!read(ready[0], &byte, 1);
        (void)close(ready[0]);
    }

    // As waitpid tells it.
    int end() const {
        int status = 0;
        (void)waitpid(m_pid, &status, 0);
        return status;
    }

  private:
    pid_t m_pid = -1;
};

int hasTerminal(UART& /*port*/) {
    return open("/dev/tty", O_RDWR | O_CLOEXEC) == -1 ? 0 : kTerminalExists;
}

int readFromPort(UART& port) {
    unsigned char byte = 0;
    return port.read(&byte, 1, 20) == 0 ? kReadNothing : kOther;
}

int ignoreHangUpAndRead(UART& port) {
    (void)std::signal(SIGHUP, SIG_IGN);
    return readFromPort(port);
}

class PortTerminal : public SerialLine {
  protected:
    void TearDown() override {
        near.close();
        card.plugIn();
    }

    // A while after the child has begun to read.
    void unplugLater() {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        card.unplug();
    }

    SerialCard card;
};

TEST_F(PortTerminal, IsTheLineForALeaderWithoutOne) {
    const int status = Child(Child::kOfItsOwn, hasTerminal).end();

    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), kTerminalExists);
}

TEST_F(PortTerminal, IsNothingForAnybodyElse) {
    const int status = Child(Child::kOfItsParent, hasTerminal).end();

    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(PortTerminal, ThatIsUnpluggedEndsItsLeaderWithAHangUp) {
    const Child child(Child::kOfItsOwn, readFromPort);

    unplugLater();

    const int status = child.end();
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGHUP);
}

TEST_F(PortTerminal, ThatIsUnpluggedReadsAsNothingForALeaderThatIgnoresTheHangUp) {
    const Child child(Child::kOfItsOwn, ignoreHangUpAndRead);

    unplugLater();

    const int status = child.end();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), kReadNothing);
}

TEST_F(PortTerminal, ThatIsUnpluggedSignalsNobodyWhoDoesNotLead) {
    const Child child(Child::kOfItsParent, readFromPort);

    unplugLater();

    const int status = child.end();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), kReadNothing);
}

// Everybody else who has the port open loses it with the leader.
TEST_F(PortTerminal, IsHungUpWhenItsLeaderEnds) {
    (void)Child(Child::kOfItsOwn, hasTerminal).end();

    EXPECT_THROW((void)near.unread(), std::system_error);
}

}  // namespace
