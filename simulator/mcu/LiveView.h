#pragma once

#include <cstdio>
#include <string>

#include "simulator/mcu/Record.h"

// Shows what happens on the line to a person: a line a record, the blocks of a transfer as a line
// that counts up. Colours and the counting line only on a terminal.
class LiveView {
  public:
    // out: null to show nothing.
    explicit LiveView(std::FILE* out);

    void show(const Record& record);
    // A transfer has come so far.
    void showProgress(Time now, const std::string& mcu, std::size_t bytes);

  private:
    void endProgressLine();

    std::FILE* m_out;
    bool m_terminal;
    bool m_inProgressLine = false;
    Time m_progressBegin{0};
    std::size_t m_progressBytes = 0;
};
