#include "tests/faults/SweepOptions.h"

#include <CLI/CLI.hpp>
#include <thread>

ParsedSweepOptions parseSweepOptions(int argc, const char* const* argv) {
    constexpr int kJobsPerProcessor = 12;
    constexpr double kTimeScale = 20;
    SweepOptions options;
    options.sandbox = SANDBOX_SCRIPT;
    options.tool = TOOL_PROGRAM;
    options.timeScale = kTimeScale;
    options.jobs = static_cast<int>(std::thread::hardware_concurrency()) * kJobsPerProcessor;

    CLI::App app(
        "Updates with a fault at every byte and every wait of the line, each followed by a "
        "plain one.\nEnds with 0 when all that must hold held.");
    app.add_option("--dir", options.directory,
                   "where the runs and the report go; runs that are done there are not repeated")
        ->required()
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("--jobs", options.jobs, "how many runs at a time")
        ->check(CLI::Range(1, 200))
        ->capture_default_str();
    app.add_option("--time-scale", options.timeScale, "the devices' time runs so much faster")
        ->check(CLI::Range(1.0, 200.0))
        ->capture_default_str();
    app.add_option("--only", options.only, "only runs with this text in their names");
    app.add_option("--every", options.stride, "only every so-many-th run")
        ->check(CLI::Range(1, 1000000));
    app.add_option("--plan", options.plans,
                   "this run instead, for example flip:0@mcu:version#1:6; may be repeated");
    app.add_option("--sandbox", options.sandbox, "the script that makes the device");
    app.add_option("--tool", options.tool, "the program under test");
    app.add_flag("--keep", options.keep, "keep the files of every run");
    app.add_flag("--list", options.list, "only show the names of the runs");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, app.exit(error)};
    }
    return {options, 0};
}
