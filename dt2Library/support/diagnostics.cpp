// Messages and failed assertions.
//
// A message goes to one place: to the handler that the client has set, otherwise to a stream. Errors and warnings go to
// the sink of the thread as well (MessageScope), which passes them to the listeners of a triangulation. The handler is
// shared by all threads and guarded by a mutex; sink and quiet flag belong to one thread each.
//
// An exception thrown by a handler or a listener must not pass through code that is merely reporting something,
// destructors included. It is kept for its thread, and thrown again where an operation may end
// (Progress::throwIfStopped). A counter over all threads makes the usual answer, that none is kept, a single load.

#include "support/diagnostics.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <fstream>
#include <memory>
#include <mutex>
#include <utility>

#include "taro25d/MessageHandler.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/TaroException.h"

namespace LUMO_TARO25D {

namespace {

thread_local const MessageScope* pCurrentScope = nullptr;
thread_local bool bQuiet = false;

// Recursive: a handler may call the library, which may emit a message.
std::recursive_mutex handlerMutex;
std::shared_ptr<const MessageHandler> pHandler;  // null without one; guarded by the mutex
std::atomic<bool> bHasHandler{false};

std::atomic<int> numKeptExceptions{0};

/// The exception that a thread has kept; it is lost when the thread ends.
struct KeptException {
    ~KeptException() {
        if (pException) --numKeptExceptions;
    }
    std::exception_ptr pException;
};
thread_local KeptException kept;

/// Returns false, without effect, if there is no handler.
bool handToHandler(MsgLevel level, const std::string& location, const std::string& text) {
    if (!hasMessageHandler()) return false;
    const std::lock_guard<std::recursive_mutex> lock(handlerMutex);
    const std::shared_ptr<const MessageHandler> pCalled = pHandler;  // the handler may set another one
    if (!pCalled) return false;
    try {
        (*pCalled)(level, location, text);
    } catch (...) {
        keepException();
    }
    return true;
}

void giveOut(MsgLevel level, const std::string& location, const std::string& message) {
    if (!handToHandler(level, location, message)) {
        const std::string color = level == ML_ERROR ? "\033[0;31m" : "\033[0;93m";
        const std::string kind = level == ML_ERROR ? ", ERROR: " : ", WARNING: ";
        // One write for the whole line, so that lines of two threads do not mix.
        std::cout << color + "      [Taro2D-Message] " + location + kind + message + "\033[m\n" << std::flush;
    }
    if (pCurrentScope && pCurrentScope->getSink()) pCurrentScope->getSink()->receive(message);
}

/// A text without colours and without line ends around it.
std::string makePlain(const std::string& text) {
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\033') {
            plain += text[i];
        } else {
            i = std::min(text.find('m', i), text.size());
        }
    }
    const size_t first = plain.find_first_not_of('\n'), last = plain.find_last_not_of('\n');
    return first == std::string::npos ? std::string() : plain.substr(first, last - first + 1);
}

/// "dt2Library/mesh/Dt2.cpp" becomes "dt2Library/Dt2": the folder of the floor is left out.
std::string sourceName(const std::string& file) {
    const std::string name = file.substr(file.rfind('/') + 1);
    return "dt2Library/" + name.substr(0, name.rfind('.'));
}

}  // namespace

MessageScope::MessageScope(MessageSink* pSink) : pSink_(pSink), pPrevious_(pCurrentScope) { pCurrentScope = this; }
MessageScope::~MessageScope() { pCurrentScope = pPrevious_; }

const MessageScope* getCurrentScope() { return pCurrentScope; }

QuietScope::QuietScope(bool bVerbose) : bPrevious_(bQuiet) { bQuiet = bQuiet || !bVerbose; }
QuietScope::~QuietScope() { bQuiet = bPrevious_; }

void error(const std::string& location, const std::string& message) { giveOut(ML_ERROR, location, message); }

void warning(const std::string& location, const std::string& message) {
    if (!bQuiet) giveOut(ML_WARNING, location, message);
}

Note::~Note() {
    const std::string text = text_.str();
    if (!handToHandler(level_, location_, makePlain(text))) stream_ << text << std::flush;
}

void assertionFailed(const char* condition, const char* file, int line) {
    const std::string message = "Condition [ " + std::string(condition) + " failed ]";
    const std::string place = sourceName(file) + ":" + std::to_string(line);
    error("Taro", message);
    if (!hasMessageHandler()) std::ofstream("TARO_LOG.txt", std::ios::app) << "Taro, " << message << "\n";
    Note("Taro") << "      " << place << "\n";
    throw TaroException();
}

bool hasMessageHandler() { return bHasHandler.load(std::memory_order_relaxed); }

MessageHandler setMessageHandler(MessageHandler handler) {
    const std::lock_guard<std::recursive_mutex> lock(handlerMutex);
    const std::shared_ptr<const MessageHandler> pFormer = std::move(pHandler);
    bHasHandler = static_cast<bool>(handler);
    pHandler = handler ? std::make_shared<const MessageHandler>(std::move(handler)) : nullptr;
    return pFormer ? *pFormer : MessageHandler();
}

void keepException() {
    if (kept.pException) return;
    kept.pException = std::current_exception();
    ++numKeptExceptions;
}

bool mayHaveKeptException() { return numKeptExceptions.load(std::memory_order_relaxed) > 0; }

void throwKeptException() {
    if (!kept.pException) return;
    --numKeptExceptions;
    std::rethrow_exception(std::exchange(kept.pException, nullptr));
}

TaroException::TaroException() noexcept = default;
TaroException::TaroException(const TaroException&) noexcept = default;
TaroException& TaroException::operator=(const TaroException&) noexcept = default;
TaroException::~TaroException() = default;
const char* TaroException::what() const noexcept { return "LUMO_TARO25D::TaroException"; }

TaroCancelled::TaroCancelled() noexcept = default;
TaroCancelled::TaroCancelled(const TaroCancelled&) noexcept = default;
TaroCancelled& TaroCancelled::operator=(const TaroCancelled&) noexcept = default;
TaroCancelled::~TaroCancelled() = default;
const char* TaroCancelled::what() const noexcept { return "LUMO_TARO25D::TaroCancelled"; }

}  // namespace LUMO_TARO25D
