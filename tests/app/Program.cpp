#include "tests/app/Program.h"

#include <sys/wait.h>

#include <cstdio>
#include <stdexcept>

#include "tests/BuiltProgram.h"

ProgramRun runProgram(const std::vector<std::string>& arguments) {
    std::string command = shellCommandOf("MCUUpdateTool");
    for (const std::string& argument : arguments) {
        command += " '" + argument + "'";
    }
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        throw std::runtime_error("cannot run " + command);
    }
    ProgramRun run;
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe)) {
        run.output += static_cast<char>(byte);
    }
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}
