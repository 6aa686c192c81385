#pragma once

#include <string>

class TiXmlElement;

// The section of that name below `parent`; null when there is none. The search starts at the first
// section and ends at the first element without a name: sections must be well-formed. `parent` may
// be null.
const TiXmlElement* findXmlSection(const TiXmlElement* parent, const std::string& name);
