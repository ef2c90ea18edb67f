#pragma once

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <string>

#include "taro25d/MsgBase.h"

/// The state of an object that several Python threads may share: a lock, a cancel flag, and the progress of the running
/// operation.
class Guarded : public LUMO_TARO25D::MsgBase {
  public:
    enum Access { READ, WRITE };

    /// Waits for the lock for some milliseconds; false if another thread still holds it.
    bool tryLock(Access access);
    void unlock(Access access);

    /// Sets or clears the cancel flag, which ends the running operation at its next cancellation point.
    void setCancelled(bool bCancelled) { bCancelled_ = bCancelled; }
    const std::atomic<bool>* getCancelFlag() const { return &bCancelled_; }

    /// The phase of the running operation and its fraction done; an empty phase before the first report.
    void getProgress(std::string& phase, double& fraction) const;
    void clearProgress();

    /// Called by the library: stores the progress.
    void update(LUMO_TARO25D::MsgType type, const std::string& message, double value) override;

  private:
    std::shared_timed_mutex mutex_;
    std::atomic<bool> bCancelled_{false};
    mutable std::mutex progressMutex_;
    std::string phase_;
    double fraction_ = 0.0;
};
