#include "Guarded.h"

#include <chrono>

#include "taro25d/TaroCancelled.h"

bool Guarded::tryLock(Access access) {
    constexpr std::chrono::milliseconds PATIENCE(50);
    return access == READ ? mutex_.try_lock_shared_for(PATIENCE) : mutex_.try_lock_for(PATIENCE);
}

void Guarded::unlock(Access access) {
    if (access == READ)
        mutex_.unlock_shared();
    else
        mutex_.unlock();
}

void Guarded::getProgress(std::string& phase, double& fraction) const {
    const std::lock_guard lock(progressMutex_);
    phase = phase_;
    fraction = fraction_;
}

void Guarded::clearProgress() {
    const std::lock_guard lock(progressMutex_);
    phase_.clear();
    fraction_ = 0.0;
}

void Guarded::update(LUMO_TARO25D::MsgType /*type*/, const std::string& message, double value) {
    {
        const std::lock_guard lock(progressMutex_);
        phase_ = message;
        fraction_ = value;
    }
    if (bCancelled_) throw LUMO_TARO25D::TaroCancelled();
}
