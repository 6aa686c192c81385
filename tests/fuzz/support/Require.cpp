#include "tests/fuzz/support/Require.h"

#include <sanitizer/common_interface_defs.h>

#include <cstdlib>
#include <string>

namespace {

// Of a program with sanitizers, which take most of it.
constexpr std::clock_t kMostTicks = 2 * CLOCKS_PER_SEC;

}  // namespace

void require(bool holds, const char* claim) {
    if (!holds) {
        __sanitizer_report_error_summary((std::string("this should hold: ") + claim).c_str());
        std::abort();
    }
}

LittleTime::LittleTime() : m_begin(std::clock()) {}

LittleTime::~LittleTime() {
    require(std::clock() - m_begin <= kMostTicks, "an input takes little processor time");
}
