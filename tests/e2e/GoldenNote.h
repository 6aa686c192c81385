#pragma once

#include <filesystem>
#include <string>
#include <vector>

// A golden note: what the main thread writes to the note log, whole and in order.
//
// A golden file is the note's text, one line a line, with "\r" for a carriage return, a line
// beginning with '#' for a comment, and these short forms:
//   @session [DEVICE BAUD DATABITS STOPBITS PARITY]
//                            the parameter block that opening the line writes
//   @request fe .. ff        one request sent: the two communicate lines round its nine-value trace
//   @failed-request fe .. ff a request whose write fails: no second communicate line
//   @reply fe .. ff          one reply read, a trace for every byte
//   @silence                 one read that times out, as a trace
//   @no-reply                one read that times out while a reply is awaited
//   @unended TEXT            a message without a line end
//   @repeat N ... @end       the lines between, N times (nested as needed)
//   @include NAME            the golden file NAME of the same folder
//
// The result is the list of messages: an entry is a text that no other thread's message can split.
// `device` is what @session shows where it names no device.
std::vector<std::string> goldenMessages(const std::filesystem::path& file,
                                        const std::string& device = "/dev/ttyS1");

// Compares a note with the golden messages, whole. Two background threads write to the same note at
// moments of their own, so their messages are taken out where they stand, and only they:
//   the stop-upload keeper: whole cycles of communicate line, send trace, communicate line (the
//     last line missing when the port is closed already; the last cycle may be cut short);
//   the watchdog feeder: its start line, then any number of feed lines with their results.
// Everything else must be the golden text to the letter. Returns an empty text when it is, else
// what differs first and where.
std::string differenceFromGolden(const std::string& note, const std::vector<std::string>& golden);
