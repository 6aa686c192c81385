#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// A run of crash-probe to its end.
class CrashRun {
  public:
    // `options` are crash-probe's. The program's time runs `timeScale` times as fast as the real
    // one. What does not end within twenty seconds is killed.
    explicit CrashRun(const std::vector<std::string>& options, int timeScale = 20);

    // "exit 255", "signal 6".
    const std::string& end() const { return m_end; }
    const std::string& output() const { return m_output; }
    const std::string& errors() const { return m_errors; }

    // The crash line that it printed; empty if it printed none.
    std::string crashLine() const;
    // The number behind "PC:" or "ErrAddr:" in it, as it stands there.
    std::string field(const std::string& name) const;
    // For each stack word in it the function in which it lies, or else the word itself.
    std::vector<std::string> calls() const;
    // The function in which the address lies, or else the address itself.
    std::string functionAt(const std::string& address) const;
    // Where it said that it would write.
    std::string faultAddress() const;

  private:
    struct Range {
        std::uintptr_t start;
        std::uintptr_t size;
    };

    void readFacts();

    std::string m_end;
    std::string m_output;
    std::string m_errors;
    std::map<std::string, Range> m_functions;
    std::string m_faultAddress;
};

// Whether it has the form of a crash line.
bool isCrashLine(const std::string& line);
