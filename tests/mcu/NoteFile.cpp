#include "tests/mcu/NoteFile.h"

#include <fstream>
#include <iterator>

#include "technic/DevicePaths.h"

std::string noteText() {
    std::ifstream note(device_paths::kUpdateNoteLog, std::ios::binary);
    return {std::istreambuf_iterator<char>(note), std::istreambuf_iterator<char>()};
}
