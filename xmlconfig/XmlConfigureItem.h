#pragma once

#include <cstdint>
#include <string>

class TiXmlElement;

// One entry of a section's list. Good only while the tool that loaded the document lives and has
// not loaded again. The reads return false when there is no attribute `key`; conversions as in
// XmlFile.
class XmlConfigureItem {
  public:
    // Refers to no element: every read fails.
    XmlConfigureItem() = default;
    explicit XmlConfigureItem(const TiXmlElement* element) : m_element(element) {}

    bool getString(const std::string& key, std::string& value) const;
    bool getInt(const std::string& key, std::int32_t& value) const;
    bool getUInt64(const std::string& key, std::uint64_t& value) const;
    bool getBool(const std::string& key, bool& value) const;

  private:
    const TiXmlElement* m_element = nullptr;
};
