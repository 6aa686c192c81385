#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>

#include "tests/technic/CellInspection.h"
#include "tests/technic/SafePointerTestTypes.h"
#include "tests/technic/StdoutCapture.h"

// The fields of a handle as they lie in memory.
struct HandleFields {
    void* table;
    void* object;
    SafePointerRecord* record;
};

template <class T>
HandleFields fieldsOf(const SafePointer<T>& handle) {
    static_assert(sizeof(HandleFields) == sizeof(SafePointer<T>));
    HandleFields fields{};
    std::memcpy(&fields, static_cast<const void*>(&handle), sizeof fields);
    return fields;
}

template <class T>
SafePointerRecord& recordOf(const SafePointer<T>& handle) {
    return *fieldsOf(handle).record;
}

template <class T>
void setRecord(SafePointer<T>& handle, SafePointerRecord* record) {
    HandleFields fields = fieldsOf(handle);
    fields.record = record;
    std::memcpy(static_cast<void*>(&handle), &fields, sizeof fields);
}

inline std::int32_t countOf(SafePointerRecord& record) {
    record.increment();
    return record.decrement();
}

struct Outcome {
    std::string thrown;
    std::string printed;
};

inline bool operator==(const Outcome& left, const Outcome& right) {
    return left.thrown == right.thrown && left.printed == right.printed;
}

inline void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << "thrown \"" << outcome.thrown << "\", printed \"" << outcome.printed << '"';
}

inline Outcome outcomeOf(const std::function<void()>& action) {
    StdoutCapture capture;
    std::string thrown = "nothing";
    try {
        action();
    } catch (const KdRuntimeError& error) {
        thrown = error.what();
    }
    return {thrown, capture.text()};
}

inline Outcome reported(const std::string& typeAndMessage) {
    const std::string text = "SafePointer Report:" + typeAndMessage;
    return {text, text + "\n"};
}

inline Outcome thrownOnly(const std::string& text) {
    return {text, ""};
}

// A handle that was released: its assignment failed after it gave up its own object.
inline void makeReleased(SafePointer<SafePointerAnimal>& handle) {
    const SafePointer<SafePointerAnimal> dying(new SafePointerAnimal);
    recordOf(dying).decrement();
    StdoutCapture capture;
    EXPECT_THROW(handle = dying, KdRuntimeError);
    recordOf(dying).reset();
}

// Whether the record's mutex is held; it is released then.
inline bool releaseIfLocked(SafePointerRecord& record) {
    const bool isLocked = isHeld(record.mutex());
    if (isLocked) {
        record.unlock();
    }
    return isLocked;
}
