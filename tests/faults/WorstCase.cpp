#include "tests/faults/WorstCase.h"

namespace {

constexpr double kRuns = 2;
constexpr double kAttemptsPerRun = 6;
constexpr double kWaitBetweenAttempts = 5;
constexpr double kWaitBetweenRuns = 20;

constexpr double kQuestionsPerStep = 10;
constexpr double kBootRounds = 5;
constexpr double kWaitsPerBootRound = 2;

constexpr double kSilenceBeforeTransfer = 3;
constexpr double kReplyWait = 18;

constexpr double kKeeperPeriod = 2;
constexpr double kWatchdogPeriod = 5;

// An attempt in which nothing comes from the line: it waits for each byte until the time-out.
double attemptSeconds(double timeout) {
    const double atFirst = timeout;
    const double cleanBuffer = timeout;
    const double hardware = kQuestionsPerStep * timeout;
    const double version = kQuestionsPerStep * timeout;
    const double boot = kBootRounds * (kQuestionsPerStep * timeout + kWaitsPerBootRound);
    const double permission = kQuestionsPerStep * timeout;
    const double transfer = kSilenceBeforeTransfer + kReplyWait;
    const double keeper = kKeeperPeriod + timeout;  // it is let finish its cycle
    return atFirst + cleanBuffer + hardware + version + boot + permission + transfer + keeper;
}

}  // namespace

double worstCaseSeconds(const JobBounds& bounds) {
    const double attempts = kRuns * bounds.entries * kAttemptsPerRun;
    const double silence = attempts * attemptSeconds(bounds.timeoutSeconds);
    const double pauses = attempts * kWaitBetweenAttempts + kWaitBetweenRuns + kWatchdogPeriod;
    // Each byte that does come begins a wait anew.
    const double session = static_cast<double>(bounds.sessionBytes) * bounds.timeoutSeconds;
    const double transfer = static_cast<double>(bounds.transferBytes) * kReplyWait;
    return silence + pauses + session + transfer;
}
