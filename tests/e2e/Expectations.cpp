#include "tests/e2e/Expectations.h"

#include <filesystem>
#include <regex>
#include <sstream>

#include "tests/e2e/GoldenNote.h"

namespace {

// What standard output repeats of the note.
std::string echoOfNote(const std::string& output) {
    static const std::regex kOutputOnly(
        "timeout : -?[0-9]+ s|open\\(\"/dev/gpio_wtd\",O_WRONLY\\) (success|error)|"
        "Not boot state\\. retry\\. \\(wait 1s\\) |can not getMCUState!|"
        "force stop thread\\(doCycleWorks,[0-9]+\\)");
    std::istringstream in(output);
    std::string echo;
    for (std::string line; std::getline(in, line);) {
        if (!std::regex_match(line, kOutputOnly)) {
            echo += line + (in.eof() ? "" : "\n");
        }
    }
    return echo;
}

std::string differenceFrom(const std::string& goldenName, const RunResult& result,
                           const std::string& note) {
    const auto golden =
        goldenMessages(std::filesystem::path(GOLDEN_DIRECTORY) / goldenName, result.line);
    return differenceFromGolden(note, golden);
}

}  // namespace

void expectNote(const RunResult& result, const std::string& goldenName) {
    expectNoteAlone(result, goldenName);
    EXPECT_EQ(echoOfNote(result.output), result.note);
}

void expectNoteAlone(const RunResult& result, const std::string& goldenName) {
    EXPECT_EQ(differenceFrom(goldenName, result, result.note), "");
}

void expectPrintedNote(const RunResult& result, const std::string& goldenName) {
    EXPECT_EQ(differenceFrom(goldenName, result, echoOfNote(result.output)), "");
}

void expectSuccess(const RunResult& result, const std::string& goldenName) {
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(result.markerExists);
    expectNote(result, goldenName);
}

void expectFailure(const RunResult& result, const std::string& goldenName) {
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_FALSE(result.markerExists);
    expectNote(result, goldenName);
}

void expectHeartbeatsOfOneKeeper(const std::vector<nlohmann::json>& records) {
    ASSERT_EQ(records.size(), 2U);
    for (const nlohmann::json& record : records) {
        EXPECT_EQ(record.at("name"), "doCycleWorks");
        EXPECT_EQ(record.at("timeout"), 300);
        EXPECT_EQ(record.at("timestamp"), 0);
    }
    EXPECT_EQ(records[0].at("state"), 1);
    EXPECT_EQ(records[1].at("state"), 2);
}

std::size_t countLines(const std::string& text, const std::string& line) {
    std::istringstream in(text);
    std::size_t count = 0;
    for (std::string current; std::getline(in, current);) {
        count += current == line ? 1U : 0U;
    }
    return count;
}
