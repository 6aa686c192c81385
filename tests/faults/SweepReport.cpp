#include "tests/faults/SweepReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <vector>

using nlohmann::json;

namespace {

struct Column {
    const char* key;
    const char* title;
};

// Counts and greatest values of a kind of fault.
constexpr Column kColumns[] = {{"runs", "runs"},           {"success", "success"},
                               {"failure", "failure"},     {"understated", "understated"},
                               {"lie", "lie, explained"},  {"violations", "violations"},
                               {"recovered", "recovered"}, {"mostAttempts", "most attempts"},
                               {"longest", "longest (s)"}, {"nearestToBound", "of its bound (%)"}};

// Bits and bytes do not each make a kind of their own, nor do lengths of noise.
std::string kindOf(const json& run) {
    const auto& faults = run.at("faults");
    std::string kind = faults.at(0);
    if (faults.size() > 1) {
        kind = "several blocks damaged";
    }
    return kind + (run.at("markerBefore").get<bool>() ? ", marker of an earlier job" : "");
}

void raise(json& value, double candidate) {
    value = std::max(value.get<double>(), candidate);
}

json emptyRow() {
    json row;
    for (const Column& column : kColumns) {
        row[column.key] = 0;
    }
    row["notReached"] = 0;
    return row;
}

void count(json& row, const json& run) {
    const bool violated = !run.at("violations").empty();
    const std::string verdict = run.at("verdict");
    row["runs"] = row["runs"].get<int>() + 1;
    row[verdict] = row[verdict].get<int>() + 1;
    row["violations"] = row["violations"].get<int>() + (violated ? 1 : 0);
    row["recovered"] = row["recovered"].get<int>() + (run.at("recovered").get<bool>() ? 1 : 0);
    row["notReached"] = row["notReached"].get<int>() + (run.at("happened").get<bool>() ? 0 : 1);
    raise(row["mostAttempts"], run.at("attempts").get<double>());
    raise(row["longest"], run.at("seconds").get<double>());
    raise(row["nearestToBound"],
          run.at("seconds").get<double>() / run.at("bound").get<double>() * 100);
}

std::string lineOf(const std::string& title, const json& row) {
    std::string line = "| " + title + " |";
    for (const Column& column : kColumns) {
        line += fmt::format(" {:.0f} |", row.at(column.key).get<double>());
    }
    return line + "\n";
}

// How often each reason made a lie, with an example.
std::string linesOfLies(const json& lies) {
    std::map<std::string, std::vector<std::string>> byReason;
    for (const json& lie : lies) {
        byReason[lie.at("reason")].push_back(lie.at("id"));
    }
    std::string lines;
    for (const auto& [reason, ids] : byReason) {
        lines += fmt::format("lies: {} times: {}; for example {}\n", ids.size(), reason, ids[0]);
    }
    return lines;
}

}  // namespace

json reportOf(const SweepRecord& record, const std::vector<FaultPlan>& plans) {
    json report{{"events", record.clean().events.size()},
                {"planned", plans.size()},
                {"kinds", json::object()},
                {"total", emptyRow()},
                {"lies", json::array()},
                {"violations", json::array()},
                {"notReached", json::array()},
                {"notDone", json::array()}};
    for (const FaultPlan& plan : plans) {
        const std::string id = idOf(plan);
        if (record.runs().count(id) == 0) {
            report["notDone"].push_back(id);
            continue;
        }
        const json& run = record.runs().at(id);
        json& kind = report["kinds"][kindOf(run)];
        kind = kind.is_null() ? emptyRow() : kind;
        count(kind, run);
        count(report["total"], run);
        if (!run.at("happened").get<bool>() || !run.at("inStep").get<bool>()) {
            report["notReached"].push_back(id);
        }
        if (!run.at("reason").get<std::string>().empty()) {
            report["lies"].push_back({{"id", id}, {"reason", run.at("reason")}});
        }
        if (!run.at("violations").empty()) {
            report["violations"].push_back({{"id", id}, {"violations", run.at("violations")}});
        }
    }
    return report;
}

std::string tableOf(const json& report) {
    std::string table = "| fault |";
    std::string rule = "|---|";
    for (const Column& column : kColumns) {
        table += fmt::format(" {} |", column.title);
        rule += "--:|";
    }
    table += "\n" + rule + "\n";
    for (const auto& [kind, row] : report.at("kinds").items()) {
        table += lineOf(kind, row);
    }
    table += lineOf("**all**", report.at("total"));
    table += "\n" + linesOfLies(report.at("lies"));
    for (const std::string id : report.at("notReached")) {
        table += fmt::format("not reached as in the clean update: {}\n", id);
    }
    for (const json& violation : report.at("violations")) {
        table += fmt::format("VIOLATION: {}: {}\n", violation.at("id").get<std::string>(),
                             violation.at("violations").dump());
    }
    if (!report.at("notDone").empty()) {
        table += fmt::format("not done: {} runs\n", report.at("notDone").size());
    }
    return table;
}
