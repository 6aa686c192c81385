// Compiled into programs built with AddressSanitizer, and into no others.
//
// The sanitizer learns of a thrown exception, but not of a cancelled thread that unwinds: the marks
// of the frames left stay on its stack. The first thing that then meets them is the sanitizer's own
// question for the signal stack, asked before the unwinding goes on.
// NOLINTBEGIN(bugprone-reserved-identifier): the name is the sanitizer's
extern "C" const char* __asan_default_suppressions();

const char* __asan_default_suppressions() {
    return "interceptor_name:sigaltstack\n";
}
// NOLINTEND(bugprone-reserved-identifier)
