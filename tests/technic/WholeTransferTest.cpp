#include "technic/WholeTransfer.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace {

// Answers the calls one by one; below 0 is an error of that number.
class Steps {
  public:
    explicit Steps(std::vector<int> answers) : m_answers(std::move(answers)) {}

    ssize_t operator()(std::size_t offset, std::size_t rest) const {
        m_calls += std::to_string(offset) + "+" + std::to_string(rest) + " ";
        const int answer = m_answers.at(m_next++);
        errno = answer < 0 ? -answer : 0;
        return answer < 0 ? -1 : answer;
    }
    const std::string& calls() const { return m_calls; }

  private:
    const std::vector<int> m_answers;
    mutable std::size_t m_next = 0;
    mutable std::string m_calls;
};

TEST(WholeTransfer, IsDoneInOneStepWhenThatMovesEverything) {
    const Steps steps({10});
    EXPECT_TRUE(transferWhole(10, steps));
    EXPECT_EQ(steps.calls(), "0+10 ");
}

TEST(WholeTransfer, GoesOnWhereAShortStepEnded) {
    const Steps steps({4, 1, 5});
    EXPECT_TRUE(transferWhole(10, steps));
    EXPECT_EQ(steps.calls(), "0+10 4+6 5+5 ");
}

TEST(WholeTransfer, TriesAnInterruptedStepAgain) {
    const Steps steps({4, -EINTR, -EINTR, 6});
    EXPECT_TRUE(transferWhole(10, steps));
    EXPECT_EQ(steps.calls(), "0+10 4+6 4+6 4+6 ");
}

TEST(WholeTransfer, EndsAtAnError) {
    const Steps steps({4, -EIO});
    EXPECT_FALSE(transferWhole(10, steps));
    EXPECT_EQ(steps.calls(), "0+10 4+6 ");
}

TEST(WholeTransfer, EndsWhereNothingIsMoved) {
    const Steps steps({4, 0});
    EXPECT_FALSE(transferWhole(10, steps));
    EXPECT_EQ(steps.calls(), "0+10 4+6 ");
}

TEST(WholeTransfer, OfNothingTakesNoStep) {
    const Steps steps({});
    EXPECT_TRUE(transferWhole(0, steps));
    EXPECT_EQ(steps.calls(), "");
}

}  // namespace
