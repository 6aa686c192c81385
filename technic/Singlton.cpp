#include "technic/Singlton.h"

#include <cstdlib>
#include <vector>

namespace {

struct InstanceList {
    InstanceList() { lock.init(); }
    MutexCell lock;
    std::vector<ISinglton*> instances;
};

// Never destroyed itself, since instances may be entered at any time until the process is gone.
InstanceList& instanceList() {
    static InstanceList& list = *new (KD_HERE) InstanceList;
    return list;
}

ISinglton* takeLast() {
    InstanceList& list = instanceList();
    const MutexCellGuard guard(list.lock);
    if (list.instances.empty()) {
        return nullptr;
    }
    ISinglton* last = list.instances.back();
    list.instances.pop_back();
    return last;
}

void tearDownAll() {
    while (ISinglton* last = takeLast()) {
        last->tearDown();
    }
}

}  // namespace

void ISinglton::registerInstance(ISinglton* instance) {
    static const int registered = std::atexit(tearDownAll);
    (void)registered;
    InstanceList& list = instanceList();
    const MutexCellGuard guard(list.lock);
    list.instances.push_back(instance);
}
