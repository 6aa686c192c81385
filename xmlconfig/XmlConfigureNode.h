#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "technic/SafePointer.h"
#include "xmlconfig/XmlConfigureItem.h"

class MemXmlConfigureTool;
class TiXmlElement;

// A named section of a loaded document. Good only while the tool that loaded the document lives and
// has not loaded again. Every operation returns whether it succeeded; a failure leaves its output
// as it is, but for getInt.
class XmlConfigureNode {
  public:
    // Refers to no element: every operation fails.
    XmlConfigureNode() = default;
    XmlConfigureNode(const MemXmlConfigureTool* document, const TiXmlElement* element)
        : m_document(document), m_element(element) {}

    // The sub-section of that name takes the place of the object that `node` holds. The search ends
    // at the first element without a name.
    bool getNode(const std::string& name, SafePointer<XmlConfigureNode>& node) const;

    // Appends the first child element "ConfigItem" and every element that follows it, whatever its
    // name, in document order. Fails without a "ConfigItem", and when there are more items than
    // handles.
    bool getItems(std::list<SafePointer<XmlConfigureItem>>& items) const;

    // The section's own attributes, read as XmlFile does.
    bool getString(const std::string& key, std::string& value) const;
    bool getInt(const std::string& key, std::int32_t& value) const;
    bool getUInt64(const std::string& key, std::uint64_t& value) const;
    bool getBool(const std::string& key, bool& value) const;

  private:
    const MemXmlConfigureTool* m_document = nullptr;
    const TiXmlElement* m_element = nullptr;
};

// The section of that name below `parent`, an element of `document`, as XmlConfigureNode::getNode.
bool getXmlNode(const MemXmlConfigureTool* document, const TiXmlElement* parent,
                const std::string& name, SafePointer<XmlConfigureNode>& node);
