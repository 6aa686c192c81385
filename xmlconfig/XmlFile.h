#pragma once

#include <cstdint>
#include <string>

class TiXmlElement;

// The text of a configuration document as a file, and the typed reads of an element's attributes.
// Every operation returns whether it succeeded. Any thread.
class XmlFile {
  public:
    // Reads the whole file. Fails when the file is not a regular one, is empty, is larger than
    // 32 bits can tell or than the machine can parse, or cannot be read completely; `text` is
    // unchanged then.
    static bool read(const std::string& path, std::string& text);

    // Creates or truncates the file and writes `text`. Fails unless every byte was written. Never
    // waits for a reader of a pipe.
    static bool write(const std::string& path, const std::string& text);

    // The reads fail when `element` is null or has no attribute `key`. A failed read leaves `value`
    // as it is, but for readInt.

    static bool readString(const TiXmlElement* element, const std::string& key, std::string& value);

    // The number that the text begins with: leading blanks, a sign, base-10 digits; 0 without
    // digits, and the nearest end of the range when the number is outside of it. `value` is 0 when
    // the read fails.
    static bool readInt(const TiXmlElement* element, const std::string& key, std::int32_t& value);

    // Scanned with "%llu"; text that is no number leaves `value` as it is.
    static bool readUInt64(const TiXmlElement* element, const std::string& key,
                           std::uint64_t& value);

    // "true" or "false" in any case; any other text leaves `value` as it is and still succeeds.
    static bool readBool(const TiXmlElement* element, const std::string& key, bool& value);
};
