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
    static InstanceList& list = *new InstanceList;
    return list;
}

ISinglton* takeLast() {
    InstanceList& list = instanceList();
    list.lock.lock();
    ISinglton* last = nullptr;
    if (!list.instances.empty()) {
        last = list.instances.back();
        list.instances.pop_back();
    }
    list.lock.unlock();
    return last;
}

void destroyAll() {
    while (ISinglton* last = takeLast()) {
        delete last;
    }
}

}  // namespace

void ISinglton::registerInstance(ISinglton* instance) {
    static const int registered = std::atexit(destroyAll);
    (void)registered;
    InstanceList& list = instanceList();
    list.lock.lock();
    list.instances.push_back(instance);
    list.lock.unlock();
}
