#pragma once

#include <iostream>
#include <sstream>
#include <string>

/// Catches what is written to std::cout while it lives.
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
