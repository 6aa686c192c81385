#include "technic/KdMutexIDAlloc.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint32_t kBitsPerWord = 32;
constexpr std::uint32_t kGrowthWords = 10;
constexpr std::uint32_t kFullWord = 0xFFFFFFFF;

std::uint32_t lowestClearBit(std::uint32_t word) {
    std::uint32_t bit = 0;
    while ((word >> bit & 1U) != 0) {
        ++bit;
    }
    return bit;
}

}  // namespace

KdMutexIDAlloc::KdMutexIDAlloc() {
    m_lock.init();
}

std::uint32_t KdMutexIDAlloc::allocate() {
    const MutexCellGuard guard(m_lock);
    std::uint32_t word = 0;
    while (word < m_wordCount && m_bits[word] == kFullWord) {
        ++word;
    }
    if (word == m_wordCount) {
        return growAndTakeFirst();
    }
    const std::uint32_t bit = lowestClearBit(m_bits[word]);
    m_bits[word] |= 1U << bit;
    return word * kBitsPerWord + bit;
}

std::uint32_t KdMutexIDAlloc::growAndTakeFirst() {
    const std::uint32_t oldCount = m_wordCount;
    std::unique_ptr<std::uint32_t[]> grown(new (KD_HERE) std::uint32_t[oldCount + kGrowthWords]());
    std::copy_n(m_bits.get(), oldCount, grown.get());
    m_bits = std::move(grown);
    m_wordCount = oldCount + kGrowthWords;
    m_bits[oldCount] = 1;
    return oldCount * kBitsPerWord;
}

void KdMutexIDAlloc::free(std::uint32_t id) {
    const MutexCellGuard guard(m_lock);
    const std::uint32_t word = id / kBitsPerWord;
    if (word < m_wordCount) {
        m_bits[word] &= ~(1U << (id % kBitsPerWord));
    }
}

std::uint32_t KdMutexIDAlloc::wordCount() {
    const MutexCellGuard guard(m_lock);
    return m_wordCount;
}
