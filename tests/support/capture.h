#pragma once

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

#include "taro25d/TaroException.h"

/// Captures std::cout while it lives.
class StdoutCapture {
  public:
    StdoutCapture() : pPrevious_(std::cout.rdbuf(stream_.rdbuf())) {}
    ~StdoutCapture() { std::cout.rdbuf(pPrevious_); }
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;

    std::string text() const { return stream_.str(); }

  private:
    std::ostringstream stream_;
    std::streambuf* pPrevious_;
};

/// The output of a call to std::cout.
template <class Call>
std::string printedBy(const Call& call) {
    const StdoutCapture capture;
    call();
    return capture.text();
}

/// The output of a call that must throw.
template <class Call>
std::string printedByFailing(const Call& call) {
    return printedBy([&] { EXPECT_THROW(call(), LUMO_TARO25D::TaroException); });
}

inline testing::AssertionResult contains(const std::string& text, const std::string& part) {
    if (text.find(part) != std::string::npos) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "no \"" << part << "\" in \"" << text << "\"";
}

inline testing::AssertionResult contains(const StdoutCapture& capture, const std::string& part) {
    return contains(capture.text(), part);
}

inline size_t countOf(const std::string& part, const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
    return count;
}
