#include "app/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

void fillStandardStreams() {
    // An open takes the lowest number that is free.
    int descriptor = STDIN_FILENO;
    while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO) {
        descriptor = ::open("/dev/null", O_RDWR);
    }
    if (descriptor > STDERR_FILENO) {
        (void)::close(descriptor);  // not needed, and nothing was written
    }
}
