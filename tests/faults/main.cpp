#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>

#include "tests/faults/SweepOptions.h"
#include "tests/faults/SweepPlan.h"
#include "tests/faults/SweepRecord.h"
#include "tests/faults/SweepReport.h"
#include "tests/faults/SweepRunner.h"

namespace {

using Clock = std::chrono::steady_clock;

// Shows how far the sweep is: a bar on a terminal, elsewhere a line now and then.
class Progress {
  public:
    explicit Progress(std::size_t total) : m_total(total) {}

    void step(const FaultReport& report) {
        ++m_done;
        m_lies += report.verdict == Verdict::Lie && !report.reason.empty() ? 1 : 0;
        m_violations += report.violations.empty() ? 0 : 1;
        const auto now = Clock::now();
        const auto interval = m_onTerminal ? std::chrono::seconds(1) : std::chrono::seconds(30);
        if (now - m_shown < interval && m_done < m_total) {
            return;
        }
        m_shown = now;
        show(std::chrono::duration<double>(now - m_begin).count());
    }

  private:
    void show(double elapsed) const {
        constexpr std::size_t kWidth = 30;
        const std::string bar(m_done * kWidth / m_total, '#');
        const double left =
            elapsed / static_cast<double>(m_done) * static_cast<double>(m_total - m_done);
        fmt::print("{}[{:.<{}}] {}/{} runs, {} lies explained, {} violations, {:.0f} min left{}",
                   m_onTerminal ? "\r" : "", bar, kWidth, m_done, m_total, m_lies, m_violations,
                   left / 60, m_onTerminal && m_done < m_total ? "" : "\n");
        (void)std::fflush(stdout);
    }

    std::size_t m_total;
    std::size_t m_done = 0;
    int m_lies = 0;
    int m_violations = 0;
    bool m_onTerminal = isatty(STDOUT_FILENO) != 0;
    Clock::time_point m_begin = Clock::now();
    Clock::time_point m_shown = Clock::now();
};

std::vector<FaultPlan> chosenPlans(const SweepOptions& options, const CleanUpdate& clean) {
    std::vector<FaultPlan> plans;
    for (const std::string& id : options.plans) {
        plans.push_back(planFrom(id));
    }
    if (!plans.empty()) {
        return plans;
    }
    std::vector<FaultPlan> all = planRepeats();
    const std::vector<FaultPlan> single = planSweep(clean.events);
    all.insert(all.end(), single.begin(), single.end());
    int index = 0;
    for (const FaultPlan& plan : all) {
        const bool meant = idOf(plan).find(options.only) != std::string::npos;
        if (meant && index++ % options.stride == 0) {
            plans.push_back(plan);
        }
    }
    return plans;
}

int sweep(const SweepOptions& options) {
    const Surroundings surroundings{options.sandbox, options.tool, options.timeScale, options.keep};
    SweepRunner runner(options.directory / "runs", surroundings, options.jobs);
    SweepRecord record(options.directory, options.tool);
    if (record.clean().events.empty()) {
        fmt::print("fault-sweep: recording clean updates\n");
        (void)std::fflush(stdout);
        record.keepClean(runner.recordClean());
    }
    const std::vector<FaultPlan> plans = chosenPlans(options, record.clean());
    if (options.list) {
        for (const FaultPlan& plan : plans) {
            fmt::print("{}\n", idOf(plan));
        }
        return 0;
    }
    std::vector<FaultPlan> open;
    std::copy_if(plans.begin(), plans.end(), std::back_inserter(open), [&](const FaultPlan& plan) {
        return !options.plans.empty() || !record.isDone(idOf(plan));
    });
    fmt::print("fault-sweep: {} events, {} runs, {} of them still to do\n",
               record.clean().events.size(), plans.size(), open.size());
    (void)std::fflush(stdout);
    Progress progress(open.size());
    runner.run(open, record.clean(), [&](const FaultReport& report) {
        record.keep(report);
        progress.step(report);
    });
    const nlohmann::json report = reportOf(record, plans);
    std::ofstream(options.directory / "report.json") << report.dump(2) << "\n";
    const std::string table = tableOf(report);
    std::ofstream(options.directory / "report.md") << table;
    fmt::print("{}", table);
    return report.at("violations").empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const ParsedSweepOptions parsed = parseSweepOptions(argc, argv);
    if (!parsed.options) {
        return parsed.exitStatus;
    }
    try {
        return sweep(*parsed.options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "fault-sweep: {}\n", error.what());
        return 2;
    }
}
