#pragma once

#include <cstdint>
#include <utility>
#include <vector>

// The verdicts of one run over the file list, one for each armType in the order first met. Several
// files may be meant for one MCU: a later success overrides an earlier failure, a later failure
// never overrides an earlier success.
class ResultList {
  public:
    void recordSuccess(std::int32_t armType);
    void recordFailure(std::int32_t armType);
    // Also for an empty list.
    bool allSucceeded() const;

  private:
    std::pair<std::int32_t, bool>* find(std::int32_t armType);

    std::vector<std::pair<std::int32_t, bool>> m_results;
};
