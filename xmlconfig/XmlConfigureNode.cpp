#include "xmlconfig/XmlConfigureNode.h"

#include <tinyxml.h>

#include <exception>

#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"
#include "xmlconfig/XmlConfigureNames.h"
#include "xmlconfig/XmlFile.h"
#include "xmlconfig/XmlSection.h"

bool getXmlNode(const MemXmlConfigureTool* document, const TiXmlElement* parent,
                const std::string& name, SafePointer<XmlConfigureNode>& node) {
    const TiXmlElement* section = findXmlSection(parent, name);
    if (section == nullptr) {
        return false;
    }
    try {
        node = SafePointer<XmlConfigureNode>(new (KD_HERE) XmlConfigureNode(document, section));
    } catch (const std::exception&) {
        return false;  // no memory, or no handle left
    }
    return true;
}

bool XmlConfigureNode::getNode(const std::string& name, SafePointer<XmlConfigureNode>& node) const {
    return getXmlNode(m_document, m_element, name, node);
}

bool XmlConfigureNode::getItems(std::list<SafePointer<XmlConfigureItem>>& items) const {
    if (m_element == nullptr) {
        return false;
    }
    const TiXmlElement* element = m_element->FirstChildElement(xml_configure_names::kConfigItem);
    if (element == nullptr) {
        return false;
    }
    std::list<SafePointer<XmlConfigureItem>> found;
    try {
        for (; element != nullptr; element = element->NextSiblingElement()) {
            found.emplace_back(new (KD_HERE) XmlConfigureItem(element));
        }
    } catch (const std::exception&) {
        return false;  // no memory, or no handle left
    }
    items.splice(items.end(), found);
    return true;
}

bool XmlConfigureNode::getString(const std::string& key, std::string& value) const {
    return XmlFile::readString(m_element, key, value);
}

bool XmlConfigureNode::getInt(const std::string& key, std::int32_t& value) const {
    return XmlFile::readInt(m_element, key, value);
}

bool XmlConfigureNode::getUInt64(const std::string& key, std::uint64_t& value) const {
    return XmlFile::readUInt64(m_element, key, value);
}

bool XmlConfigureNode::getBool(const std::string& key, bool& value) const {
    return XmlFile::readBool(m_element, key, value);
}
