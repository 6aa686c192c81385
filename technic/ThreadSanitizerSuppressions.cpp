// Compiled into programs built with ThreadSanitizer, and into no others.
//
// The C library reads the time zone anew under a lock of its own, which the sanitizer does not see.
// NOLINTBEGIN(bugprone-reserved-identifier): the name is the sanitizer's
extern "C" const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions() {
    return "race:tzset_internal\n";
}
// NOLINTEND(bugprone-reserved-identifier)
