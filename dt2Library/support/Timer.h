#pragma once

#include <chrono>
#include <string>

#include "support/diagnostics.h"

namespace LUMO_TARO25D {

/// A named stop watch on wall time. Stopping it prints the label and the time, unless the label begins with "[quiet]".
class Timer {
  public:
    explicit Timer(const std::string& label) : label_(label), start_(std::chrono::steady_clock::now()) {}

    /// The seconds since construction.
    double stop() const {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
        if (label_.rfind("[quiet]", 0) != 0) Note("Timer::stop()") << label_ << ": " << elapsed.count() << " s\n";
        return elapsed.count();
    }

  private:
    std::string label_;
    std::chrono::steady_clock::time_point start_;
};

}  // namespace LUMO_TARO25D
