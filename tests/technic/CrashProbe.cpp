// Gets into trouble as it is told, with the signal handlers installed. Standard output is the
// product's but for the last line, which is printed when the process goes on; what the tests have
// to know about the addresses of this run goes to standard error.
//
// usage: crash-probe [NAME=VALUE...]
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "technic/KdThread.h"
#include "technic/SystemControl.h"
#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"
#include "tests/technic/CrashChain.h"
#include "tests/technic/MachineContext.h"

// The handler takes locks and memory in spite of what it interrupts; that is meant so.
// NOLINTBEGIN(bugprone-reserved-identifier): the name is ThreadSanitizer's
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "report_signal_unsafe=0";
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr std::size_t kPageSize = 4096;
// Nothing is ever mapped so low.
constexpr std::uintptr_t kKnownAddress = 0x1230;

using Options = std::map<std::string, std::string>;

// NAME=VALUE arguments over what holds without them.
Options readOptions(int count, char** arguments) {
    Options options = {
        {"where", "main"},    // main, worker (a named thread) or stranger (an unknown one)
        {"suppress", "1"},    // whether the reboot is suppressed
        {"stopped", "0"},     // whether the system has been stopped before
        {"action", "none"},   // none, fault, signal, abort or poke
        {"fault", "write"},   // write, bus, division or instruction
        {"address", "null"},  // where a write goes: null or known
        {"frame", "kept"},    // the frame pointer at the fault
        {"chain", "short"},   // the calls before it: short or deep
        {"signal", "0"},      // its number
        {"exit", "clean"},    // the way out: clean, or with a fault of its own
        {"interrupt", "0"},   // whether the main thread gets an interrupt all the time
        {"workers", "0"},     // named threads that only wait
    };
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const std::size_t sign = argument.find('=');
        options.at(argument.substr(0, sign)) = argument.substr(sign + 1);
    }
    return options;
}

// A thread of the registry.
class Worker : public KdThread {
  public:
    Worker(std::string name, std::function<void()> work)
        : KdThread(std::move(name)), m_work(std::move(work)) {
        start();
    }
    ~Worker() override { wait(); }
    void wait() {
        while (isRunning()) {
            sleepFor(0, 1000);
        }
    }

  protected:
    int run() override {
        openRunGate();
        m_work();
        return 0;
    }

  private:
    const std::function<void()> m_work;
};

// Two pages of which only the first is there.
std::uintptr_t endOfAPage() {
    void* pages = mmap(nullptr, 2 * kPageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    mprotect(pages, kPageSize, PROT_READ | PROT_WRITE);
    return reinterpret_cast<std::uintptr_t>(pages) + kPageSize;
}

// In a mapped file, but behind its end.
std::uintptr_t behindAFile() {
    const int file = memfd_create("empty", MFD_CLOEXEC);
    void* page = mmap(nullptr, kPageSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    return reinterpret_cast<std::uintptr_t>(page) + 0x120;
}

std::uintptr_t frameOf(const std::string& kind) {
    // The frame pointer of a frame that begins there.
    const std::uintptr_t behindAPage = endOfAPage() + kFramePointerAt;
    static const StackFrame complete(0, 0x5000);
    static const StackFrame cutOff(behindAPage, 0x6000);
    const std::map<std::string, std::uintptr_t> frames = {
        {"kept", 0},
        {"zero", 0},
        {"complete", complete.pointer()},
        {"unaligned", complete.pointer() + sizeof(std::uintptr_t) / 2},
        {"wild", static_cast<std::uintptr_t>(0xDEADBEEFDEADBEE8)},
        {"unmapped", behindAPage},
        {"page-end", behindAPage - sizeof(std::uintptr_t)},
        {"cut-off", cutOff.pointer()},
    };
    return frames.at(kind);
}

Fault faultOf(const Options& options) {
    const std::string& kind = options.at("fault");
    const std::map<std::string, Fault::Kind> kinds = {{"write", Fault::kWrite},
                                                      {"bus", Fault::kWrite},
                                                      {"division", Fault::kDivision},
                                                      {"instruction", Fault::kInstruction}};
    Fault fault{kinds.at(kind), options.at("address") == "known" ? kKnownAddress : 0,
                frameOf(options.at("frame")), options.at("frame") == "kept"};
    if (kind == "bus") {
        fault.address = behindAFile();
    }
    return fault;
}

template <class Function>
void printFunction(const char* name, Function* function) {
    Dl_info information{};
    void* found = nullptr;
    dladdr1(reinterpret_cast<void*>(function), &information, &found, RTLD_DL_SYMENT);
    const auto* symbol = static_cast<const ElfW(Sym)*>(found);
    std::fprintf(stderr, "function %s %#lx %#lx\n", name, reinterpret_cast<unsigned long>(function),
                 static_cast<unsigned long>(symbol == nullptr ? 0 : symbol->st_size));
}

void fail(const Options& options) {
    const Fault fault = faultOf(options);
    printFunction("outermostCall", outermostCall);
    printFunction("outerCall", outerCall);
    printFunction("middleCall", middleCall);
    printFunction("innerFault", innerFault);
    printFunction("deepCall", deepCall);
    std::fprintf(stderr, "address %#lX\n", static_cast<unsigned long>(fault.address));
    options.at("chain") == "deep" ? startDeepCall(&fault) : outermostCall(&fault);
}

// Has threads wait in "worker 1", "worker 2" and so on while it is done.
void withWorkers(int count, const std::function<void()>& work) {
    std::atomic<bool> isDone{false};
    std::vector<std::unique_ptr<Worker>> workers;
    for (int i = 1; i <= count; ++i) {
        workers.push_back(std::make_unique<Worker>("worker " + std::to_string(i), [&isDone] {
            while (!isDone) {
                sleepFor(0, 1000);
            }
        }));
    }
    work();
    isDone = true;
}

void divideByZero() {
    const Fault fault{Fault::kDivision, 0, 0, true};
    innerFault(&fault);
}

// From now on, until the process ends.
void interruptMainThread() {
    std::thread([thread = pthread_self()] {
        for (;;) {
            pthread_kill(thread, SIGINT);
            sleepFor(0, 1000);
        }
    }).detach();
}

void act(const Options& options) {
    const std::string& action = options.at("action");
    if (action == "fault") {
        fail(options);
    } else if (action == "signal") {
        kill(getpid(), std::stoi(options.at("signal")));
    } else if (action == "abort") {
        std::abort();
    } else if (action == "poke") {
        ThreadInfoManager::instance()->debugTimeoutThreads();
    }
}

void actOn(const std::string& where, const std::function<void()>& work) {
    if (where == "worker") {
        Worker("a worker", work).wait();
    } else if (where == "stranger") {
        std::thread(work).join();
    } else {
        work();
    }
}

}  // namespace

int main(int count, char** arguments) {
    const Options options = readOptions(count, arguments);
    ThreadInfoManager::instance()->installSignalHandlers("the main thread",
                                                         std::stoi(options.at("suppress")));
    if (options.at("stopped") == "1") {
        setSystemRunningFlag(0, "done");
    }
    if (options.at("exit") == "fault") {
        std::atexit(divideByZero);
    }
    if (options.at("interrupt") == "1") {
        interruptMainThread();
    }
    withWorkers(std::stoi(options.at("workers")),
                [&] { actOn(options.at("where"), [&] { act(options); }); });
    std::printf("goes on, running flag %d\n", getSystemRunningFlag());
    return 0;
}
