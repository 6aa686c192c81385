#include "technic/MemoryProbe.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "tests/technic/MachineContext.h"

namespace {

// One page that can be used with one behind it that cannot.
class GuardedPage {
  public:
    GuardedPage()
        : m_pages(static_cast<char*>(
              mmap(nullptr, 2 * kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        mprotect(m_pages, kSize, PROT_READ | PROT_WRITE);
    }
    ~GuardedPage() { munmap(m_pages, 2 * kSize); }
    GuardedPage(const GuardedPage&) = delete;
    GuardedPage& operator=(const GuardedPage&) = delete;

    char* start() const { return m_pages; }
    char* end() const { return m_pages + kSize; }
    void unmap() const { munmap(m_pages, 2 * kSize); }

    static constexpr std::size_t kSize = 4096;

  private:
    char* m_pages;
};

const void* addressOf(std::uintptr_t number) {
    return reinterpret_cast<const void*>(number);
}

class Probe : public testing::Test {
  protected:
    // The word at the address; -1 when it cannot be read.
    long wordAt(const void* address) const {
        long word = 0;
        return m_probe.read(address, &word, sizeof(word)) ? word : -1;
    }

    const MemoryProbe m_probe;
    const GuardedPage m_page;
};

TEST_F(Probe, ReadsWhatIsThere) {
    const long word = 0x1234567;
    EXPECT_EQ(wordAt(&word), 0x1234567);
}

TEST_F(Probe, ReadsAnyPlace) {
    const char text[] = "not aligned";
    char read[8] = "";
    EXPECT_TRUE(m_probe.read(text + 1, read, 7));
    EXPECT_STREQ(read, "ot alig");
}

TEST_F(Probe, ReadsUpToAWholePage) {
    std::memset(m_page.start(), 'p', GuardedPage::kSize);
    std::string read(GuardedPage::kSize, ' ');
    EXPECT_TRUE(m_probe.read(m_page.start(), read.data(), read.size()));
    EXPECT_EQ(read, std::string(GuardedPage::kSize, 'p'));
}

TEST_F(Probe, ReadsNothingAtNull) {
    EXPECT_EQ(wordAt(nullptr), -1);
}

TEST_F(Probe, ReadsNothingAtTheEndOfTheAddressSpace) {
    EXPECT_EQ(wordAt(addressOf(UINTPTR_MAX)), -1);
    EXPECT_EQ(wordAt(addressOf(UINTPTR_MAX - sizeof(long) + 1)), -1);
}

TEST_F(Probe, ReadsNothingOfTheKernels) {
    EXPECT_EQ(wordAt(addressOf(UINTPTR_MAX - 0x100000)), -1);
    EXPECT_EQ(wordAt(addressOf(kFirstKernelAddress)), -1);
}

TEST_F(Probe, ReadsNothingThatIsUnmapped) {
    const GuardedPage page;
    page.unmap();
    EXPECT_EQ(wordAt(page.start()), -1);
}

TEST_F(Probe, ReadsNothingThatIsProtected) {
    EXPECT_EQ(wordAt(m_page.end()), -1);
}

TEST_F(Probe, ReadsTheLastWordOfAPage) {
    const long word = 77;
    std::memcpy(m_page.end() - sizeof(word), &word, sizeof(word));
    EXPECT_EQ(wordAt(m_page.end() - sizeof(word)), 77);
}

TEST_F(Probe, RefusesAWordThatIsOnlyPartlyThere) {
    for (std::size_t there = 1; there < sizeof(long); ++there) {
        EXPECT_EQ(wordAt(m_page.end() - there), -1) << there;
    }
}

TEST_F(Probe, ReadsOnAfterAnyNumberOfRefusals) {
    const long word = 5;
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(wordAt(m_page.end()), -1);
        ASSERT_EQ(wordAt(m_page.end() - 1), -1);
        ASSERT_EQ(wordAt(&word), 5);
    }
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(wordAt(m_page.end()), -1);
    }
    EXPECT_EQ(wordAt(&word), 5);
}

// The lowest descriptor that is free.
int nextDescriptor() {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(descriptor);
    return descriptor;
}

TEST(ProbesDescriptors, AreClosed) {
    const int before = nextDescriptor();
    { const MemoryProbe probe; }
    EXPECT_EQ(nextDescriptor(), before);
}

TEST(ProbesDescriptors, AreNotHandedOnToOtherPrograms) {
    const int first = nextDescriptor();
    const MemoryProbe probe;
    EXPECT_EQ(fcntl(first, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(first + 1, F_GETFD), FD_CLOEXEC);
}

TEST(ProbesDescriptors, AreNeededToReadAnything) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlimit none = limit;
    none.rlim_cur = static_cast<rlim_t>(nextDescriptor());
    setrlimit(RLIMIT_NOFILE, &none);
    const MemoryProbe probe;
    setrlimit(RLIMIT_NOFILE, &limit);
    const long word = 5;
    long read = 0;
    EXPECT_FALSE(probe.read(&word, &read, sizeof(read)));
}

}  // namespace
