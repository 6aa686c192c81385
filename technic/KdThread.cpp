#include "technic/KdThread.h"

#include <sched.h>

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "technic/CancelGuard.h"
#include "technic/KdMutex.h"
#include "technic/SystemControl.h"
#include "technic/SystemLogger.h"
#include "technic/ThreadId.h"
#include "technic/ThreadInfoManager.h"
#include "technic/TimeUtil.h"

namespace {

constexpr int kAlreadyRunning = -5;
constexpr int kCannotCreate = -2;
constexpr int kPollsPerSecond = 10;
constexpr long kPollMicroseconds = 100000;
constexpr int kLeaveWaits = 1000;
constexpr long kLeaveWaitMicroseconds = 1000;

}  // namespace

// What a thread and its owner share. It lives until both are done with it, so that the thread's
// last unlock is sound whatever the owner does meanwhile.
struct KdThreadState {
    pthread_t handle = 0;
    int result = 0;
    bool running = false;
    std::atomic<int> tid{0};
    // Guards handle, result and running.
    KdMutex stateLock;
    // Held by the starter while it creates the thread.
    KdMutex startLock;
    // Held by the new thread until its run() begins.
    KdMutex runGate;
    // Touched by the new thread alone.
    bool gateIsHeld = false;
    // Set by the new thread when it has left run(), returning or unwinding.
    std::atomic<bool> left{true};

    void openGate() {
        if (gateIsHeld) {
            gateIsHeld = false;
            runGate.unlock(KD_HERE);
        }
    }
};

namespace {

struct Launch {
    std::shared_ptr<KdThreadState> state;
    KdThread* thread;
};

// Keeps a thread registered while it runs, and marks it as left afterwards. Its destructor also
// runs when the thread is cancelled.
class Presence {
  public:
    Presence(KdThreadState& state, const std::string& name, pthread_t handle) : m_state(state) {
        ThreadInfoManager::instance()->registerThread(m_state.tid, name, handle);
    }
    ~Presence() {
        ThreadInfoManager::instance()->unregisterThread(m_state.tid);
        m_state.openGate();
    }
    Presence(const Presence&) = delete;
    Presence& operator=(const Presence&) = delete;

  private:
    KdThreadState& m_state;
};

class LeaveMark {
  public:
    explicit LeaveMark(KdThreadState& state) : m_state(state) {}
    ~LeaveMark() { m_state.left.store(true, std::memory_order_release); }
    LeaveMark(const LeaveMark&) = delete;
    LeaveMark& operator=(const LeaveMark&) = delete;

  private:
    KdThreadState& m_state;
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
    : m_state(std::make_shared<KdThreadState>()), m_name(std::move(name)) {}

KdThread::~KdThread() noexcept(false) {
    stopWait();
}

int KdThread::start() {
    {
        const KdMutexGuard guard(m_state->stateLock, KD_HERE);
        if (m_state->running) {
            return kAlreadyRunning;
        }
        m_state->running = true;
    }
    m_state->left.store(false, std::memory_order_relaxed);
    auto launch = std::make_unique<Launch>(Launch{m_state, this});
    int error = 0;
    {
        const ThreadAttributes attributes(m_priority);
        const KdMutexGuard starting(m_state->startLock, KD_HERE);
        pthread_t handle = 0;
        error = pthread_create(&handle, attributes.get(), threadEntry, launch.get());
        const KdMutexGuard guard(m_state->stateLock, KD_HERE);
        m_state->handle = error == 0 ? handle : 0;
        m_state->running = error == 0;
    }
    if (error != 0) {
        m_state->left.store(true, std::memory_order_relaxed);
        return kCannotCreate;
    }
    (void)launch.release();  // the thread owns it now
    m_state->runGate.lock(KD_HERE);
    m_state->runGate.unlock(KD_HERE);
    return 0;
}

void* KdThread::threadEntry(void* argument) {
    const CancelGuard bookKeeping;
    const std::unique_ptr<Launch> launch(static_cast<Launch*>(argument));
    KdThreadState& state = *launch->state;
    const LeaveMark leaveMark(state);

    state.runGate.lock(KD_HERE);
    state.gateIsHeld = true;
    state.startLock.lock(KD_HERE);
    state.startLock.unlock(KD_HERE);
    state.tid.store(currentThreadId(), std::memory_order_relaxed);
    int result = 0;
    {
        const Presence presence(state, launch->thread->getName(), pthread_self());
        const CancelWindow mayBeKilled;
        result = launch->thread->run();
    }
    const KdMutexGuard guard(state.stateLock, KD_HERE);
    state.handle = 0;
    state.result = result;
    state.running = false;
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
    const long polls = static_cast<long>(m_stopTimeout) * kPollsPerSecond;
    for (long poll = 0; poll < polls && isRunning(); ++poll) {
        if (getSystemRunningFlag() == 0) {
            sleepFor(1, 0);
            if (isRunning()) {
                kill();
            }
            break;
        }
        sleepFor(0, kPollMicroseconds);
    }
    if (isRunning()) {
        SystemLogger::instance().log("KilledThread", m_name.c_str(), "KdThread.cpp", 156);
        kill();
    }
    const KdMutexGuard guard(m_state->stateLock, KD_HERE);
    m_state->handle = 0;
    m_state->running = false;
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
