#pragma once

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <string>

#include "taro25d/MsgBase.h"

/// What several threads of Python may share: a lock, the order to stop, and how far the running operation has come.
class Guarded : public LUMO_TARO25D::MsgBase {
  public:
    enum Access { READ, WRITE };

    /// Waits for the lock for some milliseconds; false when somebody else still has it.
    bool tryLock(Access access);
    void unlock(Access access);

    /// Ends the running operation at its next cancellation point, or lets operations run again.
    void setCancelled(bool bCancelled) { bCancelled_ = bCancelled; }
    const std::atomic<bool>* getCancelFlag() const { return &bCancelled_; }

    /// The phase of the running operation and its fraction done; an empty phase before the first report.
    void getProgress(std::string& phase, double& fraction) const;
    void clearProgress();

    /// The library reports progress, and is told to stop.
    void update(LUMO_TARO25D::MsgType type, const std::string& message, double value) override;

  private:
    std::shared_timed_mutex mutex_;
    std::atomic<bool> bCancelled_{false};
    mutable std::mutex progressMutex_;
    std::string phase_;
    double fraction_ = 0.0;
};
