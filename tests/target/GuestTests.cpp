#include "tests/target/GuestTests.h"

using nlohmann::json;

namespace {

std::string nameOf(const json& test) {
    return test.at("classname").get<std::string>() + '.' + test.at("name").get<std::string>();
}

std::string failuresOf(const json& test) {
    std::string text;
    for (const json& failure : test.value("failures", json::array())) {
        text += nameOf(test) + ": " + failure.at("failure").get<std::string>() + '\n';
    }
    if (test.at("result") != "COMPLETED") {
        text += nameOf(test) + " was not run to its end\n";
    }
    return text;
}

}  // namespace

std::string failedGuestTests(Machine& machine, const std::string& program,
                             std::chrono::seconds limit) {
    machine.boot("exec " + program + " --gtest_output=json:/share/results.json\n");
    machine.waitUntilOff(limit);
    const json results = json::parse(readText(machine.share() / "results.json"), nullptr, false);
    if (results.is_discarded() || results.at("tests") == 0) {
        return program + " ran no test, or not to its end:\n" + machine.result().output +
               machine.result().errors;
    }
    std::string text;
    for (const json& suite : results.at("testsuites")) {
        for (const json& test : suite.at("testsuite")) {
            text += failuresOf(test);
        }
    }
    if (text.empty() && machine.result().status != 0) {
        text = program + " failed:\n" + machine.result().output;
    }
    return text;
}
