#pragma once

// Times of these tests in the device's time, which runs some times as fast as the receiver's.

// From the permission to the receiver's start, in milliseconds: well after the three seconds for
// which the tool drains the line, and well before it stops waiting.
constexpr int kStartDelay = 8000;
// The tool's time-out argument, in seconds: at least 600 ms of real time.
constexpr int kToolTimeout = 3;
