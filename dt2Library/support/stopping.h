#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>

namespace LUMO_TARO25D {

class MessageScope;

// How a long call ends before it is done. The client's flag, and exceptions of his listeners and of his handler of
// messages, are looked at in places where everything is as a client may find it: the call unwinds from there. All that can
// take longer than 50 ms looks at least that often. Loops of functions that know no mesh look too: the objects whose flags
// count are known to the thread (MessageScope).

/// Looks once: throws TaroCancelled if the client of the running call has set its flag, or the exception of a listener or of
/// the handler that was kept. On the calling thread, gives listeners a sign of life if it is due. Some ten nanoseconds.
void throwIfStopped();

/// Whether a look of this thread may end the call (NoStopScope).
bool mayStop();

/// Looks once in so many steps, for loops whose steps are short.
template <unsigned NUM_STEPS = 64>
class Lookout {
  public:
    void look() {
        if (++numSteps_ % NUM_STEPS == 0) throwIfStopped();
    }

  private:
    unsigned numSteps_ = 0;
};

/// Calls f(begin, end) for one range of [begin, end) after the other, and looks between them.
template <class F>
void forEachBlock(size_t begin, size_t end, const F& f) {
    constexpr size_t BLOCK_SIZE = size_t(1) << 15;
    for (; end - begin > BLOCK_SIZE; begin += BLOCK_SIZE) {
        f(begin, begin + BLOCK_SIZE);
        throwIfStopped();
    }
    if (begin < end) f(begin, end);
}

/// A comparison that looks, for sorting long lists. Values are lost from the list where it throws, so it has to be a copy.
template <class Less>
auto lookingAt(const Less& isLess) {
    return [isLess, lookout = std::make_shared<Lookout<4096>>()](const auto& a, const auto& b) {
        lookout->look();
        return isLess(a, b);
    };
}

/// For its lifetime, looks of this thread end nothing, since a change is under way that has to be finished.
class NoStopScope {
  public:
    NoStopScope();
    ~NoStopScope();
    NoStopScope(const NoStopScope&) = delete;
    NoStopScope& operator=(const NoStopScope&) = delete;
};

/// What the workers of a call have to know of it. Made by the calling thread.
class CallOfWorkers {
  public:
    CallOfWorkers();
    /// The workers end at their next look.
    void stop() { bStopped_ = true; }
    bool isStopped() const;

  private:
    const MessageScope* pScope_;  // null where nothing may end
    std::atomic<bool> bStopped_{false};
};

/// For its lifetime, looks of this thread are those of a worker.
class WorkerScope {
  public:
    explicit WorkerScope(const CallOfWorkers& call);
    ~WorkerScope();
    WorkerScope(const WorkerScope&) = delete;
    WorkerScope& operator=(const WorkerScope&) = delete;
};

/// For tests and benchmarks: called at each look of this thread, before anything else; an empty one is none.
void setLookObserver(std::function<void()> observer);

}  // namespace LUMO_TARO25D
