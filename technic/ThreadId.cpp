#include "technic/ThreadId.h"

#include <unistd.h>

int currentThreadId() {
    return gettid();
}
