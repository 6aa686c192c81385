#include <gtest/gtest.h>

#include <cctype>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace {

std::string withoutTextAndComment(const std::string& line) {
    const std::string code = line.substr(0, line.find("//"));
    std::string kept;
    bool isText = false;
    for (const char c : code) {
        isText = isText != (c == '"');
        kept += isText ? '"' : c;
    }
    return kept;
}

bool isPartOfAName(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == ':';
}

// Whether there is a `new` with a type behind it: that of a tracked allocation has a place in
// brackets there.
bool hasPlainNew(const std::string& code) {
    const std::string word = "new ";
    for (auto at = code.find(word); at != std::string::npos; at = code.find(word, at + 1)) {
        const bool isWord = at == 0 || !isPartOfAName(code[at - 1]);
        const std::size_t behind = at + word.size();
        if (isWord && behind < code.size() && isPartOfAName(code[behind])) {
            return true;
        }
    }
    return false;
}

bool allocatesUntracked(const std::string& line) {
    const std::string code = withoutTextAndComment(line);
    return hasPlainNew(code) || code.find("make_unique") != std::string::npos ||
           code.find("make_shared") != std::string::npos;
}

class TrackedLayer : public testing::TestWithParam<std::string> {};

TEST_P(TrackedLayer, NamesTheSourceOfEveryAllocation) {
    int lines = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(MCU_SOURCE_DIR) / GetParam())) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line); ++lines) {
            EXPECT_FALSE(allocatesUntracked(line)) << entry.path() << ": " << line;
        }
    }
    EXPECT_GT(lines, 100);
}

INSTANTIATE_TEST_SUITE_P(Layers, TrackedLayer, testing::Values("technic", "xmlconfig"),
                         [](const testing::TestParamInfo<std::string>& row) { return row.param; });

TEST(UntrackedAllocation, IsTold) {
    EXPECT_TRUE(allocatesUntracked("auto* text = new std::string;"));
    EXPECT_TRUE(allocatesUntracked("auto text = std::make_unique<std::string>();"));
    EXPECT_TRUE(allocatesUntracked("auto text = std::make_shared<std::string>();"));
    EXPECT_FALSE(allocatesUntracked("auto* text = new (KD_HERE) std::string;"));
    EXPECT_TRUE(allocatesUntracked("return new ::Thing(renew );"));
    EXPECT_FALSE(allocatesUntracked("renew thing;"));
    EXPECT_FALSE(allocatesUntracked("int size = 0;  // of a new text"));
    EXPECT_FALSE(allocatesUntracked("print(\"a new text\");"));
}

}  // namespace
