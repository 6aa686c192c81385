#include "technic/SafePointer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>

#include "tests/technic/SafePointerTestTypes.h"
#include "tests/technic/StdoutCapture.h"

namespace {

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

std::int32_t countOf(SafePointerRecord& record) {
    record.increment();
    return record.decrement();
}

struct Outcome {
    std::string thrown;
    std::string printed;
};

bool operator==(const Outcome& left, const Outcome& right) {
    return left.thrown == right.thrown && left.printed == right.printed;
}

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << "thrown \"" << outcome.thrown << "\", printed \"" << outcome.printed << '"';
}

Outcome outcomeOf(const std::function<void()>& action) {
    StdoutCapture capture;
    std::string thrown = "nothing";
    try {
        action();
    } catch (const KdRuntimeError& error) {
        thrown = error.what();
    }
    return {thrown, capture.text()};
}

Outcome reported(const std::string& typeAndMessage) {
    const std::string text = "SafePointer Report:" + typeAndMessage;
    return {text, text + "\n"};
}

Outcome thrownOnly(const std::string& text) {
    return {text, ""};
}

// A handle that was released: its assignment failed after it gave up its own object.
void makeReleased(SafePointer<SafePointerAnimal>& handle) {
    const SafePointer<SafePointerAnimal> dying(new SafePointerAnimal);
    recordOf(dying).decrement();
    StdoutCapture capture;
    EXPECT_THROW(handle = dying, KdRuntimeError);
    recordOf(dying).reset();
}

// Whether the record's mutex is held; it is released then.
bool releaseIfLocked(SafePointerRecord& record) {
    std::future<void> waiting = std::async(std::launch::async, [&record] {
        record.lock();
        record.unlock();
    });
    const bool isLocked =
        waiting.wait_for(std::chrono::milliseconds(100)) == std::future_status::timeout;
    if (isLocked) {
        record.unlock();
    }
    return isLocked;
}

class SafePointerTest : public testing::Test {
  protected:
    void SetUp() override { SafePointerAnimal::destroyed = 0; }
};

TEST_F(SafePointerTest, NewHandleBindsARecordWithCountOne) {
    auto* const object = new SafePointerAnimal;
    const SafePointer<SafePointerAnimal> handle(object);
    EXPECT_EQ(handle.get(), object);
    EXPECT_FALSE(handle.isNull());
    EXPECT_EQ(recordOf(handle).getObject(), object);
    EXPECT_EQ(countOf(recordOf(handle)), 1);
}

TEST_F(SafePointerTest, CopiesShareObjectAndRecord) {
    const SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    const SafePointer<SafePointerAnimal> copy(handle);
    EXPECT_EQ(copy.get(), handle.get());
    EXPECT_EQ(&recordOf(copy), &recordOf(handle));
    EXPECT_EQ(countOf(recordOf(handle)), 2);
}

TEST_F(SafePointerTest, LastHandleDestroysTheObjectOnceAndFreesItsRecord) {
    SafePointerRecord* record = nullptr;
    {
        const SafePointer<SafePointerAnimal> handle(new SafePointerDog);
        record = &recordOf(handle);
        { const SafePointer<SafePointerAnimal> copy(handle); }
        EXPECT_EQ(SafePointerAnimal::destroyed, 0);
    }
    EXPECT_EQ(SafePointerAnimal::destroyed, 1);
    EXPECT_EQ(record->getObject(), nullptr);
    EXPECT_FALSE(releaseIfLocked(*record));
}

TEST_F(SafePointerTest, AccessReachesTheObject) {
    const SafePointer<SafePointerAnimal> handle(new SafePointerDog);
    EXPECT_STREQ(handle->sound(), "bark");
    EXPECT_STREQ((*handle).sound(), "bark");
}

TEST_F(SafePointerTest, AssignmentReleasesTheFormerObject) {
    SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    const SafePointer<SafePointerAnimal> other(new SafePointerDog);
    handle = other;
    EXPECT_EQ(SafePointerAnimal::destroyed, 1);
    EXPECT_EQ(handle.get(), other.get());
    EXPECT_EQ(countOf(recordOf(other)), 2);
}

TEST_F(SafePointerTest, AssignmentBetweenHandlesOfOneObjectKeepsTheCount) {
    SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    const SafePointer<SafePointerAnimal> copy(handle);
    handle = copy;
    EXPECT_EQ(countOf(recordOf(handle)), 2);
    EXPECT_EQ(SafePointerAnimal::destroyed, 0);
}

TEST_F(SafePointerTest, AssignmentToItselfChangesNothing) {
    SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    SafePointer<SafePointerAnimal>& same = handle;
    handle = same;
    EXPECT_EQ(countOf(recordOf(handle)), 1);
    EXPECT_EQ(SafePointerAnimal::destroyed, 0);
}

TEST_F(SafePointerTest, CastGivesAHandleOfTheSameObject) {
    const SafePointer<SafePointerAnimal> animal(new SafePointerDog);
    const SafePointer<SafePointerDog> dog(animal);
    EXPECT_EQ(dog.get(), animal.get());
    EXPECT_EQ(&recordOf(dog), &recordOf(animal));
    EXPECT_EQ(countOf(recordOf(dog)), 2);
}

TEST_F(SafePointerTest, CastToABaseWorksAsWell) {
    const SafePointer<SafePointerDog> dog(new SafePointerDog);
    const SafePointer<SafePointerAnimal> animal(dog);
    EXPECT_STREQ(animal->sound(), "bark");
}

TEST_F(SafePointerTest, FailedCastThrowsAndLeavesTheCountOneTooHigh) {
    const SafePointer<SafePointerAnimal> animal(new SafePointerAnimal);
    EXPECT_EQ(outcomeOf([&] { const SafePointer<SafePointerDog> dog(animal); }),
              thrownOnly("can't dynmic_cast!,src type is(17SafePointerAnimal),dest type "
                         "is(14SafePointerDog)"));
    EXPECT_EQ(countOf(recordOf(animal)), 2);
    recordOf(animal).decrement();
}

TEST_F(SafePointerTest, NullRawPointerIsReported) {
    EXPECT_EQ(
        outcomeOf([] {
            const SafePointer<SafePointerAnimal> handle(static_cast<SafePointerAnimal*>(nullptr));
        }),
        reported("17SafePointerAnimal Construct from NULL original pointer"));
}

TEST_F(SafePointerTest, CopyOfAReleasedHandleIsReported) {
    SafePointer<SafePointerAnimal> released(new SafePointerAnimal);
    makeReleased(released);
    EXPECT_TRUE(released.isNull());
    EXPECT_EQ(outcomeOf([&] { const SafePointer<SafePointerAnimal> copy(released); }),
              reported("17SafePointerAnimal Construct from NULL <T>pointer"));
}

TEST_F(SafePointerTest, AssignmentFromAReleasedHandleIsReportedAndChangesNothing) {
    SafePointer<SafePointerAnimal> released(new SafePointerAnimal);
    makeReleased(released);
    SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    EXPECT_EQ(outcomeOf([&] { handle = released; }),
              reported("17SafePointerAnimal Assigned NULL <T>pointer"));
    EXPECT_EQ(countOf(recordOf(handle)), 1);
}

TEST_F(SafePointerTest, CastOfAReleasedHandleIsReported) {
    SafePointer<SafePointerAnimal> released(new SafePointerAnimal);
    makeReleased(released);
    EXPECT_EQ(outcomeOf([&] { const SafePointer<SafePointerDog> dog(released); }),
              reported("14SafePointerDog dynamic pointer cast NULL pointer"));
}

TEST_F(SafePointerTest, AccessThroughAReleasedHandleIsReported) {
    SafePointer<SafePointerAnimal> released(new SafePointerAnimal);
    makeReleased(released);
    const Outcome expected = reported("17SafePointerAnimal Use NULL pointer ->");
    EXPECT_EQ(outcomeOf([&] { (void)released->sound(); }), expected);
    EXPECT_EQ(outcomeOf([&] { (void)(*released).sound(); }), expected);
}

TEST_F(SafePointerTest, ReleasedHandleCanBeAssignedAgain) {
    SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    makeReleased(handle);
    handle = SafePointer<SafePointerAnimal>(new SafePointerDog);
    EXPECT_STREQ(handle->sound(), "bark");
}

// The three ways to take a reference fail alike.
using TakeReference = void (*)(const SafePointer<SafePointerAnimal>& source);

void copyHandle(const SafePointer<SafePointerAnimal>& source) {
    const SafePointer<SafePointerAnimal> copy(source);
}

void assignHandle(const SafePointer<SafePointerAnimal>& source) {
    SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    handle = source;
}

void castHandle(const SafePointer<SafePointerAnimal>& source) {
    const SafePointer<SafePointerDog> dog(source);
}

struct TakeCase {
    const char* name;
    TakeReference take;
    const char* type;
};

class TakingAReference : public testing::TestWithParam<TakeCase> {
  public:
    ~TakingAReference() noexcept override = default;

  protected:
    Outcome take() {
        return outcomeOf([this] { GetParam().take(m_source); });
    }
    static Outcome reportedByType(const char* message) {
        return reported(std::string(GetParam().type) + message);
    }

    SafePointer<SafePointerAnimal> m_source{new SafePointerDog};
};

TEST_P(TakingAReference, OfAHandleWithoutRecordIsReported) {
    SafePointerRecord* const record = &recordOf(m_source);
    setRecord(m_source, nullptr);
    EXPECT_EQ(take(), reportedByType(" Already destructed 1"));
    setRecord(m_source, record);
}

TEST_P(TakingAReference, UnderAMutexThatIsNotValidIsReported) {
    recordOf(m_source).mutex().destroy();
    EXPECT_EQ(take(), reportedByType(" Already destructed 2"));
    recordOf(m_source).mutex().init();
}

TEST_P(TakingAReference, OfAnObjectThatIsBeingDestroyedIsReported) {
    recordOf(m_source).decrement();
    EXPECT_EQ(take(), reportedByType(" Already destructed 3"));
    EXPECT_FALSE(releaseIfLocked(recordOf(m_source)));
    recordOf(m_source).reset();
}

TEST_P(TakingAReference, OfARecordBoundToAnotherObjectThrowsAndLeavesItLocked) {
    const int other = 0;
    recordOf(m_source).setObject(&other);
    EXPECT_EQ(take(), thrownOnly("not valid pointer in inc_reference "));
    EXPECT_TRUE(releaseIfLocked(recordOf(m_source)));
    recordOf(m_source).setObject(m_source.get());
    EXPECT_EQ(countOf(recordOf(m_source)), 1);
}

INSTANTIATE_TEST_SUITE_P(Ways, TakingAReference,
                         testing::Values(TakeCase{"Copy", copyHandle, "17SafePointerAnimal"},
                                         TakeCase{"Assign", assignHandle, "17SafePointerAnimal"},
                                         TakeCase{"Cast", castHandle, "14SafePointerDog"}),
                         [](const testing::TestParamInfo<TakeCase>& row) {
                             return row.param.name;
                         });

TEST_F(SafePointerTest, ReleaseFromARecordBoundToAnotherObjectThrowsAndLeavesItLocked) {
    const int other = 0;
    const std::unique_ptr<SafePointerAnimal> object(new SafePointerAnimal);
    auto* const handle = new SafePointer<SafePointerAnimal>(object.get());
    SafePointerRecord& record = recordOf(*handle);
    record.setObject(&other);
    EXPECT_EQ(outcomeOf([&] { delete handle; }), thrownOnly("not valid pointer in dec_reference"));
    EXPECT_TRUE(releaseIfLocked(record));
    EXPECT_EQ(SafePointerAnimal::destroyed, 0);
    SafePointerRegistry::instance().free(&record, "17SafePointerAnimal");
}

TEST_F(SafePointerTest, ReleaseOfARecordFreedBehindItsBackThrows) {
    auto* const object = new SafePointerAnimal;
    auto* const handle = new SafePointer<SafePointerAnimal>(object);
    SafePointerRecord& record = recordOf(*handle);
    SafePointerRegistry::instance().free(&record, "17SafePointerAnimal");
    record.setObject(object);
    record.reset();
    const std::string thrown = outcomeOf([&] { delete handle; }).thrown;
    EXPECT_EQ(thrown.substr(0, 22), "double free poniter(0x");
    EXPECT_TRUE(releaseIfLocked(record));
}

TEST_F(SafePointerTest, RecordIsReusedByLaterHandles) {
    const std::size_t before = SafePointerRegistry::instance().recordCount();
    for (int i = 0; i < 1000; ++i) {
        const SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    }
    EXPECT_EQ(SafePointerRegistry::instance().recordCount(), before);
    EXPECT_EQ(SafePointerAnimal::destroyed, 1000);
}

TEST_F(SafePointerTest, DestructorOfAnObjectMayReleaseOtherHandles) {
    SafePointer<SafePointerLink> chain(new SafePointerLink);
    for (int i = 0; i < 50; ++i) {
        chain = SafePointer<SafePointerLink>(new SafePointerLink(chain));
    }
    SafePointerLink::destroyed = 0;
    chain = SafePointer<SafePointerLink>(new SafePointerLink);
    EXPECT_EQ(SafePointerLink::destroyed, 51);
}

TEST_F(SafePointerTest, AllHandlesShareOneBase) {
    const std::unique_ptr<BaseSafePointer> base(
        new SafePointer<SafePointerAnimal>(new SafePointerAnimal));
    EXPECT_EQ(SafePointerAnimal::destroyed, 0);
}

TEST_F(SafePointerTest, HandleDestroyedThroughItsBaseReleases) {
    BaseSafePointer* const base = new SafePointer<SafePointerAnimal>(new SafePointerAnimal);
    delete base;
    EXPECT_EQ(SafePointerAnimal::destroyed, 1);
}

// A class with a base whose destructor does not throw may hold handles.
class HoldsAHandle : public SafePointerAnimal {
  public:
    ~HoldsAHandle() noexcept override = default;

  private:
    SafePointer<SafePointerAnimal> m_held{new SafePointerDog};
};

TEST_F(SafePointerTest, ObjectBelowAPlainBaseMayHoldHandles) {
    { const SafePointer<SafePointerAnimal> handle(new HoldsAHandle); }
    EXPECT_EQ(SafePointerAnimal::destroyed, 2);
}

TEST(KdRuntimeError, IsAStandardExceptionThatHoldsItsText) {
    const KdRuntimeError error("the text");
    const std::exception& base = error;
    EXPECT_STREQ(base.what(), "the text");
}

}  // namespace
