#include "simulator/mcu/Options.h"

#include <CLI/CLI.hpp>

ParsedOptions parseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app("Microcontrollers behind a serial line, simulated.", "mcu-simulator");
    app.add_option("--config", options.config, "the MCUs (JSON)")->required();
    auto* endpoint =
        app.add_option_group("endpoint", "where the line ends; a pseudo-terminal if none is given");
    endpoint->add_option("--pty-link", options.ptyLink,
                         "pseudo-terminal with a symbolic link to it at this path");
    endpoint->add_option("--unix", options.unixPath, "listening Unix socket");
    endpoint->add_option("--tcp", options.tcpAddress, "listening TCP socket, [HOST:]PORT");
    auto* serial =
        endpoint->add_option("--serial", options.serialDevice, "serial device, see --line");
    endpoint->require_option(0, 1);
    app.add_option("--line", options.serialLine,
                   "settings of the serial device: BAUD,DATABITS,STOPBITS,PARITY")
        ->capture_default_str()
        ->needs(serial);
    app.add_option("--baud", options.baud, "let the bytes take their time, ten bits a byte")
        ->check(CLI::Range(50L, 4000000L));
    app.add_option("--faults", options.faults, "what goes wrong and when (JSON)");
    app.add_option("--transcript", options.transcript, "record of the line (JSON lines)");
    app.add_option("--state", options.state, "state of the MCUs, kept up to date (JSON)");
    app.add_option("--store", options.store, "directory for the images that the MCUs receive")
        ->check(CLI::ExistingDirectory);
    app.add_flag("--live", options.live, "show what happens on the line");
    app.add_option("--time-scale", options.timeScale, "run the MCUs' own times this much faster")
        ->check(CLI::Range(0.01, 10000.0));
    app.add_option("--ready-file", options.readyFile,
                   "file that appears, with the line's address, as soon as the line is there");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return {std::nullopt, app.exit(error)};
    }
    return {options, 0};
}
