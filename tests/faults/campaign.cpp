// Updates with several random faults each; a failure is made as small as it can be.
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <map>
#include <thread>

#include "tests/faults/RandomFaults.h"
#include "tests/faults/SweepRecord.h"
#include "tests/faults/SweepRunner.h"

namespace fs = std::filesystem;

namespace {

struct CampaignOptions {
    fs::path directory;
    fs::path sandbox = SANDBOX_SCRIPT;
    fs::path tool = TOOL_PROGRAM;
    double timeScale = 20;
    int jobs = static_cast<int>(std::thread::hardware_concurrency()) * 10;
    int runs = 100;
    unsigned seed = 1;
};

// One of the processes that share the campaign: RapidCheck runs one case after the other.
class Worker {
  public:
    Worker(const CampaignOptions& options, int index, int runs)
        : m_options(options),
          m_seed(options.seed * 1000 + static_cast<unsigned>(index)),
          m_runs(runs),
          m_directory(options.directory / fmt::format("worker-{}", index)) {}

    const fs::path& directory() const { return m_directory; }

    // The exit status of its process.
    int work(const CleanUpdate& clean) {
        SweepRecord record(m_directory, m_options.tool);
        std::ofstream log(m_directory / "log");
        std::streambuf* const standardError = std::cerr.rdbuf(log.rdbuf());
        setenv("RC_PARAMS", fmt::format("seed={} max_success={}", m_seed, m_runs).c_str(), 1);
        const bool held = rc::check("a true verdict, and MCUs that a plain run updates", [&] {
            const FaultPlan plan{*anyFaults(clean.events), false, 0};
            const FaultReport report =
                runWithFaults(plan, clean, m_directory / "run",
                              {m_options.sandbox, m_options.tool, m_options.timeScale});
            record.keep(report);
            if (!report.violations.empty()) {
                RC_FAIL(fmt::format("{}\nreplay: scripts/fault-sweep --dir DIR --plan '{}'",
                                    fmt::join(report.violations, "\n"), idOf(plan)));
            }
        });
        std::cerr.rdbuf(standardError);
        return held ? 0 : 1;
    }

  private:
    const CampaignOptions& m_options;
    unsigned m_seed;
    int m_runs;
    fs::path m_directory;
};

CampaignOptions parse(int argc, char** argv, int& status) {
    CampaignOptions options;
    CLI::App app(
        "Updates with several random faults on the line, each followed by a plain one.\n"
        "Ends with 0 when all that must hold held.");
    app.add_option("--dir", options.directory, "where the runs go; made afresh")->required();
    app.add_option("--runs", options.runs, "how many updates with faults")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "another seed, other faults")->capture_default_str();
    app.add_option("--jobs", options.jobs, "how many at a time")
        ->check(CLI::Range(1, 200))
        ->capture_default_str();
    app.add_option("--time-scale", options.timeScale, "the devices' time runs so much faster")
        ->check(CLI::Range(1.0, 200.0))
        ->capture_default_str();
    app.add_option("--sandbox", options.sandbox, "the script that makes the device");
    app.add_option("--tool", options.tool, "the program under test");
    try {
        app.parse(argc, argv);
        status = -1;
    } catch (const CLI::ParseError& error) {
        status = app.exit(error);
    }
    return options;
}

std::size_t runsDone(const std::vector<Worker>& workers) {
    std::size_t done = 0;
    for (const Worker& worker : workers) {
        std::ifstream runs(worker.directory() / "runs.jsonl");
        for (std::string line; std::getline(runs, line);) {
            ++done;
        }
    }
    return done;
}

// Waits for all, showing how far they are. Gives how many found something.
int awaitAll(const std::vector<pid_t>& processes, const std::vector<Worker>& workers, int runs) {
    constexpr std::chrono::seconds kInterval{10};
    int failed = 0;
    std::size_t left = processes.size();
    auto shown = std::chrono::steady_clock::now();
    while (left > 0) {
        int status = 0;
        const pid_t ended = waitpid(-1, &status, WNOHANG);
        if (ended > 0) {
            --left;
            failed += status != 0 ? 1 : 0;
            continue;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (std::chrono::steady_clock::now() - shown > kInterval) {
            shown = std::chrono::steady_clock::now();
            fmt::print("{}/{} runs\n", runsDone(workers), runs);
            (void)std::fflush(stdout);
        }
    }
    return failed;
}

void summarise(const std::vector<Worker>& workers, const fs::path& tool) {
    std::map<std::string, int> verdicts;
    std::map<std::string, int> reasons;
    for (const Worker& worker : workers) {
        const SweepRecord record(worker.directory(), tool);
        for (const auto& [id, run] : record.runs()) {
            ++verdicts[run.at("verdict")];
            const std::string reason = run.at("reason");
            if (!reason.empty()) {
                ++reasons[reason];
                fmt::print("lie: {}: {}\n", id, reason);
            }
        }
        std::ifstream log(worker.directory() / "log");
        const std::string text{std::istreambuf_iterator<char>(log), {}};
        if (text.find("Falsifiable") != std::string::npos) {
            fmt::print("{}\n", text.substr(text.find("Falsifiable")));
        }
    }
    for (const auto& [verdict, count] : verdicts) {
        fmt::print("{}: {}\n", verdict, count);
    }
    for (const auto& [reason, count] : reasons) {
        fmt::print("{} times: {}\n", count, reason);
    }
}

int campaign(const CampaignOptions& options) {
    fs::remove_all(options.directory);
    SweepRunner runner(options.directory, {options.sandbox, options.tool, options.timeScale},
                       options.jobs);
    const CleanUpdate clean = runner.recordClean();
    const int processes = std::min(options.jobs, options.runs);
    std::vector<Worker> workers;
    for (int i = 0; i < processes; ++i) {
        const int share = options.runs / processes + (i < options.runs % processes ? 1 : 0);
        workers.emplace_back(options, i, share);
    }
    fmt::print("fault-campaign: {} runs, seed {}\n", options.runs, options.seed);
    (void)std::fflush(stdout);
    std::vector<pid_t> begun;
    for (Worker& worker : workers) {
        const pid_t child = fork();
        if (child == 0) {
            std::_Exit(worker.work(clean));
        }
        begun.push_back(child);
    }
    const int failed = awaitAll(begun, workers, options.runs);
    summarise(workers, options.tool);
    return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    int status = 0;
    const CampaignOptions options = parse(argc, argv, status);
    if (status >= 0) {
        return status;
    }
    try {
        return campaign(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "fault-campaign: {}\n", error.what());
        return 2;
    }
}
