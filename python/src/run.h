#pragma once

#include <nanobind/nanobind.h>

#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Guarded.h"
#include "messages.h"

/// How every call of the library is made. The arguments have been converted; then the interpreter's lock is released,
/// the objects are locked (readers together, writers alone), and the work is done on a thread of its own while the
/// calling thread handles signals and reports progress twenty times a second. A signal handler that raises, such as
/// that of Ctrl-C, and a progress function that raises cancel the work. Work that is always short is done on the
/// calling thread.

/// Thrown by the work if the library refused a call. The messages of the library tell the reason; the text is used if
/// there are none.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};
/// Thrown by the work for the id of an object that no longer exists.
struct Gone : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class EngineCall {
  public:
    using Uses = std::vector<std::pair<Guarded*, Guarded::Access>>;

    /// The objects, each once, that the call reads or changes, and a Python function (phase, fraction) or None.
    EngineCall(Uses uses, nanobind::object progress);
    explicit EngineCall(Uses uses) : EngineCall(std::move(uses), nanobind::none()) {}

    /// Does work that may take long. Work that only reads may be started again.
    void run(const std::function<void()>& work);
    /// Does work that takes milliseconds at most.
    void runShort(const std::function<void()>& work);

    /// The Python functions that decide about messages: warn(texts, notes), and fail(kind, texts), which returns an
    /// exception.
    static void connect(nanobind::object warn, nanobind::object fail);
    /// Drops these functions when the interpreter ends.
    static void disconnect();

  private:
    bool isOnlyReading() const;
    void workOnOwnThread(const std::function<void()>& work, std::exception_ptr& failure);
    void workRepeatedly(const std::function<void()>& work);
    void lookAround(std::exception_ptr& interruption);
    void showProgress();
    void setCancelled(bool bCancelled);
    void deliver(const std::exception_ptr& failure);

    Uses uses_;
    nanobind::object progress_;
    Messages messages_;
    std::atomic<bool> bInterrupted_{false};
};
