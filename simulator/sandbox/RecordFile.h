#pragma once

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

// A file of records, a JSON object a line. Each record is in the file when append() comes back.
class RecordFile {
  public:
    // Opens the file to append to it; made when missing. Throws std::runtime_error when that fails.
    explicit RecordFile(const std::string& path);

    // Writes {"time": seconds since 1970, ...members of `record`...}. Bytes that are no UTF-8 are
    // written as U+FFFD. Throws std::runtime_error when the record cannot be written.
    void append(const nlohmann::ordered_json& record);

  private:
    std::string m_path;
    std::ofstream m_file;
};
