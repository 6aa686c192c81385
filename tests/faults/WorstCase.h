#pragma once

// What a job may wait for at most.
struct JobBounds {
    int entries = 0;
    int timeoutSeconds = 0;  // the tool's argument, above 0
    long sessionBytes = 0;   // bytes that reached the tool while it asked the MCUs
    long transferBytes = 0;  // and while it transferred images
};

// The longest time, in seconds of the device, that the waits of a Type 1 job can add up to when
// every attempt fails as late as it can and every byte comes at the last moment: a job that takes
// longer hangs.
double worstCaseSeconds(const JobBounds& bounds);
