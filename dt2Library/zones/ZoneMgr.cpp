// Creation and deletion of zones. Zone2.cpp evaluates their rules.

#include "zones/ZoneMgr.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"
#include "zones/WindingNumbers.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "Dt2::createZone()";

/// Warns if bVerbose; returns null.
Zone2* refuse(bool bVerbose, const std::string& message, const char* location = LOCATION) {
    if (bVerbose) warning(location, message);
    return nullptr;
}

Zone2* refuseLocation(bool bVerbose, const std::string& accepted) {
    return refuse(bVerbose, "This overloaded version of createZone accepts only " + accepted +
                                " as zoneLocation. Returning NULL");
}

bool isWithoutGraph(ZoneLocation zoneLoc) {
    return zoneLoc == ZL_GLOBAL || (zoneLoc >= ZL_RESULT_UNION && zoneLoc <= ZL_RESULT_SYMMETRIC_DIFFERENCE);
}

/// False also for the record of a deleted triangle, and for an index that no edge of a triangle has.
bool hasTriangle(const Edge2& edge) {
    return edge.getTriangle() && edge.getTriangle()->getCorner(0) && edge.getIndex() >= 0 && edge.getIndex() <= 2;
}

/// The distance from the rounded barycentre to the nearest side; 0 if it is outside or nearer than MIN_SEED_CLEARANCE:
/// later crossings bend the border by rounding errors, and it must not pass the barycentre.
double getClearance(const Triangle2* pT, GeomTest& geomTest) {
    const Point2 center = pT->getBarycenter();
    double clearance = std::numeric_limits<double>::max(), magnitude = 0.0;
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
        if (geomTest.getOrientation2(pSrc, pTrg, &center) != ORIENTATION2_CCW) return 0.0;
        clearance = std::min(clearance, getPointLineDistance2D(center, *pSrc, *pTrg));
        magnitude = std::max({magnitude, std::abs(pSrc->x()), std::abs(pSrc->y())});
    }
    return clearance > MIN_SEED_CLEARANCE * magnitude ? clearance : 0.0;
}

using VertexPair = ConstraintMgr::VertexPair;

std::vector<VertexPair> getBorder(const ConnectedComponent& component) {
    std::vector<VertexPair> vBorder;
    for (const Edge2& edge : component.getUnsortedBorders()) vBorder.emplace_back(edge.getSrc(), edge.getTrg());
    return vBorder;
}

/// The triangle whose barycentre has the greatest clearance; null if none is positive.
const Triangle2* findTriangleForSeed(const ConnectedComponent& component, GeomTest& geomTest) {
    const Triangle2* pBest = nullptr;
    double best = 0.0;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : component.getTriangles()) {
        cancelPoint.pass();
        const double clearance = getClearance(pT, geomTest);
        if (clearance <= best) continue;
        best = clearance;
        pBest = pT;
    }
    return pBest;
}

/// Appends a seed for each connected part of a component without its nearly degenerate triangles, which the border may
/// come to exclude. False if there is no other triangle.
bool appendSeeds(const ConnectedComponent& component, GeomTest& geomTest, std::vector<Point2>& vSeeds) {
    std::vector<Triangle2*> vRoomy = component.getTriangles();
    CancelPoint<> cancelPoint;
    const auto isThin = [&](const Triangle2* pT) {
        cancelPoint.pass();
        return getClearance(pT, geomTest) == 0.0;
    };
    vRoomy.erase(std::remove_if(vRoomy.begin(), vRoomy.end(), isThin), vRoomy.end());
    std::vector<ConnectedComponent> vParts;
    getConnectedComponents(vRoomy, vParts);
    for (const ConnectedComponent& part : vParts)
        vSeeds.push_back(findTriangleForSeed(part, geomTest)->getBarycenter());
    return !vParts.empty();
}

bool doesCrossItself(const ConstraintGraph2* pGraph) {
    std::vector<DirectedEdge> vPieces;
    pGraph->getDirectedPieces(vPieces);
    return WindingNumbers(vPieces).doCross();
}

}  // namespace

ZoneMgr::ZoneMgr(Dt2* pDt2) : pDt2_(pDt2) {}
ZoneMgr::~ZoneMgr() = default;

ZoneMgr& getZoneMgr(Dt2& mesh) { return mesh.getSlot<ZoneMgr>(); }

std::uint64_t getZoneNumber(const Dt2& mesh, const Zone2* pZone) {
    const ZoneMgr* pZoneMgr = mesh.findSlot<ZoneMgr>();
    return pZoneMgr ? pZoneMgr->getNumber(pZone) : 0;
}

bool hasZone(const Dt2& mesh, const Zone2* pZone) { return getZoneNumber(mesh, pZone) != 0; }

void spreadBetween(const std::vector<ConstraintGraph2*>& vGraphs, const std::vector<Triangle2*>& vFrom,
                   std::vector<Triangle2*>& vTriangles) {
    AddressSet sMarked;
    spread(vFrom, getAlivePieces(vGraphs), sMarked, vTriangles);
}

bool ZoneMgr::canHaveZones(bool bVerbose) const {
    if (pDt2_->is2D()) return true;
    refuse(bVerbose, "The triangulation is not full dimensional yet. Returning NULL");
    return false;
}

bool ZoneMgr::areUsable(const std::vector<ConstraintGraph2*>& vGraphs, bool bOriented, bool bVerbose) const {
    for (const ConstraintGraph2* pGraph : vGraphs) {
        const char* message = nullptr;
        if (!pGraph) {
            message = "pConstraintGraph==NULL, but zoneLoc!=ZL_GLOBAL or ZL_RESULT. Returning NULL";
        } else if (pGraph->getDt2() != pDt2_) {
            message = "The constraint graph belongs to another triangulation, returning NULL";
        } else if (bOriented && !pGraph->isOriented()) {
            message = "The constraint graph is not oriented, returning NULL";
        }
        if (!message) continue;
        refuse(bVerbose, message);
        return false;
    }
    return true;
}

Zone2* ZoneMgr::registerZone(std::unique_ptr<Zone2> pZone) {
    Zone2* pNew = pZone.get();
    mZones_.emplace(pNew, Entry{std::move(pZone), ++numCreated_});
    return pNew;
}

Zone2* ZoneMgr::createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose) {
    if (!canHaveZones(bVerbose)) return nullptr;
    if (isWithoutGraph(zoneLoc)) return registerZone(std::make_unique<Zone2>(pDt2_, zoneLoc));
    if (!areUsable({pGraph}, true, bVerbose)) return nullptr;
    return createZoneAlong({pGraph}, zoneLoc, bVerbose);
}

Zone2* ZoneMgr::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose) {
    if (!canHaveZones(bVerbose)) return nullptr;
    if (zoneLoc != ZL_INSIDE && zoneLoc != ZL_OUTSIDE) return refuseLocation(bVerbose, "ZL_INSIDE and ZL_OUTSIDE");
    if (vGraphs.empty()) return refuse(bVerbose, "There is no constraint graph, returning NULL");
    if (!areUsable(vGraphs, true, bVerbose)) return nullptr;
    return createZoneAlong(vGraphs, zoneLoc, bVerbose);
}

Zone2* ZoneMgr::createZoneAlong(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose) {
    if (bVerbose && std::any_of(vGraphs.begin(), vGraphs.end(), doesCrossItself)) {
        warning("Dt2::createZone(..)", "the polygon crosses itself");
    }
    return registerZone(std::make_unique<Zone2>(pDt2_, zoneLoc, vGraphs));
}

Zone2* ZoneMgr::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                           bool bVerbose) {
    if (!canHaveZones(bVerbose)) return nullptr;
    if (zoneLoc != ZL_GROW) return refuseLocation(bVerbose, "ZL_GROW");
    if (!areUsable(vGraphs, false, bVerbose)) return nullptr;
    return registerZone(std::make_unique<Zone2>(pDt2_, zoneLoc, vGraphs, std::vector<Point2>{seed}));
}

Zone2* ZoneMgr::createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose) {
    const QuietScope quiet(bVerbose);  // for warnings about the border too
    if (!canHaveZones(bVerbose)) return nullptr;
    if (zoneLoc != ZL_BOUNDED) return refuseLocation(bVerbose, "ZL_BOUNDED");
    if (vEdges.empty()) return refuse(bVerbose, "There are no edges, returning NULL");
    if (!std::all_of(vEdges.begin(), vEdges.end(), hasTriangle)) {
        return refuse(bVerbose, "An edge has no triangle, returning NULL");
    }
    const FlagScope pause = pDt2_->getHeightBook().pause();  // only the x and y of the edges count
    ConstraintGraph2* pGraph =
        pDt2_->getConstraintManager()->createConstraint_oriented(vEdges, CIS_CONSTRAINED_DELAUNAY);
    return createZoneAlong({pGraph}, zoneLoc, bVerbose);
}

Zone2* ZoneMgr::createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose) {
    const QuietScope quiet(bVerbose);
    if (!canHaveZones(bVerbose)) return nullptr;
    AddressSet sSeen;
    std::vector<Triangle2*> vDifferent;
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        if (pT && sSeen.insert(pT)) vDifferent.push_back(pT);
    }
    if (vDifferent.empty()) return refuse(bVerbose, "There are no triangles, returning NULL");
    if (!areOwn(vDifferent)) {
        return refuse(bVerbose, "A triangle does not belong to the triangulation, returning NULL");
    }
    std::vector<ConnectedComponent> vComponents;
    getConnectedComponents(vDifferent, vComponents);
    // Seeds and borders are read from the triangles before any constraint is created, which may change triangles: an
    // edge of the border may be a former constraint that is now split.
    std::vector<Point2> vSeeds;
    std::vector<std::vector<VertexPair>> vBorders;
    for (const ConnectedComponent& component : vComponents) {
        if (appendSeeds(component, pDt2_->getGeomTest(), vSeeds)) {
            vBorders.push_back(getBorder(component));
        } else {
            refuse(bVerbose,
                   "A component has only nearly degenerate triangles, so that the zone would have no start "
                   "point there. Skipping it");
        }
    }
    if (vSeeds.empty()) return nullptr;
    std::vector<ConstraintGraph2*> vGraphs;
    vGraphs.reserve(vBorders.size());
    for (const std::vector<VertexPair>& vBorder : vBorders) {
        vGraphs.push_back(pDt2_->getConstraintManager()->createConstraint(vBorder, CIS_CONSTRAINED_DELAUNAY, true));
    }
    return registerZone(std::make_unique<Zone2>(pDt2_, ZL_GROW, vGraphs, vSeeds));
}

bool ZoneMgr::areOwn(const std::vector<Triangle2*>& vTriangles) const {
    AddressSet sOwn;
    CancelPoint<> cancelPoint;
    pDt2_->forEachTriangle([&](const Triangle2* pT) {
        cancelPoint.pass();
        sOwn.insert(pT);
    });
    return std::all_of(vTriangles.begin(), vTriangles.end(), [&](const Triangle2* pT) {
        cancelPoint.pass();
        return sOwn.contains(pT);
    });
}

bool ZoneMgr::deleteZone(Zone2* pZone) {
    const auto it = mZones_.find(pZone);
    if (it == mZones_.end()) {
        warning("Dt2::deleteZone(..)", "trying to delete a non-existing zone");
        return false;
    }
    const auto refersToIt = [pZone](const auto& entry) { return entry.first->hasOperand(pZone); };
    if (std::any_of(mZones_.begin(), mZones_.end(), refersToIt)) {
        warning("Dt2::deleteZone(..)", "the zone is an operand of another zone");
        return false;
    }
    mZones_.erase(it);
    return true;
}

bool ZoneMgr::hasZoneOf(const ConstraintGraph2* pGraph) const {
    return std::any_of(mZones_.begin(), mZones_.end(), [pGraph](const auto& entry) {
        std::vector<ConstraintGraph2*> vGraphs;
        entry.first->getConstraintGraphs(vGraphs);
        return std::find(vGraphs.begin(), vGraphs.end(), pGraph) != vGraphs.end();
    });
}

std::uint64_t ZoneMgr::getNumber(const Zone2* pZone) const {
    const auto it = mZones_.find(pZone);
    return it == mZones_.end() ? 0 : it->second.number;
}

}  // namespace LUMO_TARO25D
