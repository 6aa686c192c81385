#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const std::map<std::string, std::set<std::string>> kMayInclude = {
    {"technic", {"technic"}},     {"xmlconfig", {"xmlconfig", "technic"}},
    {"mcu", {"mcu", "technic"}},  {"app", {"app", "mcu", "xmlconfig", "technic"}},
    {"simulator", {"simulator"}},
};

struct Include {
    std::string where;
    bool quoted;
    std::string target;
};

bool isSource(const fs::path& path) {
    return path.extension() == ".h" || path.extension() == ".cpp";
}

std::vector<Include> includesOf(const fs::path& file) {
    static const std::regex kDirective(R"(^\s*#\s*include\s*([<"])([^>"]+)[>"])");
    std::vector<Include> found;
    std::ifstream in(file);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        std::smatch match;
        if (std::regex_search(line, match, kDirective)) {
            found.push_back(
                {file.string() + ":" + std::to_string(number), match[1] == "\"", match[2]});
        }
    }
    return found;
}

std::vector<Include> includesBelow(const std::string& folder) {
    std::vector<Include> found;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(MCU_SOURCE_DIR) / folder)) {
        if (!isSource(entry.path())) {
            continue;
        }
        const auto includes = includesOf(entry.path());
        found.insert(found.end(), includes.begin(), includes.end());
    }
    return found;
}

class Layer : public testing::TestWithParam<std::string> {};

TEST_P(Layer, IncludesOnlyTheLayersBelowIt) {
    const auto& allowed = kMayInclude.at(GetParam());
    for (const Include& include : includesBelow(GetParam())) {
        if (include.quoted) {
            const std::string folder = include.target.substr(0, include.target.find('/'));
            EXPECT_EQ(allowed.count(folder), 1U) << include.where << " includes " << include.target;
        }
    }
}

TEST(TinyXml, IsIncludedByTheXmlLayerAlone) {
    for (const char* folder : {"technic", "mcu", "app", "simulator"}) {
        for (const Include& include : includesBelow(folder)) {
            EXPECT_NE(include.target, "tinyxml.h") << include.where;
        }
    }
}

TEST_P(Layer, HasIncludesToCheck) {
    EXPECT_FALSE(includesBelow(GetParam()).empty());
}

INSTANTIATE_TEST_SUITE_P(Folders, Layer,
                         testing::Values("technic", "xmlconfig", "mcu", "app", "simulator"),
                         [](const auto& tested) { return tested.param; });

}  // namespace
