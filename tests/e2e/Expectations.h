#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/e2e/RunResult.h"

// The note is the golden note, whole, but for what background threads wrote (see GoldenNote.h), and
// standard output is the note, whole, but for the lines that go to standard output alone.
void expectNote(const RunResult& result, const std::string& goldenName);
// The note is the golden note, whatever else standard output has.
void expectNoteAlone(const RunResult& result, const std::string& goldenName);
// The golden note is what standard output has, but for such lines, whatever became of the note.
void expectPrintedNote(const RunResult& result, const std::string& goldenName);
// Status 0, that note, and the marker file standing; or gone.
void expectSuccess(const RunResult& result, const std::string& goldenName);
void expectFailure(const RunResult& result, const std::string& goldenName);

// What the heartbeat reader records of one keeper: its start and its end.
void expectHeartbeatsOfOneKeeper(const std::vector<nlohmann::json>& records);

std::size_t countLines(const std::string& text, const std::string& line);
