#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// Splits texts at a delimiter and keeps the pieces. One thread at a time.
class StringParser {
  public:
    // Appends every non-empty piece of `text` between delimiters to the tokens and returns how many
    // there were. 0, and nothing is appended, when the text is null or empty or the delimiter is.
    std::size_t split(const char* text, const char* delimiter);

    // The pieces of all splits so far, in order.
    std::size_t tokenCount() const { return m_tokens.size(); }
    // `index` is below tokenCount. The reference lives as long as the parser.
    const std::string& token(std::size_t index) const { return *m_tokens[index]; }

  private:
    void append(const char* piece, std::size_t length);

    std::vector<std::unique_ptr<std::string>> m_tokens;
};
