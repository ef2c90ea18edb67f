#include "zones/simplePolygon.h"

#include <algorithm>
#include <utility>

#include "constraints/ConstraintMgr.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"

namespace LUMO_TARO25D {

bool getSimplePolygon(const std::vector<Segment2>& vSegments, std::vector<Point2>& vCorners) {
    if (vSegments.size() < 3 || !areFinite(vSegments)) return false;
    std::vector<Point2> vEnds;
    for (const Segment2& segment : vSegments) {
        if (segment.getSrc() == segment.getTrg()) return false;
        vEnds.push_back(segment.getSrc());
        vEnds.push_back(segment.getTrg());
    }
    Dt2 engine(static_cast<unsigned>(vSegments.size()));
    std::vector<Point2*> vHandles;
    engine.insertVector(vEnds, vHandles);
    if (!engine.is2D() || engine.numberOfPoints() != vSegments.size()) return false;
    ConstraintMgr* pManager = engine.getConstraintManager();
    std::vector<ConstraintMgr::VertexPair> vPairs;
    for (size_t k = 0; k < vHandles.size(); k += 2) vPairs.emplace_back(vHandles[k], vHandles[k + 1]);
    const ConstraintGraph2* pGraph = pManager->createConstraint(vPairs, CIS_CONSTRAINED_DELAUNAY, false);
    if (!pGraph->isPolygon()) return false;
    std::vector<ConstraintSegment2*> vCSegs;
    for (const auto& [pSrc, pTrg] : vPairs) {
        vCSegs.push_back(pManager->addConstraintSegment(pSrc, pTrg, CIS_CONSTRAINED_DELAUNAY));
        pManager->applyOneSegment(vCSegs.back());
        if (!vCSegs.back()->isAlive() || engine.getApproxNumPoints() != vSegments.size()) return false;
    }
    // A crossing that snaps to an end of a new segment splits only the older one.
    const auto isAlive = [](const ConstraintSegment2* pCSeg) { return pCSeg->isAlive(); };
    if (!std::all_of(vCSegs.begin(), vCSegs.end(), isAlive)) return false;
    std::vector<Point2*> vVertices;
    pGraph->getPolygonVertices(vVertices);
    for (const Point2* pVtx : vVertices) vCorners.push_back(*pVtx);
    return true;
}

bool isInsidePolygon(const std::vector<Segment2>& vSides, const Point2& point, GeomTest& geomTest) {
    bool bInside = false;
    for (const Segment2& side : vSides) {
        const bool bUp = side.getSrc().y() <= point.y();
        if (bUp == (side.getTrg().y() <= point.y())) continue;
        const Orientation2 ori = geomTest.getOrientation2(&side.getSrc(), &side.getTrg(), &point);
        if (ori == (bUp ? ORIENTATION2_CCW : ORIENTATION2_CW)) bInside = !bInside;
    }
    return bInside;
}

}  // namespace LUMO_TARO25D
