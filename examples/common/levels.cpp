#include "levels.h"

#include <cmath>
#include <iostream>
#include <utility>

#include "command_line.h"
#include "numbers.h"

using namespace LUMO_TARO25D;

namespace examples {

bool isClosed(const Polyline& vLine) { return vLine.front().getSrc() == vLine.back().getTrg(); }

double proposeInterval(const IsoContours& isoContours) {
    constexpr double MIN_STEPS = 15;
    const double range = isoContours.getMaxHeight() - isoContours.getMinHeight();
    return range > 0 ? roundedDown(range / MIN_STEPS) : 1;
}

std::vector<Level> takeLevels(const IsoContours& isoContours, double interval) {
    constexpr double MAX_LEVELS = 1000;
    const double first = std::ceil(isoContours.getMinHeight() / interval);
    const double last = std::floor(isoContours.getMaxHeight() / interval);
    if (!(last - first < MAX_LEVELS)) throw UsageError("more than 1000 levels: a larger --interval is needed");
    std::vector<Level> vLevels;
    for (double i = first; i <= last; ++i) {
        Level level{i * interval, std::fmod(i, 5) == 0, {}};
        // Heights at which there are points are moved by the library, which need not say so each time.
        if (!isoContours.getContours(level.height, level.vLines, false))
            std::cout << "  no contours at " << level.height << "\n";
        vLevels.push_back(std::move(level));
    }
    return vLevels;
}

}  // namespace examples
