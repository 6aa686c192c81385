#include "tests/mcu/NoteFile.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include "technic/DevicePaths.h"

std::string noteText() {
    std::ifstream note(device_paths::kUpdateNoteLog, std::ios::binary);
    return {std::istreambuf_iterator<char>(note), std::istreambuf_iterator<char>()};
}

bool awaitNote(const std::string& text) {
    constexpr std::chrono::milliseconds kPause{1};
    constexpr int kLooks = 2000;
    const auto holds = [&] { return noteText().find(text) != std::string::npos; };
    for (int look = 0; look < kLooks && !holds(); ++look) {
        std::this_thread::sleep_for(kPause);
    }
    return holds();
}
