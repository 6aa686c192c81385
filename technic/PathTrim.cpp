#include "technic/PathTrim.h"

std::size_t endWithoutTrailingSlashes(const std::string& path) {
    std::size_t end = path.size();
    while (end > 1 && path[end - 1] == '/') {
        --end;
    }
    return end;
}
