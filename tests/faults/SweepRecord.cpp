#include "tests/faults/SweepRecord.h"

#include <fmt/format.h>

#include <fstream>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr char kCleanFile[] = "clean.json";
constexpr char kRunsFile[] = "runs.jsonl";

std::string buildOf(const fs::path& tool) {
    return fmt::format("{} bytes, {}", fs::file_size(tool),
                       fs::last_write_time(tool).time_since_epoch().count());
}

}  // namespace

SweepRecord::SweepRecord(fs::path directory, const fs::path& tool)
    : m_directory(std::move(directory)), m_build(buildOf(tool)) {
    fs::create_directories(m_directory);
    std::ifstream clean(m_directory / kCleanFile);
    const json recorded = json::parse(clean, nullptr, false);
    if (recorded.is_object()) {
        if (recorded.at("build") != m_build) {
            throw std::runtime_error(m_directory.string() +
                                     " holds runs of another build of the tool; begin anew");
        }
        m_clean = {recorded.at("questions"), recorded.at("events")};
    }
    std::ifstream runs(m_directory / kRunsFile);
    for (std::string line; std::getline(runs, line);) {
        const json run = json::parse(line, nullptr, false);
        if (run.is_object()) {
            m_runs[run.at("id")] = run;
        }
    }
}

void SweepRecord::keepClean(const CleanUpdate& clean) {
    m_clean = clean;
    std::ofstream(m_directory / kCleanFile)
        << json{{"build", m_build}, {"questions", clean.questions}, {"events", clean.events}}.dump()
        << "\n";
}

bool SweepRecord::isDone(const std::string& id) const {
    const auto found = m_runs.find(id);
    if (found == m_runs.end()) {
        return false;
    }
    const json& run = found->second;
    const bool asPlanned = run.at("happened").get<bool>() && run.at("inStep").get<bool>();
    return asPlanned || !run.at("violations").empty();
}

void SweepRecord::keep(const FaultReport& report) {
    const json run = jsonOf(report);
    m_runs[run.at("id")] = run;
    std::ofstream(m_directory / kRunsFile, std::ios::app) << run.dump() << "\n" << std::flush;
}

json jsonOf(const FaultReport& report) {
    std::vector<std::string> titles;
    for (const LineFault& fault : report.plan.faults) {
        titles.push_back(titleOf(fault));
    }
    return {{"id", idOf(report.plan)},
            {"faults", titles},
            {"markerBefore", report.plan.markerBefore},
            {"happened", report.happened},
            {"inStep", report.inStep},
            {"verdict", titleOf(report.verdict)},
            {"reason", report.reason},
            {"attempts", report.attempts},
            {"seconds", report.seconds},
            {"bound", report.bound},
            {"recovered", report.recovered},
            {"recoveryAttempts", report.recoveryAttempts},
            {"recoverySeconds", report.recoverySeconds},
            {"violations", report.violations}};
}
