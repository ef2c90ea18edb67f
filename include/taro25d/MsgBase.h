#pragma once

#include <string>

#include "taro25d/MsgType.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A client's listener. Derive from it, override `update` and hand the object to `subscribe`; it is not owned
/// and must outlive its subscription. Listeners are called on the thread that made the library call, never
/// from a worker.
class TARO25D_API MsgBase {
  public:
    /// Unsubscribe before: nothing here tells the triangulation.
    virtual ~MsgBase() = default;

    /// Receives one message. `message` is the name of the running operation (MT_PROGRESS) or the text of the
    /// warning (MT_WARNING); `value` is the fraction done (MT_PROGRESS) or 0. The triangulation is unfinished
    /// meanwhile: do not change it from here or ask it anything. An exception ends the operation at its next
    /// cancellation point, as a cancel flag does, and comes out of the call.
    virtual void update(MsgType type, const std::string& message, double value) = 0;
};

}  // namespace LUMO_TARO25D
