#include "technic/function.h"

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

namespace {

int calls = 0;

int countCalls() {
    return ++calls;
}

class Worker {
  public:
    int work() { return ++worked; }
    int worked = 0;
};

TEST(Function, CallsAPlainFunction) {
    calls = 0;
    function<int> callable(&countCalls);
    EXPECT_EQ(callable(), 1);
    EXPECT_EQ(callable(), 2);
}

TEST(Function, CallsAMemberFunctionOfItsObject) {
    Worker worker;
    function<int> callable(bind_funcobj0<int, Worker>(&worker, &Worker::work));
    EXPECT_EQ(callable(), 1);
    EXPECT_EQ(callable(), 2);
    EXPECT_EQ(worker.worked, 2);
}

TEST(Function, CopiesCallTheSame) {
    Worker worker;
    function<int> callable(bind_funcobj0<int, Worker>(&worker, &Worker::work));
    function<int> copy(callable);
    function<int> assigned(&countCalls);
    assigned = callable;
    copy();
    assigned();
    EXPECT_EQ(worker.worked, 2);
}

TEST(Function, HolderHasItsPlainRunTimeName) {
    EXPECT_STREQ(typeid(function_obj_base<int>).name(), "17function_obj_baseIiE");
}

}  // namespace
