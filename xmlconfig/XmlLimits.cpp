#include "xmlconfig/XmlLimits.h"

#include <strings.h>
#include <tinyxml.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

constexpr unsigned char kByteOrderMarkLead = 0xEF;

bool isBlank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isQuote(char c) {
    return c == '"' || c == '\'';
}

// As the parser sees it, every byte outside of ASCII is a letter.
bool beginsName(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 127 || std::isalpha(byte) != 0 || c == '_';
}

// Walks over the text's markup with the parser's own idea of where each piece ends, up to the
// first place at which the parser gives up: an idea of its own would let a hostile text show this
// walk less levels than the parser meets.
class XmlWalk {
  public:
    XmlWalk(const std::string& text, bool utf8) : m_text(text), m_utf8(utf8) {}

    bool staysWithinLimits() {
        while (!m_exceeded && skipText()) {
            markup();
        }
        return !m_exceeded;
    }

  private:
    bool atEnd() const { return m_at >= m_text.size(); }
    char current() const { return m_text[m_at]; }
    // NUL beyond the end.
    char next(std::size_t distance) const {
        return m_at + distance < m_text.size() ? m_text[m_at + distance] : '\0';
    }

    bool startsWith(const char* token) const {
        return m_text.compare(m_at, std::strlen(token), token) == 0;
    }
    bool startsWithAnyCase(const char* token) const {
        return strncasecmp(m_text.c_str() + m_at, token, std::strlen(token)) == 0;
    }

    // Past the next `token`, or to the end.
    void skipPast(const char* token) {
        const std::size_t found = m_text.find(token, m_at);
        m_at = found == std::string::npos ? m_text.size() : found + std::strlen(token);
    }

    // In texts and quoted values a byte that begins a UTF-8 character takes the following ones with
    // it, whatever they are.
    void skipCharacter() {
        const auto byte = static_cast<unsigned char>(current());
        m_at += m_utf8 ? static_cast<std::size_t>(std::max(1, TiXmlBase::utf8ByteTable[byte])) : 1;
    }

    void skipBlanks() {
        while (!atEnd() && isBlank(current())) {
            ++m_at;
        }
    }

    void skipQuoted() {
        const char quote = current();
        ++m_at;
        while (!atEnd() && current() != quote) {
            skipCharacter();
        }
        ++m_at;
    }

    // To the next markup; false when there is none.
    bool skipText() {
        while (!atEnd() && current() != '<') {
            skipCharacter();
        }
        return !atEnd();
    }

    void markup() {
        if (startsWithAnyCase("<?xml")) {
            declaration();
        } else if (startsWith("<!--")) {
            m_at += std::strlen("<!--");
            skipPast("-->");
        } else if (startsWith("<![CDATA[")) {
            m_at += std::strlen("<![CDATA[");
            skipPast("]]>");
        } else if (beginsName(next(1))) {
            startTag();
        } else {
            m_level -= next(1) == '/' && m_level > 0 ? 1 : 0;
            skipPast(">");
        }
    }

    void startTag() {
        int attributes = 0;
        for (; !atEnd() && current() != '>'; ++m_at) {
            if (current() == '/' && next(1) == '>') {
                m_at += 2;
                return;
            }
            attributes += current() == '=' ? 1 : 0;
            m_exceeded |= attributes > kMostXmlAttributes;
            if (isQuote(current())) {
                skipQuoted();
                --m_at;
            }
        }
        ++m_at;
        ++m_level;
        m_exceeded |= m_level > kMostXmlLevels;
    }

    // Only the values of its three known attributes can be quoted.
    void declaration() {
        m_at += std::strlen("<?xml");
        while (!atEnd() && current() != '>') {
            skipBlanks();
            if (startsWithAnyCase("version") || startsWithAnyCase("encoding") ||
                startsWithAnyCase("standalone")) {
                skipPast("=");
                skipBlanks();
                skipDeclaredValue();
            } else {
                skipWord();
            }
        }
        ++m_at;
    }

    void skipDeclaredValue() {
        if (!atEnd() && isQuote(current())) {
            skipQuoted();
            return;
        }
        while (!atEnd() && !isBlank(current()) && current() != '/' && current() != '>') {
            ++m_at;
        }
    }

    // A byte-order mark would count as a blank here and hide where a word begins.
    void skipWord() {
        while (!atEnd() && !isBlank(current()) && current() != '>') {
            m_exceeded |= static_cast<unsigned char>(current()) == kByteOrderMarkLead;
            ++m_at;
        }
    }

    const std::string& m_text;
    const bool m_utf8;
    std::size_t m_at = 0;
    int m_level = 0;
    bool m_exceeded = false;
};

}  // namespace

bool isWithinXmlLimits(const std::string& text, bool utf8) {
    return XmlWalk(text, utf8).staysWithinLimits();
}
