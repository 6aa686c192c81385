#pragma once

#include <string>
#include <vector>

#include "app/UpdateFileEntry.h"
#include "app/UpdateParam.h"

// The update configuration as its file says it.
struct UpdateConfig {
    UpdateParam param;
    std::vector<UpdateFileEntry> entries;  // in document order
};

// Reads the XML file at `path`. False, with `config` untouched, when the file cannot be read or
// parsed, or a section, an entry or a required key is missing.
bool readUpdateConfig(const std::string& path, UpdateConfig& config);
