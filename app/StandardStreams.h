#pragma once

// Opens "/dev/null" in the place of each of the descriptors 0, 1 and 2 with which the program was
// not started. Otherwise a device that is opened later would get such a number, and the program's
// output would go onto the line to the MCUs. To be called before anything is opened.
void fillStandardStreams();
