#include <algorithm>
#include <cmath>

#include "analysis/Draper.h"
#include "kernel/tools.h"
#include "mesh/EngineCall.h"
#include "taro25d/Taro_2D.h"

namespace LUMO_TARO25D {

void Taro_2D::drape(const std::vector<Segment2>& vSegments, std::vector<Segment2>& vDraped) const {
    constexpr const char* LOCATION = "Taro_2D::drape()";
    const MessageScope scope(&pDt2_->getProgress());
    if (!pDt2_->is2D()) {
        warning(LOCATION, "is2D() is false, nothing to lay segments on");
        return;
    }
    double magnitude = pDt2_->getMagnitude();
    for (const Segment2& segment : vSegments) {
        if (!isFinite2D(segment)) {
            warning(LOCATION, "non-finite coordinates, nothing is laid on the surface");
            return;
        }
        for (const Point2& end : {segment.getSrc(), segment.getTrg()}) {
            magnitude = std::max({magnitude, std::abs(end.x()), std::abs(end.y())});
        }
    }
    std::vector<Segment2> vFound;
    Draper draper(*pDt2_, magnitude, vFound);
    for (const Segment2& segment : vSegments) draper.drape(segment);
    vDraped.insert(vDraped.end(), vFound.begin(), vFound.end());
}

}  // namespace LUMO_TARO25D
