#include "support/diagnostics.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

std::vector<Segment2> makePolyline(const std::vector<Point2>& vPoints, bool bClosed) {
    std::vector<Segment2> vSegments;
    for (size_t i = 1; i < vPoints.size(); ++i) vSegments.emplace_back(vPoints[i - 1], vPoints[i]);
    if (bClosed && vPoints.size() > 1 && !samePoint(vPoints.back(), vPoints.front())) {
        vSegments.emplace_back(vPoints.back(), vPoints.front());
    }
    return vSegments;
}

std::vector<Point2> getPolylinePoints(const std::vector<Segment2>& vSegments) {
    std::vector<Point2> vPoints;
    if (vSegments.empty()) return vPoints;
    vPoints.reserve(vSegments.size() + 1);
    for (size_t i = 0; i < vSegments.size(); ++i) {
        if (i > 0 && !samePoint(vSegments[i - 1].getTrg(), vSegments[i].getSrc())) {
            warning("getPolylinePoints()", "the segments are no polyline, no points");
            return {};
        }
        vPoints.push_back(vSegments[i].getSrc());
    }
    if (!samePoint(vSegments.back().getTrg(), vPoints.front())) vPoints.push_back(vSegments.back().getTrg());
    return vPoints;
}

}  // namespace LUMO_TARO25D
