#include "support/diagnostics.h"

#include <fstream>

#include "taro25d/TaroException.h"

namespace LUMO_TARO25D {

namespace {

thread_local MessageSink* pCurrentSink = nullptr;
thread_local bool bQuiet = false;

void print(const char* color, const std::string& location, const char* kind, const std::string& message) {
    // One write for the whole line, so that lines of two threads do not mix.
    std::cout << std::string(color) + "      [Taro2D-Message] " + location + kind + message + "\033[m\n" << std::flush;
    if (pCurrentSink) pCurrentSink->receive(message);
}

/// "dt2Library/mesh/Dt2.cpp" becomes "dt2Library/Dt2": the folder of the floor is left out.
std::string sourceName(const std::string& file) {
    const std::string name = file.substr(file.rfind('/') + 1);
    return "dt2Library/" + name.substr(0, name.rfind('.'));
}

}  // namespace

MessageScope::MessageScope(MessageSink* pSink) : pPrevious_(pCurrentSink) { pCurrentSink = pSink; }
MessageScope::~MessageScope() { pCurrentSink = pPrevious_; }

QuietScope::QuietScope(bool bVerbose) : bPrevious_(bQuiet) { bQuiet = bQuiet || !bVerbose; }
QuietScope::~QuietScope() { bQuiet = bPrevious_; }

void error(const std::string& location, const std::string& message) {
    print("\033[0;31m", location, ", ERROR: ", message);
}

void warning(const std::string& location, const std::string& message) {
    if (!bQuiet) print("\033[0;93m", location, ", WARNING: ", message);
}

void assertionFailed(const char* condition, const char* file, int line) {
    const std::string message = "Condition [ " + std::string(condition) + " failed ]";
    error("Taro", message);
    std::ofstream("TARO_LOG.txt", std::ios::app) << "Taro, " << message << "\n";
    std::cout << "      " + sourceName(file) + ":" + std::to_string(line) + "\n" << std::flush;
    throw TaroException();
}

TaroException::TaroException() noexcept = default;
TaroException::TaroException(const TaroException&) noexcept = default;
TaroException& TaroException::operator=(const TaroException&) noexcept = default;
TaroException::~TaroException() = default;
const char* TaroException::what() const noexcept { return "LUMO_TARO25D::TaroException"; }

}  // namespace LUMO_TARO25D
