// The line along which two surfaces meet becomes edges of the combined triangulation.

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <utility>

#include "analysis/CutAndFillImpl.h"
#include "analysis/slivers.h"
#include "constraints/ConstraintMgr.h"
#include "kernel/links.h"
#include "kernel/tolerances.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "CutAndFill";
constexpr int MAX_ROUNDS = 10;

template <class T>
std::string toText(const char* before, const T& value, const char* after = "") {
    std::ostringstream text;
    text << before << value << after;
    return text.str();
}

/// Whether the difference changes its sign between two vertices.
bool isMixed(const std::pair<Point2*, Point2*>& edge) {
    const double d0 = edge.first->z(), d1 = edge.second->z();
    return (d0 < 0.0 && d1 > 0.0) || (d0 > 0.0 && d1 < 0.0);
}

bool hasBothSigns(const Triangle2* pT) {
    const double z0 = pT->getCorner(0)->z(), z1 = pT->getCorner(1)->z(), z2 = pT->getCorner(2)->z();
    return std::min({z0, z1, z2}) < 0.0 && std::max({z0, z1, z2}) > 0.0;
}

bool isAwayFromEnds(const Point2& place, const std::pair<Point2*, Point2*>& edge) {
    const double clearance = getClearance(std::max(std::abs(place.x()), std::abs(place.y())));
    return distance2D(place, *edge.first) > clearance && distance2D(place, *edge.second) > clearance;
}

}  // namespace

void CutAndFillImpl::cutAlongZeroLine() {
    for (int numRounds = 0; numRounds < MAX_ROUNDS; ++numRounds) {
        const Cuts cuts = virtualCut();
        if (cuts.vCuts.empty()) return;
        if (numRounds > 1) {  // the first round leaves zeros next to ends to the second
            warning(LOCATION, toText("CutAndFillImpl::addMissingSplitPoints, retry (vnew): ", cuts.vCuts.size()));
        }
        numRounds == 0 ? insertZeros(cuts) : realCut(cuts);
        establishPieces();
        leaveOutside();
        addNewVertices();
    }
    postRound();
}

/// Finds the edges to be split, and the ends of the pieces of the zero line. Changes nothing.
CutAndFillImpl::Cuts CutAndFillImpl::virtualCut() const {
    Cuts cuts;
    AddressSet sDone;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vResultTriangles_) {
        cancelPoint.pass();
        if (!hasBothSigns(pT)) continue;
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (isMixed(getEnds(pT, i)) && !(pN && sDone.contains(pN))) cuts.vCuts.push_back(cutEdge(getEnds(pT, i)));
        }
        sDone.insert(pT);
        cutT(pT, cuts.vZeroLine);
    }
    return cuts;
}

CutAndFillImpl::CutHelper CutAndFillImpl::cutEdge(const VertexPair& edge) const {
    // From the end nearer to the zero, so that both directions of an edge give one result.
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
    // With one such edge, the corner opposite to it is on the zero line.
    const VertexPair toEdge = numMixed == 2 ? getEnds(pT, aMixed[1]) : VertexPair();
    vZeroLine.push_back({getEnds(pT, aMixed[0]), toEdge, numMixed == 2 ? nullptr : pT->getCorner(aMixed[0])});
}

/// Inserts all zeros that are not next to an end of their edge, in bulk, and merges those that coincide with an end.
/// The other zeros are left to realCut.
void CutAndFillImpl::insertZeros(const Cuts& cuts) {
    std::vector<const CutHelper*> vInserted;
    std::vector<Point2> vPlaces;
    CancelPoint<> cancelPoint;
    for (const CutHelper& cut : cuts.vCuts) {
        cancelPoint.pass();
        if (cut.bMerged || !isAwayFromEnds(cut.place, cut.edge)) continue;
        vInserted.push_back(&cut);
        vPlaces.push_back(cut.place);
    }
    std::vector<Point2*> vHandles;
    combined_.getImpl()->insertVector(vPlaces, vHandles);
    VertexPairMap<Point2> mZeros;
    mZeros.reserve(cuts.vCuts.size());
    for (size_t k = 0; k < vHandles.size(); ++k) {
        cancelPoint.pass();
        const CutHelper& cut = *vInserted[k];
        mZeros.add(cut.edge.first, cut.edge.second, vHandles[k]);
        if (getCombinedHeight(vHandles[k]) != BeforeAfter::MISSING) continue;  // it was there before
        heights_[vHandles[k]].aHeights[0] = heights_[vHandles[k]].aHeights[1] = cut.height;
        setToZero(vHandles[k]);
    }
    AddressSet sOnPieces;
    for (Lines& lines : aLines_) dividePieces(mZeros, lines.vPieces, sOnPieces);
    for (const CutHelper& cut : cuts.vCuts) {
        if (!cut.bMerged) continue;
        setToZero(cut.edge.first);
        mZeros.add(cut.edge.first, cut.edge.second, cut.edge.first);
    }
    std::vector<LinePiece>& vPieces = aLines_[2].vPieces;
    for (const auto& [pSrc, pTrg] : joinZeros(cuts, mZeros)) vPieces.emplace_back(pSrc, pTrg);
    // With a threshold the difference is not linear within a cell, so that divided diagonals must stay too.
    for (size_t k = 0; tolerance_ > 0.0 && k < vHandles.size(); ++k) {
        if (sOnPieces.contains(vHandles[k])) continue;
        for (Point2* pEnd : {vInserted[k]->edge.first, vInserted[k]->edge.second}) {
            if (pEnd != vHandles[k]) vPieces.emplace_back(pEnd, vHandles[k]);
        }
    }
}

void CutAndFillImpl::dividePieces(const VertexPairMap<Point2>& mZeros, std::vector<LinePiece>& vPieces,
                                  AddressSet& sOnPieces) {
    std::vector<LinePiece> vDivided;
    vDivided.reserve(vPieces.size() + vPieces.size() / 2);
    CancelPoint<> cancelPoint;
    for (const LinePiece& piece : vPieces) {
        cancelPoint.pass();
        Point2* pZero = isMixed(piece.getEnds()) ? mZeros.find(piece.pSrc, piece.pTrg) : nullptr;
        vDivided.push_back(piece);
        if (!pZero) continue;
        sOnPieces.insert(pZero);
        vDivided.back().pTrg = pZero;
        vDivided.emplace_back(pZero, piece.pTrg);
    }
    vPieces.swap(vDivided);
}

/// The pieces of the zero line whose ends have become vertices.
std::vector<CutAndFillImpl::VertexPair> CutAndFillImpl::joinZeros(const Cuts& cuts,
                                                                  const VertexPairMap<Point2>& mZeros) const {
    std::vector<VertexPair> vZeroLine;
    const auto isZero = [this](const Point2* pVtx) { return pVtx && getCombinedHeight(pVtx) == 0.0; };
    CancelPoint<> cancelPoint;
    for (const ZeroSegment& segment : cuts.vZeroLine) {
        cancelPoint.pass();
        const auto getZero = [&](const VertexPair& edge) { return mZeros.find(edge.first, edge.second); };
        Point2 *pSrc = getZero(segment.fromEdge), *pTrg = segment.pToCorner;
        if (!pTrg) pTrg = getZero(segment.toEdge);
        if (pSrc != pTrg && isZero(pSrc) && isZero(pTrg)) vZeroLine.emplace_back(pSrc, pTrg);
    }
    return vZeroLine;
}

void CutAndFillImpl::realCut(const Cuts& cuts) {
    ConstraintMgr& manager = *combined_.getImpl()->getConstraintManager();
    std::vector<VertexPair> vEdges;
    for (const CutHelper& cut : cuts.vCuts) vEdges.push_back(cut.edge);
    manager.createConstraint(vEdges, CIS_CONSTRAINED_DELAUNAY, true);
    VertexPairMap<Point2> mZeros;
    for (const CutHelper& cut : cuts.vCuts) {
        throwIfStopped();
        if (Point2* pZero = splitAtZero(cut)) mZeros.add(cut.edge.first, cut.edge.second, pZero);
    }
    manager.createConstraint(joinZeros(cuts, mZeros), CIS_CONSTRAINED_DELAUNAY, true);
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

/// Splitting edges may make vertices besides the zeros, where rounding makes the pieces cross other edges.
void CutAndFillImpl::addNewVertices() {
    std::vector<Point2*> vVertices;
    combined_.getVertexPointers(vVertices);
    CancelPoint<> cancelPoint;
    const auto isKnownOrAside = [&](const Point2* pVtx) {
        cancelPoint.pass();
        return getCombinedHeight(pVtx) != BeforeAfter::MISSING ||
               !findIncidentTriangle(pVtx, [&](const Triangle2* pT) { return sResult_.contains(pT); });
    };
    vVertices.erase(std::remove_if(vVertices.begin(), vVertices.end(), isKnownOrAside), vVertices.end());
    complementHeightMap(vVertices);
    setCombinedHeights(vVertices);
}

/// Where rounding leaves a triangle with both signs after all rounds, sets its smaller differences to 0.
void CutAndFillImpl::postRound() {
    bool bRounded = false;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vResultTriangles_) {
        cancelPoint.pass();
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

}  // namespace LUMO_TARO25D
