#include "simulator/mcu/SettingsFile.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>

namespace {

using nlohmann::json;

std::size_t lineAt(const std::string& text, std::size_t offset) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(offset, text.size()));
    return static_cast<std::size_t>(std::count(text.begin(), end, '\n')) + 1;
}

std::size_t columnAt(const std::string& text, std::size_t offset) {
    const std::size_t end = std::min(offset, text.size());
    const std::size_t newline = end == 0 ? std::string::npos : text.rfind('\n', end - 1);
    return newline == std::string::npos ? end + 1 : end - newline;
}

// Follows the parser through the text and notes the line on which each value ends or begins.
class LineNotes {
  public:
    LineNotes(const std::string& text, std::istringstream& stream,
              std::map<std::string, std::size_t>& lines)
        : m_text(text), m_stream(stream), m_lines(lines) {}

    bool operator()(json::parse_event_t event, const json& parsed) {
        switch (event) {
            case json::parse_event_t::object_start:
            case json::parse_event_t::array_start:
                note(parsed);
                m_open.push_back({event == json::parse_event_t::array_start, 0, ""});
                break;
            case json::parse_event_t::key:
                m_open.back().key = parsed.get<std::string>();
                break;
            case json::parse_event_t::object_end:
            case json::parse_event_t::array_end:
                m_open.pop_back();
                step();
                break;
            case json::parse_event_t::value:
                note(parsed);
                step();
                break;
        }
        return true;
    }

  private:
    struct Level {
        bool isArray;
        std::size_t index;
        std::string key;
    };

    std::string path() const {
        std::string path;
        for (const Level& level : m_open) {
            path += "/" + (level.isArray ? std::to_string(level.index) : level.key);
        }
        return path;
    }

    void note(const json& parsed) {
        const std::streamoff read =
            m_stream.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
        // The parser has read one character past the end of a number to see where it ends.
        const std::streamoff past = parsed.is_number() ? 1 : 0;
        m_lines[path()] =
            lineAt(m_text, static_cast<std::size_t>(std::max<std::streamoff>(0, read - past)));
    }

    void step() {
        if (!m_open.empty()) {
            ++m_open.back().index;
        }
    }

    const std::string& m_text;
    std::istringstream& m_stream;
    std::map<std::string, std::size_t>& m_lines;
    std::vector<Level> m_open;
};

std::string readWhole(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (!in) {
        throw SettingsError(fmt::format("{}: cannot be read", path));
    }
    return text;
}

}  // namespace

SettingsFile::SettingsFile(const std::string& path) : m_path(path) {
    const std::string text = readWhole(path);
    std::istringstream stream(text);
    LineNotes notes(text, stream, m_lines);
    try {
        m_root = json::parse(stream, [&notes](int, json::parse_event_t event, json& parsed) {
            return notes(event, parsed);
        });
    } catch (const json::parse_error& error) {
        const std::size_t offset = error.byte == 0 ? 0 : error.byte - 1;
        throw SettingsError(fmt::format("{}:{}:{}: not JSON: {}", path, lineAt(text, offset),
                                        columnAt(text, offset), error.what()));
    }
}

std::size_t SettingsFile::lineOf(const std::string& valuePath) const {
    const auto found = m_lines.find(valuePath);
    return found == m_lines.end() ? 1 : found->second;
}

void Setting::fail(const std::string& expected) const {
    std::string found = m_value->dump();
    constexpr std::size_t kMostShown = 60;
    if (found.size() > kMostShown) {
        found = found.substr(0, kMostShown) + "...";
    }
    throw SettingsError(fmt::format("{}:{}: {}: expected {}, found {}", m_file->path(),
                                    m_file->lineOf(m_path), m_path.empty() ? "/" : m_path, expected,
                                    found));
}

void Setting::expectObject(const std::vector<std::string>& allowedKeys) const {
    if (!m_value->is_object()) {
        fail("an object");
    }
    for (const auto& [key, value] : m_value->items()) {
        if (std::find(allowedKeys.begin(), allowedKeys.end(), key) == allowedKeys.end()) {
            Setting(*m_file, value, m_path + "/" + key)
                .fail(fmt::format("one of the keys {}", fmt::join(allowedKeys, ", ")));
        }
    }
}

Setting Setting::at(const std::string& key) const {
    if (!m_value->is_object() || !m_value->contains(key)) {
        fail(fmt::format("an object with the key \"{}\"", key));
    }
    return {*m_file, m_value->at(key), m_path + "/" + key};
}

std::vector<Setting> Setting::elements() const {
    if (!m_value->is_array()) {
        fail("a list");
    }
    std::vector<Setting> elements;
    for (std::size_t i = 0; i < m_value->size(); ++i) {
        elements.emplace_back(*m_file, (*m_value)[i], m_path + "/" + std::to_string(i));
    }
    return elements;
}

std::string Setting::text() const {
    if (!m_value->is_string() || m_value->get<std::string>().empty()) {
        fail("a text that is not empty");
    }
    return m_value->get<std::string>();
}

bool Setting::truth() const {
    if (!m_value->is_boolean()) {
        fail("true or false");
    }
    return m_value->get<bool>();
}

long long Setting::number(long long least, long long most) const {
    const std::string expected = fmt::format("a whole number from {} to {}", least, most);
    if (!m_value->is_number_integer()) {
        fail(expected);
    }
    if (m_value->is_number_unsigned() &&
        m_value->get<unsigned long long>() > static_cast<unsigned long long>(most)) {
        fail(expected);
    }
    const auto value = m_value->get<long long>();
    if (value < least || value > most) {
        fail(expected);
    }
    return value;
}

Time Setting::milliseconds() const {
    constexpr long long kMost = 24LL * 60 * 60 * 1000;
    return std::chrono::milliseconds(number(0, kMost));
}

Bytes Setting::hexBytes() const {
    const auto bytes =
        m_value->is_string() ? fromHex(m_value->get<std::string>()) : std::optional<Bytes>();
    if (!bytes) {
        fail("a text of hexadecimal byte values such as \"a1b2\"");
    }
    return *bytes;
}

std::size_t Setting::position() const {
    constexpr long long kMost = std::numeric_limits<std::int32_t>::max();
    if (m_value->is_number()) {
        return static_cast<std::size_t>(number(0, kMost));
    }
    const std::string expected = "a byte position: a number, or hexadecimal text such as \"0x1C0\"";
    if (!m_value->is_string()) {
        fail(expected);
    }
    std::string digits = m_value->get<std::string>();
    if (digits.rfind("0x", 0) == 0 || digits.rfind("0X", 0) == 0) {
        digits.erase(0, 2);
    }
    const bool onlyDigits = digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (digits.empty() || digits.size() > 7 || !onlyDigits) {
        fail(expected);
    }
    return std::stoul(digits, nullptr, 16);
}

std::size_t Setting::choice(const std::vector<std::string>& texts) const {
    const auto found = m_value->is_string()
                           ? std::find(texts.begin(), texts.end(), m_value->get<std::string>())
                           : texts.end();
    if (found == texts.end()) {
        fail(fmt::format("one of {}", fmt::join(texts, ", ")));
    }
    return static_cast<std::size_t>(found - texts.begin());
}
