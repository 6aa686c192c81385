#pragma once

// The update note: the log of one run, kept at device_paths::kUpdateNoteLog and echoed to standard
// output. Any thread; the messages stand in the same order in both places.
class UpdateNote {
  public:
    // Appends `message` as it is (no time stamp, no line end added) to the file that is at the
    // note's path now, whoever put it there, or to a new one; then prints it. A note that cannot be
    // opened or written is no error: the message is still printed, and the next message tries
    // again; the first message that is lost so is told on standard error. A pipe that stands there
    // is never waited for. The message is whole in both places even if the thread is cancelled.
    static void log(const char* message);

    // Deletes the note, or empties one that cannot be deleted; the next message starts a new one. A
    // missing note is no error; one that stays as it is is told on standard error.
    static void remove();
};
