#pragma once

#include <fstream>
#include <string>

#include "simulator/mcu/Record.h"

// The file to which every record goes as one line of JSON, at once.
class Transcript {
  public:
    // path: empty for none. An earlier file is replaced. Throws std::runtime_error when the file
    // cannot be opened.
    explicit Transcript(const std::string& path);

    // Throws std::runtime_error when the line cannot be written.
    void write(const Record& record);

  private:
    std::string m_path;
    std::ofstream m_out;
};
