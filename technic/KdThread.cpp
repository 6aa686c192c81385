#include "technic/KdThread.h"

#include <sched.h>

#include <cstdint>
#include <cstdio>
#include <future>

#include "technic/CancelGuard.h"
#include "technic/KdThreadState.h"
#include "technic/SystemControl.h"
#include "technic/SystemLogger.h"
#include "technic/ThreadId.h"
#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"
#include "technic/TrackedAlloc.h"
#include "technic/WithoutBadAlloc.h"

namespace {

constexpr int kAlreadyRunning = -5;
constexpr int kCannotCreate = -2;
constexpr int kPollsPerSecond = 10;
constexpr long kPollMicroseconds = 100000;
constexpr int kLeaveWaits = 1000;
constexpr long kLeaveWaitMicroseconds = 1000;

struct Launch {
    std::shared_ptr<KdThreadState> state;
    KdThread* thread;
    // Kept when the new thread holds the run gate.
    std::promise<void> gateClosed;
};

// Without memory for the registry itself there is no entry.
void leaveRegistry(int tid) {
    withoutBadAlloc([&] { ThreadInfoManager::instance()->unregisterThread(tid); });
}

// The registry serves reports alone: a thread for whose entry there is no memory runs all the same.
void enterRegistry(int tid, const std::string& name) {
    withoutBadAlloc(
        [&] { ThreadInfoManager::instance()->registerThread(tid, name, pthread_self()); });
}

// One run of a thread, on the thread itself. Its destructor also runs when the thread is cancelled
// or ends itself: then, too, no entry of it stays behind and nobody waits for it.
class Run {
  public:
    Run(KdThreadState& state, const std::string& name)
        : m_state(state), m_tid(currentThreadId()), m_result(state.result) {
        m_state.tid.store(m_tid, std::memory_order_relaxed);
        enterRegistry(m_tid, name);
    }
    ~Run() {
        leaveRegistry(m_tid);
        m_state.openGate();
        m_state.left.store(true, std::memory_order_release);
        const KdMutexGuard guard(m_state.stateLock, KD_HERE);
        // The handle of a thread that its owner has given up is gone, or is that of the next one.
        if (pthread_equal(m_state.handle, pthread_self()) != 0) {
            m_state.handle = 0;
            m_state.result = m_result;
            m_state.running = false;
        }
    }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    void setResult(int result) { m_result = result; }

  private:
    KdThreadState& m_state;
    const int m_tid;
    // That of the run before, until this one returns.
    int m_result;
};

// The opposite of a CancelGuard: the thread may be cancelled while it lives.
class CancelWindow {
  public:
    CancelWindow() { pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr); }
    ~CancelWindow() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr); }
    CancelWindow(const CancelWindow&) = delete;
    CancelWindow& operator=(const CancelWindow&) = delete;
};

class ThreadAttributes {
  public:
    explicit ThreadAttributes(int priority) {
        pthread_attr_init(&m_attributes);
        pthread_attr_setdetachstate(&m_attributes, PTHREAD_CREATE_DETACHED);
        if (priority > KdThread::kDefaultPriority) {
            pthread_attr_setschedpolicy(&m_attributes, SCHED_RR);
            // The least priority of the policy, whatever the thread's own number is.
            sched_param parameters{};
            parameters.sched_priority = sched_get_priority_min(SCHED_RR);
            pthread_attr_setschedparam(&m_attributes, &parameters);
        }
    }
    ~ThreadAttributes() { pthread_attr_destroy(&m_attributes); }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    const pthread_attr_t* get() const { return &m_attributes; }

  private:
    pthread_attr_t m_attributes{};
};

}  // namespace

KdThread::KdThread(std::string name)
    : m_state(new (KD_HERE) KdThreadState), m_name(std::move(name)) {}

KdThread::~KdThread() noexcept(false) {
    stopWait();
}

int KdThread::start() {
    std::unique_ptr<Launch> launch(new (KD_HERE) Launch{m_state, this, {}});
    const std::future<void> gateClosed = launch->gateClosed.get_future();
    {
        const KdMutexGuard guard(m_state->stateLock, KD_HERE);
        if (m_state->running || !m_state->left.load(std::memory_order_acquire)) {
            return kAlreadyRunning;
        }
        m_state->running = true;
        m_state->left.store(false, std::memory_order_relaxed);
    }
    if (!create(launch.get())) {
        return kCannotCreate;
    }
    (void)launch.release();  // the thread owns it now
    // From here on the thread is in its run(), so that the object may be destroyed at any time.
    gateClosed.wait();
    m_state->runGate.lock(KD_HERE);
    m_state->runGate.unlock(KD_HERE);
    return 0;
}

// The new thread does not pass startLock before its handle is stored.
bool KdThread::create(void* launch) {
    const ThreadAttributes attributes(m_priority);
    const KdMutexGuard starting(m_state->startLock, KD_HERE);
    pthread_t handle = 0;
    const bool isCreated = pthread_create(&handle, attributes.get(), threadEntry, launch) == 0;
    const KdMutexGuard guard(m_state->stateLock, KD_HERE);
    m_state->handle = isCreated ? handle : 0;
    m_state->running = isCreated;
    m_state->left.store(!isCreated, std::memory_order_relaxed);
    return isCreated;
}

void* KdThread::threadEntry(void* argument) {
    const CancelGuard bookKeeping;
    const std::unique_ptr<Launch> launch(static_cast<Launch*>(argument));
    KdThreadState& state = *launch->state;
    state.closeGate();
    launch->gateClosed.set_value();
    state.startLock.lock(KD_HERE);
    state.startLock.unlock(KD_HERE);
    Run run(state, launch->thread->getName());
    // A body without memory to go on, or to report that, ends.
    withoutBadAlloc([&] {
        const CancelWindow mayBeKilled;
        run.setResult(launch->thread->run());
    });
    return nullptr;
}

void KdThread::openRunGate() {
    m_state->openGate();
}

int KdThread::threadId() const {
    return m_state->tid.load(std::memory_order_relaxed);
}

bool KdThread::isRunning() {
    const KdMutexGuard guard(m_state->stateLock, KD_HERE);
    return m_state->running;
}

int KdThread::getResult() {
    const KdMutexGuard guard(m_state->stateLock, KD_HERE);
    return m_state->running ? 0 : m_state->result;
}

void KdThread::stopWait() {
    const long long polls = static_cast<long long>(m_stopTimeout) * kPollsPerSecond;
    for (long long poll = 0; poll < polls && isRunning(); ++poll) {
        if (getSystemRunningFlag() == 0) {
            sleepFor(1, 0);
            if (isRunning()) {
                kill();
            }
            return;
        }
        sleepFor(0, kPollMicroseconds);
    }
    if (isRunning()) {
        withoutBadAlloc([this] {
            SystemLogger::instance().log("KilledThread", m_name.c_str(), "KdThread.cpp", 156);
        });
        kill();
    }
    // A thread that ended by itself has cleared its handle and its running mark.
}

void KdThread::kill() {
    {
        // The thread clears its handle under this lock as the last thing it does, so that the
        // handle is good as long as it stands here.
        const KdMutexGuard guard(m_state->stateLock, KD_HERE);
        if (m_state->handle == 0) {
            return;
        }
        std::printf("!!!!!!!!!!!!kill thread(%s,%d,%d)\n", m_name.c_str(),
                    static_cast<std::int32_t>(m_state->handle), threadId());
        pthread_cancel(m_state->handle);
        m_state->handle = 0;
        m_state->running = false;
    }
    for (int wait = 0; wait < kLeaveWaits && !m_state->left.load(std::memory_order_acquire);
         ++wait) {
        sleepFor(0, kLeaveWaitMicroseconds);
    }
}
