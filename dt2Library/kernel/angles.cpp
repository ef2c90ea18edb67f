#include "kernel/angles.h"

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <ostream>

#include "support/stopping.h"

namespace LUMO_TARO25D {

AngleDistribution analyzeAngles(const std::vector<Triangle2*>& vTriangles) {
    AngleDistribution angles{};
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        for (int i = 0; i < 3; ++i) {
            const double angle = pT->getInteriorAngle2D(i);
            if (angle >= 0.0) ++angles[std::min(static_cast<size_t>(angle / 10.0), angles.size() - 1)];
        }
    }
    return angles;
}

void printAngles(std::ostream& out, const AngleDistribution& angles) {
    const size_t numAngles = std::accumulate(angles.begin(), angles.end(), size_t(0));
    const auto flags = out.flags();
    out << "INTERIOR ANGLES\n" << std::fixed << std::setprecision(2);
    for (size_t bin = 0; bin < angles.size(); ++bin) {
        const double share =
            numAngles > 0 ? 100.0 * static_cast<double>(angles[bin]) / static_cast<double>(numAngles) : 0.0;
        out << std::setw(3) << bin * 10 << " - " << std::setw(3) << (bin + 1) * 10 << " degrees: " << std::setw(10)
            << angles[bin] << std::setw(8) << share << " %\n";
    }
    out.flags(flags);
}

}  // namespace LUMO_TARO25D
