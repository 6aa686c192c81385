#pragma once

#include <optional>
#include <string>

#include "app/PreparedEntry.h"
#include "app/UpdateFileEntry.h"

// Reads what the firmware file of a configured entry says about itself. The file is `filePrefix`
// directly followed by the entry's name. Nothing when the file is not a readable regular file or is
// too short for the entry's positions.
std::optional<PreparedEntry> prepareEntry(const UpdateFileEntry& entry,
                                          const std::string& filePrefix);
