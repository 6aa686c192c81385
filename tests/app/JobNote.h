#pragma once

#include <string>

#include "tests/mcu/NoteFile.h"

// The note without the watchdog feeder's lines, which come from a thread of their own.
inline std::string jobNote() {
    std::string note = noteText();
    for (const char* line :
         {"____start GThreadWatchdog thread\n", "MCUHardwareWatchDog send GPIO_SET_WTD\n",
          "MCUHardwareWatchDog send GPIO_SET_WTD success\n"}) {
        const std::string text = line;
        for (std::size_t at = note.find(text); at != std::string::npos; at = note.find(text)) {
            note.erase(at, text.size());
        }
    }
    return note;
}
