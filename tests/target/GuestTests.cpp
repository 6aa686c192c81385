#include "tests/target/GuestTests.h"

using nlohmann::json;

namespace {

std::string nameOf(const json& test) {
    return test.at("classname").get<std::string>() + '.' + test.at("name").get<std::string>();
}

void appendFailures(std::vector<std::string>& lines, const json& test) {
    for (const json& failure : test.value("failures", json::array())) {
        lines.push_back(nameOf(test) + ": " + failure.at("failure").get<std::string>());
    }
    if (test.at("result") != "COMPLETED") {
        lines.push_back(nameOf(test) + " was not run to its end");
    }
}

}  // namespace

std::vector<std::string> failedGuestTests(Machine& machine, const std::string& program,
                                          std::chrono::seconds limit) {
    machine.boot("exec " + program + " --gtest_output=json:/share/results.json\n");
    machine.waitUntilOff(limit);
    const std::string text = readText(machine.share() / "results.json");
    const json results = json::parse(text, nullptr, false);
    if (results.is_discarded()) {
        return {program + " did not come to its end: " + machine.result().output +
                machine.result().errors};
    }
    std::vector<std::string> lines;
    for (const json& suite : results.at("testsuites")) {
        for (const json& test : suite.at("testsuite")) {
            appendFailures(lines, test);
        }
    }
    if (results.at("tests") == 0) {
        lines.push_back(program + " holds no test");
    }
    if (lines.empty() && machine.result().status != 0) {
        lines.push_back(program + " failed: " + machine.result().output);
    }
    return lines;
}
