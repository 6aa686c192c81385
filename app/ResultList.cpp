#include "app/ResultList.h"

#include <algorithm>

void ResultList::recordSuccess(std::int32_t armType) {
    if (auto* known = find(armType)) {
        known->second = true;
    } else {
        m_results.emplace_back(armType, true);
    }
}

void ResultList::recordFailure(std::int32_t armType) {
    if (find(armType) == nullptr) {
        m_results.emplace_back(armType, false);
    }
}

bool ResultList::allSucceeded() const {
    return std::all_of(m_results.begin(), m_results.end(),
                       [](const auto& result) { return result.second; });
}

std::pair<std::int32_t, bool>* ResultList::find(std::int32_t armType) {
    const auto found =
        std::find_if(m_results.begin(), m_results.end(),
                     [armType](const auto& result) { return result.first == armType; });
    return found == m_results.end() ? nullptr : &*found;
}
