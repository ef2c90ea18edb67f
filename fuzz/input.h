#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <iterator>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

#include "taro25d/Point2.h"

// Code shared by the targets. Their input is a small program whose bytes choose calls and arguments. Any bytes are
// valid, so that libFuzzer can change them freely, and most numbers take one byte, so that it finds equal ones. With
// FUZZ_TRACE in the environment, choices and points are printed as they are read, a line for each step.

template <class... Values>
void trace(const char* format, Values... values) {
    static const bool bTrace = std::getenv("FUZZ_TRACE");
    if (bTrace) std::fprintf(stderr, format, values...);
}

/// Bytes in sequence; zeros follow the last byte.
class Input {
  public:
    Input(const std::uint8_t* pData, std::size_t size) : pData_(pData), size_(size) {}

    bool isAtEnd() const { return pos_ >= size_; }
    unsigned byte() { return isAtEnd() ? 0 : pData_[pos_++]; }
    /// A number from 0 to n - 1.
    unsigned below(unsigned n) {
        const unsigned choice = byte() % n;
        trace(" %u", choice);
        return choice;
    }
    /// A number from 0 to n - 1 that chooses the next step.
    unsigned nextStep(unsigned numKinds) {
        trace("%s", "\n");
        return below(numKinds);
    }
    bool flag() { return below(2) != 0; }
    /// Eight bytes as they are.
    double bits() {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits = bits << 8 | byte();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }
    template <class Container>
    auto& oneOf(Container& container) {
        return container[below(static_cast<unsigned>(std::size(container)))];
    }

  private:
    const std::uint8_t* pData_;
    std::size_t size_, pos_ = 0;
};

/// The lattice that holds most coordinates.
struct Frame {
    double origin, scale;

    // From harmless to nasty; each target uses a prefix of the list.
    static constexpr unsigned NUM_ROOMY = 4, NUM_TAME = 6, NUM_ALL = 13;
    static const Frame& choose(Input& input, unsigned numFrames) {
        static const Frame aFrames[NUM_ALL] = {
            {0, 1},         {0.3, 0.1},    {4.5e5, 0.01}, {-3e6, 1000},   {5e6, 0x1p-20},       {0, 1e-7},
            {0, 1e30},      {0, 0x1p-600}, {0, 0x1p-500}, {0, 0x1p-1074}, {0x1p1023, 0x1p1010}, {0x1p53, 0x1p-1},
            {1e-3, 0x1p-60}};
        return aFrames[input.below(numFrames)];
    }
};

/// Makes coordinates, most of them by one byte: small integers, so that points coincide, are collinear or on one
/// circle, and numbers next to these or between them.
class Coordinates {
  public:
    /// With bWild also arbitrary doubles off the lattice, which need not be finite.
    Coordinates(Input& input, const Frame& frame, bool bWild = false) : input_(input), frame_(frame), bWild_(bWild) {}

    double next() {
        const unsigned code = input_.byte();
        const double k = static_cast<double>(code & 15) - 8;
        switch (code >> 4) {
            case 8:
                return at(k + 0.5);
            case 9:
                return std::nextafter(at(k), std::numeric_limits<double>::max());
            case 10:
                return std::nextafter(at(k), std::numeric_limits<double>::lowest());
            case 11:
                return at(k / 10);
            case 12:
                return at(k / 3);
            case 13:
                return at(k * 5);
            case 14:
                return bWild_ ? input_.bits() : at(k + 0x1p-30);
            case 15:
                return bWild_ ? special(code & 15) : at(k / 7);
            default:
                return at(k);
        }
    }
    LUMO_TARO25D::Point2 nextPlace() {
        const double x = next(), y = next();
        trace(" (%.17g, %.17g)", x, y);
        return LUMO_TARO25D::Point2(x, y, 0);
    }
    /// Heights are no larger than the lattice, unless they are wild.
    LUMO_TARO25D::Point2 nextPoint() {
        const LUMO_TARO25D::Point2 place = nextPlace();
        const unsigned code = input_.byte();
        const bool bSpecial = bWild_ && code >= 240;
        const double z = bSpecial ? special(code & 15) : 0.25 * frame_.scale * (code % 32);
        trace("[%g]", z);
        return LUMO_TARO25D::Point2(place.x(), place.y(), z);
    }
    double scale() const { return frame_.scale; }

  private:
    double at(double position) const { return frame_.origin + frame_.scale * position; }
    static double special(unsigned i) {
        using Limits = std::numeric_limits<double>;
        static const double aSpecial[16] = {-0.0,
                                            Limits::quiet_NaN(),
                                            Limits::infinity(),
                                            -Limits::infinity(),
                                            Limits::max(),
                                            Limits::lowest(),
                                            Limits::min(),
                                            Limits::denorm_min(),
                                            -Limits::denorm_min(),
                                            1e300,
                                            -1e-300,
                                            1e160,
                                            1e-160,
                                            0x1p53,
                                            0x1p53 + 2,
                                            1e18};
        return aSpecial[i];
    }

    Input& input_;
    const Frame frame_;
    bool bWild_;
};

/// Aborts the process unless the condition holds.
inline void require(bool bCondition, const char* text) {
    if (!bCondition) throw std::logic_error(std::string("Violated: ") + text);
}
inline void require(const testing::AssertionResult& result, const char* text) {
    if (!result) throw std::logic_error(std::string("Violated: ") + text + ": " + result.message());
}

/// Runs a target over one input. The library's output is shown only when an exception ends the run.
template <class Run>
int runQuietly(const Run& run) {
    std::ostringstream printed;
    std::streambuf *pOut = std::cout.rdbuf(printed.rdbuf()), *pErr = std::cerr.rdbuf(printed.rdbuf());
    try {
        run();
    } catch (const std::exception& problem) {
        const std::string text = printed.str();
        std::fprintf(stderr, "%s\n%s\n", problem.what(),
                     text.substr(text.size() - std::min<size_t>(text.size(), 4000)).c_str());
        std::abort();
    }
    std::cout.rdbuf(pOut);
    std::cerr.rdbuf(pErr);
    return 0;
}
