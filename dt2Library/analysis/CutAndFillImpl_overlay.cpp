// The combined triangulation, and the heights of its vertices.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <utility>

#include "analysis/CutAndFillImpl.h"
#include "analysis/planeOrder.h"
#include "analysis/slivers.h"
#include "analysis/weld.h"
#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "CutAndFill";

/// Differences of heights are clamped to this, so that differences between them are finite.
constexpr double MAX_COMBINED_HEIGHT = 0.5 * std::numeric_limits<double>::max();

Bbox2 getBoxOf(const Triangle2* pT) {
    Bbox2 box;
    for (int i = 0; i < 3; ++i) box.add(*pT->getCorner(i));
    return box;
}

/// Warns; returns false.
bool refuse() {
    warning(LOCATION, "Zones do not overlap, nothing to do");
    return false;
}

}  // namespace

void CutAndFillImpl::readSurfaces() {
    for (Surface& surface : aSurfaces_) {
        surface.vTriangles = getTrianglesInPlaneOrder(*surface.pZone);
        peelSlivers(surface.vTriangles);
        sortAlongCurve(surface.vTriangles);
        std::vector<Point2*> vCorners;
        getVertices(surface.vTriangles, vCorners);
        CancelPoint<> cancelPoint;
        for (const Point2* pVtx : vCorners) {
            cancelPoint.pass();
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
    const std::vector<EdgeCrossings::Edge> avEdges[2] = {getInnerSegments(0), getInnerSegments(1)};
    const EdgeCrossings crossings(*aSurfaces_[0].pZone->getDelaunayTriangulation(), {aSurfaces_[0].vPoints, avEdges[0]},
                                  {aSurfaces_[1].vPoints, avEdges[1]});
    for (size_t i = 0; i < aSurfaces_[1].vPoints.size(); ++i) {
        aSurfaces_[1].vBelow.push_back(crossings.getTriangleAround(i));
    }
    const std::vector<Point2*> vCrossings = insertPoints(crossings);
    for (const int ithInput : {0, 1}) {
        divideEdges(ithInput, crossings, vCrossings);
        progress_.incProgress(40);
    }
    establishPieces();
    if (leaveOutside()) return true;
    pResultZone_ = nullptr;
    return refuse();
}

/// The edges of one surface that may be in the overlap.
std::vector<EdgeCrossings::Edge> CutAndFillImpl::getInnerSegments(int ithInput) {
    Surface& surface = aSurfaces_[ithInput];
    std::vector<Triangle2*>& vTriangles = surface.vTriangles;
    const auto isAside = [this](const Triangle2* pT) { return !overlap_.doIntersect(getBoxOf(pT)); };
    vTriangles.erase(std::remove_if(vTriangles.begin(), vTriangles.end(), isAside), vTriangles.end());
    AddressSet sInside = toSet(vTriangles);
    std::vector<EdgeCrossings::Edge> vEdges, vOfSlivers;
    forEachEdge(vTriangles, [&](const Triangle2* pT, int i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        const bool bSlivers = isSliver(pT) && (!pN || isSliver(pN));
        const auto [pSrc, pTrg] = getEnds(pT, i);
        (bSlivers ? vOfSlivers : vEdges)
            .push_back({pT, i, pN && sInside.contains(pN), static_cast<std::uint32_t>(surface.getIndex(pSrc)),
                        static_cast<std::uint32_t>(surface.getIndex(pTrg))});
    });
    // Edges that have slivers on all sides come last: see assignHeigthsOfConstraints.
    vEdges.insert(vEdges.end(), vOfSlivers.begin(), vOfSlivers.end());
    return vEdges;
}

/// Inserts all vertices at once, those of both surfaces and the crossings of their edges, with the heights that are
/// known.
std::vector<Point2*> CutAndFillImpl::insertPoints(const EdgeCrossings& crossings) {
    std::vector<Point2> vPoints;
    for (const Surface& surface : aSurfaces_) {
        vPoints.insert(vPoints.end(), surface.vPoints.begin(), surface.vPoints.end());
    }
    for (const EdgeCrossings::Crossing& crossing : crossings.getCrossings()) vPoints.push_back(crossing.getPlace());
    std::vector<Point2*> vHandles;
    combined_.getImpl()->insertVector(vPoints, vHandles);
    size_t k = 0;
    CancelPoint<> cancelPoint;
    for (const int ithInput : {0, 1}) {
        Surface& surface = aSurfaces_[ithInput];
        for (const Point2& point : surface.vPoints) {
            cancelPoint.pass();
            surface.vHandles.push_back(vHandles[k++]);
            heights_[surface.vHandles.back()].aHeights[ithInput] = point.z();
        }
    }
    vHandles.erase(vHandles.begin(), vHandles.begin() + static_cast<std::ptrdiff_t>(k));
    for (k = 0; k < vHandles.size(); ++k) {
        cancelPoint.pass();
        for (const int ithInput : {0, 1}) {
            double& height = heights_[vHandles[k]].aHeights[ithInput];
            if (height == BeforeAfter::MISSING) height = crossings.getCrossings()[k].aHeights[ithInput];
        }
    }
    return vHandles;
}

void CutAndFillImpl::divideEdges(int ithInput, const EdgeCrossings& crossings, const std::vector<Point2*>& vCrossings) {
    const Surface& surface = aSurfaces_[ithInput];
    std::vector<LinePiece>& vPieces = aLines_[ithInput].vPieces;
    vPieces.reserve(crossings.getNumberOfPieces(ithInput));
    CancelPoint<> cancelPoint;
    crossings.forEachEdge(ithInput, [&](const EdgeCrossings::Edge& edge, const std::vector<std::uint32_t>& vOnEdge) {
        cancelPoint.pass();
        Point2* pAt = surface.vHandles[edge.src];
        const auto goTo = [&](Point2* pNext) {
            if (pNext != pAt) vPieces.emplace_back(pAt, pNext);
            pAt = pNext;
        };
        for (const std::uint32_t crossing : vOnEdge) goTo(vCrossings[crossing]);
        goTo(surface.vHandles[edge.trg]);
    });
}

/// Makes constraints of the pieces that are no edges, until all remaining pieces are edges. Most pieces are Delaunay:
/// they are edges without being constraints, and constraints that do not cross them leave them so. A piece that ceases
/// to be an edge because of a new vertex is found in the next round.
void CutAndFillImpl::establishPieces() {
    ConstraintMgr& manager = *combined_.getImpl()->getConstraintManager();
    const size_t numLines = std::size(aLines_);
    for (size_t k = 0, numComplete = 0; numComplete < numLines; k = (k + 1) % numLines) {
        const std::vector<VertexPair> vMissing = takeMissing(aLines_[k]);
        ++numComplete;
        if (vMissing.empty()) continue;
        aLines_[k].vGraphs.push_back(manager.createEdges(vMissing, CIS_CONSTRAINED_DELAUNAY, false));
        numComplete = 0;
    }
}

/// Takes the pieces that are no edges out of the list, which keeps its order.
std::vector<CutAndFillImpl::VertexPair> CutAndFillImpl::takeMissing(Lines& lines) const {
    constexpr std::ptrdiff_t AHEAD = 16;
    std::vector<VertexPair> vMissing;
    const Triangle2* pNear = nullptr;
    const LinePiece* const pEnd = lines.vPieces.data() + lines.vPieces.size();
    CancelPoint<> cancelPoint;
    const auto isMissing = [&](LinePiece& piece) {
        cancelPoint.pass();
        if (pEnd - &piece > AHEAD) __builtin_prefetch((&piece)[AHEAD].pT);
        const bool bThere = isEdge(*combined_.getImpl(), piece, pNear);
        if (!bThere) vMissing.push_back(piece.getEnds());
        pNear = piece.pT;
        return !bThere;
    };
    lines.vPieces.erase(std::remove_if(lines.vPieces.begin(), lines.vPieces.end(), isMissing), lines.vPieces.end());
    return vMissing;
}

/// Lists the triangles of the result zone in the order of their records, in which neighbours are close together.
void CutAndFillImpl::listResult() {
    std::vector<Triangle2*> vTriangles;
    pResultZone_->getTriangles(vTriangles);
    sResult_ = toSet(vTriangles);
    vResultTriangles_.clear();
    vResultTriangles_.reserve(vTriangles.size());
    CancelPoint<> cancelPoint;
    combined_.getImpl()->forEachTriangle([&](Triangle2* pT) {
        cancelPoint.pass();
        if (sResult_.contains(pT)) vResultTriangles_.push_back(pT);
    });
}

/// Whether the result lies on both sides of a piece of a border.
bool CutAndFillImpl::doesBorderFold() const {
    const Dt2& dt2 = *combined_.getImpl();
    std::vector<ConstraintSegment2*> vPieces;
    for (const Surface& surface : aSurfaces_) surface.pBorder->getChildConstraintSegments(vPieces);
    CancelPoint<> cancelPoint;
    return std::any_of(vPieces.begin(), vPieces.end(), [&](const ConstraintSegment2* pPiece) {
        cancelPoint.pass();
        const Triangle2* pLeft = dt2.getAdjacentTriangle(pPiece->getSrc(), pPiece->getTrg());
        const Triangle2* pRight = dt2.getAdjacentTriangle(pPiece->getTrg(), pPiece->getSrc());
        return pLeft && pRight && sResult_.contains(pLeft) && sResult_.contains(pRight);
    });
}

/// Where borders are bent to near vertices, a chain may run back over itself. The zone on its left then also contains
/// regions outside the border, which are removed here. False if no triangle remains.
bool CutAndFillImpl::leaveOutside() {
    listResult();
    if (!doesBorderFold()) return true;
    const EdgeSet sBorders = getAlivePieces({aSurfaces_[0].pBorder, aSurfaces_[1].pBorder});
    AddressSet asInputs[2] = {toSet(aSurfaces_[0].vTriangles), toSet(aSurfaces_[1].vTriangles)}, sSeen;
    const auto isInside = [&](const Point2& point) {
        for (const int ithInput : {0, 1}) {
            const Triangle2* pT = aSurfaces_[ithInput].pZone->getDelaunayTriangulation()->locate(point);
            if (!pT || !asInputs[ithInput].contains(pT)) return false;
        }
        return true;
    };
    std::vector<Triangle2*> vInside;
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vResultTriangles_) {
        cancelPoint.pass();
        if (sSeen.contains(pT)) continue;
        std::vector<Triangle2*> vRegion;
        spread({pT}, sBorders, sSeen, vRegion);
        const auto hasLess = [](const Triangle2* pA, const Triangle2* pB) { return pA->getArea2D() < pB->getArea2D(); };
        const Triangle2* pLargest = *std::max_element(vRegion.begin(), vRegion.end(), hasLess);
        if (isInside(pLargest->getBarycenter())) vInside.insert(vInside.end(), vRegion.begin(), vRegion.end());
    }
    if (vInside.size() == vResultTriangles_.size()) return true;
    Zone2* pInside = combined_.getImpl()->createZone(vInside, false);
    if (!pInside) return false;
    pResultZone_ = pInside;
    listResult();
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Heights

void CutAndFillImpl::setHeights() {
    for (const int ithInput : {0, 1}) {
        for (const ConstraintGraph2* pGraph : aLines_[ithInput].vGraphs) assignHeigthsOfConstraints(pGraph, ithInput);
    }
    useLocations();
    std::vector<Point2*> vVertices;
    getVertices(vResultTriangles_, vVertices);
    complementHeightMap(vVertices);
    progress_.incProgress(20);
    setCombinedHeights(vVertices);
    progress_.incProgress(5);
}

/// Vertices on the edges of a surface get the heights of these edges. Edges so close together that constraints along
/// them merge share such vertices, although their heights may differ much, like those of the three sides of a sliver at
/// the hull. The first edge gives the height; edges of slivers come last, so that only the sliver may get a wrong
/// height, and not the ground beside it.
void CutAndFillImpl::assignHeigthsOfConstraints(const ConstraintGraph2* pCG, int ithInput) {
    TARO_ASSERT_TEXT(ithInput == 0 || ithInput == 1, "ithInput==0 || ithInput==1");
    std::vector<ConstraintSegment2*> vEdges, vPieces;
    pCG->getOriginalConstraintSegments(vEdges);
    CancelPoint<> cancelPoint;
    for (ConstraintSegment2* pEdge : vEdges) {
        cancelPoint.pass();
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
                if (height == BeforeAfter::MISSING) height = getHeightOn(src, trg, pVtx->x(), pVtx->y());
            }
        }
    }
}

void CutAndFillImpl::complementHeightMap(const std::vector<Point2*>& vVertices) {
    CancelPoint<> cancelPoint;
    for (const Point2* pVtx : vVertices) {
        cancelPoint.pass();
        for (const int ithInput : {0, 1}) {
            if (heights_[pVtx].aHeights[ithInput] == BeforeAfter::MISSING) setOneMissingHeight(pVtx, ithInput);
        }
    }
}

/// Where the points of the second surface lie in the first one is known from the crossings.
void CutAndFillImpl::useLocations() {
    const Surface& second = aSurfaces_[1];
    CancelPoint<> cancelPoint;
    for (size_t i = 0; i < second.vPoints.size(); ++i) {
        cancelPoint.pass();
        const Point2* pVtx = second.vHandles[i];
        if (second.vBelow[i] && heights_[pVtx].before() == BeforeAfter::MISSING)
            setOneMissingHeight(pVtx, 0, second.vBelow[i]);
    }
}

/// pAround is the triangle that contains the vertex, if it is known.
void CutAndFillImpl::setOneMissingHeight(const Point2* pVtx, int ithInput, Triangle2* pAround) {
    const Dt2& dt2 = *aSurfaces_[ithInput].pZone->getDelaunayTriangulation();
    Triangle2* pT = pAround ? pAround : dt2.locate(*pVtx);
    if (!pT) pT = getNearestHullTriangle(dt2, *pVtx);
    if (pT) pT = leaveSlivers(pT, *pVtx);
    // If that triangle has no area either, getHeight returns false and gives a mean height, which is good enough.
    double& height = heights_[pVtx].aHeights[ithInput];
    dt2.getHeight(pVtx->x(), pVtx->y(), height, pT, 0.0);
    if (height == BeforeAfter::MISSING) Note(LOCATION) << "### MISS: pVtx=" << *pVtx << "\n";
}

void CutAndFillImpl::setCombinedHeights(const std::vector<Point2*>& vVertices) {
    CancelPoint<> cancelPoint;
    for (Point2* pVtx : vVertices) {
        cancelPoint.pass();
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

/// MISSING for a vertex that was inserted since heights were set last.
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

}  // namespace LUMO_TARO25D
