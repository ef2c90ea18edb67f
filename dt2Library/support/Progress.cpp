// Progress and listeners.
//
// A listener may subscribe, unsubscribe and throw while it is called: the list is copied before it is walked, and an
// exception is kept until a cancellation point, where the mesh is in a valid state. Workers only add to an atomic
// counter; reports are always sent by the calling thread.

#include "support/Progress.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "taro25d/TaroCancelled.h"

namespace LUMO_TARO25D {

namespace {

thread_local const char* phasePrefix = "";

}  // namespace

PhaseScope::PhaseScope(const char* prefix) : former_(std::exchange(phasePrefix, prefix)) {}
PhaseScope::~PhaseScope() { phasePrefix = former_; }

Progress::Progress(Progress& first, Progress* pSecond) : pCancelFlag_(first.pCancelFlag_), vListenersOf_{&first} {
    if (!pSecond || pSecond == &first) return;
    pSecondFlag_ = pSecond->pCancelFlag_;
    vListenersOf_.push_back(pSecond);
}

bool Progress::hasListeners(MsgType type) const {
    return mListeners_.count(type) > 0 || std::any_of(vListenersOf_.begin(), vListenersOf_.end(),
                                                      [type](const auto* p) { return p->hasListeners(type); });
}

void Progress::takeClients(const Progress& other) {
    mListeners_ = other.mListeners_;
    pCancelFlag_ = other.pCancelFlag_;
    setEnabled(other.bEnabled_);
}

void Progress::subscribe(MsgType type, MsgBase* pListener) {
    if (!pListener || isSubscribed(type, pListener)) return;
    mListeners_.emplace(type, pListener);
    updateActive();
}

void Progress::unsubscribe(MsgType type, MsgBase* pListener) {
    const auto range = mListeners_.equal_range(type);
    const auto it = std::find_if(range.first, range.second, [&](const auto& pair) { return pair.second == pListener; });
    if (it != range.second) mListeners_.erase(it);
    updateActive();
}

bool Progress::isSubscribed(MsgType type, const MsgBase* pListener) const {
    const auto range = mListeners_.equal_range(type);
    return std::any_of(range.first, range.second, [&](const auto& pair) { return pair.second == pListener; });
}

void Progress::stop() const {
    tellCancelPointObserver();
    if (!mayStop()) return;
    throwKeptException();
    if (isCancelled()) throw TaroCancelled();
}

void Progress::broadcast(MsgType type, const std::string& message, double value) {
    for (Progress* pOther : vListenersOf_) pOther->broadcast(type, message, value);
    // Iterates over a copy, since a listener may change the map; a listener removed meanwhile may be dead.
    const auto range = mListeners_.equal_range(type);
    const std::vector<std::pair<const MsgType, MsgBase*>> vListeners(range.first, range.second);
    for (const auto& [listenerType, pListener] : vListeners) {
        if (!isSubscribed(listenerType, pListener)) continue;
        try {
            pListener->update(type, message, value);
        } catch (...) {
            keepException();
        }
    }
}

void Progress::start(const std::string& name, size_t total, size_t step) {
    name_ = phasePrefix + name;
    total_ = total;
    step_ = step > 0 ? step : std::max<size_t>(1, total / 100);
    nextReport_ = step_;
    numDone_ = 0;
    lastReport_ = Clock::now();
    updateActive();
}

void Progress::reportIfDue() {
    const bool bOpen = isActive() && nextReport_ != NEVER && !bReporting_;
    if (bOpen && Clock::now() - lastReport_ >= MAX_SILENCE) sendUpdate();
}

void Progress::setEnabled(bool bEnabled) {
    bEnabled_ = bEnabled;
    updateActive();
}

void Progress::updateActive() { bActive_ = bEnabled_ && total_ > 0 && hasListeners(MT_PROGRESS); }

void Progress::sendUpdate() {
    const size_t numDone = numDone_;
    const bool bComplete = numDone >= total_;
    nextReport_ = bComplete ? NEVER : (numDone / step_ + 1) * step_;
    bReporting_ = true;
    broadcast(MT_PROGRESS, name_, bComplete ? 1.0 : static_cast<double>(numDone) / static_cast<double>(total_));
    bReporting_ = false;
    lastReport_ = Clock::now();
}

void Progress::finish() {
    if (isActive() && nextReport_ != NEVER) broadcast(MT_PROGRESS, name_, 1.0);
    reset();
    if (mayStop()) throwKeptException();
}

}  // namespace LUMO_TARO25D
