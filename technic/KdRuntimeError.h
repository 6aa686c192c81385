#pragma once

#include <exception>
#include <string>
#include <utility>

// The foundation's exception for programming errors.
class KdRuntimeError : public std::exception {
  public:
    explicit KdRuntimeError(std::string text) : m_text(std::move(text)) {}
    const char* what() const noexcept override { return m_text.c_str(); }

  private:
    std::string m_text;
};
