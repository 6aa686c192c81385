#include "tests/technic/CrashRun.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/BuiltProgram.h"
#include "tests/technic/MemoryFile.h"

namespace {

using Words = std::vector<std::string>;

std::vector<char*> pointersTo(Words& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

Words environmentWith(int timeScale) {
    const std::string variable = "DEVICE_SHIM_TIME_SCALE=";
    Words variables = {variable + std::to_string(timeScale)};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (std::string(*entry).rfind(variable, 0) != 0) {
            variables.emplace_back(*entry);
        }
    }
    return variables;
}

pid_t start(const Words& options, int timeScale, int output, int errors) {
    Words arguments = commandOf("crash-probe");
    arguments.insert(arguments.end(), options.begin(), options.end());
    Words environment = environmentWith(timeScale);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    pid_t pid = -1;
    const int error = posix_spawnp(&pid, arguments[0].c_str(), &actions, nullptr,
                                   pointersTo(arguments).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("cannot start " + arguments[0]);
    }
    return pid;
}

std::string endOf(pid_t pid) {
    const auto latest = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) != pid) {
        if (std::chrono::steady_clock::now() > latest) {
            kill(pid, SIGKILL);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status));
}

// As printed by "%#lX".
bool isAddress(const std::string& text) {
    const std::string digits = text.rfind("0X", 0) == 0 ? text.substr(2) : "";
    return text == "0" ||
           (!digits.empty() && digits.size() <= 16 &&
            digits.find_first_not_of("0123456789ABCDEF") == std::string::npos && digits[0] != '0');
}

// The text between `before` and the next `after` behind it; or up to the end.
std::string between(const std::string& text, const std::string& before, const std::string& after) {
    const std::size_t at = text.find(before);
    if (at == std::string::npos) {
        return "";
    }
    const std::size_t start = at + before.size();
    return text.substr(start, text.find(after, start) - start);
}

Words wordsOf(const std::string& text) {
    std::istringstream in(text);
    Words words;
    for (std::string word; std::getline(in, word, ' ');) {
        words.push_back(word);
    }
    return words;
}

std::string stackOf(const std::string& line) {
    return between(line, ", Stack:", "\n");
}

}  // namespace

CrashRun::CrashRun(const std::vector<std::string>& options, int timeScale) {
    const MemoryFile output;
    const MemoryFile errors;
    m_end = endOf(start(options, timeScale, output.fd(), errors.fd()));
    m_output = output.content();
    m_errors = errors.content();
    readFacts();
}

// What is not a fact is an error.
void CrashRun::readFacts() {
    std::istringstream in(m_errors);
    m_errors.clear();
    for (std::string line; std::getline(in, line);) {
        const Words words = wordsOf(line);
        if (words.size() == 4 && words[0] == "function") {
            m_functions[words[1]] = {std::stoul(words[2], nullptr, 16),
                                     std::stoul(words[3], nullptr, 16)};
        } else if (words.size() == 2 && words[0] == "address") {
            m_faultAddress = words[1];
        } else {
            m_errors += line + "\n";
        }
    }
}

std::string CrashRun::crashLine() const {
    const std::string rest = between(m_output, "PC:", "\n");
    return rest.empty() ? "" : "PC:" + rest;
}

std::string CrashRun::field(const std::string& name) const {
    return between(crashLine(), name, ",");
}

std::vector<std::string> CrashRun::calls() const {
    Words words = wordsOf(stackOf(crashLine()));
    for (std::string& word : words) {
        word = functionAt(word);
    }
    return words;
}

std::string CrashRun::functionAt(const std::string& address) const {
    const std::uintptr_t number = std::stoul(address, nullptr, 16);
    for (const auto& [name, range] : m_functions) {
        if (number >= range.start && number - range.start < range.size) {
            return name;
        }
    }
    return address;
}

std::string CrashRun::faultAddress() const {
    return m_faultAddress;
}

bool isCrashLine(const std::string& line) {
    const Words stack = wordsOf(stackOf(line));
    if (stack.size() != 10) {
        return false;
    }
    for (const std::string& word : stack) {
        if (!isAddress(word)) {
            return false;
        }
    }
    const std::string counter = between(line, "PC:", ",");
    const std::string address = between(line, "ErrAddr:", ",");
    return isAddress(counter) && isAddress(address) &&
           line == "PC:" + counter + ", ErrAddr:" + address + ", Stack:" + stackOf(line);
}
