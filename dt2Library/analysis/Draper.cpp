// Draping of segments.
//
// A segment is followed through the mesh from step to step; a step is an edge of a triangle to cross, or a vertex to
// pass. Which edge or vertex comes next is decided by exact orientation tests, so that the path never gets lost at
// vertices or along edges. The points on edges are rounded, with the height of the edge; vertices are taken as they
// are. A segment may start and end anywhere: outside the hull the walk gives the hull edges that are visible from the
// start, and the segment enters across the edge among these that it crosses.

#include "analysis/Draper.h"

#include <utility>

#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/hullPatch.h"
#include "mesh/segmentWalk.h"
#include "mesh/walk.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

void Draper::drape(const Segment2& segment) {
    src_ = segment.getSrc();
    trg_ = segment.getTrg();
    if (src_ == trg_) return;
    bForward_ = src_ < trg_;
    bOnSurface_ = false;
    Step step = begin();
    while (step.pVtx || step.pT) {
        progress_.throwIfStopped();
        step = step.pVtx ? goOnFromVertex(step.pVtx) : cross(step);
    }
}

/// Adds the next point of the path on the surface.
void Draper::reach(const Point2& place) {
    if (bOnSurface_ && last_ != place) vDraped_.emplace_back(last_, place);
    if (!bOnSurface_ || last_ != place) last_ = place;
    bOnSurface_ = true;
}

void Draper::reachEndIn(const Triangle2* pT) {
    double height = 0.0;
    getHeightInside(*pT, trg_, height);
    reach(Point2(trg_.x(), trg_.y(), height));
}

Draper::Step Draper::begin() {
    Triangle2* pT = nullptr;
    const int code = dt2_.walkTo(src_, pT, geomTest_);
    if (code == CODE_DUPLICATE) {
        int k = 0;
        while (*pT->getCorner(k) != src_) ++k;
        return {pT->getCorner(k)};
    }
    int onEdge = -1;
    for (int i = 0; i < 3; ++i) {
        const Orientation2 side =
            geomTest_.getOrientation2(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), &src_);
        if (side == ORIENTATION2_CW) return enterHull(pT, code);
        if (side == ORIENTATION2_COLLINEAR) onEdge = i;
    }
    double height = 0.0;
    getHeightInside(*pT, src_, height);
    reach(Point2(src_.x(), src_.y(), height));
    return leaveTriangle(pT, onEdge);
}

/// The first step from the start, which lies in a triangle or, if onEdge is not -1, on that edge.
Draper::Step Draper::leaveTriangle(Triangle2* pT, int onEdge) {
    if (onEdge >= 0) {
        // The path goes along the edge, or into one of its triangles.
        for (const int k : {incIndexBy1(onEdge), incIndexBy2(onEdge)}) {
            const Point2* pEnd = pT->getCorner(k);
            if (sideOf(pEnd) != ORIENTATION2_COLLINEAR || !isAhead(*pEnd)) continue;
            if (!isBeyond(*pEnd)) return {pEnd};
            reachEndIn(pT);
            return {};
        }
    }
    Step step;
    if (findExit(pT, step)) return step;
    Triangle2* pN = onEdge >= 0 ? pT->getOppositeTriangle(onEdge) : nullptr;
    if (pN) findExit(pN, step);
    return step;
}

/// Whether the line passes through the interior of a triangle in which it starts; then finds where it leaves.
bool Draper::findExit(Triangle2* pT, Step& step) {
    for (int i = 0; i < 3; ++i) {
        const Point2 *pA = pT->getCorner(incIndexBy1(i)), *pB = pT->getCorner(incIndexBy2(i));
        if (geomTest_.getOrientation2(pA, pB, &src_) == ORIENTATION2_COLLINEAR) continue;
        const Orientation2 sideA = sideOf(pA), sideB = sideOf(pB);
        if (sideA == ORIENTATION2_CW && sideB == ORIENTATION2_CCW) {
            step = {nullptr, pT, i};
            return true;
        }
        const Point2* pOn = sideA == ORIENTATION2_COLLINEAR ? pA : sideB == ORIENTATION2_COLLINEAR ? pB : nullptr;
        if (!pOn || !isAhead(*pOn)) continue;
        step = {};
        if (isBeyond(*pOn)) {
            reachEndIn(pT);
        } else {
            step.pVtx = pOn;
        }
        return true;
    }
    return false;
}

/// The first step from outside the hull: across a hull edge visible from the start, if the segment reaches it.
Draper::Step Draper::enterHull(Triangle2* pT, int i) {
    std::vector<std::pair<Triangle2*, int>> vVisible{{pT, i}};
    determineHullPatchLeft(vVisible, pT, i, &src_, geomTest_);
    determineHullPatchRight(vVisible, pT, i, &src_, geomTest_);
    for (const auto& [pHullT, k] : vVisible) {
        const Point2 *pA = pHullT->getCorner(incIndexBy1(k)), *pB = pHullT->getCorner(incIndexBy2(k));
        const Orientation2 sideA = sideOf(pA), sideB = sideOf(pB);
        if (sideA == ORIENTATION2_CW || sideB == ORIENTATION2_CCW || sideA == sideB) continue;
        if (geomTest_.getOrientation2(pA, pB, &trg_) == ORIENTATION2_CW) return {};
        if (sideA == ORIENTATION2_COLLINEAR) return {pA};
        if (sideB == ORIENTATION2_COLLINEAR) return {pB};
        Point2 crossing;
        if (getIntersectionPoint(*pA, *pB, src_, trg_, crossing)) reach(crossing);
        return goOnAcross(pHullT, k);
    }
    return {};
}

/// The next step in a triangle that the line has entered opposite corner far.
Draper::Step Draper::goOnAcross(Triangle2* pT, int far) {
    const Point2* pFar = pT->getCorner(far);
    const Orientation2 side = sideOf(pFar);
    if (side == ORIENTATION2_CCW) return {nullptr, pT, incIndexBy1(far)};
    if (side == ORIENTATION2_CW) return {nullptr, pT, incIndexBy2(far)};
    if (!isBeyond(*pFar)) return {pFar};
    reachEndIn(pT);
    return {};
}

Draper::Step Draper::cross(const Step& step) {
    const Point2 *pA = step.pT->getCorner(incIndexBy1(step.i)), *pB = step.pT->getCorner(incIndexBy2(step.i));
    if (geomTest_.getOrientation2(pA, pB, &trg_) != ORIENTATION2_CW) {
        reachEndIn(step.pT);
        return {};
    }
    Point2 crossing;
    if (getIntersectionPoint(*pA, *pB, src_, trg_, crossing)) reach(crossing);
    Triangle2* pN = step.pT->getOppositeTriangle(step.i);
    return pN ? goOnAcross(pN, indexOfNeighbour(pN, step.pT)) : Step();
}

Draper::Step Draper::goOnFromVertex(const Point2* pVtx) {
    if (isBeyond(*pVtx)) return {};
    reach(*pVtx);
    if (*pVtx == trg_) return {};
    Step step;
    const Point2* pNext = leaveVertex(geomTest_, pVtx, &trg_, step.pT, step.i);
    if (!pNext) return step;
    if (!isBeyond(*pNext)) return {pNext};
    reachEndIn(step.pT);
    return {};
}

}  // namespace LUMO_TARO25D
