#pragma once

#include <functional>
#include <string>

#include "taro25d/MsgLevel.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// Receives the messages of the library. `location` names the function that a message comes from, such as
/// "Dt2::insert()".
/// `text` is the message without colours; the lines of a report are joined by line ends, without one at its end.
using MessageHandler = std::function<void(MsgLevel level, const std::string& location, const std::string& text)>;

/// Sets the handler that receives all messages of the library in this process, and returns the former one. An empty
/// handler restores the messages on standard output and standard error, which is how a process begins.
///
/// As long as a handler is set, the library prints nothing, writes no log file and no diagnostic picture, and never
/// ends the process: std::bad_alloc or TaroException is thrown in its place. Listeners of MT_WARNING receive their
/// texts as before.
///
/// The handler may be called from any thread that calls the library, but never from two threads at once. It may call
/// the library, this function included. An exception that it throws does not interrupt a change of a mesh: it is kept,
/// and ends the next long operation of that thread at a cancellation point. May be called at any time, from any thread,
/// except that it waits for a handler that is running in another thread.
TARO25D_API MessageHandler setMessageHandler(MessageHandler handler);

}  // namespace LUMO_TARO25D
