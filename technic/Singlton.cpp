#include "technic/Singlton.h"

#include <algorithm>
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

// Instances made while this runs are not torn down, so it ends.
void tearDownAll() {
    std::vector<ISinglton*> instances;
    {
        InstanceList& list = instanceList();
        const MutexCellGuard guard(list.lock);
        instances.swap(list.instances);
    }
    std::for_each(instances.rbegin(), instances.rend(),
                  [](ISinglton* instance) { instance->tearDown(); });
}

}  // namespace

void ISinglton::registerInstance(ISinglton* instance) {
    static const int registered = std::atexit(tearDownAll);
    (void)registered;
    InstanceList& list = instanceList();
    const MutexCellGuard guard(list.lock);
    list.instances.push_back(instance);
}
