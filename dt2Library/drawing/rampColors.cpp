#include "drawing/rampColors.h"

#include <algorithm>
#include <cmath>

namespace LUMO_TARO25D {

namespace {

std::uint8_t toByte(double component) {
    return static_cast<std::uint8_t>(std::lround(255.0 * (component > 0.0 ? std::min(component, 1.0) : 0.0)));
}

std::uint8_t mix(std::uint8_t from, std::uint8_t to, double share) {
    return static_cast<std::uint8_t>(std::lround(from + share * (to - from)));
}

Rgb8 getColorAt(const std::vector<RampStop>& vStops, double place) {
    size_t i = 1;
    while (i + 1 < vStops.size() && vStops[i].place < place) ++i;
    const RampStop &from = vStops[i - 1], &to = vStops[i];
    const double share = (place - from.place) / (to.place - from.place);
    return {mix(from.color.r, to.color.r, share), mix(from.color.g, to.color.g, share),
            mix(from.color.b, to.color.b, share)};
}

}  // namespace

Rgb8 toRgb8(const Color& color) { return {toByte(color.r), toByte(color.g), toByte(color.b)}; }

double toLinear(std::uint8_t component) {
    const double value = component / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

const std::vector<RampStop>& getStops(ColourRamp ramp) {
    static const std::vector<RampStop> vTerrain = {
        {0.0, {47, 107, 79}},   {0.2, {111, 160, 95}},   {0.4, {201, 207, 134}}, {0.6, {217, 179, 108}},
        {0.78, {168, 116, 79}}, {0.92, {185, 167, 155}}, {1.0, {244, 242, 239}}};
    static const std::vector<RampStop> vGrey = {{0.0, {43, 43, 43}}, {1.0, {245, 245, 245}}};
    static const std::vector<RampStop> vDiverging = {{0.0, {33, 102, 172}},
                                                     {0.25, {146, 197, 222}},
                                                     {0.5, {247, 247, 247}},
                                                     {0.75, {244, 165, 130}},
                                                     {1.0, {178, 24, 43}}};
    return ramp == CR_GREY ? vGrey : ramp == CR_DIVERGING ? vDiverging : vTerrain;
}

const char* getName(ColourRamp ramp) {
    return ramp == CR_GREY ? "grey" : ramp == CR_DIVERGING ? "diverging" : "terrain";
}

RampColors::RampColors(ColourRamp ramp, const HeightRange& range)
    : low_(range.low), factor_(NUM_STEPS / (range.high - range.low)) {
    if (!(range.low < range.high)) {  // a single height gets the middle of the ramp
        low_ -= 0.5;
        factor_ = NUM_STEPS;
    }
    const auto& vStops = getStops(ramp);
    for (size_t i = 0; i < NUM_STEPS; ++i) {
        aColors_[i] = getColorAt(vStops, (static_cast<double>(i) + 0.5) / NUM_STEPS);
    }
}

size_t RampColors::getStep(double height) const {
    const double step = (height - low_) * factor_;
    return step > 0.0 ? static_cast<size_t>(std::min(step, NUM_STEPS - 1.0)) : 0;
}

}  // namespace LUMO_TARO25D
