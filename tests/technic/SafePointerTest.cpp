#include "technic/SafePointer.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <list>
#include <memory>

#include "tests/technic/FullPool.h"
#include "tests/technic/SafePointerInspection.h"

namespace {

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

TEST_F(SafePointerTest, ObjectThatNoHandleIsLeftForIsDestroyed) {
    const FullPool pool;
    EXPECT_EQ(outcomeOf([] { const SafePointer<SafePointerAnimal> refused(new SafePointerDog); }),
              thrownOnly("too much safe poniter"));
    EXPECT_EQ(SafePointerAnimal::destroyed, 1);
}

TEST_F(SafePointerTest, CopiesShareObjectAndRecord) {
    const SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
    const SafePointer<SafePointerAnimal> copy = copyOf(handle);
    EXPECT_EQ(copy.get(), handle.get());
    EXPECT_EQ(&recordOf(copy), &recordOf(handle));
    EXPECT_EQ(countOf(recordOf(handle)), 2);
}

TEST_F(SafePointerTest, LastHandleDestroysTheObjectOnceAndFreesItsRecord) {
    SafePointerRecord* record = nullptr;
    {
        const SafePointer<SafePointerAnimal> handle(new SafePointerDog);
        record = &recordOf(handle);
        { const SafePointer<SafePointerAnimal> copy = copyOf(handle); }
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
    const SafePointer<SafePointerAnimal> copy = copyOf(handle);
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

TEST_F(SafePointerTest, AssignmentOfAReleasedHandleToItselfChangesNothing) {
    SafePointer<SafePointerAnimal> released(new SafePointerAnimal);
    makeReleased(released);
    SafePointer<SafePointerAnimal>& same = released;
    EXPECT_EQ(outcomeOf([&] { released = same; }), thrownOnly("nothing"));
    EXPECT_TRUE(released.isNull());
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

class Swimmer {
  public:
    virtual ~Swimmer() = default;
};

class SwimmingDog : public SafePointerDog, public Swimmer {};

// The record knows the object by the address it was made from.
TEST_F(SafePointerTest, CastAcrossGivesTheOtherPartWhoseReleaseIsRefused) {
    const SafePointer<SafePointerAnimal> animal(new SwimmingDog);
    auto* const swimmer = new SafePointer<Swimmer>(animal);
    EXPECT_EQ(swimmer->get(), dynamic_cast<Swimmer*>(animal.get()));
    EXPECT_EQ(&recordOf(*swimmer), &recordOf(animal));
    EXPECT_EQ(outcomeOf([&] { delete swimmer; }), thrownOnly("not valid pointer in dec_reference"));
    EXPECT_TRUE(releaseIfLocked(recordOf(animal)));
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
    EXPECT_EQ(outcomeOf([&] { const SafePointer<SafePointerAnimal> copy = copyOf(released); }),
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

// The process's pool just before it is large: the next handle makes it grow to 19072 records. For a
// process of its own, whose standard output goes to standard error from then on.
class AlmostLargePool {
  public:
    AlmostLargePool() {
        while (m_handles.size() < 18944 - 1) {
            m_handles.emplace_back(new int(0));
        }
        std::fflush(stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO);
        (void)std::setvbuf(stdout, nullptr, _IONBF, 0);
    }

  private:
    std::list<SafePointer<int>> m_handles;
};

TEST(SafePointerDeathTest, HandlesOfALargePoolWarnWithTheNameOfTheirType) {
    const char warnings[] =
        "^Warning:too many SafePointer! new 14SafePointerDog, pointer = 0x[0-9a-f]{8}, "
        "current SafePointor total num = 19072\n"
        "Warning:too many SafePointer! delete 17SafePointerAnimal, pointer = 0x00000000, "
        "current SafePointor total num = 19072\n$";
    EXPECT_EXIT(
        {
            const AlmostLargePool pool;
            {
                auto dog = std::make_unique<SafePointer<SafePointerDog>>(new SafePointerDog);
                const SafePointer<SafePointerAnimal> animal(*dog);
                dog.reset();
            }
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), warnings);
}

void* makeAndReleaseCancelled(void* record) {
    pthread_cancel(pthread_self());
    {
        const SafePointer<SafePointerAnimal> handle(new SafePointerAnimal);
        *static_cast<SafePointerRecord**>(record) = &recordOf(handle);
    }
    pthread_testcancel();
    return nullptr;
}

TEST(SafePointerDeathTest, CancelledThreadLeavesNoRecordLockedOrBoundInALargePool) {
    EXPECT_EXIT(
        {
            const AlmostLargePool pool;
            SafePointerRecord* record = nullptr;
            pthread_t thread{};
            pthread_create(&thread, nullptr, makeAndReleaseCancelled, &record);
            pthread_join(thread, nullptr);
            const bool isGivenBack =
                record != nullptr && record->getObject() == nullptr && !isHeld(record->mutex());
            std::_Exit(isGivenBack ? 0 : 1);
        },
        testing::ExitedWithCode(0), "new 17SafePointerAnimal.*\n.*delete 17SafePointerAnimal");
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
