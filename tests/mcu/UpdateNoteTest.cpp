#include "mcu/UpdateNote.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "technic/DevicePaths.h"
#include "tests/mcu/NoteFile.h"
#include "tests/mcu/OutputCapture.h"
#include "tests/mcu/PseudoTerminal.h"

namespace {

class UpdateNoteTest : public testing::Test {
  protected:
    void SetUp() override { UpdateNote::remove(); }
};

TEST_F(UpdateNoteTest, MessagesStandInTheNoteAsTheyAre) {
    UpdateNote::log("one\n");
    UpdateNote::log("two ");
    UpdateNote::log("100%s\r\n");

    EXPECT_EQ(noteText(), "one\ntwo 100%s\r\n");
}

TEST_F(UpdateNoteTest, MessagesAreEchoedToStandardOutputAtOnce) {
    const OutputCapture output(STDOUT_FILENO);

    UpdateNote::log("100%s ");

    std::string echoed(6, '\0');
    EXPECT_EQ(pread(STDOUT_FILENO, echoed.data(), echoed.size(), 0), 6);
    EXPECT_EQ(echoed, "100%s ");
}

// Nobody reads what is printed until the note has the message.
TEST_F(UpdateNoteTest, MessagesStandInTheNoteBeforeTheyArePrinted) {
    const std::string message(200000, 'm');  // more than a pipe holds
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    (void)std::fflush(stdout);
    const int before = dup(STDOUT_FILENO);
    ASSERT_EQ(dup2(ends[1], STDOUT_FILENO), STDOUT_FILENO);
    (void)close(ends[1]);

    std::thread writer([&] {
        UpdateNote::log(message.c_str());
        (void)dup2(before, STDOUT_FILENO);  // closes the pipe's last writing end
    });
    const bool isNotedFirst = awaitNote(message);
    std::string printed;
    std::string part(65536, '\0');
    for (ssize_t got = 1; got > 0;) {
        got = read(ends[0], part.data(), part.size());
        printed.append(part, 0, got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    writer.join();

    EXPECT_TRUE(isNotedFirst);
    EXPECT_TRUE(printed == message);
    (void)close(before);
    (void)close(ends[0]);
}

TEST_F(UpdateNoteTest, AnEmptyMessageStartsTheNote) {
    UpdateNote::log("");

    EXPECT_TRUE(std::filesystem::exists(device_paths::kUpdateNoteLog));
}

TEST_F(UpdateNoteTest, ALongMessageIsNotCut) {
    const std::string message(100000, 'm');

    UpdateNote::log(message.c_str());

    EXPECT_EQ(noteText(), message);
}

TEST_F(UpdateNoteTest, RemovingStartsAFreshNote) {
    UpdateNote::log("old\n");

    UpdateNote::remove();

    EXPECT_FALSE(std::filesystem::exists(device_paths::kUpdateNoteLog));
    UpdateNote::log("new\n");
    EXPECT_EQ(noteText(), "new\n");
}

TEST_F(UpdateNoteTest, RemovingAMissingNoteIsNoError) {
    UpdateNote::remove();
    UpdateNote::remove();

    EXPECT_FALSE(std::filesystem::exists(device_paths::kUpdateNoteLog));
}

TEST_F(UpdateNoteTest, WhatStandsInTheNoteAlreadyIsKept) {
    std::ofstream(device_paths::kUpdateNoteLog) << "before\n";
    UpdateNote::log("one\n");
    std::ofstream(device_paths::kUpdateNoteLog, std::ios::app) << "between\n";
    UpdateNote::log("two\n");

    EXPECT_EQ(noteText(), "before\none\nbetween\ntwo\n");
}

TEST_F(UpdateNoteTest, ANoteThatSomebodyDeletesIsStartedAnew) {
    UpdateNote::log("one\n");
    const std::size_t descriptors = openDescriptorCount();
    ASSERT_TRUE(std::filesystem::remove(device_paths::kUpdateNoteLog));

    UpdateNote::log("two\n");
    UpdateNote::log("three\n");

    EXPECT_EQ(noteText(), "two\nthree\n");
    EXPECT_EQ(openDescriptorCount(), descriptors);
}

TEST_F(UpdateNoteTest, AMessageGoesToTheFileThatIsInTheNotesPlace) {
    UpdateNote::log("one\n");
    const std::string aside = std::string(device_paths::kUpdateNoteLog) + ".old";
    std::filesystem::rename(device_paths::kUpdateNoteLog, aside);
    std::ofstream(device_paths::kUpdateNoteLog) << "another\n";

    UpdateNote::log("two\n");

    EXPECT_EQ(noteText(), "another\ntwo\n");
    std::filesystem::remove(aside);
}

TEST_F(UpdateNoteTest, ANoteThatCannotBeOpenedIsTriedAgainAndItsMessageStillPrinted) {
    ASSERT_EQ(mkdir(device_paths::kUpdateNoteLog, 0755), 0);
    const OutputCapture output(STDOUT_FILENO);

    UpdateNote::log("lost to the note\n");
    ASSERT_EQ(rmdir(device_paths::kUpdateNoteLog), 0);
    UpdateNote::log("kept\n");

    EXPECT_EQ(output.text(), "lost to the note\nkept\n");
    EXPECT_EQ(noteText(), "kept\n");
}

TEST_F(UpdateNoteTest, NoteAndStandardOutputHaveTheSameOrder) {
    const OutputCapture output(STDOUT_FILENO);
    const auto writeMany = [](const char* message) {
        for (int i = 0; i < 300; ++i) {
            UpdateNote::log(message);
        }
    };

    std::thread first(writeMany, "first\n");
    std::thread second(writeMany, "second\n");
    first.join();
    second.join();

    EXPECT_EQ(noteText().size(), 300 * (sizeof "first\n" + sizeof "second\n" - 2));
    EXPECT_EQ(noteText(), output.text());
}

TEST_F(UpdateNoteTest, AMessageOfACancelledThreadIsWholeInBothPlaces) {
    const OutputCapture output(STDOUT_FILENO);

    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void*) -> void* {
                      (void)pthread_cancel(pthread_self());
                      UpdateNote::log("whole\n");
                      pthread_testcancel();
                      UpdateNote::log("never\n");
                      return nullptr;
                  },
                  nullptr),
              0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);

    EXPECT_EQ(noteText(), "whole\n");
    EXPECT_EQ(output.text(), "whole\n");
}

TEST_F(UpdateNoteTest, TheNoteIsNotHandedToOtherPrograms) {
    UpdateNote::log("one\n");

    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone) == device_paths::kUpdateNoteLog) {
            ++found;
            const int fd = std::stoi(entry.path().filename());
            EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
        }
    }
    EXPECT_EQ(found, 1);
}

}  // namespace
