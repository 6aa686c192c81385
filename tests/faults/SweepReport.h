#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/faults/SweepRecord.h"

// What came of a sweep: figures for each kind of fault, all lies with their reasons, all
// violations.
nlohmann::json reportOf(const SweepRecord& record, const std::vector<FaultPlan>& plans);

// The report as tables in Markdown.
std::string tableOf(const nlohmann::json& report);
