// Cut and fill: the overlay of two surfaces, cut along the line where they meet.
//
// A combined triangulation takes the vertices and edges of both surfaces as constraints, where both exist. Each of its
// triangles then lies within one triangle of either surface, so that both heights, and their difference, are linear on it,
// and it does not matter which diagonals it has inside such a cell. Heights of a vertex are its own on the surface that it
// comes from; where it lies on an edge of a surface, they are interpolated on that edge from end to end, however often it
// is split; else they are looked up on the surface. z of a combined vertex is the height before minus the height after.
//
// Edges that rise from below zero to above become constraints and are split at their zeros, and then no triangle is on
// both sides: the piece of the zero line in a triangle joins two such vertices. But places are rounded to doubles. A zero
// may fall on an end of its edge, which then is the zero; on a third vertex, or beside its edge and across another one, so
// that pieces remain or new vertices appear. So this is repeated for what is left. Differences shrink with the pieces, and
// two rounds nearly always do; after the last one the smaller sign of a triangle gives way.
//
// Surfaces that nearly coincide are the hard case, since constraints snap to vertices that are near and bend. So vertices of
// the two surfaces that differ by rounding only are made one, slivers that rounding makes along straight borders are left
// out, heights come rather from the ground beside a sliver than from the sliver, which may be a wall, and what a border that
// has folded over itself lets into the result is taken out again.
//
// Everything else is grouping: the triangles of one type that hang together over edges are a component.
//
// Cost: that of the constraints, O((n + k) log n) for n edges that cross k times.

#include "analysis/CutAndFillImpl.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <limits>
#include <sstream>
#include <utility>

#include "analysis/weld.h"
#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/VertexPairMap.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "mesh/hullPatch.h"
#include "support/diagnostics.h"
#include "taro25d/Color.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/TaroException.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

namespace LUMO_TARO25D {

namespace {

using TriangleVector = std::vector<Triangle2*>;

constexpr const char* LOCATION = "CutAndFill";
constexpr size_t NUM_STEPS = 150;
constexpr int MAX_ROUNDS = 10;

/// Differences of heights are cut off here, so that those of differences are finite.
constexpr double MAX_COMBINED_HEIGHT = 0.5 * std::numeric_limits<double>::max();

template <class T>
std::string toText(const char* before, const T& value, const char* after = "") {
    std::ostringstream text;
    text << before << value << after;
    return text.str();
}

/// The corners, smallest first.
std::array<const Point2*, 3> getSortedCorners(const Triangle2* pT) {
    std::array<const Point2*, 3> aCorners{pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)};
    std::sort(aCorners.begin(), aCorners.end(), [](const Point2* a, const Point2* b) { return *a < *b; });
    return aCorners;
}

/// By where the corners are, so that no address matters.
bool isBefore(const Triangle2* pA, const Triangle2* pB) {
    const auto aA = getSortedCorners(pA), aB = getSortedCorners(pB);
    return std::lexicographical_compare(aA.begin(), aA.end(), aB.begin(), aB.end(),
                                        [](const Point2* a, const Point2* b) { return *a < *b; });
}

/// The triangles of a zone. Combined zones give them in the order of their addresses.
TriangleVector getTriangles(const Zone2& zone) {
    TriangleVector vTriangles;
    zone.getTriangles(vTriangles);
    const ZoneLocation zoneLoc = zone.getZoneLocation();
    if (zoneLoc >= ZL_RESULT_UNION && zoneLoc <= ZL_RESULT_SYMMETRIC_DIFFERENCE) {
        std::sort(vTriangles.begin(), vTriangles.end(), isBefore);
    }
    return vTriangles;
}

/// The components of some triangles, each beginning with its smallest triangle and in the order of those.
std::vector<ConnectedComponent> getComponentsInPlaneOrder(TriangleVector vTriangles) {
    std::vector<ConnectedComponent> vComponents;
    getConnectedComponents(vTriangles, vComponents);
    TriangleVector vStarts;
    for (const ConnectedComponent& component : vComponents) {
        const TriangleVector& vInside = component.getTriangles();
        vStarts.push_back(*std::min_element(vInside.begin(), vInside.end(), isBefore));
    }
    std::sort(vStarts.begin(), vStarts.end(), isBefore);
    vTriangles.insert(vTriangles.begin(), vStarts.begin(), vStarts.end());
    vComponents.clear();
    getConnectedComponents(vTriangles, vComponents);
    return vComponents;
}

Bbox2 getBoxOf(const Triangle2* pT) {
    Bbox2 box;
    for (int i = 0; i < 3; ++i) box.add(*pT->getCorner(i));
    return box;
}

/// The smallest height of a triangle, seen from above.
double getWidth(const Triangle2* pT) {
    const double area = getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
    return 2.0 * area / std::sqrt(pT->getMaxSqEdgeLen2D());
}

/// Not where all triangles are that small.
bool isSliver(const Triangle2* pT) {
    return getWidth(pT) < std::min(MIN_SLIVER_WIDTH, MAX_SLIVER_RATIO * std::sqrt(pT->getMaxSqEdgeLen2D()));
}

/// Lengths that mean nothing on some ground: what coordinates may be off by after some arithmetic, and what is too small to
/// count in any volume.
double getRoundingDistance(const Bbox2& box) {
    const double extent = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
    return std::max(WELDING_DISTANCE * getMagnitude(box), NEGLIGIBLE_WIDTH * extent);
}

/// Takes away triangles at the border that are there only because rounding has put points beside a straight line. Across
/// their tiny width the ground may rise or fall by any height.
void peelSlivers(TriangleVector& vTriangles) {
    const double minWidth = getRoundingDistance(getBox(vTriangles));
    peelBorder(vTriangles, [minWidth](const Triangle2* pT) { return getWidth(pT) < minWidth; });
}

double sqDistance(const Point2& point, const Edge2& edge) {
    return sqDistanceToSegment2D(point, *edge.getSrc(), *edge.getTrg());
}

/// For a point that rounding has moved off the surface: the triangle whose side at the hull is nearest to it.
Triangle2* getNearestHullTriangle(const Dt2& dt2, const Point2& point) {
    Triangle2* pT = dt2.getOneValidTriangle();
    int idx = -1;
    const int code = dt2.locateConflictTriangle(&point, pT, idx);
    if (code < 0 || code > 2) return pT;
    std::vector<std::pair<Triangle2*, int>> vPatch{{pT, code}};
    determineHullPatchLeft(vPatch, pT, code, &point, dt2.getGeomTest());
    determineHullPatchRight(vPatch, pT, code, &point, dt2.getGeomTest());
    const auto isNearer = [&point](const auto& a, const auto& b) {
        return sqDistance(point, Edge2(a.first, a.second)) < sqDistance(point, Edge2(b.first, b.second));
    };
    return std::min_element(vPatch.begin(), vPatch.end(), isNearer)->first;
}

/// From a sliver, whose height at a point says little about the ground there, to the nearest other triangle beside it.
Triangle2* leaveSlivers(Triangle2* pT, const Point2& point) {
    TriangleVector vSlivers{pT};
    Triangle2* pNearest = pT;
    double sqNearest = 4.0 * MIN_SLIVER_WIDTH * MIN_SLIVER_WIDTH;
    AddressSet sSeen;
    sSeen.insert(pT);
    for (size_t k = 0; k < vSlivers.size() && isSliver(pT); ++k) {
        for (int i = 0; i < 3; ++i) {
            Triangle2* pN = vSlivers[k]->getOppositeTriangle(i);
            const double sqToEdge = sqDistance(point, Edge2(vSlivers[k], i));
            if (!pN || sqToEdge >= sqNearest || !sSeen.insert(pN)) continue;
            if (isSliver(pN)) {
                vSlivers.push_back(pN);
            } else {
                pNearest = pN;
                sqNearest = sqToEdge;
            }
        }
    }
    return pNearest;
}

/// Whether the difference changes its sign between two vertices.
bool isMixed(const std::pair<Point2*, Point2*>& edge) {
    const double d0 = edge.first->z(), d1 = edge.second->z();
    return (d0 < 0.0 && d1 > 0.0) || (d0 > 0.0 && d1 < 0.0);
}

/// Always false.
bool refuse() {
    warning(LOCATION, "Zones do not overlap, nothing to do");
    return false;
}

std::pair<Point2*, Point2*> getEnds(const Triangle2* pT, int i) {
    return {pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i))};
}

}  // namespace

CutAndFillImpl::CutAndFillImpl(Zone2* pZoneBefore, Zone2* pZoneAfter, double tolerance) : tolerance_(tolerance) {
    aSurfaces_[0].pZone = pZoneBefore;
    aSurfaces_[1].pZone = pZoneAfter;
}

CutAndFillImpl::~CutAndFillImpl() = default;

void CutAndFillImpl::go() {
    const MessageScope scope(&progress_);
    if (bStarted_ || !aSurfaces_[0].pZone || !aSurfaces_[1].pZone) {
        warning(LOCATION, bStarted_ ? "go() has been called before, nothing to do" : "A zone is NULL, nothing to do");
        return;
    }
    bStarted_ = true;
    progress_.start("CutAndFill", NUM_STEPS, Progress::fineStep(NUM_STEPS));
    const ProgressEnd progressEnd(progress_);
    readSurfaces();
    if (setResultZone() && insertSurfaces()) {
        setHeights();
        cutAlongZeroLine();
        progress_.incProgress(20);
        groupT();
    }
    progress_.finish();
}

// ---------------------------------------------------------------------------------------------------------------------
// The combined triangulation

void CutAndFillImpl::readSurfaces() {
    for (Surface& surface : aSurfaces_) {
        surface.vTriangles = getTriangles(*surface.pZone);
        peelSlivers(surface.vTriangles);
        std::vector<Point2*> vCorners;
        getVertices(surface.vTriangles, vCorners);
        for (const Point2* pVtx : vCorners) {
            surface.mIndices[pVtx] = surface.vPoints.size();
            surface.vPoints.emplace_back(pVtx->x(), pVtx->y(), pVtx->z());
        }
    }
    const Bbox2 box = getBox(aSurfaces_[0].vPoints);
    if (box.isValid()) weld(aSurfaces_[0].vPoints, getRoundingDistance(box), aSurfaces_[1].vPoints);
}

/// False, with a warning, if there is nothing to compare.
bool CutAndFillImpl::setResultZone() {
    combined_.initTaro(static_cast<unsigned>(aSurfaces_[0].vPoints.size() + aSurfaces_[1].vPoints.size()));
    Dt2& dt2 = *combined_.getImpl();
    dt2.getHeightBook().stop();  // the heights of both surfaces differ wherever their edges cross
    for (Surface& surface : aSurfaces_) {
        std::vector<Edge2> vBorderEdges;
        getBorderEdges(surface.vTriangles, vBorderEdges);
        std::vector<Segment2> vBorder;
        vBorder.reserve(vBorderEdges.size());
        for (const Edge2& edge : vBorderEdges) {
            vBorder.emplace_back(surface.getPoint(edge.getSrc()), surface.getPoint(edge.getTrg()));
        }
        surface.pBorder = dt2.getConstraintManager()->createConstraint_oriented(vBorder, CIS_CONSTRAINED_DELAUNAY);
    }
    Zone2* pOverlap = nullptr;
    if (aSurfaces_[0].pBorder && aSurfaces_[1].pBorder) {
        pOverlap = zoneIntersection(dt2.createZone(aSurfaces_[0].pBorder, ZL_BOUNDED),
                                    dt2.createZone(aSurfaces_[1].pBorder, ZL_BOUNDED));
        overlap_ = pOverlap->getBoundingBox();
    }
    if (!overlap_.isValid()) return refuse();
    pResultZone_ = pOverlap->convertToBoundedZone();
    return true;
}

bool CutAndFillImpl::insertSurfaces() {
    progress_.incProgress(10);
    for (const int ithInput : {0, 1}) {
        insertInnerSegments(ithInput);
        progress_.incProgress(40);
    }
    if (leaveOutside()) return true;
    pResultZone_ = nullptr;
    return refuse();
}

/// The edges of one surface that may be in the overlap, and the heights of their vertices.
void CutAndFillImpl::insertInnerSegments(int ithInput) {
    Surface& surface = aSurfaces_[ithInput];
    TriangleVector& vTriangles = surface.vTriangles;
    const auto isAside = [this](const Triangle2* pT) { return !overlap_.doIntersect(getBoxOf(pT)); };
    vTriangles.erase(std::remove_if(vTriangles.begin(), vTriangles.end(), isAside), vTriangles.end());

    std::vector<Point2*> vHandles;
    combined_.getImpl()->insertVector(surface.vPoints, vHandles);
    for (size_t i = 0; i < vHandles.size(); ++i) heights_[vHandles[i]].aHeights[ithInput] = surface.vPoints[i].z();
    // What only slivers have as a side comes last: see assignHeigthsOfConstraints.
    std::vector<VertexPair> vPairs, vOfSlivers;
    forEachEdge(vTriangles, [&](const Triangle2* pT, int i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        const bool bSlivers = isSliver(pT) && (!pN || isSliver(pN));
        const auto [pSrc, pTrg] = getEnds(pT, i);
        (bSlivers ? vOfSlivers : vPairs)
            .emplace_back(vHandles[surface.getIndex(pSrc)], vHandles[surface.getIndex(pTrg)]);
    });
    vPairs.insert(vPairs.end(), vOfSlivers.begin(), vOfSlivers.end());
    surface.pEdges =
        combined_.getImpl()->getConstraintManager()->createConstraint(vPairs, CIS_CONSTRAINED_DELAUNAY, true);
}

/// Where borders are bent to near vertices, a chain may run back over itself. Then the zone on its left also gets what is
/// outside, up to the next border, which has to go again. False if nothing would be left.
bool CutAndFillImpl::leaveOutside() {
    const EdgeSet sBorders = getAlivePieces({aSurfaces_[0].pBorder, aSurfaces_[1].pBorder});
    AddressSet asInputs[2] = {toSet(aSurfaces_[0].vTriangles), toSet(aSurfaces_[1].vTriangles)}, sSeen;
    const auto isInside = [&](const Point2& point) {
        for (const int ithInput : {0, 1}) {
            const Triangle2* pT = aSurfaces_[ithInput].pZone->getDelaunayTriangulation()->locate(point);
            if (!pT || !asInputs[ithInput].contains(pT)) return false;
        }
        return true;
    };
    const TriangleVector vTriangles = getTriangles(*pResultZone_);
    TriangleVector vInside;
    for (Triangle2* pT : vTriangles) {
        if (sSeen.contains(pT)) continue;
        TriangleVector vRegion;
        spread({pT}, sBorders, sSeen, vRegion);
        const auto hasLess = [](const Triangle2* pA, const Triangle2* pB) { return pA->getArea2D() < pB->getArea2D(); };
        const Triangle2* pLargest = *std::max_element(vRegion.begin(), vRegion.end(), hasLess);
        if (isInside(pLargest->getBarycenter())) vInside.insert(vInside.end(), vRegion.begin(), vRegion.end());
    }
    if (vInside.size() == vTriangles.size()) return true;
    Zone2* pInside = combined_.getImpl()->createZone(vInside, false);
    if (pInside) pResultZone_ = pInside;
    return pInside != nullptr;
}

// ---------------------------------------------------------------------------------------------------------------------
// Heights

void CutAndFillImpl::setHeights() {
    for (const int ithInput : {0, 1}) assignHeigthsOfConstraints(aSurfaces_[ithInput].pEdges, ithInput);
    std::vector<Point2*> vVertices;
    pResultZone_->getVertices(vVertices);
    complementHeightMap(vVertices);
    progress_.incProgress(20);
    setCombinedHeights(vVertices);
    progress_.incProgress(5);
}

/// Vertices on the edges of a surface get the heights of these edges. Edges that are nearer to each other than constraints
/// can be told apart share such vertices, though they may have very different heights, like the three sides of a sliver at
/// the hull. The first one counts, so that what is wrong then is the height of the sliver, not that of the ground beside it.
void CutAndFillImpl::assignHeigthsOfConstraints(const ConstraintGraph2* pCG, int ithInput) {
    TARO_ASSERT_TEXT(ithInput == 0 || ithInput == 1, "ithInput==0 || ithInput==1");
    std::vector<ConstraintSegment2*> vEdges, vPieces;
    pCG->getOriginalConstraintSegments(vEdges);
    for (ConstraintSegment2* pEdge : vEdges) {
        if (pEdge->isAlive()) continue;
        const auto getEnd = [&](const Point2* pVtx) {
            return Point2(pVtx->x(), pVtx->y(), heights_[pVtx].aHeights[ithInput]);
        };
        const Point2 src = getEnd(pEdge->getSrc()), trg = getEnd(pEdge->getTrg());
        vPieces.clear();
        pEdge->getChildrenRec(vPieces);
        for (const ConstraintSegment2* pPiece : vPieces) {
            for (const Point2* pVtx : {pPiece->getSrc(), pPiece->getTrg()}) {
                double& height = heights_[pVtx].aHeights[ithInput];
                if (height == BeforeAfter::MISSING) height = getZOnSegment(src, trg, pVtx->x(), pVtx->y());
            }
        }
    }
}

void CutAndFillImpl::complementHeightMap(const std::vector<Point2*>& vVertices) {
    for (const Point2* pVtx : vVertices) {
        for (const int ithInput : {0, 1}) {
            if (heights_[pVtx].aHeights[ithInput] == BeforeAfter::MISSING) setOneMissingHeight(pVtx, ithInput);
        }
    }
}

void CutAndFillImpl::setOneMissingHeight(const Point2* pVtx, int ithInput) {
    const Dt2& dt2 = *aSurfaces_[ithInput].pZone->getDelaunayTriangulation();
    Triangle2* pT = dt2.locate(*pVtx);
    if (!pT) pT = getNearestHullTriangle(dt2, *pVtx);
    if (pT) pT = leaveSlivers(pT, *pVtx);
    // Where even that has no area the answer is false and the height a mean, which is as good as any.
    double& height = heights_[pVtx].aHeights[ithInput];
    dt2.getHeight(pVtx->x(), pVtx->y(), height, pT, 0.0);
    if (height == BeforeAfter::MISSING) Note(LOCATION) << "### MISS: pVtx=" << *pVtx << "\n";
}

void CutAndFillImpl::setCombinedHeights(const std::vector<Point2*>& vVertices) {
    for (Point2* pVtx : vVertices) {
        BeforeAfter& ofVtx = heights_[pVtx];
        const double h0 = ofVtx.before(), h1 = ofVtx.after();
        TARO_ASSERT_TEXT(h0 != BeforeAfter::MISSING && h1 != BeforeAfter::MISSING,
                         "h0!=double(1.79769313486231570815e+308L) && h1!=double(1.79769313486231570815e+308L)");
        const double d = std::clamp(h0 - h1, -MAX_COMBINED_HEIGHT, MAX_COMBINED_HEIGHT);
        if (!(std::abs(d) > 0.0) || std::abs(d) <= tolerance_) {
            setToZero(pVtx);
        } else {
            ofVtx.combined = d;
            pVtx->set(pVtx->x(), pVtx->y(), d);
        }
    }
}

/// Vertices that have appeared since have none yet.
double CutAndFillImpl::getCombinedHeight(const Point2* pVtx) const {
    const BeforeAfter* pHeights = heights_.find(pVtx);
    return pHeights ? pHeights->combined : BeforeAfter::MISSING;
}

void CutAndFillImpl::setToZero(Point2* pVtx) {
    BeforeAfter& ofVtx = heights_[pVtx];
    if (ofVtx.before() != ofVtx.after()) {
        ofVtx.aHeights[0] = ofVtx.aHeights[1] = 0.5 * ofVtx.before() + 0.5 * ofVtx.after();
    }
    ofVtx.combined = 0.0;
    pVtx->set(pVtx->x(), pVtx->y(), 0.0);
}

// ---------------------------------------------------------------------------------------------------------------------
// The zero line

void CutAndFillImpl::cutAlongZeroLine() {
    for (int numRounds = 0; numRounds < MAX_ROUNDS; ++numRounds) {
        const Cuts cuts = virtualCut();
        if (cuts.vCuts.empty()) return;
        if (numRounds > 0) {
            warning(LOCATION, toText("CutAndFillImpl::addMissingSplitPoints, retry (vnew): ", cuts.vCuts.size()));
        }
        realCut(cuts);
        leaveOutside();
        addNewVertices();
    }
    postRound();
}

/// Which edges have to be split, and what the zero line will join. Changes nothing.
CutAndFillImpl::Cuts CutAndFillImpl::virtualCut() const {
    Cuts cuts;
    const TriangleVector vTriangles = getTriangles(*pResultZone_);
    forEachEdge(vTriangles, [&](const Triangle2* pT, int i) {
        if (isMixed(getEnds(pT, i))) cuts.vCuts.push_back(cutEdge(getEnds(pT, i)));
    });
    for (const Triangle2* pT : vTriangles) cutT(pT, cuts.vZeroLine);
    return cuts;
}

CutAndFillImpl::CutHelper CutAndFillImpl::cutEdge(const VertexPair& edge) const {
    // From the nearer end, and for either direction of the edge the same.
    auto [pNear, pFar] = edge;
    const double dNear = std::abs(pNear->z()), dFar = std::abs(pFar->z());
    if (dFar < dNear || (dFar == dNear && *pFar < *pNear)) std::swap(pNear, pFar);
    const double t = pNear->z() / (pNear->z() - pFar->z());
    const auto interpolate = [t](double from, double to) {
        return from + 2.0 * t * (0.5 * to - 0.5 * from);  // t is at most a half, so that nothing overflows
    };
    const Point2 place(interpolate(pNear->x(), pFar->x()), interpolate(pNear->y(), pFar->y()), 0.0);
    const double sqLength = sqDistance2D(*pNear, *pFar);
    if (!(sqDistance2D(place, *pNear) < sqLength && sqDistance2D(place, *pFar) < sqLength)) {
        warning("CutAndFillImpl::virtualCut()", "close intersection skipped");
        return {{pNear, pFar}, *pNear, 0.0, true};
    }
    const double splitHeight = interpolate(pNear->z(), pFar->z());
    if (std::abs(splitHeight) > MAX_SPLIT_HEIGHT) {
        warning("CutAndFillImpl::cutT()", toText("splitHeight=", splitHeight, "instead of 0, using 0"));
    }
    const BeforeAfter &atNear = *heights_.find(pNear), &atFar = *heights_.find(pFar);
    const double before = interpolate(atNear.before(), atFar.before());
    const double after = interpolate(atNear.after(), atFar.after());
    if (std::abs(before - after) > MAX_HEIGHT_DIFFERENCE) {
        warning("CutAndFillImpl::cutT()", toText("height difference=", before - after, ", using the mean"));
    }
    return {{pNear, pFar}, place, 0.5 * before + 0.5 * after, false};
}

void CutAndFillImpl::cutT(const Triangle2* pT, std::vector<ZeroSegment>& vZeroLine) {
    int numMixed = 0, aMixed[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        if (isMixed(getEnds(pT, i))) aMixed[numMixed++] = i;
    }
    if (numMixed == 0) return;
    // With one such edge, the corner opposite to it is on the zero line.
    const VertexPair toEdge = numMixed == 2 ? getEnds(pT, aMixed[1]) : VertexPair();
    vZeroLine.push_back({getEnds(pT, aMixed[0]), toEdge, numMixed == 2 ? nullptr : pT->getCorner(aMixed[0])});
}

void CutAndFillImpl::realCut(const Cuts& cuts) {
    ConstraintMgr& manager = *combined_.getImpl()->getConstraintManager();
    std::vector<VertexPair> vEdges, vZeroLine;
    for (const CutHelper& cut : cuts.vCuts) vEdges.push_back(cut.edge);
    manager.createConstraint(vEdges, CIS_CONSTRAINED_DELAUNAY, true);
    VertexPairMap<Point2> mZeros;
    for (const CutHelper& cut : cuts.vCuts) {
        if (Point2* pZero = splitAtZero(cut)) mZeros.add(cut.edge.first, cut.edge.second, pZero);
    }
    const auto isZero = [this](const Point2* pVtx) { return pVtx && getCombinedHeight(pVtx) == 0.0; };
    for (const ZeroSegment& segment : cuts.vZeroLine) {
        const auto getZero = [&](const VertexPair& edge) { return mZeros.find(edge.first, edge.second); };
        Point2 *pSrc = getZero(segment.fromEdge), *pTrg = segment.pToCorner;
        if (!pTrg) pTrg = getZero(segment.toEdge);
        if (pSrc != pTrg && isZero(pSrc) && isZero(pTrg)) vZeroLine.emplace_back(pSrc, pTrg);
    }
    manager.createConstraint(vZeroLine, CIS_CONSTRAINED_DELAUNAY, true);
}

/// The vertex at which the difference has become 0; null if the edge has been split elsewhere meanwhile.
Point2* CutAndFillImpl::splitAtZero(const CutHelper& cut) {
    Point2* pZero = nullptr;
    if (!cut.bMerged) {
        ConstraintSegment2* pCSeg = combined_.getConstraintSegment(cut.edge.first, cut.edge.second);
        if (!pCSeg) return nullptr;
        pZero = pCSeg->insertAndSplit(cut.place);
        if (pZero && getCombinedHeight(pZero) != BeforeAfter::MISSING) return pZero;  // it was there before
        if (pZero) heights_[pZero].aHeights[0] = heights_[pZero].aHeights[1] = cut.height;
    }
    if (!pZero) pZero = cut.edge.first;
    setToZero(pZero);
    return pZero;
}

/// Splitting edges may make more vertices than the zeros, where they cross others by rounding.
void CutAndFillImpl::addNewVertices() {
    std::vector<Point2*> vVertices;
    pResultZone_->getVertices(vVertices);
    const auto isKnown = [this](const Point2* pVtx) { return getCombinedHeight(pVtx) != BeforeAfter::MISSING; };
    vVertices.erase(std::remove_if(vVertices.begin(), vVertices.end(), isKnown), vVertices.end());
    complementHeightMap(vVertices);
    setCombinedHeights(vVertices);
}

/// Where rounding leaves a triangle on both sides after all, the smaller one gives way.
void CutAndFillImpl::postRound() {
    bool bRounded = false;
    for (const Triangle2* pT : getTriangles(*pResultZone_)) {
        if (getTriangleType(pT) != TT_INVALID) continue;
        Note(LOCATION) << "TT_INVALID for " << *pT;
        bRounded = true;
        const auto [minZ, maxZ] = std::minmax({pT->getCorner(0)->z(), pT->getCorner(1)->z(), pT->getCorner(2)->z()});
        for (int i = 0; i < 3; ++i) {
            Point2* pVtx = pT->getCorner(i);
            if (-minZ < maxZ ? pVtx->z() < 0.0 : pVtx->z() > 0.0) setToZero(pVtx);
        }
    }
    if (bRounded) warning(LOCATION, "insufficient numeric accuracy, small differences are set to 0");
}

// ---------------------------------------------------------------------------------------------------------------------
// Components

CutAndFillImpl::TriType CutAndFillImpl::getTriangleType(const Triangle2* pT) const {
    bool bCut = false, bFill = false;
    for (int i = 0; i < 3; ++i) {
        const Point2* pVtx = pT->getCorner(i);
        const double combined = getCombinedHeight(pVtx), z = pVtx->z();
        if (!(std::abs(combined - z) <= MAX_TYPE_DIFFERENCE)) {
            const bool bEnd = !hasMessageHandler();
            Note(LOCATION, ML_ERROR) << "\ngetTriangleType, pVtx=" << *pVtx << ", but combined height is: " << combined
                                     << "\n";
            if (bEnd) std::exit(1);
            throw TaroException();
        }
        bCut = bCut || z > 0.0;
        bFill = bFill || z < 0.0;
    }
    if (bCut) return bFill ? TT_INVALID : TT_CUT;
    return bFill ? TT_FILL : TT_NO_CHANGE;
}

void CutAndFillImpl::groupT() {
    TriangleVector avByType[TT_FILL + 1];
    for (Triangle2* pT : getTriangles(*pResultZone_)) {
        const TriType type = getTriangleType(pT);
        if (type == TT_CUT) {
            TARO_ASSERT_TEXT(pT->getCorner(0)->z() >= 0, "pT->getCorner(0)->z()>=0");
            TARO_ASSERT_TEXT(pT->getCorner(1)->z() >= 0, "pT->getCorner(1)->z()>=0");
            TARO_ASSERT_TEXT(pT->getCorner(2)->z() >= 0, "pT->getCorner(2)->z()>=0");
        } else if (type == TT_FILL) {
            TARO_ASSERT_TEXT(pT->getCorner(0)->z() <= 0, "pT->getCorner(0)->z()<=0");
            TARO_ASSERT_TEXT(pT->getCorner(1)->z() <= 0, "pT->getCorner(1)->z()<=0");
            TARO_ASSERT_TEXT(pT->getCorner(2)->z() <= 0, "pT->getCorner(2)->z()<=0");
        }
        avByType[type].push_back(pT);
    }
    progress_.incProgress(5);
    for (const TriType type : {TT_NO_CHANGE, TT_CUT, TT_FILL}) groupT2(avByType[type]);
}

void CutAndFillImpl::groupT2(const std::vector<Triangle2*>& vTriangles) {
    for (const ConnectedComponent& component : getComponentsInPlaneOrder(vTriangles)) {
        const int label = static_cast<int>(vComponents_.size());
        vComponents_.push_back(std::make_unique<CAF_Component>(component.getTriangles(), heights_, label));
    }
}

CAF_Component* CutAndFillImpl::getComponent(size_t i) const {
    TARO_ASSERT_TEXT(vComponents_.size() > i, "vComponents.size()>i");
    return vComponents_[i].get();
}

void CutAndFillImpl::getDiffZone(Zone2*& pDiffZone,
                                 std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter) const {
    pDiffZone = pResultZone_;
    mVtx2BeforeAfter.clear();
    if (!pResultZone_) return;
    std::vector<Point2*> vVertices;
    pResultZone_->getVertices(vVertices);
    std::sort(vVertices.begin(), vVertices.end(), std::less<>());
    for (Point2* pVtx : vVertices) {
        const BeforeAfter& ofVtx = *heights_.find(pVtx);
        mVtx2BeforeAfter.emplace_hint(mVtx2BeforeAfter.end(), pVtx, std::make_pair(ofVtx.before(), ofVtx.after()));
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Output

void CutAndFillImpl::show(Visualizer2* pVisualizer) const {
    if (!pVisualizer) return;
    const Color aColors[] = {Color(0.9, 0.9, 0.9, 0.05, true), Color(CRED, 0.05f, true), Color(CBLUE, 0.05f, true)};
    for (const auto& pComponent : vComponents_) {
        std::vector<Triangle2*> vTriangles;
        pComponent->getTriangles(vTriangles);
        pVisualizer->addObject(vTriangles, aColors[pComponent->getCAFType()]);
        if (pComponent->getCAFType() == CT_NO_CHANGE) continue;
        std::vector<Segment2> vBorder;
        pComponent->getBorder(vBorder);
        for (const Segment2& segment : vBorder) {
            const bool bZero = segment.getSrc().z() == 0.0 && segment.getTrg().z() == 0.0;
            if (bZero) pVisualizer->addObject(segment, Color(CBLACK, 0.5f));
        }
    }
}

bool CutAndFillImpl::checkHeightMap(const Zone2* pCombinedZone) const {
    if (!pCombinedZone) {
        Note(LOCATION) << "checkHeightMap: pCombinedZone==NULL, returning\n";
        return false;
    }
    std::vector<Point2*> vVertices;
    pCombinedZone->getVertices(vVertices);
    const auto isSound = [this](const Point2* pVtx) {
        const BeforeAfter* pHeights = heights_.find(pVtx);
        const bool bSound = pHeights && pHeights->before() != BeforeAfter::MISSING &&
                            pHeights->after() != BeforeAfter::MISSING && pHeights->combined == pVtx->z();
        if (!bSound) Note(LOCATION) << "checkHeightMap: " << *pVtx << "\n";
        return bSound;
    };
    return std::count_if(vVertices.begin(), vVertices.end(), isSound) == static_cast<std::ptrdiff_t>(vVertices.size());
}

bool CutAndFillImpl::verifyHeightMap(const std::string& name) const {
    Note(LOCATION) << "\n\n\n*** verifyHeightMap for " << name << "\n";
    const bool bOkay = checkHeightMap(pResultZone_);
    if (bOkay) Note(LOCATION) << "\n\n\n*** verifyHeightMap OKAY for " << name << "\n";
    return bOkay;
}

}  // namespace LUMO_TARO25D
