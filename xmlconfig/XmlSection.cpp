#include "xmlconfig/XmlSection.h"

#include <tinyxml.h>

#include "xmlconfig/XmlConfigureNames.h"

const TiXmlElement* findXmlSection(const TiXmlElement* parent, const std::string& name) {
    if (parent == nullptr) {
        return nullptr;
    }
    const TiXmlElement* element = parent->FirstChildElement(xml_configure_names::kConfigure);
    while (element != nullptr) {
        const char* candidate = element->Attribute(xml_configure_names::kName);
        if (candidate == nullptr) {
            return nullptr;
        }
        if (name == candidate) {
            return element;
        }
        element = element->NextSiblingElement();
    }
    return nullptr;
}
