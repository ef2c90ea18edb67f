#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/MsgBase.h"

namespace LUMO_TARO25D {

/// The listeners of one object of the library, and the progress of its running operation.
///
/// An operation announces itself with `start`, counts with `incProgress` and ends with `finish` (or `reset` when it
/// fails); only one runs at a time. Only the calling thread may use it, except that workers may call `isActive` and
/// `count`; their counts are reported when the calling thread calls `report`.
class Progress : public MessageSink {
  public:
    Progress() = default;
    /// The progress of a query: it reports to the listeners of one or two other objects and obeys their cancel flags,
    /// but has a counter of its own, so that several threads may run queries on one triangulation. Those objects must
    /// outlive it.
    explicit Progress(Progress& first, Progress* pSecond = nullptr);

    /// Adds a listener (not owned) unless exactly this pair is present already. Null is ignored.
    void subscribe(MsgType type, MsgBase* pListener);
    void unsubscribe(MsgType type, MsgBase* pListener);
    bool hasListeners(MsgType type) const;
    /// Takes over the listeners and the flag of another object.
    void takeClients(const Progress& other);

    /// Calls every listener of the type, in the order of subscription. A listener may subscribe and unsubscribe, itself
    /// included, while it is called. Its exception is kept for throwIfStopped.
    void broadcast(MsgType type, const std::string& message, double value);
    /// Hands a text of the warning or error channel to the listeners of MT_WARNING.
    void receive(const std::string& message) override { broadcast(MT_WARNING, message, 0.0); }
    /// Repeats the last report if it is long ago.
    void reportIfDue() override;
    bool isCancelled() const override { return isSet(pCancelFlag_) || isSet(pSecondFlag_); }

    /// Announces an operation of `total` steps. It reports every `step` steps; 0 means a hundredth of the total, at
    /// least 1.
    void start(const std::string& name, size_t total, size_t step = 0);
    /// A hundredth of the total, or 1 where that is below 4: short operations report every step.
    static size_t fineStep(size_t total) { return total / 100 < 4 ? 1 : total / 100; }
    /// While disabled, nothing is counted or reported.
    void setEnabled(bool bEnabled);

    /// Sets the flag (not owned) by which the client ends a long operation; null for none.
    void setCancelFlag(const std::atomic<bool>* pFlag) { pCancelFlag_ = pFlag; }
    const std::atomic<bool>* getCancelFlag() const { return pCancelFlag_; }
    /// A cancellation point for an operation that holds this object outside a MessageScope (stopping.h). Any thread may
    /// call it.
    void throwIfStopped() const {
        if (isCancelled() || mayHaveKeptException() || isAnyThreadObserved()) stop();
    }

    /// True while counting has an effect: there are listeners, an operation is announced and progress is not disabled.
    bool isActive() const { return bActive_.load(std::memory_order_relaxed); }
    /// Counts steps and reports, once, if the counter has reached or passed a multiple of the step.
    void incProgress(size_t numSteps) {
        count(numSteps);
        report();
    }
    /// Counts steps without reporting; any thread may call it.
    void count(size_t numSteps) {
        if (isActive()) numDone_.fetch_add(numSteps, std::memory_order_relaxed);
    }
    /// Reports if a multiple of the step was reached or passed since the last report.
    void report() {
        if (isActive() && numDone_.load(std::memory_order_relaxed) >= nextReport_) sendUpdate();
    }

    /// Ends the operation: listeners hear 1.0 unless they have heard it already. Throws an exception that was kept.
    void finish();
    /// Ends the operation silently.
    void reset() { start(std::string(), 0); }

  private:
    static bool isSet(const std::atomic<bool>* pFlag) { return pFlag && pFlag->load(std::memory_order_relaxed); }
    bool isSubscribed(MsgType type, const MsgBase* pListener) const;
    void stop() const;
    void updateActive();
    void sendUpdate();

    using Clock = std::chrono::steady_clock;
    static constexpr size_t NEVER = std::numeric_limits<size_t>::max();
    /// With the 50 ms that may pass between two cancellation points, listeners hear something every 100 ms.
    static constexpr std::chrono::milliseconds MAX_SILENCE{50};

    const std::atomic<bool>* pCancelFlag_ = nullptr;
    const std::atomic<bool>* pSecondFlag_ = nullptr;
    std::vector<Progress*> vListenersOf_;  // empty: the listeners are in mListeners_
    std::multimap<MsgType, MsgBase*> mListeners_;
    std::string name_;
    size_t total_ = 0;
    size_t step_ = 1;
    size_t nextReport_ = NEVER;  // NEVER once 1.0 was sent
    bool bEnabled_ = true;
    Clock::time_point lastReport_;
    bool bReporting_ = false;  // a listener may call a function that has cancellation points
    std::atomic<bool> bActive_{false};
    std::atomic<size_t> numDone_{0};
};

/// Ends a progress when an operation fails before it has done so itself.
class ProgressEnd {
  public:
    explicit ProgressEnd(Progress& progress) : progress_(progress) {}
    ~ProgressEnd() { progress_.reset(); }
    ProgressEnd(const ProgressEnd&) = delete;
    ProgressEnd& operator=(const ProgressEnd&) = delete;

  private:
    Progress& progress_;
};

/// For its lifetime, names of operations that this thread announces begin with a text, to tell equal steps of a larger
/// operation apart.
class PhaseScope {
  public:
    explicit PhaseScope(const char* prefix);
    ~PhaseScope();
    PhaseScope(const PhaseScope&) = delete;
    PhaseScope& operator=(const PhaseScope&) = delete;

  private:
    const char* former_;
};

}  // namespace LUMO_TARO25D
