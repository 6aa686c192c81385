#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "simulator/mcu/Bytes.h"
#include "simulator/mcu/SimClock.h"

// A settings file that cannot be used. The text names the file, the line and what was expected.
class SettingsError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// One value of a JSON settings file, which knows where in the file it stands. Every reading
// operation throws SettingsError when the value is not what is asked for. The file must outlive its
// values.
class SettingsFile;
class Setting {
  public:
    Setting(const SettingsFile& file, const nlohmann::json& value, std::string path)
        : m_file(&file), m_value(&value), m_path(std::move(path)) {}

    const nlohmann::json& json() const { return *m_value; }
    // Throws, saying what was expected here.
    [[noreturn]] void fail(const std::string& expected) const;

    // This must be an object that has no other keys than these.
    void expectObject(const std::vector<std::string>& allowedKeys) const;
    bool has(const std::string& key) const { return m_value->contains(key); }
    // A member of this object; it must be there.
    Setting at(const std::string& key) const;
    // The elements of this list.
    std::vector<Setting> elements() const;

    std::string text() const;
    bool truth() const;
    long long number(long long least, long long most) const;
    // Milliseconds, 0 or more, as a span of time.
    Time milliseconds() const;
    // Text of hexadecimal digits, as bytes.
    Bytes hexBytes() const;
    // A byte position: a number, or text of hexadecimal digits with or without 0x.
    std::size_t position() const;
    // One of the texts; the index of it.
    std::size_t choice(const std::vector<std::string>& texts) const;

  private:
    const SettingsFile* m_file;
    const nlohmann::json* m_value;
    std::string m_path;
};

// A JSON file read whole, with the line of every value.
class SettingsFile {
  public:
    // Throws SettingsError when the file cannot be read or is not JSON.
    explicit SettingsFile(const std::string& path);
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;

    Setting root() const { return {*this, m_root, ""}; }
    const std::string& path() const { return m_path; }
    // The line of the value at a path such as "/mcus/0/name"; 1 when unknown.
    std::size_t lineOf(const std::string& valuePath) const;

  private:
    std::string m_path;
    nlohmann::json m_root;
    std::map<std::string, std::size_t> m_lines;
};
