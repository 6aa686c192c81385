// Sets the machine's clock, also to times that do not go into 32 bits.
//
// usage: set-clock SECONDS-SINCE-1970
#include <cstdio>
#include <cstdlib>
#include <ctime>

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: set-clock SECONDS-SINCE-1970\n", stderr);
        return EXIT_FAILURE;
    }
    timespec moment{};
    moment.tv_sec = static_cast<time_t>(std::strtoll(arguments[1], nullptr, 10));
    if (clock_settime(CLOCK_REALTIME, &moment) != 0) {
        std::perror("set-clock");
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
