#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>

namespace LUMO_TARO25D {

class MessageScope;

// Cancellation of long calls. At a cancellation point (throwIfStopped, CancelPoint) a call reads the cancel flag of its
// client and tests for kept exceptions of listeners and of the message handler; if it must end, it unwinds. At each
// cancellation point all objects are in a state that a client may find. An operation that can take longer than 50 ms
// passes one at least every 50 ms. Functions without a mesh have them too: each thread knows the objects whose flags
// apply to its call (MessageScope).

/// A cancellation point: throws TaroCancelled if the flag of the running call is set, or an exception kept from a
/// listener or from the message handler. On the calling thread, repeats the last progress report if one is due. Some
/// ten nanoseconds.
void throwIfStopped();

/// Whether a cancellation point on this thread may end the call (NoStopScope).
bool mayStop();

/// A cancellation point once in NUM_STEPS steps, for loops whose steps are short.
template <unsigned NUM_STEPS = 64>
class CancelPoint {
  public:
    void pass() {
        if (++numSteps_ % NUM_STEPS == 0) throwIfStopped();
    }

  private:
    unsigned numSteps_ = 0;
};

/// Calls f(begin, end) for successive blocks of [begin, end), with a cancellation point between two blocks.
template <class F>
void forEachBlock(size_t begin, size_t end, const F& f) {
    constexpr size_t BLOCK_SIZE = size_t(1) << 15;
    for (; end - begin > BLOCK_SIZE; begin += BLOCK_SIZE) {
        f(begin, begin + BLOCK_SIZE);
        throwIfStopped();
    }
    if (begin < end) f(begin, end);
}

/// A comparison with cancellation points, for sorting long lists. An exception leaves the list without some of its
/// values, so the list must be a copy.
template <class Less>
auto withCancelPoints(const Less& isLess) {
    return [isLess, cancelPoint = std::make_shared<CancelPoint<4096>>()](const auto& a, const auto& b) {
        cancelPoint->pass();
        return isLess(a, b);
    };
}

/// For its lifetime, cancellation points of this thread do not end the call, since a change must be finished.
class NoStopScope {
  public:
    NoStopScope();
    ~NoStopScope();
    NoStopScope(const NoStopScope&) = delete;
    NoStopScope& operator=(const NoStopScope&) = delete;
};

/// The state that a call shares with its workers. Made by the calling thread.
class CallOfWorkers {
  public:
    CallOfWorkers();
    /// Ends the workers at their next cancellation points.
    void stop() { bStopped_ = true; }
    bool isStopped() const;

  private:
    const MessageScope* pScope_;  // null where the call may not end
    std::atomic<bool> bStopped_{false};
};

/// For its lifetime, this thread is a worker of a call.
class WorkerScope {
  public:
    explicit WorkerScope(const CallOfWorkers& call);
    ~WorkerScope();
    WorkerScope(const WorkerScope&) = delete;
    WorkerScope& operator=(const WorkerScope&) = delete;
};

/// For tests and benchmarks: sets a function that each cancellation point of this thread calls first; an empty function
/// removes it.
void setCancelPointObserver(std::function<void()> observer);
/// The number of threads with an observer.
inline std::atomic<int> numCancelPointObservers{0};
inline bool isAnyThreadObserved() { return numCancelPointObservers.load(std::memory_order_relaxed) > 0; }
/// Calls the observer of this thread, if it has one.
void tellCancelPointObserver();

}  // namespace LUMO_TARO25D
