#pragma once

#include <iostream>
#include <sstream>
#include <string>

#include "taro25d/MsgLevel.h"

namespace LUMO_TARO25D {

/// The connection between an object of the library and its client during a call: it receives messages, and tells
/// whether the client cancels the call (see MessageScope).
class MessageSink {
  public:
    virtual ~MessageSink() = default;
    /// Receives a copy of the texts of the error and warning channels.
    virtual void receive(const std::string& message) = 0;
    /// Called at every cancellation point of the calling thread (throwIfStopped); may repeat the last progress report.
    virtual void reportIfDue() {}
    /// Whether the client wants the call to end. Any thread may ask.
    virtual bool isCancelled() const { return false; }
};

/// One call of a client on this thread. For its lifetime, the texts of the error and warning channels go to a sink as
/// well, and the call ends when the sink is cancelled. Nests: texts go to the innermost sink, and any of them can end
/// the call.
class MessageScope {
  public:
    explicit MessageScope(MessageSink* pSink);
    ~MessageScope();
    MessageScope(const MessageScope&) = delete;
    MessageScope& operator=(const MessageScope&) = delete;

    MessageSink* getSink() const { return pSink_; }
    const MessageScope* getPrevious() const { return pPrevious_; }

  private:
    MessageSink* pSink_;
    const MessageScope* pPrevious_;
};

/// The innermost scope of this thread; null outside of calls.
const MessageScope* getCurrentScope();

/// For its lifetime, unless it is told to be verbose, drops the warnings of this thread, at whatever depth they arise.
/// Nests: a verbose scope inside a quiet one stays quiet.
class QuietScope {
  public:
    explicit QuietScope(bool bVerbose);
    ~QuietScope();
    QuietScope(const QuietScope&) = delete;
    QuietScope& operator=(const QuietScope&) = delete;

  private:
    bool bPrevious_;
};

/// Hands a message to the handler that the client has set, or prints "      [Taro2D-Message] " location ", ERROR: "
/// message on standard output, in red. Does not throw.
void error(const std::string& location, const std::string& message);
/// Hands a message to the handler, or prints it like an error, but in yellow and with ", WARNING: ".
void warning(const std::string& location, const std::string& message);

/// A text of one or more lines, composed piece by piece. When its scope ends it goes to the handler that the client has
/// set, or unchanged to a stream.
class Note {
  public:
    explicit Note(const char* location, MsgLevel level = ML_NOTE, std::ostream& stream = std::cout)
        : location_(location), level_(level), stream_(stream) {}
    ~Note();
    Note(const Note&) = delete;
    Note& operator=(const Note&) = delete;

    template <class T>
    Note& operator<<(const T& part) {
        text_ << part;
        return *this;
    }
    /// For functions that print.
    std::ostream& getStream() { return text_; }

  private:
    const char* location_;
    MsgLevel level_;
    std::ostream& stream_;
    std::ostringstream text_;
};

/// Whether the client has set a handler. Then the library prints nothing, writes no log file, and never ends the
/// process.
bool hasMessageHandler();

/// Keeps the exception that is being handled, thrown by a listener or by the handler of messages, until this thread
/// calls throwKeptException. An exception that is kept already stays.
void keepException();
/// True if any thread may have kept an exception; one atomic load.
bool mayHaveKeptException();
/// Throws the exception that this thread has kept, if any.
void throwKeptException();

/// Reports a failed condition (error channel, "TARO_LOG.txt", source place) and throws TaroException.
[[noreturn]] void assertionFailed(const char* condition, const char* file, int line);

}  // namespace LUMO_TARO25D

/// Fails with the given text unless the condition holds. An expression: safe inside if/else. Never compiled
/// out, so that an inconsistency stops the operation instead of spreading.
#define TARO_ASSERT_TEXT(condition, text)                      \
    (__builtin_expect(!!(condition), 1) ? static_cast<void>(0) \
                                        : ::LUMO_TARO25D::assertionFailed(text, __FILE__, __LINE__))
#define TARO_ASSERT(condition) TARO_ASSERT_TEXT(condition, #condition)
