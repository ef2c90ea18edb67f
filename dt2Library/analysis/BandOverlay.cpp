// Bands where rounding may have moved sides across each other.
//
// First, nodes nearer to each other than rounding may have moved them become one, and sides go through the nodes that
// are as near to them (SideRouter). This removes nearly all crossings, and leaves no nodes too close together for the
// steps that follow.
//
// The sides of a band are closed, so they wind around each place a number of times: once if it is in the band, not at
// all elsewhere. Rounding of nodes turns narrow parts of the plane over; those are wound around minus once, or twice.
// The sum over all bands is the winding number of the border of the region, since each inner side of a band is the
// opposite of one of another band.
//
// Then the sides become constraints of a triangulation, in which they are chains of edges. From outside, where all
// numbers are 0, a search passes through its triangles and changes the numbers at each edge by the sides on it. A
// triangle inside the border goes to the lowest band that winds around it. So no two bands overlap, and they lose and
// get only parts that rounding has turned over, which are a few units in the last place wide.

#include "analysis/BandOverlay.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "constraints/ConstraintPieces.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/lists.h"
#include "support/stopping.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"

namespace LUMO_TARO25D {

bool BandOverlay::run() {
    route();
    insertNodes();
    if (!mesh_.is2D()) return true;
    if (!insertSides()) return false;
    countSteps();
    assignBands();
    return true;
}

/// Replaces the sides by those of the router.
void BandOverlay::route() {
    std::vector<Side> vSides;
    for (const auto& [band, side] : vSides_) vSides.push_back(side);
    router_.add(vSides);
    std::vector<SideOfBand> vRouted;
    for (const auto& [band, side] : vSides_) {
        std::vector<Side> vPieces{side};
        router_.replace(vPieces);
        for (const Side& piece : vPieces) {
            if (piece.first != piece.second) vRouted.push_back({band, piece});
        }
    }
    vSides_.swap(vRouted);
}

/// The scale makes coordinates so large that no distance in their unit counts as small.
void BandOverlay::insertNodes() {
    constexpr int EXPONENT = 60;
    double magnitude = std::numeric_limits<double>::min();
    for (const auto& [band, side] : vSides_) {
        for (const Index node : {side.first, side.second}) {
            vNodes_.push_back(node);
            magnitude = std::max({magnitude, std::abs(nodes_[node].x()), std::abs(nodes_[node].y())});
        }
    }
    oneInstance(vNodes_);
    scale_ = std::ldexp(1.0, std::min(EXPONENT - std::ilogb(magnitude), 1000));
    std::vector<Point2> vPoints;
    for (const Index node : vNodes_) {
        vPoints.emplace_back(nodes_[node].x() * scale_, nodes_[node].y() * scale_, nodes_[node].z());
    }
    mesh_.insert(vPoints, vVertices_);
    for (size_t i = 0; i < vVertices_.size(); ++i) vVertices_[i]->setCustomIndex(static_cast<int>(i));
}

bool BandOverlay::insertSides() {
    std::vector<std::uint64_t> vKeys;
    for (const auto& [band, side] : vSides_) vKeys.push_back(getKey(side.first, side.second));
    oneInstance(vKeys);
    const auto toVertex = [this](std::uint64_t node) {
        const auto found = std::lower_bound(vNodes_.begin(), vNodes_.end(), static_cast<Index>(node));
        return vVertices_[static_cast<size_t>(found - vNodes_.begin())];
    };
    std::vector<std::pair<Point2*, Point2*>> vPairs;
    for (const std::uint64_t key : vKeys) vPairs.emplace_back(toVertex(key >> 32), toVertex(key & 0xffffffffu));
    const ConstraintGraph2* pGraph = mesh_.createConstraint_vertices(vPairs, CIS_CONSTRAINED_DELAUNAY);
    if (!pGraph) return false;
    std::vector<ConstraintSegment2*> vCSegs;
    pGraph->getOriginalConstraintSegments(vCSegs);
    for (ConstraintSegment2* pCSeg : vCSegs) {
        std::vector<Index> vChain;
        if (!appendChain(pCSeg, vChain)) return false;
        if (vChain.back() < vChain.front()) std::reverse(vChain.begin(), vChain.end());
        if (vChain.size() > 2) mChains_.emplace(getKey(vChain.front(), vChain.back()), std::move(vChain));
    }
    return true;
}

/// Appends the nodes of a segment; false if a piece of it has been given up. New nodes get their numbers from the
/// segment's smaller end on, so that no address matters.
bool BandOverlay::appendChain(ConstraintSegment2* pCSeg, std::vector<Index>& vChain) {
    Point2* pAt = getEndsByPlace(pCSeg).first;
    vChain.push_back(toNode(pAt));
    std::vector<ConstraintSegment2*> vStack{pCSeg};
    while (!vStack.empty()) {
        ConstraintSegment2 *pPiece = vStack.back(), *pFirst = nullptr, *pSecond = nullptr;
        vStack.pop_back();
        if (pPiece->isAlive()) {
            if (!mesh_.getImpl()->isEdge(pPiece->getSrc(), pPiece->getTrg())) return false;
            pAt = pPiece->getSrc() == pAt ? pPiece->getTrg() : pPiece->getSrc();
            vChain.push_back(toNode(pAt));
            continue;
        }
        Point2* pSplit = nullptr;
        pPiece->getChildrenAndSplitPoint(pFirst, pSecond, pSplit);
        if (!pFirst || !pSecond) return false;
        if (pFirst->getSrc() != pAt && pFirst->getTrg() != pAt) std::swap(pFirst, pSecond);
        vStack.push_back(pSecond);
        vStack.push_back(pFirst);
    }
    return true;
}

BandOverlay::Index BandOverlay::toNode(Point2* pVtx) {
    if (pVtx->getCustomIndex() < 0) {
        pVtx->setCustomIndex(static_cast<int>(vNodes_.size()));
        vNodes_.push_back(nodes_.addCrossing(Point2(pVtx->x() / scale_, pVtx->y() / scale_, pVtx->z())));
    }
    return vNodes_[static_cast<size_t>(pVtx->getCustomIndex())];
}

void BandOverlay::countSteps() {
    CancelPoint<> cancelPoint;
    for (const auto& [band, side] : vSides_) {
        cancelPoint.pass();
        std::vector<Side> vPieces{side};
        divide(vPieces);
        for (const auto& [from, to] : vPieces) {
            const int sign = from < to ? 1 : -1;
            Winding& steps = mSteps_[getKey(from, to)];
            if ((steps[band] += sign) == 0) steps.erase(band);
        }
    }
}

/// Changes a winding on the right of an edge into that on its left.
void BandOverlay::step(Index from, Index to, Winding& winding) const {
    const auto found = mSteps_.find(getKey(from, to));
    if (found == mSteps_.end()) return;
    for (const auto& [band, count] : found->second) {
        if ((winding[band] += from < to ? count : -count) == 0) winding.erase(band);
    }
}

size_t BandOverlay::getBand(const Winding& winding) {
    int sum = 0;
    size_t lowest = NO_BAND;
    for (const auto& [band, count] : winding) {
        sum += count;
        if (count > 0 && lowest == NO_BAND) lowest = band;
    }
    return sum > 0 ? lowest : NO_BAND;
}

void BandOverlay::assignBands() {
    mesh_.getTrianglePointers(vTriangles_);
    std::vector<std::pair<const Triangle2*, Winding>> vStack;
    const auto visit = [&](const Triangle2* pT, int i, Winding winding) {  // across its edge i
        step(toNode(pT->getCorner(incIndexBy1(i))), toNode(pT->getCorner(incIndexBy2(i))), winding);
        if (mBands_.emplace(pT, getBand(winding)).second) vStack.emplace_back(pT, std::move(winding));
    };
    for (const Triangle2* pT : vTriangles_) {
        for (int i = 0; i < 3 && vStack.empty(); ++i) {
            if (!pT->getOppositeTriangle(i)) visit(pT, i, {});
        }
        if (!vStack.empty()) break;
    }
    CancelPoint<> cancelPoint;
    while (!vStack.empty()) {
        cancelPoint.pass();
        const auto [pT, winding] = std::move(vStack.back());
        vStack.pop_back();
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && mBands_.count(pN) == 0) visit(pN, pN->getIntraTriangleIndex(pT), winding);
        }
    }
}

void BandOverlay::appendSides(std::vector<std::vector<Side>>& vSidesOf) const {
    for (const Triangle2* pT : vTriangles_) {
        const size_t band = mBands_.at(pT);
        for (int i = 0; i < 3 && band != NO_BAND; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (pN && mBands_.at(pN) == band) continue;
            const Point2 *pSrc = pT->getCorner(incIndexBy1(i)), *pTrg = pT->getCorner(incIndexBy2(i));
            vSidesOf[band].emplace_back(vNodes_[static_cast<size_t>(pSrc->getCustomIndex())],
                                        vNodes_[static_cast<size_t>(pTrg->getCustomIndex())]);
        }
    }
}

void BandOverlay::replace(std::vector<Side>& vSides) const {
    if (vSides_.empty()) return;
    router_.replace(vSides);
    divide(vSides);
}

/// Replaces sides by their chains.
void BandOverlay::divide(std::vector<Side>& vSides) const {
    if (mChains_.empty()) return;
    std::vector<Side> vPieces;
    vPieces.reserve(vSides.size());
    for (const Side& side : vSides) {
        const auto found = mChains_.find(getKey(side.first, side.second));
        if (found == mChains_.end()) {
            vPieces.push_back(side);
            continue;
        }
        const std::vector<Index>& vChain = found->second;
        for (size_t i = 0; i + 1 < vChain.size(); ++i) {
            vPieces.emplace_back(vChain[i], vChain[i + 1]);
            if (side.first > side.second) std::swap(vPieces.back().first, vPieces.back().second);
        }
    }
    vSides.swap(vPieces);
}

}  // namespace LUMO_TARO25D
