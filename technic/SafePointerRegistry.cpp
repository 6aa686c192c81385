#include "technic/SafePointerRegistry.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "technic/CancelGuard.h"
#include "technic/KdRuntimeError.h"
#include "technic/MutexCellGuard.h"
#include "technic/SourceLocation.h"
#include "technic/TrackedAlloc.h"

namespace {

constexpr std::uint32_t kBitsPerWord = 32;
constexpr std::uint32_t kGrowthRecords = 128;
constexpr std::uint32_t kFullWord = 0xFFFFFFFF;
constexpr std::size_t kWarningRecords = 19000;
constexpr std::size_t kMostRecords = 20000;

unsigned addressOf(const void* object) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(object));
}

}  // namespace

SafePointerRegistry::SafePointerRegistry() {
    m_mutex.init();
    grow();
}

SafePointerRegistry& SafePointerRegistry::instance() {
    static SafePointerRegistry& registry = *new (KD_HERE) SafePointerRegistry;
    return registry;
}

SafePointerRecord* SafePointerRegistry::allocate(const void* object, const char* typeName) {
    const MutexCellGuard guard(m_mutex);
    std::optional<std::uint32_t> index = findFree();
    if (!index) {
        if (m_records.size() > kMostRecords) {
            throw KdRuntimeError("too much safe poniter");
        }
        index = static_cast<std::uint32_t>(m_records.size());
        grow();
    }
    m_usedBits[*index / kBitsPerWord] |= 1U << (*index % kBitsPerWord);
    SafePointerRecord* record = m_records[*index].get();
    record->renewLock();
    record->reset();
    record->setObject(object);
    if (m_records.size() > kWarningRecords) {
        // A thread cancelled here would leave the record bound for ever.
        const CancelGuard whilePrinting;
        std::printf(
            "Warning:too many SafePointer! new %s, pointer = 0x%08x, current SafePointor total num "
            "= %d\n",
            typeName, addressOf(object), static_cast<int>(m_records.size()));
    }
    return record;
}

void SafePointerRegistry::free(SafePointerRecord* record, const char* typeName) {
    const MutexCellGuard guard(m_mutex);
    const std::uint32_t index = record->getIndex();
    if (!isUsed(index)) {
        std::array<char, 128> text{};
        (void)std::snprintf(text.data(), text.size(), "double free poniter(0x%08x)",
                            addressOf(record->getObject()));
        throw KdRuntimeError(text.data());
    }
    m_usedBits[index / kBitsPerWord] &= ~(1U << (index % kBitsPerWord));
    record->setObject(nullptr);
    m_lastFreed = index;
    if (m_records.size() > kWarningRecords) {
        // A thread cancelled here would leave the record, which may serve another object, locked.
        const CancelGuard whilePrinting;
        // The object is cleared already, so the warning always shows address 0; kept as it is.
        std::printf(
            "Warning:too many SafePointer! delete %s, pointer = 0x%08x, current SafePointor total "
            "num = %d\n",
            typeName, addressOf(record->getObject()), static_cast<int>(m_records.size()));
    }
}

std::size_t SafePointerRegistry::recordCount() {
    const MutexCellGuard guard(m_mutex);
    return m_records.size();
}

bool SafePointerRegistry::isUsed(std::uint32_t index) const {
    return (m_usedBits[index / kBitsPerWord] >> (index % kBitsPerWord) & 1U) != 0;
}

// First fit from the hint's word on, wrapping once; the hint slot itself is never a candidate.
std::optional<std::uint32_t> SafePointerRegistry::findFree() const {
    const std::uint32_t hintWord = m_lastFreed / kBitsPerWord;
    for (std::uint32_t bit = 0; bit < kBitsPerWord; ++bit) {
        const std::uint32_t index = hintWord * kBitsPerWord + bit;
        if (index != m_lastFreed && !isUsed(index)) {
            return index;
        }
    }
    const auto wordCount = static_cast<std::uint32_t>(m_usedBits.size());
    const std::optional<std::uint32_t> after = findFreeInWords(hintWord + 1, wordCount);
    return after ? after : findFreeInWords(0, hintWord);
}

std::optional<std::uint32_t> SafePointerRegistry::findFreeInWords(std::uint32_t first,
                                                                  std::uint32_t end) const {
    for (std::uint32_t word = first; word < end; ++word) {
        if (m_usedBits[word] == kFullWord) {
            continue;
        }
        for (std::uint32_t bit = 0; bit < kBitsPerWord; ++bit) {
            if (!isUsed(word * kBitsPerWord + bit)) {
                return word * kBitsPerWord + bit;
            }
        }
    }
    return std::nullopt;
}

void SafePointerRegistry::grow() {
    const auto first = static_cast<std::uint32_t>(m_records.size());
    std::vector<std::unique_ptr<SafePointerRecord>> added;
    added.reserve(kGrowthRecords);
    for (std::uint32_t i = 0; i < kGrowthRecords; ++i) {
        added.emplace_back(new (KD_HERE) SafePointerRecord(first + i));
    }
    // From here on nothing throws once the pool has begun to change.
    m_records.reserve(first + kGrowthRecords);
    m_usedBits.resize(m_usedBits.size() + kGrowthRecords / kBitsPerWord, 0);
    std::move(added.begin(), added.end(), std::back_inserter(m_records));
}
