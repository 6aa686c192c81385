#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "technic/SafePointer.h"
#include "tests/technic/CellInspection.h"
#include "tests/technic/SafePointerInspection.h"

namespace {

// The three ways to take a reference fail alike.
using TakeReference = void (*)(const SafePointer<SafePointerAnimal>& source);

void copyHandle(const SafePointer<SafePointerAnimal>& source) {
    const SafePointer<SafePointerAnimal> copy = copyOf(source);
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

TEST(SafePointerRelease, ReleaseFromARecordBoundToAnotherObjectThrowsAndLeavesItLocked) {
    const int other = 0;
    const std::unique_ptr<SafePointerAnimal> object(new SafePointerAnimal);
    const int before = SafePointerAnimal::destroyed;
    auto* const handle = new SafePointer<SafePointerAnimal>(object.get());
    SafePointerRecord& record = recordOf(*handle);
    record.setObject(&other);
    EXPECT_EQ(outcomeOf([&] { delete handle; }), thrownOnly("not valid pointer in dec_reference"));
    EXPECT_TRUE(releaseIfLocked(record));
    EXPECT_EQ(SafePointerAnimal::destroyed, before);
    SafePointerRegistry::instance().free(&record, "17SafePointerAnimal");
}

// What the destructor of an object finds in the record of its own handle.
class SeesItsRecord {
  public:
    struct Seen {
        SafePointerRecord* record = nullptr;
        const void* object = nullptr;
        std::int32_t increment = -1;
        bool isLocked = false;
    };

    explicit SeesItsRecord(Seen& seen) : m_seen(seen) {}
    SeesItsRecord(const SeesItsRecord&) = delete;
    SeesItsRecord& operator=(const SeesItsRecord&) = delete;
    ~SeesItsRecord() {
        m_seen.object = m_seen.record->getObject();
        m_seen.increment = m_seen.record->increment();
        m_seen.isLocked = isHeld(m_seen.record->mutex());
    }

  private:
    Seen& m_seen;
};

TEST(SafePointerRelease, ObjectIsDestroyedUnderTheLockOfItsRecordBeforeThatIsFreed) {
    SeesItsRecord::Seen seen;
    const void* object = nullptr;
    {
        const SafePointer<SeesItsRecord> handle(new SeesItsRecord(seen));
        seen.record = &recordOf(handle);
        object = handle.get();
    }
    EXPECT_EQ(seen.object, object);
    EXPECT_EQ(seen.increment, 0);
    EXPECT_TRUE(seen.isLocked);
    EXPECT_EQ(seen.record->getObject(), nullptr);
}

TEST(SafePointerRelease, ReleaseOfARecordFreedBehindItsBackThrows) {
    auto* const object = new SafePointerAnimal;
    auto* const handle = new SafePointer<SafePointerAnimal>(object);
    SafePointerRecord& record = recordOf(*handle);
    SafePointerRegistry::instance().free(&record, "17SafePointerAnimal");
    record.setObject(object);
    record.reset();
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), "double free poniter(0x%08x)",
                        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(object)));
    EXPECT_EQ(outcomeOf([&] { delete handle; }), thrownOnly(text.data()));
    EXPECT_TRUE(releaseIfLocked(record));
}

}  // namespace
