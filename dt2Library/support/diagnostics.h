#pragma once

#include <iostream>
#include <string>

namespace LUMO_TARO25D {

/// Receives a copy of what the error and warning channels print on one thread (see MessageScope).
class MessageSink {
  public:
    virtual ~MessageSink() = default;
    virtual void receive(const std::string& message) = 0;
};

/// For its lifetime, hands the texts of this thread's error and warning channels to a sink as well. Nests.
class MessageScope {
  public:
    explicit MessageScope(MessageSink* pSink);
    ~MessageScope();
    MessageScope(const MessageScope&) = delete;
    MessageScope& operator=(const MessageScope&) = delete;

  private:
    MessageSink* pPrevious_;
};

/// For its lifetime, unless it is told to be verbose, drops the warnings of this thread, at whatever depth they arise.
/// Nests: a verbose one inside a quiet one stays quiet.
class QuietScope {
  public:
    explicit QuietScope(bool bVerbose);
    ~QuietScope();
    QuietScope(const QuietScope&) = delete;
    QuietScope& operator=(const QuietScope&) = delete;

  private:
    bool bPrevious_;
};

/// Prints "      [Taro2D-Message] " location ", ERROR: " message on standard output, in red. Does not throw.
void error(const std::string& location, const std::string& message);
/// The same in yellow, with ", WARNING: ".
void warning(const std::string& location, const std::string& message);

/// Reports a failed condition (error channel, "TARO_LOG.txt", source place) and throws TaroException.
[[noreturn]] void assertionFailed(const char* condition, const char* file, int line);

}  // namespace LUMO_TARO25D

/// Fails with the given text unless the condition holds. An expression: safe inside if/else. Never compiled
/// out, so that an inconsistency stops the operation instead of spreading.
#define TARO_ASSERT_TEXT(condition, text)                      \
    (__builtin_expect(!!(condition), 1) ? static_cast<void>(0) \
                                        : ::LUMO_TARO25D::assertionFailed(text, __FILE__, __LINE__))
#define TARO_ASSERT(condition) TARO_ASSERT_TEXT(condition, #condition)
