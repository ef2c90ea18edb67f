#include "support/stopping.h"

#include <utility>

#include "support/diagnostics.h"
#include "taro25d/TaroCancelled.h"

namespace LUMO_TARO25D {

namespace {

thread_local unsigned numNoStopScopes = 0;
thread_local const CallOfWorkers* pCallOfWorkers = nullptr;
thread_local std::function<void()> cancelPointObserver;

bool isAnyCancelled(const MessageScope* pScope) {
    for (; pScope; pScope = pScope->getPrevious()) {
        if (pScope->getSink() && pScope->getSink()->isCancelled()) return true;
    }
    return false;
}

}  // namespace

void throwIfStopped() {
    if (isAnyThreadObserved()) tellCancelPointObserver();
    if (pCallOfWorkers) {
        if (pCallOfWorkers->isStopped()) throw TaroCancelled();
        return;
    }
    for (const MessageScope* pScope = getCurrentScope(); pScope; pScope = pScope->getPrevious()) {
        if (pScope->getSink()) pScope->getSink()->reportIfDue();
    }
    if (numNoStopScopes > 0) return;
    if (mayHaveKeptException()) throwKeptException();
    if (isAnyCancelled(getCurrentScope())) throw TaroCancelled();
}

bool mayStop() { return numNoStopScopes == 0; }

NoStopScope::NoStopScope() { ++numNoStopScopes; }
NoStopScope::~NoStopScope() { --numNoStopScopes; }

CallOfWorkers::CallOfWorkers() : pScope_(numNoStopScopes > 0 ? nullptr : getCurrentScope()) {}
bool CallOfWorkers::isStopped() const { return bStopped_.load(std::memory_order_relaxed) || isAnyCancelled(pScope_); }

WorkerScope::WorkerScope(const CallOfWorkers& call) { pCallOfWorkers = &call; }
WorkerScope::~WorkerScope() { pCallOfWorkers = nullptr; }

void setCancelPointObserver(std::function<void()> observer) {
    numCancelPointObservers += int(bool(observer)) - int(bool(cancelPointObserver));
    cancelPointObserver = std::move(observer);
}

void tellCancelPointObserver() {
    if (cancelPointObserver) cancelPointObserver();
}

}  // namespace LUMO_TARO25D
