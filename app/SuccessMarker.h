#pragma once

// The file "MCUUpdateSuccess" in the working directory. Callers look whether it is there: then the
// last run over the file list succeeded. What cannot be done is told on standard error.
namespace success_marker {

// Leaves an empty file, in the place of whatever bears the name and is no file. Never waits. It is
// not forced onto the disk: a marker that a loss of power takes along is a success untold, and the
// next job finds the MCUs up to date.
void create();

// Removes whatever bears the name; a missing marker is no error. A loss of power afterwards does
// not bring it back, which would be a success that never was, as far as the disk can be made to
// keep it.
void remove();

}  // namespace success_marker
