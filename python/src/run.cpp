#include "run.h"

#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <thread>

#include "taro25d/TaroCancelled.h"
#include "taro25d/TaroException.h"

namespace nb = nanobind;
using LUMO_TARO25D::TaroCancelled;
using LUMO_TARO25D::TaroException;

namespace {

constexpr std::chrono::milliseconds GLANCE(50);

nb::object& warnFunction() {
    static auto* pFunction = new nb::object();
    return *pFunction;
}

nb::object& failFunction() {
    static auto* pFunction = new nb::object();
    return *pFunction;
}

/// The objects that this thread has locked. A signal handler or progress function that calls such an object would wait
/// for itself for ever.
thread_local std::vector<Guarded*> vLockedHere;

/// The locks of all objects of a call, taken in one order everywhere.
class Locks {
  public:
    explicit Locks(EngineCall::Uses& uses) : uses_(uses) {
        std::sort(uses_.begin(), uses_.end());
        for (const auto& [pObject, access] : uses_)
            if (std::find(vLockedHere.begin(), vLockedHere.end(), pObject) != vLockedHere.end())
                throw Refused("the object is in the middle of a call that this one comes from");
        try {
            for (const auto& [pObject, access] : uses_) lock(pObject, access);
        } catch (...) {
            unlock();
            throw;
        }
    }
    ~Locks() { unlock(); }
    Locks(const Locks&) = delete;
    Locks& operator=(const Locks&) = delete;

  private:
    /// Called without the interpreter's lock, which this function takes from time to time to handle signals.
    void lock(Guarded* pObject, Guarded::Access access) {
        while (!pObject->tryLock(access)) {
            const nb::gil_scoped_acquire acquire;
            if (PyErr_CheckSignals() != 0) throw nb::python_error();
        }
        ++numLocked_;
        vLockedHere.push_back(pObject);
    }
    void unlock() {
        while (numLocked_ > 0) {
            --numLocked_;
            uses_[numLocked_].first->unlock(uses_[numLocked_].second);
            vLockedHere.pop_back();
        }
    }

    EngineCall::Uses& uses_;
    size_t numLocked_ = 0;
};

[[noreturn]] void raise(const char* kind, const std::vector<std::string>& vTexts) {
    const nb::object exception = failFunction()(kind, vTexts);
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
    throw nb::python_error();
}

}  // namespace

EngineCall::EngineCall(Uses uses, nb::object progress) : uses_(std::move(uses)), progress_(std::move(progress)) {}

void EngineCall::connect(nb::object warn, nb::object fail) {
    warnFunction() = std::move(warn);
    failFunction() = std::move(fail);
}

void EngineCall::disconnect() {
    warnFunction().reset();
    failFunction().reset();
}

bool EngineCall::isOnlyReading() const {
    return std::all_of(uses_.begin(), uses_.end(), [](const auto& use) { return use.second == Guarded::READ; });
}

void EngineCall::setCancelled(bool bCancelled) {
    for (const auto& [pObject, access] : uses_) pObject->setCancelled(bCancelled);
}

void EngineCall::run(const std::function<void()>& work) {
    std::exception_ptr failure;
    {
        const nb::gil_scoped_release release;
        try {
            const Locks locks(uses_);
            workOnOwnThread(work, failure);
        } catch (...) {
            failure = std::current_exception();
        }
    }
    deliver(failure);
}

void EngineCall::runShort(const std::function<void()>& work) {
    std::exception_ptr failure;
    {
        const nb::gil_scoped_release release;
        try {
            const Locks locks(uses_);
            const MessageCollector collector(messages_);
            workRepeatedly(work);
        } catch (...) {
            failure = std::current_exception();
        }
    }
    deliver(failure);
}

/// Readers of one object share its cancel flag, so cancelling one ends all: the others start again.
void EngineCall::workRepeatedly(const std::function<void()>& work) {
    for (;;) {
        try {
            return work();
        } catch (const TaroCancelled&) {
            if (bInterrupted_ || !isOnlyReading()) throw;
            messages_.clear();
            std::this_thread::yield();
        }
    }
}

void EngineCall::workOnOwnThread(const std::function<void()>& work, std::exception_ptr& failure) {
    std::mutex mutex;
    std::condition_variable done;
    bool bDone = false;
    for (const auto& [pObject, access] : uses_)
        if (access == Guarded::WRITE) pObject->clearProgress();

    std::thread worker([&] {
        try {
            const MessageCollector collector(messages_);
            workRepeatedly(work);
        } catch (...) {
            failure = std::current_exception();
        }
        const std::lock_guard lock(mutex);
        bDone = true;
        done.notify_one();
    });

    std::exception_ptr interruption;
    for (std::unique_lock lock(mutex); !done.wait_for(lock, GLANCE, [&] { return bDone; });) {
        lock.unlock();
        if (!interruption) lookAround(interruption);
        lock.lock();
    }
    worker.join();
    if (!interruption) return;
    setCancelled(false);
    failure = interruption;
}

void EngineCall::lookAround(std::exception_ptr& interruption) {
    const nb::gil_scoped_acquire acquire;
    try {
        if (PyErr_CheckSignals() != 0) throw nb::python_error();
        showProgress();
    } catch (...) {
        interruption = std::current_exception();
        bInterrupted_ = true;
        setCancelled(true);
    }
}

void EngineCall::showProgress() {
    if (progress_.is_none()) return;
    std::string phase;
    double fraction = 0.0;
    uses_.front().first->getProgress(phase, fraction);
    if (!phase.empty()) progress_(phase, fraction);
}

/// Called with the interpreter's lock. Passes the messages on before the result, or inside the exception. A message of
/// the level of errors means that the call has failed.
void EngineCall::deliver(const std::exception_ptr& failure) {
    bool bError = false;
    std::vector<std::string> vWarnings, vNotes;
    for (Message& message : messages_) {
        bError |= message.level == LUMO_TARO25D::ML_ERROR;
        (message.level == LUMO_TARO25D::ML_NOTE ? vNotes : vWarnings).push_back(std::move(message.text));
    }
    try {
        if (failure) std::rethrow_exception(failure);
    } catch (const Refused& refused) {
        if (vWarnings.empty()) vWarnings.emplace_back(refused.what());
        bError = true;
    } catch (const Gone& gone) {
        raise("gone", {gone.what()});
    } catch (const TaroException&) {
        raise("internal", vWarnings);
    }
    if (bError) raise("refused", vWarnings);
    if (!vWarnings.empty() || !vNotes.empty()) warnFunction()(vWarnings, vNotes);
}
