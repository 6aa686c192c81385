#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "tests/target/CrashRuns.h"

// Crash reports of a program as it is built for the device, whose addresses are looked up in the
// program as a developer looks them up.
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::Ge;
using testing::Lt;
using Words = std::vector<std::string>;

constexpr char kBanner[] =
    "\n~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~setSystemRunningFlag~~~~~~~~~~~~~~~~~~~~~~~~~~~"
    " Flag=0 Reason=Thread recv signal error .\n";
constexpr char kLastWords[] =
    "SIGBUS or SIGSEGV or SIGFPE or SIGILL , sleep  ...\n"
    "SIGBUS or SIGSEGV or SIGFPE or SIGILL , after sleep !\n";
constexpr char kStopRecord[] = "TIME,[SystemStop] Thread recv signal error .\n";
constexpr char kSegmentViolation[] = "Invalid memory segment access (ANSI)";
constexpr char kHangUp[] = "Hangup (POSIX)";
constexpr char kThreadBegin[] = "KdThread::threadEntry(void*)";

struct Kind {
    const char* name;
    const char* options;
    const char* signal;
    const char* errAddr;
    // Where it happens.
    const char* place;
};

const Kind kKinds[] = {
    {"null", "trouble=write", kSegmentViolation, "0", "writeTo"},
    {"known", "trouble=write address=0x1230", kSegmentViolation, "0X1230", "writeTo"},
    // Behind the end of a mapped file.
    {"page", "trouble=write address=0x20000120", "BUS error (4.2 BSD)", "0X20000120", "writeTo"},
    // The kernel notes no address for the next three.
    {"unaligned", "trouble=unaligned address=0x21000802", "BUS error (4.2 BSD)", "0",
     "loadUnaligned"},
    {"instruction", "trouble=instruction", "Illegal instruction (ANSI)", "0", "runNoInstruction"},
    // The C library raises it; `divide`, which called the library, is not seen.
    {"division", "trouble=division", "Floating point exception (ANSI)", "0", "libc.so.6"},
};

struct Thread {
    const char* option;
    const char* name;
    // The calls that led to getIntoTrouble.
    Words beginning;
};

const Thread kThreads[] = {
    {"main", "the main thread", {"main", "libc.so.6"}},
    {"named", "a worker", {"(anonymous namespace)::NamedThread::run()", kThreadBegin, "libc.so.6"}},
    {"unregistered",
     "UnknownThread",
     {"(anonymous namespace)::unregisteredThread(void*)", "libc.so.6"}},
};

std::string runName(const Thread& thread, const Kind& kind) {
    return std::string(thread.option) + "-" + kind.name;
}

std::string records(const CrashRun& run, const std::string& thread, const std::string& signal) {
    return "TIME,[SignalError] thread(" + thread + ") received a signal info(" + signal +
           ")\nTIME,[SignalError] " + run.crashLine + "\n";
}

std::string printed(const CrashRun& run, const std::string& thread, const std::string& signal) {
    return "thread(" + thread + ") received a signal info(" + signal + ")\n" + run.crashLine +
           "\n" + kBanner;
}

void expectFault(const CrashRun& run, const std::string& thread, const std::string& signal) {
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.signalLog, records(run, thread, signal));
    EXPECT_EQ(run.output, printed(run, thread, signal) + kLastWords);
    EXPECT_EQ(run.rebootLog, kStopRecord);
    EXPECT_THAT(run.seconds, AllOf(Ge(1.0), Lt(2.0)));
}

// The first calls are these. What stands behind the C library's is the library's.
void expectCalls(const CrashRun& run, Words expected) {
    ASSERT_EQ(run.calls.size(), 10U) << run.crashLine;
    EXPECT_THAT(
        Words(run.calls.begin(), run.calls.begin() + static_cast<std::ptrdiff_t>(expected.size())),
        testing::ElementsAreArray(expected))
        << run.crashLine;
}

Words callsOn(const Thread& thread) {
    Words calls = {"middleCall", "outerCall", "getIntoTrouble"};
    calls.insert(calls.end(), thread.beginning.begin(), thread.beginning.end());
    return calls;
}

TEST(Fault, OfAnyKindOnAnyThreadIsReportedWithItsPlaceAndCallsAndEndsTheProcessASecondLater) {
    std::map<std::string, std::string> options;
    for (const Thread& thread : kThreads) {
        for (const Kind& kind : kKinds) {
            options[runName(thread, kind)] =
                std::string("thread=") + thread.option + " " + kind.options;
        }
    }
    Machine machine;
    auto runs = runCrashVictim(machine, options);
    for (const Thread& thread : kThreads) {
        for (const Kind& kind : kKinds) {
            SCOPED_TRACE(runName(thread, kind));
            const CrashRun& run = runs.at(runName(thread, kind));
            expectFault(run, thread.name, kind.signal);
            EXPECT_EQ(run.errAddr, kind.errAddr);
            EXPECT_EQ(run.place, kind.place);
            expectCalls(run, callsOn(thread));
        }
    }
    EXPECT_EQ(machine.records("daemon.jsonl").size(), 0U);
}

struct FrameCase {
    const char* framePointer;
    const char* firstCall;
};

// Only the page at 0x21000000 is there. Its words are a return address, 0x5004, and a frame pointer
// to where nothing is.
const FrameCase kFrames[] = {
    {"0", "0"},
    {"0x21000802", "0"},
    {"0x22000000", "0"},
    {"0xC0000000", "0"},
    {"0xFFFF0F00", "0"},
    {"0xFFFFFFFC", "0"},
    {"0x21000800", "0X5000"},
    // The return address in the last word of the page; behind it; in the first, with the caller's
    // frame before the page.
    {"0x21001000", "0X5000"},
    {"0x21001004", "0"},
    {"0x21000004", "0X5000"},
};

TEST(Fault, WithAnyFramePointerIsReportedAsFarAsThereAreFrames) {
    std::map<std::string, std::string> options;
    for (const FrameCase& frame : kFrames) {
        options[frame.framePointer] = std::string("trouble=frame address=") + frame.framePointer;
    }
    Machine machine;
    auto runs = runCrashVictim(machine, options);
    for (const FrameCase& frame : kFrames) {
        SCOPED_TRACE(frame.framePointer);
        const CrashRun& run = runs.at(frame.framePointer);
        expectFault(run, "the main thread", kSegmentViolation);
        EXPECT_EQ(run.place, "writeWithFrame");
        Words stack(10, "0");
        stack[0] = frame.firstCall;
        EXPECT_EQ(run.stack, stack);
    }
}

TEST(Fault, AfterManyCallsIsReportedWithTheLastTen) {
    Machine machine;
    const CrashRun run = runCrashVictim(machine, {{"deep", "trouble=deep address=12"}}).at("deep");
    expectFault(run, "the main thread", kSegmentViolation);
    EXPECT_EQ(run.place, "writeTo");
    EXPECT_EQ(run.calls, Words(10, "callDeeper"));
}

// The handler has no stack of its own.
TEST(Fault, OnAStackWithoutRoomEndsTheProcessWithoutAReport) {
    Machine machine;
    const CrashRun run =
        runCrashVictim(machine, {{"full", "trouble=deep address=0x7FFFFFFF"}}).at("full");
    EXPECT_EQ(run.status, 128 + SIGSEGV);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.signalLog + run.rebootLog, "");
}

TEST(Fault, AsksTheControlDaemonForARebootOnlyWhenThatIsNotSuppressed) {
    Machine machine;
    auto runs = runCrashVictim(
        machine, {{"reboot", "trouble=write suppress=0"}, {"none", "trouble=write suppress=1"}});
    expectFault(runs.at("none"), "the main thread", kSegmentViolation);
    const CrashRun& run = runs.at("reboot");
    EXPECT_EQ(run.status, 255);
    EXPECT_EQ(run.rebootLog, std::string(kStopRecord) + "TIME,[Reboot] \n");
    EXPECT_EQ(run.output, printed(run, "the main thread", kSegmentViolation) + kLastWords);
    EXPECT_THAT(run.seconds, AllOf(Ge(1.0), Lt(2.0)));
    const std::vector<json> requests = machine.records("daemon.jsonl");
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].at("command"), "/factory_setting/reboot.sh &");
}

std::string goesOn(const std::string& flag) {
    return "goes on, running flag " + flag + "\n";
}

TEST(Signal, ThatIsNoFaultLetsTheProcessGoOn) {
    Machine machine;
    const auto runs = runCrashVictim(machine, {{"abort", "signal=6"},
                                               {"interrupt", "signal=2"},
                                               {"broken-pipe", "signal=13"},
                                               {"hang-up", "signal=1"},
                                               {"hang-up-after-a-stop", "signal=1 stopped=1"}});
    for (const char* name : {"interrupt", "broken-pipe", "hang-up"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(runs.at(name).status, 0);
        EXPECT_EQ(runs.at(name).output, goesOn("1"));
        EXPECT_EQ(runs.at(name).signalLog + runs.at(name).rebootLog, "");
    }
    const CrashRun& abort = runs.at("abort");
    const char kAbort[] = "IOT Trap (4.2 BSD)";
    EXPECT_EQ(abort.status, 0);
    EXPECT_EQ(abort.output, printed(abort, "the main thread", kAbort) + goesOn("0"));
    EXPECT_EQ(abort.signalLog, records(abort, "the main thread", kAbort));
    EXPECT_EQ(abort.rebootLog, kStopRecord);
    const CrashRun& hangUp = runs.at("hang-up-after-a-stop");
    EXPECT_EQ(hangUp.status, 0);
    EXPECT_THAT(hangUp.output, testing::EndsWith(hangUp.crashLine + "\n" + goesOn("0")));
    EXPECT_EQ(hangUp.signalLog, records(hangUp, "the main thread", kHangUp));
    EXPECT_EQ(hangUp.rebootLog, "TIME,[SystemStop] done\n");
}

std::string poked(const char* trouble) {
    return std::string("thread=named poke=1 stopped=1 trouble=") + trouble;
}

void expectPoked(const CrashRun& run) {
    EXPECT_EQ(run.status, 0);
    EXPECT_FALSE(run.crashLine.empty()) << run.signalLog;
    EXPECT_EQ(run.signalLog, records(run, "a worker", kHangUp));
    EXPECT_EQ(run.rebootLog, "TIME,[SystemStop] done\n");
    EXPECT_THAT(run.output, testing::HasSubstr("timeoutThreadCount 1\n"));
}

TEST(PokedThread, SaysWhereItHangsAsFarAsTheCLibraryLeavesTheFramePointer) {
    Machine machine;
    const auto runs = runCrashVictim(machine, {{"busy", poked("busy")},
                                               {"read", poked("read")},
                                               {"sleep", poked("sleep")},
                                               {"select", poked("select")}});
    for (const auto& [name, run] : runs) {
        SCOPED_TRACE(name);
        expectPoked(run);
    }
    EXPECT_EQ(runs.at("busy").place, "loopForEver");
    expectCalls(runs.at("busy"), callsOn(kThreads[1]));
    // The function that called the library is not seen, and behind `select` nothing that is true.
    EXPECT_EQ(runs.at("read").place, "libc.so.6");
    expectCalls(runs.at("read"), callsOn(kThreads[1]));
    EXPECT_EQ(runs.at("sleep").place, "libc.so.6");
    EXPECT_EQ(runs.at("select").place, "libc.so.6");
}

}  // namespace
