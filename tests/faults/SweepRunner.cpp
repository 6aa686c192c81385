#include "tests/faults/SweepRunner.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <set>
#include <thread>
#include <utility>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kCleanUpdates = 4;

}  // namespace

SweepRunner::SweepRunner(fs::path directory, Surroundings surroundings, int jobs)
    : m_directory(std::move(directory)), m_surroundings(std::move(surroundings)), m_jobs(jobs) {
    fs::create_directories(m_directory);
}

CleanUpdate SweepRunner::recordClean() {
    std::vector<CleanUpdate> all(kCleanUpdates);
    inParallel(kCleanUpdates, [&](std::size_t i) {
        all[i] = recordCleanUpdate(m_directory / fmt::format("clean-{}", i), m_surroundings);
    });
    CleanUpdate clean = all.front();
    for (const CleanUpdate& other : all) {
        const std::set<std::string> known(other.events.begin(), other.events.end());
        clean.events.erase(
            std::remove_if(clean.events.begin(), clean.events.end(),
                           [&known](const std::string& event) { return known.count(event) == 0; }),
            clean.events.end());
    }
    return clean;
}

void SweepRunner::run(const std::vector<FaultPlan>& plans, const CleanUpdate& clean,
                      const std::function<void(const FaultReport&)>& done) {
    inParallel(plans.size(), [&](std::size_t i) {
        const fs::path directory = m_directory / fmt::format("{:08x}", hashOf(idOf(plans[i])));
        const FaultReport report = runWithFaults(plans[i], clean, directory, m_surroundings);
        const std::lock_guard<std::mutex> guard(m_mutex);
        done(report);
    });
}

void SweepRunner::inParallel(std::size_t count,
                             const std::function<void(std::size_t)>& work) const {
    std::atomic<std::size_t> next{0};
    std::exception_ptr failure;
    std::mutex failureMutex;
    const auto takeWork = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            try {
                work(i);
            } catch (...) {
                const std::lock_guard<std::mutex> guard(failureMutex);
                failure = std::current_exception();
                next = count;
            }
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < std::min(count, static_cast<std::size_t>(m_jobs)); ++i) {
        threads.emplace_back(takeWork);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}
