#include "simulator/mcu/FaultScript.h"

#include <gmock/gmock.h>

#include "tests/simulator/SimulatorProcess.h"

namespace {

using nlohmann::json;

// Reads a script through a file of its own.
FaultScript scriptOf(const std::vector<json>& faults) {
    SimulatorProcess directory;
    directory.file("faults.json", json{{"faults", faults}});
    const SettingsFile file(directory.path("faults.json"));
    return {file, {"ARM1", "ARM2"}};
}

struct OccurrenceCase {
    json n;
    std::string hits;  // an x for each of the first ten occurrences that is hit
};

void PrintTo(const OccurrenceCase& row, std::ostream* out) {
    *out << row.n.dump();
}

class FaultOccurrences : public testing::TestWithParam<OccurrenceCase> {};

TEST_P(FaultOccurrences, AreHitAsTold) {
    json fault = {{"on", "version"}, {"do", "drop"}};
    if (!GetParam().n.is_null()) {
        fault["n"] = GetParam().n;
    }
    FaultScript script = scriptOf({fault});
    std::string hits;
    for (int i = 0; i < 10; ++i) {
        hits += script.occur("version", "ARM1").empty() ? '.' : 'x';
    }
    EXPECT_EQ(hits, GetParam().hits) << GetParam().n;
}

INSTANTIATE_TEST_SUITE_P(
    Table, FaultOccurrences,
    testing::Values(OccurrenceCase{nullptr, "xxxxxxxxxx"}, OccurrenceCase{1, "x........."},
                    OccurrenceCase{3, "..x......."},
                    OccurrenceCase{json::array({1, 4, 5}), "x..xx....."},
                    OccurrenceCase{{{"from", 2}, {"to", 4}}, ".xxx......"},
                    OccurrenceCase{{{"from", 8}}, ".......xxx"},
                    OccurrenceCase{{{"to", 2}}, "xx........"},
                    OccurrenceCase{{{"every", 3}}, "..x..x..x."},
                    OccurrenceCase{{{"every", 3}, {"from", 2}}, ".x..x..x.."}));

TEST(FaultScript, CountsTheOccurrencesAtOneMcuForAFaultThatNamesIt) {
    FaultScript script = scriptOf({{{"on", "version"}, {"mcu", "ARM2"}, {"n", 1}, {"do", "drop"}}});
    EXPECT_TRUE(script.occur("version", "ARM1").empty());
    EXPECT_FALSE(script.occur("version", "ARM2").empty());
    EXPECT_TRUE(script.occur("version", "ARM2").empty());
}

TEST(FaultScript, CountsTheOccurrencesAtAllMcusForAFaultThatNamesNone) {
    FaultScript script = scriptOf({{{"on", "version"}, {"n", 2}, {"do", "drop"}}});
    EXPECT_TRUE(script.occur("version", "ARM1").empty());
    EXPECT_FALSE(script.occur("version", "ARM2").empty());
}

TEST(FaultScript, CountsEachEventForItself) {
    FaultScript script = scriptOf({{{"on", "version"}, {"n", 1}, {"do", "drop"}}});
    EXPECT_TRUE(script.occur("state", "ARM1").empty());
    EXPECT_FALSE(script.occur("version", "ARM1").empty());
}

TEST(FaultScript, LetsSeveralFaultsMeetOneEventInTheirOrder) {
    FaultScript script = scriptOf({{{"on", "eot"}, {"do", "delay"}, {"ms", 20}},
                                   {{"on", "eot"}, {"do", "byte"}, {"value", 7}}});
    const auto faults = script.occur("eot", "ARM1");
    ASSERT_EQ(faults.size(), 2U);
    EXPECT_EQ(faults[0].duration, std::chrono::milliseconds(20));
    EXPECT_EQ(findFault(faults, FaultAction::Byte)->count, 7U);
    EXPECT_EQ(findFault(faults, FaultAction::Drop), nullptr);
}

TEST(FaultScript, TakesASilenceWithoutATimeForOneWithoutEnd) {
    FaultScript script = scriptOf({{{"on", "state"}, {"do", "silent"}}});
    EXPECT_EQ(script.occur("state", "ARM1").at(0).duration, kNever);
}

struct BadScript {
    json fault;
    std::string message;
};

void PrintTo(const BadScript& row, std::ostream* out) {
    *out << row.message;
}

class BadFaultScripts : public testing::TestWithParam<BadScript> {};

TEST_P(BadFaultScripts, AreRefusedSayingWhatWasExpected) {
    try {
        (void)scriptOf({GetParam().fault});
        FAIL() << GetParam().fault;
    } catch (const SettingsError& error) {
        EXPECT_THAT(error.what(), testing::HasSubstr(GetParam().message));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, BadFaultScripts,
    testing::Values(
        BadScript{{{"on", "version"}}, R"(/faults/0: expected an object with the key "do")"},
        BadScript{{{"on", "versoin"}, {"do", "drop"}}, "/faults/0/on: expected one of version, "},
        BadScript{{{"on", "version"}, {"do", "dorp"}}, "/faults/0/do: expected one of drop, "},
        BadScript{{{"on", "version"}, {"do", "drop"}, {"ms", 3}},
                  "/faults/0/ms: expected one of the keys on, mcu, n, do, found 3"},
        BadScript{{{"on", "version"}, {"do", "nak"}}, "for start, block, eot"},
        BadScript{{{"on", "set-to-boot"}, {"do", "drop"}},
                  "an action that \"set-to-boot\" can meet"},
        BadScript{{{"on", "version"}, {"do", "delay"}}, R"(the key "ms")"},
        BadScript{{{"on", "version"}, {"do", "delay"}, {"ms", -1}}, "a whole number from 0 to"},
        BadScript{{{"on", "version"}, {"do", "drop"}, {"n", 0}}, "/faults/0/n: expected"},
        BadScript{{{"on", "version"}, {"do", "drop"}, {"n", json::array()}}, "at least one number"},
        BadScript{{{"on", "version"}, {"do", "drop"}, {"n", "1"}}, "a number, a list of numbers"},
        BadScript{{{"on", "version"}, {"do", "drop"}, {"n", {{"from", 5}, {"to", 4}}}},
                  "/faults/0/n/to: expected a whole number from 5 to"},
        BadScript{{{"on", "version"}, {"do", "drop"}, {"mcu", "ARM3"}}, "one of ARM1, ARM2"},
        BadScript{{{"on", "eot"}, {"do", "byte"}, {"value", 256}}, "from 0 to 255, found 256"},
        BadScript{{{"on", "eot"}, {"do", "lose"}}, "an action that \"eot\" can meet"},
        BadScript{{{"on", "block"}, {"do", "insert"}}, R"(the key "bytes")"},
        BadScript{{{"on", "eot"}, {"do", "noise"}, {"bytes", "0x1"}}, "hexadecimal byte values"}));

}  // namespace
