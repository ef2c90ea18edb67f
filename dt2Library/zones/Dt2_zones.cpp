#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "taro25d/Zone2.h"
#include "zones/CookieCutter.h"
#include "zones/SurfaceCutter.h"
#include "zones/ZoneMgr.h"
#include "zones/simplePolygon.h"

namespace LUMO_TARO25D {

Zone2* Dt2::createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose) {
    return getZoneMgr(*this).createZone(pGraph, zoneLoc, bVerbose);
}

Zone2* Dt2::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose) {
    return getZoneMgr(*this).createZone(vGraphs, zoneLoc, bVerbose);
}

Zone2* Dt2::createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, const Point2& seed, bool bVerbose) {
    return getZoneMgr(*this).createZone(std::vector<ConstraintGraph2*>{pGraph}, zoneLoc, seed, bVerbose);
}

Zone2* Dt2::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                       bool bVerbose) {
    return getZoneMgr(*this).createZone(vGraphs, zoneLoc, seed, bVerbose);
}

Zone2* Dt2::createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose) {
    return getZoneMgr(*this).createZone(vEdges, zoneLoc, bVerbose);
}

Zone2* Dt2::createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose) {
    return getZoneMgr(*this).createZone(vTriangles, bVerbose);
}

bool Dt2::deleteZone(Zone2* pZone) { return getZoneMgr(*this).deleteZone(pZone); }

void Dt2::growZoneArea(const std::vector<ConstraintGraph2*>& vGraphs, const std::vector<Point2>& vSeeds,
                       std::vector<Triangle2*>& vTriangles) const {
    std::vector<Triangle2*> vFrom;
    for (const Point2& seed : vSeeds) {
        if (Triangle2* pT = locate(seed)) {
            vFrom.push_back(pT);
        } else {
            warning("Dt2::growZoneArea()", "the seed is outside the triangulation, nothing grows from it");
        }
    }
    spreadBetween(vGraphs, vFrom, vTriangles);
}

void Dt2::CUTT_cutTriangles(const std::vector<Segment2>& vSegments, bool bConstraints) {
    const FlagScope pause = getHeightBook().pause();  // a cut takes the heights of the surface
    cutTriangles(*this, vSegments, bConstraints);
}

Zone2* Dt2::createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose) {
    const FlagScope pause = getHeightBook().pause();
    return CookieCutter(*this).cutOutZone(vSegments, bVerbose);
}

bool Dt2::isSimplePolygon(const std::vector<Segment2>& vSegments) {
    std::vector<Point2> vCorners;
    return getSimplePolygon(vSegments, vCorners);
}

}  // namespace LUMO_TARO25D
