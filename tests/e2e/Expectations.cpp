#include "tests/e2e/Expectations.h"

#include <filesystem>
#include <sstream>

#include "tests/e2e/GoldenNote.h"

void expectNote(const RunResult& result, const std::string& goldenName) {
    const auto golden = goldenMessages(std::filesystem::path(GOLDEN_DIRECTORY) / goldenName);
    EXPECT_EQ(differenceFromGolden(result.note, golden), "");
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

std::size_t countLines(const std::string& text, const std::string& line) {
    std::istringstream in(text);
    std::size_t count = 0;
    for (std::string current; std::getline(in, current);) {
        count += current == line ? 1U : 0U;
    }
    return count;
}
