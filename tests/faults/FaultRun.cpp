#include "tests/faults/FaultRun.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "tests/faults/FaultyLine.h"
#include "tests/faults/LieReason.h"
#include "tests/faults/WorstCase.h"

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

constexpr char kMarkerSuffix[] = "+marker";
constexpr milliseconds kTurn{10};
// What a busy machine may add: a part of the time, and real time for the sandbox itself.
constexpr double kSlackFactor = 1.1;
constexpr milliseconds kSlack{20000};
constexpr int kTries = 4;
constexpr int kKilled = 128 + SIGKILL;
#ifdef __SANITIZE_THREAD__
constexpr char kSanitizersThread[] = "threads: 1";  // ThreadSanitizer has one of its own
#else
constexpr char kSanitizersThread[] = "";
#endif
constexpr char kAttemptLine[] = "================== MCUUpdateToolImpl";

int countOf(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

double boundOf(const FaultyLine& line) {
    return worstCaseSeconds({UpdateDevice::kEntries, UpdateDevice::kTimeoutSeconds,
                             line.sessionBytes(), line.transferBytes()});
}

// The bound grows with what comes over the line, so the limit leaves room for more than ever comes
// when most of the waits are waited out; the bound itself is checked at the end.
milliseconds limitOf(const Surroundings& surroundings) {
    constexpr long kMostBytes = 100;
    const double seconds = worstCaseSeconds(
        {UpdateDevice::kEntries, UpdateDevice::kTimeoutSeconds, kMostBytes, kMostBytes});
    return milliseconds(static_cast<long>(seconds * 1000 / surroundings.timeScale)) + kSlack;
}

ToolRun runTool(const UpdateDevice& device, FaultyLine& line, const Surroundings& surroundings) {
    return device.update(
        [&line] {
            line.turn(kTurn);
            return line.killWanted();
        },
        limitOf(surroundings));
}

class Checks {
  public:
    Checks(std::vector<std::string>& violations, std::string run)
        : m_violations(violations), m_run(std::move(run)) {}

    void hold(bool condition, const std::string& otherwise) {
        if (!condition) {
            m_violations.push_back(m_run + ": " + otherwise);
        }
    }

    void checkEnd(const ToolRun& run) {
        hold(run.ended, fmt::format("hang: ended by force after {:.0f} s", run.seconds));
        hold(run.status == (run.killed || !run.ended ? kKilled : 0),
             fmt::format("exit status {}", run.status));
        for (const std::string& log : run.crashLogs) {
            hold(false, "crash report: " + log);
        }
        for (const std::string& left : run.leftovers) {
            hold(left.find("/mnt/mtd/log/MCUUpdateNote.log") != std::string::npos ||
                     left == kSanitizersThread,
                 "left at the exit: " + left);
        }
        hold(run.errors.find("Sanitizer") == std::string::npos &&
                 run.errors.find("runtime error") == std::string::npos,
             "sanitizer report: " + run.errors);
    }

  private:
    std::vector<std::string>& m_violations;
    std::string m_run;
};

Verdict verdictOf(const ToolRun& run, const UpdateDevice& device) {
    if (device.allHoldTheirImage()) {
        return run.markerExists ? Verdict::Success : Verdict::Understated;
    }
    return run.markerExists ? Verdict::Lie : Verdict::Failure;
}

bool isStartOf(const std::vector<std::string>& first, const std::vector<std::string>& whole) {
    return first.size() <= whole.size() && std::equal(first.begin(), first.end(), whole.begin());
}

void runFaulty(FaultReport& report, const CleanUpdate& clean, const UpdateDevice& device,
               FaultyLine& line, const Surroundings& surroundings) {
    const ToolRun run = runTool(device, line, surroundings);
    report.happened = line.happened().size() == report.plan.faults.size();
    report.inStep = isStartOf(line.questionsBeforeFault(), clean.questions);
    report.verdict = verdictOf(run, device);
    report.attempts = countOf(run.note, kAttemptLine);
    report.seconds = run.seconds;
    report.bound = boundOf(line);
    Checks checks(report.violations, "run with faults");
    checks.checkEnd(run);
    const double slack = static_cast<double>(kSlack.count()) / 1000 * surroundings.timeScale;
    checks.hold(
        run.seconds <= report.bound * kSlackFactor + slack,
        fmt::format("it took {:.0f} s, {:.0f} s at most are to be", run.seconds, report.bound));
    checks.hold(
        report.plan.attempts == 0 || report.attempts == report.plan.attempts,
        fmt::format("{} attempts at files instead of {}", report.attempts, report.plan.attempts));
    if (report.verdict == Verdict::Lie) {
        report.reason = lieReason(
            {report.plan, line.happened(), run.killed, line.acknowledgementForged(), run.note});
        checks.hold(!report.reason.empty(), "success reported although not every MCU was updated");
    }
    checks.hold(device.noneHoldsAnother() || !report.reason.empty(),
                "an MCU holds another image than its own");
}

void recover(FaultReport& report, const UpdateDevice& device, FaultyLine& line,
             const Surroundings& surroundings) {
    line.lift();
    device.removeMarker();
    const ToolRun run = runTool(device, line, surroundings);
    report.recoveryAttempts = countOf(run.note, kAttemptLine);
    report.recoverySeconds = run.seconds;
    Checks checks(report.violations, "plain run after it");
    checks.checkEnd(run);
    checks.hold(run.markerExists, "no success");
    // What passed for a whole image has its version, so that a plain run finds it up to date.
    checks.hold(device.allHoldTheirImage() || report.reason == kAcknowledgementForged,
                "not every MCU holds its image");
    report.recovered = run.markerExists && device.allHoldTheirImage();
}

FaultReport runOnce(const FaultPlan& plan, const CleanUpdate& clean, const fs::path& directory,
                    const Surroundings& surroundings) {
    FaultReport report;
    report.plan = plan;
    const UpdateDevice device(directory, surroundings);
    FaultyLine line(device.mcuOptions(), device.serialDevice(), UpdateDevice::terminals(),
                    plan.faults);
    if (plan.markerBefore) {
        device.placeMarker();
    }
    runFaulty(report, clean, device, line, surroundings);
    recover(report, device, line, surroundings);
    return report;
}

}  // namespace

std::string idOf(const FaultPlan& plan) {
    return specOf(plan.faults) + (plan.markerBefore ? kMarkerSuffix : "") +
           (plan.attempts > 0 ? fmt::format("={}", plan.attempts) : "");
}

FaultPlan planFrom(const std::string& id) {
    FaultPlan plan;
    std::string specs = id;
    const std::size_t equals = specs.rfind('=');
    if (equals != std::string::npos) {
        plan.attempts = std::atoi(specs.c_str() + equals + 1);
        specs.resize(equals);
    }
    const std::size_t plus = specs.rfind(kMarkerSuffix);
    if (plus != std::string::npos) {
        plan.markerBefore = true;
        specs.resize(plus);
    }
    std::istringstream in(specs);
    for (std::string spec; std::getline(in, spec, ',');) {
        plan.faults.push_back(faultFrom(spec));
    }
    return plan;
}

const char* titleOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Success:
            return "success";
        case Verdict::Failure:
            return "failure";
        case Verdict::Understated:
            return "understated";
        default:
            return "lie";
    }
}

CleanUpdate recordCleanUpdate(const fs::path& directory, const Surroundings& surroundings) {
    for (int i = 0; i < kTries; ++i) {
        const UpdateDevice device(directory, surroundings);
        FaultyLine line(device.mcuOptions(), device.serialDevice(), UpdateDevice::terminals(), {});
        const ToolRun run = runTool(device, line, surroundings);
        if (!run.markerExists || !device.allHoldTheirImage()) {
            break;
        }
        if (countOf(run.note, kAttemptLine) == UpdateDevice::kEntries) {
            return {line.questionsBeforeFault(), line.events()};
        }
    }
    throw std::runtime_error("an update without any fault fails, or takes several attempts; see " +
                             directory.string());
}

FaultReport runWithFaults(const FaultPlan& plan, const CleanUpdate& clean,
                          const fs::path& directory, const Surroundings& surroundings) {
    FaultReport report;
    for (int i = 0; i < kTries; ++i) {
        report = runOnce(plan, clean, directory, surroundings);
        // Of several faults, one may keep another from coming.
        const bool asPlanned = plan.faults.size() > 1 || (report.happened && report.inStep);
        if (asPlanned || !report.violations.empty()) {
            break;
        }
    }
    if (report.violations.empty() && !surroundings.keepFiles) {
        fs::remove_all(directory);
    }
    return report;
}
