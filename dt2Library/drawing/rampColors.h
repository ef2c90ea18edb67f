#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "taro25d/Color.h"
#include "taro25d/ColourRamp.h"

namespace LUMO_TARO25D {

/// A colour in sRGB.
struct Rgb8 {
    std::uint8_t r, g, b;
};

/// The colour with its components clamped to the range from 0 to 1.
Rgb8 toRgb8(const Color& color);
/// The linear value, from 0 to 1, of an sRGB component (IEC 61966-2-1).
double toLinear(std::uint8_t component);

/// A colour of a ramp, and its position in the ramp from 0 to 1.
struct RampStop {
    double place;
    Rgb8 color;
};
const std::vector<RampStop>& getStops(ColourRamp ramp);
/// The name of a ramp in files.
const char* getName(ColourRamp ramp);

/// A range of heights.
struct HeightRange {
    double low, high;
    bool isEmpty() const { return low > high; }
};

/// A ramp over a range of heights, in 256 steps.
class RampColors {
  public:
    RampColors(ColourRamp ramp, const HeightRange& range);
    const Rgb8& operator()(double height) const { return aColors_[getStep(height)]; }
    const Rgb8& getColor(size_t step) const { return aColors_[step]; }
    size_t getStep(double height) const;
    static constexpr size_t NUM_STEPS = 256;

  private:
    std::array<Rgb8, NUM_STEPS> aColors_;
    double low_, factor_;
};

}  // namespace LUMO_TARO25D
