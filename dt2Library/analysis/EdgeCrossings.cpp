// Each edge of the second surface is followed through the mesh of the first, from a triangle at its source: the points
// are located once, in order. The mesh does not change, so a crossing costs a few predicates.
//
// A crossing is rounded, which bends the two edges. The topology does not change if the crossing is farther from all
// ends and other crossings of these edges than the distance at which constraints snap, and if the ends are that far
// from the other edge. Other crossings are left to the insertion of constraints, which handles all cases.
//
// O(n log n + k log k) for n edges that cross k times, if the points of the second surface are in spatial order.

#include "analysis/EdgeCrossings.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "analysis/slivers.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/segmentWalk.h"
#include "mesh/walk.h"
#include "support/stopping.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

EdgeCrossings::EdgeCrossings(const Dt2& firstMesh, const Surface& first, const Surface& second)
    : mesh_(firstMesh), aSurfaces_{first, second} {
    const double reach = second.vPoints.empty() ? 0.0 : LUMO_TARO25D::getMagnitude(getBox(second.vPoints));
    const double magnitude = mesh_.getMagnitudeWith(Point2(reach, reach, 0.0));
    geomTest_.setStaticBound(magnitude);
    clearance_ = getClearance(magnitude);
    numberEdgesOfFirst();
    locateSecond();
    // Edges of two surfaces of equally many points cross others about three times each.
    vCrossings_.reserve(3 * second.vEdges.size());
    CancelPoint<> cancelPoint;
    for (std::uint32_t e = 0; e < second.vEdges.size(); ++e) {
        cancelPoint.pass();
        if (second.vEdges[e].bInner) follow(e);
    }
    keepApart(1);
    sortAlongFirst();
    keepApart(0);
}

void EdgeCrossings::numberEdgesOfFirst() {
    const std::vector<Edge>& vEdges = aSurfaces_[0].vEdges;
    CancelPoint<> cancelPoint;
    for (std::uint32_t e = 0; e < vEdges.size(); ++e) {
        cancelPoint.pass();
        const Edge& edge = vEdges[e];
        if (!edge.bInner) continue;
        const Triangle2* pN = edge.pT->getOppositeTriangle(edge.i);
        // Numbers are increased by one, so that 0 denotes no edge.
        mEdges_[edge.pT][static_cast<size_t>(edge.i)] = e + 1;
        mEdges_[pN][static_cast<size_t>(indexOfNeighbour(pN, edge.pT))] = e + 1;
    }
}

void EdgeCrossings::locateSecond() {
    Triangle2* pT = mesh_.getOneValidTriangle();
    vLocations_.reserve(aSurfaces_[1].vPoints.size());
    CancelPoint<> cancelPoint;
    for (const Point2& point : aSurfaces_[1].vPoints) {
        cancelPoint.pass();
        const int code = mesh_.walkTo(point, pT, geomTest_);
        vLocations_.emplace_back(pT, code);
    }
}

Triangle2* EdgeCrossings::getTriangleAround(size_t point) const {
    const auto& [pT, code] = vLocations_[point];
    return code == CODE_INSIDE ? pT : nullptr;
}

/// Finds the edge at which the line to q, through corner i of a triangle, leaves the triangles around that corner.
/// False if the line ends there, runs along an edge, or leaves the mesh.
bool EdgeCrossings::passCorner(const Point2* q, Triangle2*& pT, int& i) {
    const Point2* pCorner = pT->getCorner(i);
    return *pCorner != *q && !leaveVertex(geomTest_, pCorner, q, pT, i) && pT;
}

/// Finds the edge at which the line from a point of the second surface leaves its first triangle or, from a vertex, the
/// triangles around that. False if the line begins outside or runs along edges.
bool EdgeCrossings::enterFirstMesh(std::uint32_t from, const Point2* q, Triangle2*& pT, int& i) {
    const Point2* p = &aSurfaces_[1].vPoints[from];
    const int code = vLocations_[from].second;
    if (code == CODE_DUPLICATE) {
        for (i = 0; i < 3; ++i) {
            if (*pT->getCorner(i) == *p) return passCorner(q, pT, i);
        }
    }
    if (code != CODE_INSIDE) return false;
    for (i = 0; i < 3; ++i) {
        const Point2 *a = pT->getCorner(incIndexBy1(i)), *b = pT->getCorner(incIndexBy2(i));
        if (geomTest_.getOrientation2(p, q, a) == ORIENTATION2_CW &&
            geomTest_.getOrientation2(p, q, b) == ORIENTATION2_CCW)
            return true;
    }
    return false;
}

void EdgeCrossings::follow(std::uint32_t e) {
    std::uint32_t from = aSurfaces_[1].vEdges[e].src, to = aSurfaces_[1].vEdges[e].trg;
    const bool bBackwards = vLocations_[from].second >= 0 && vLocations_[from].second < 3;
    if (bBackwards) std::swap(from, to);
    const Point2 *p = &aSurfaces_[1].vPoints[from], *q = &aSurfaces_[1].vPoints[to];
    Triangle2* pT = vLocations_[from].first;
    int i = 0;
    if (!enterFirstMesh(from, q, pT, i)) return;
    const auto isBeyond = [&] {
        const Point2 *a = pT->getCorner(incIndexBy1(i)), *b = pT->getCorner(incIndexBy2(i));
        return geomTest_.getOrientation2(a, b, q) == ORIENTATION2_CW;
    };
    const auto first = static_cast<std::ptrdiff_t>(vCrossings_.size());
    while (isBeyond()) {
        note(pT, i, e);
        if (!pT->getOppositeTriangle(i)) break;
        if (crossEdge(geomTest_, p, q, pT, i) != ORIENTATION2_COLLINEAR) continue;
        if (!passCorner(q, pT, i)) break;
    }
    if (bBackwards) std::reverse(vCrossings_.begin() + first, vCrossings_.end());
}

const Point2& EdgeCrossings::getEnd(int ithSurface, std::uint32_t edge, bool bTrg) const {
    const Edge& ofSurface = aSurfaces_[ithSurface].vEdges[edge];
    return aSurfaces_[ithSurface].vPoints[bTrg ? ofSurface.trg : ofSurface.src];
}

void EdgeCrossings::note(const Triangle2* pT, int i, std::uint32_t e) {
    const auto* pNumbers = mEdges_.find(pT);
    if (!pNumbers || (*pNumbers)[static_cast<size_t>(i)] == 0) return;
    Crossing crossing{};
    crossing.aEdges[0] = (*pNumbers)[static_cast<size_t>(i)] - 1;
    crossing.aEdges[1] = e;
    const Point2* apEnds[2][2];
    for (const int k : {0, 1}) {
        for (const int end : {0, 1}) apEnds[k][end] = &getEnd(k, crossing.aEdges[k], end == 1);
    }
    double x = 0.0, y = 0.0;
    if (!getIntersectionCoordsNoRounding(*apEnds[0][0], *apEnds[0][1], *apEnds[1][0], *apEnds[1][1], x, y)) return;
    for (const int k : {0, 1}) {
        const Point2 &src = *apEnds[k][0], &trg = *apEnds[k][1];
        const double dx = trg.x() - src.x(), dy = trg.y() - src.y(), length = std::hypot(dx, dy);
        for (const Point2* pOther : apEnds[1 - k]) {
            const double cross = dx * (pOther->y() - src.y()) - dy * (pOther->x() - src.x());
            if (!(std::abs(cross) > clearance_ * length)) return;
        }
        const double along = (dx * (x - src.x()) + dy * (y - src.y())) / (length * length);
        if (!(along > 0.0 && along < 1.0)) return;
        crossing.aHeights[k] = getZOnSegment(src, trg, x, y);
    }
    crossing.x = x;
    crossing.y = y;
    vCrossings_.push_back(crossing);
}

/// Of crossings near each other on an edge, keeps only the first.
void EdgeCrossings::keepApart(int ithSurface) {
    const auto num = static_cast<std::uint32_t>(vCrossings_.size());
    std::vector<std::uint32_t> vNewNumbers(num, 0);  // NO_EDGE for those that are dropped
    const Crossing* pLast = nullptr;
    bool bDropped = false;
    for (std::uint32_t k = 0; k < num; ++k) {
        const Crossing& crossing = getCrossing(ithSurface, k);
        const bool bSameEdge = pLast && pLast->aEdges[ithSurface] == crossing.aEdges[ithSurface];
        if (bSameEdge && !(std::hypot(pLast->x - crossing.x, pLast->y - crossing.y) > clearance_)) {
            vNewNumbers[getNumber(ithSurface, k)] = NO_EDGE;
            bDropped = true;
        } else {
            pLast = &crossing;
        }
    }
    if (!bDropped) return;
    std::uint32_t numKept = 0;
    for (std::uint32_t k = 0; k < num; ++k) {
        if (vNewNumbers[k] == NO_EDGE) continue;
        vNewNumbers[k] = numKept;
        vCrossings_[numKept++] = vCrossings_[k];
    }
    vCrossings_.resize(numKept);
    const auto isDropped = [&](std::uint32_t k) { return vNewNumbers[k] == NO_EDGE; };
    vOrder_.erase(std::remove_if(vOrder_.begin(), vOrder_.end(), isDropped), vOrder_.end());
    for (std::uint32_t& number : vOrder_) number = vNewNumbers[number];
}

/// By edge, counting the crossings of each, then along each edge.
void EdgeCrossings::sortAlongFirst() {
    std::vector<std::uint32_t> vEnds(aSurfaces_[0].vEdges.size(), 0);
    for (const Crossing& crossing : vCrossings_) ++vEnds[crossing.aEdges[0]];
    std::partial_sum(vEnds.begin(), vEnds.end(), vEnds.begin());
    std::vector<std::pair<double, std::uint32_t>> vAlong(vCrossings_.size());
    std::vector<std::uint32_t> vNext = vEnds;
    for (auto k = static_cast<std::uint32_t>(vCrossings_.size()); k-- > 0;) {
        const Crossing& crossing = vCrossings_[k];
        const Point2 &src = getEnd(0, crossing.aEdges[0], false), &trg = getEnd(0, crossing.aEdges[0], true);
        const double dx = trg.x() - src.x(), dy = trg.y() - src.y();
        vAlong[--vNext[crossing.aEdges[0]]] = {dx * (crossing.x - src.x()) + dy * (crossing.y - src.y()), k};
    }
    auto first = vAlong.begin();
    CancelPoint<> cancelPoint;
    for (const std::uint32_t end : vEnds) {
        cancelPoint.pass();
        const auto last = vAlong.begin() + end;
        if (last - first > 1) std::sort(first, last);
        first = last;
    }
    vOrder_.reserve(vAlong.size());
    for (const auto& [along, k] : vAlong) vOrder_.push_back(k);
}

}  // namespace LUMO_TARO25D
