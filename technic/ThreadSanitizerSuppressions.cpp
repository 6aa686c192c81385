// Compiled into programs built with ThreadSanitizer, and into no others.
//
// An object's handle record is locked while the object is destroyed, and with it the records of
// the handles that the object holds. Records are reused, so over time two of them may be taken in
// either order. That is no deadlock: among the objects alive at any moment ownership has no cycle,
// and a record changes its object only once nothing is waited for under its lock.
//
// The C library reads the time zone anew under a lock of its own, which the sanitizer does not see.
extern "C" const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions() {
    return "deadlock:SafePointerRecord::lock\n"
           "race:tzset_internal\n";
}
