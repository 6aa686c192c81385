#pragma once

#include <memory>
#include <string>

#include "technic/SafePointer.h"

class TiXmlElement;

// The section of that name below `parent`; null when there is none. The search starts at the first
// section and ends at the first element without a name: sections must be well-formed. `parent` may
// be null.
const TiXmlElement* findXmlSection(const TiXmlElement* parent, const std::string& name);

// Hands a heap object over to a handle; nothing leaks when there is no room for another handle.
template <class T>
SafePointer<T> handOver(std::unique_ptr<T> object) {
    SafePointer<T> handle(object.get());
    (void)object.release();  // the handle owns it now
    return handle;
}
