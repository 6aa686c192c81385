#include "tests/fuzz/support/XmlOracle.h"

#include <tinyxml.h>

#include "tests/fuzz/support/Require.h"
#include "xmlconfig/MemXmlConfigureTool.h"

namespace {

constexpr int kMostLevels = 200;
constexpr int kMostAttributes = 1000;

int attributesOf(const TiXmlElement& element) {
    int count = 0;
    for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next()) {
        ++count;
    }
    return count;
}

// Goes no deeper than is allowed.
void requireLimits(const TiXmlElement& element, int level) {
    require(level <= kMostLevels, "a document is within the limit on levels");
    require(attributesOf(element) <= kMostAttributes, "an element is within that on attributes");
    for (const TiXmlElement* child = element.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        requireLimits(*child, level + 1);
    }
}

}  // namespace

void requireXmlLimits(const std::string& text) {
    for (const int encoding : {MemXmlConfigureTool::kUtf8, 0}) {
        MemXmlConfigureTool document;
        if (document.parse(text, encoding)) {
            requireLimits(*document.getRoot(), 1);
        }
    }
}
