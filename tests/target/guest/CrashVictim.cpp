// Gets into trouble as it is told, with the signal handlers installed.
//
// usage: crash-victim [NAME=VALUE...]
//
// Standard output is the product's but for the last line, which is printed when the process goes
// on. Standard error holds, at the end, the seconds from the beginning of the trouble to the
// process's exit handlers.
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "technic/KdThread.h"
#include "technic/SystemControl.h"
#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"
#include "tests/target/guest/CrashVictimChain.h"

namespace {

using std::chrono::steady_clock;

constexpr std::size_t kPageSize = 4096;
// In the middle of nowhere: the pages before and behind them are never mapped.
constexpr std::uintptr_t kFilePage = 0x20000000;
constexpr std::uintptr_t kFramePage = 0x21000000;
// What every word of the page of frames holds: a return address, and a frame that is not there.
constexpr std::uint32_t kFrameWord = 0x5004;

using Options = std::map<std::string, std::string>;

const std::map<std::string, Trouble::Kind> kTroubles = {
    {"write", Trouble::kWrite},
    {"division", Trouble::kDivision},
    {"instruction", Trouble::kInstruction},
    {"unaligned", Trouble::kUnalignedLoad},
    {"frame", Trouble::kFrame},
    {"deep", Trouble::kDeepCalls},
    {"busy", Trouble::kBusyLoop},
    {"sleep", Trouble::kSleep},
    {"select", Trouble::kSelect},
    {"read", Trouble::kRead},
};

// NAME=VALUE arguments over what holds without them.
Options readOptions(int count, char** arguments) {
    Options options = {
        {"thread", "main"},     // main, named or unregistered
        {"suppress", "1"},      // whether the reboot is suppressed
        {"trouble", ""},        // one of kTroubles
        {"address", "0"},       // where to write or load; the frame pointer; how many calls
        {"signal", "0"},        // instead of trouble: sends itself this signal
        {"stopped", "0"},       // whether the system has been stopped before
        {"poke", "0"},          // whether the main thread pokes the others, a second later
        {"maps", "/dev/null"},  // file that gets the process's memory map
    };
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        const std::size_t sign = argument.find('=');
        options.at(argument.substr(0, sign)) = argument.substr(sign + 1);
    }
    return options;
}

Trouble troubleOf(const Options& options) {
    return {kTroubles.at(options.at("trouble")), std::stoul(options.at("address"), nullptr, 0)};
}

class NamedThread : public KdThread {
  public:
    explicit NamedThread(const Trouble& trouble) : KdThread("a worker"), m_trouble(trouble) {}
    ~NamedThread() override { stopWait(); }

  protected:
    int run() override {
        openRunGate();
        getIntoTrouble(m_trouble);
        return 0;
    }

  private:
    const Trouble m_trouble;
};

void* unregisteredThread(void* trouble) {
    getIntoTrouble(*static_cast<const Trouble*>(trouble));
    return nullptr;
}

void* pageAt(std::uintptr_t address, int file) {
    const int kind = file == -1 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED;
    void* page = mmap(reinterpret_cast<void*>(address), kPageSize, PROT_READ | PROT_WRITE,
                      kind | MAP_FIXED_NOREPLACE, file, 0);
    if (page == MAP_FAILED) {
        std::perror("mmap");
        std::exit(1);
    }
    return page;
}

void preparePages() {
    pageAt(kFilePage, memfd_create("empty", MFD_CLOEXEC));
    auto* words = static_cast<std::uint32_t*>(pageAt(kFramePage, -1));
    std::fill_n(words, kPageSize / sizeof(*words), kFrameWord);
}

void copyMapTo(const std::string& name) {
    std::ofstream(name) << std::ifstream("/proc/self/maps").rdbuf();
}

steady_clock::time_point began;

void printTimeSinceTheBeginning() {
    const std::chrono::duration<double> passed = steady_clock::now() - began;
    std::fprintf(stderr, "%.3f\n", passed.count());
}

void startTrouble(const Options& options) {
    Trouble trouble = troubleOf(options);
    pthread_t thread = 0;
    pthread_create(&thread, nullptr, unregisteredThread, &trouble);
    pthread_join(thread, nullptr);
}

void poke(const Options& options) {
    if (options.at("poke") == "1") {
        sleepFor(1, 0);
        ThreadInfoManager::instance()->debugTimeoutThreads();
        std::fflush(stdout);
        std::_Exit(0);
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
    preparePages();
    copyMapTo(options.at("maps"));
    began = steady_clock::now();
    std::atexit(printTimeSinceTheBeginning);
    if (options.at("signal") != "0") {
        kill(getpid(), std::stoi(options.at("signal")));
    } else if (options.at("thread") == "main") {
        getIntoTrouble(troubleOf(options));
    } else if (options.at("thread") == "named") {
        NamedThread thread(troubleOf(options));
        thread.start();
        poke(options);
        pause();
    } else {
        startTrouble(options);
    }
    std::printf("goes on, running flag %d\n", getSystemRunningFlag());
    return 0;
}
