#include "xmlconfig/XmlConfigureItem.h"

#include "xmlconfig/XmlFile.h"

bool XmlConfigureItem::getString(const std::string& key, std::string& value) const {
    return XmlFile::readString(m_element, key, value);
}

bool XmlConfigureItem::getInt(const std::string& key, std::int32_t& value) const {
    return XmlFile::readInt(m_element, key, value);
}

bool XmlConfigureItem::getUInt64(const std::string& key, std::uint64_t& value) const {
    return XmlFile::readUInt64(m_element, key, value);
}

bool XmlConfigureItem::getBool(const std::string& key, bool& value) const {
    return XmlFile::readBool(m_element, key, value);
}
