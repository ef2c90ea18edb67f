#include "levels.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <iostream>
#include <utility>

#include "numbers.h"
#include "readers.h"

using namespace LUMO_TARO25D;

namespace examples {

bool isClosed(const Polyline& vLine) { return vLine.front().getSrc() == vLine.back().getTrg(); }

double proposeInterval(const IsoContours& isoContours) {
    constexpr double MIN_STEPS = 15;
    const double range = isoContours.getMaxHeight() - isoContours.getMinHeight();
    const double interval = range > 0 ? roundedDown(range / MIN_STEPS) : 1;
    if (interval > 0 && std::isfinite(interval)) return interval;
    throw terrain::BadInput("heights from " + toText(isoContours.getMinHeight()) + " to " +
                            toText(isoContours.getMaxHeight()) + " need an --interval: no round one is proposed");
}

std::vector<Level> takeLevels(const IsoContours& isoContours, double interval) {
    constexpr double MAX_LEVELS = 1000;
    const double first = std::ceil(isoContours.getMinHeight() / interval);
    const double last = std::floor(isoContours.getMaxHeight() / interval);
    if (!(last - first < MAX_LEVELS)) throw CLI::ValidationError("--interval", "makes more than 1000 levels");
    std::vector<Level> vLevels;
    for (double num = 0; num <= last - first; ++num) {
        const double i = first + num;
        Level level{i * interval, std::fmod(i, 5) == 0, {}};
        if (!vLevels.empty() && level.height == vLevels.back().height) continue;  // nearer than doubles can tell
        // Heights at which there are points are moved by the library, which need not say so each time.
        if (!isoContours.getContours(level.height, level.vLines, false))
            std::cout << "  no contours at " << level.height << "\n";
        vLevels.push_back(std::move(level));
    }
    return vLevels;
}

}  // namespace examples
