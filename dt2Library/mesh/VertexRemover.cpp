// Removal of vertices.
//
// The triangles around the vertex v form its star. Where p, q, d are neighbours of v in a row, the flip of the edge v-q
// turns two triangles of the star into the ear (p, q, d), which no longer touches v, and one that still does: the star
// has lost an edge at v, a rib. Around an inner vertex this continues until three triangles are left, which merge into
// one. Until then such a flip always exists, provided that the triangle that keeps v may become flat. At a hull vertex
// it continues as long as there is an ear; the rest of the star then lies outside the hull of the other vertices and is
// removed. (On a straight piece of the hull the rest is a single flat triangle.)
//
// The order of the ears decides how many Lawson flips are needed afterwards to make the new triangles Delaunay. Lift
// all points to the paraboloid and move v up: an ear becomes part of the lower hull when v passes its plane. So the ear
// whose plane is the lowest over v comes next, and in exact arithmetic every ear would be Delaunay at once (Devillers
// 1999). Here these heights are rounded, and beyond 1e75 they overflow, so that the order may be slightly wrong; the
// flips and the final check are exact, and the check finds hardly anything to flip. Triangles outside the star never
// change, because their circles stay empty; so only the edges along which ears were cut off need checking.
//
// A vertex of degree k costs O(k log k), the heights being kept in a tournament tree. No memory is allocated once the
// scratch vectors have grown to the largest degree.

#include "mesh/VertexRemover.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <limits>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "support/diagnostics.h"
#include "taro25d/Color.h"
#include "taro25d/TaroException.h"
#include "taro25d/Visualizer2.h"

namespace LUMO_TARO25D {

namespace {

constexpr double NO_EAR = std::numeric_limits<double>::infinity();
constexpr double UNLIKELY_EAR = std::numeric_limits<double>::max();

/// The index of the edge along which a flip has cut off an ear, whose tip is corner 1.
constexpr int BASE_OF_EAR = 1;

/// The height over v, which is the origin, of the plane through p, q and d lifted to the paraboloid.
double getRank(double px, double py, double qx, double qy, double dx, double dy) {
    const double pq = px * qy - py * qx, qd = qx * dy - qy * dx, pd = px * dy - py * dx;
    const double area = pq + qd - pd;
    const double rank = ((px * px + py * py) * qd - (qx * qx + qy * qy) * pd + (dx * dx + dy * dy) * pq) / area;
    return area > 0.0 && rank < UNLIKELY_EAR ? rank : UNLIKELY_EAR;
}

/// The corners of a triangle (v, first, second).
Point2* getFirst(const Triangle2* pT, const Point2* v) { return pT->getCorner(incIndexBy1(indexOfVertex(pT, v))); }
Point2* getSecond(const Triangle2* pT, const Point2* v) { return pT->getCorner(incIndexBy2(indexOfVertex(pT, v))); }

/// The neighbours of a triangle (v, first, second): the next and the previous triangle counterclockwise around v, and
/// the triangle across the edge opposite v.
Triangle2* getNext(const Triangle2* pT, const Point2* v) {
    return pT->getOppositeTriangle(incIndexBy1(indexOfVertex(pT, v)));
}
Triangle2* getPrevious(const Triangle2* pT, const Point2* v) {
    return pT->getOppositeTriangle(incIndexBy2(indexOfVertex(pT, v)));
}
Triangle2* getOuter(const Triangle2* pT, const Point2* v) { return pT->getOppositeTriangle(indexOfVertex(pT, v)); }

}  // namespace

void VertexRemover::remove(Point2* pVtx) {
    if (!pVtx) {
        warning("Dt2::remove(..)", "pVtx==NULL, illegal, return.");
        return;
    }
    if (mesh_.isConstraintVertex(pVtx)) {
        Note("Dt2::remove()", ML_NOTE, std::cerr) << *pVtx << "\n";
        warning("Dt2::remove()", "Illegal: Can't remove a constraint vertex");
        return;
    }
    __builtin_prefetch(pVtx->getIncidentTriangle());
    mesh_.getVertexVault().sortIV(VertexVault::SM_IF_DUE);
    if (mesh_.getVertexVault().getIdxOfActiveVtx(pVtx) == VertexVault::NOT_FOUND) {
        Note("Dt2::remove()") << *pVtx << "\n";
        warning("Dt2::remove()", "vertex does not belong to the triangulation, return");
        return;
    }
    if (!mesh_.is2D()) {
        mesh_.getVertexVault().removeAndInvalidateVtx(pVtx);
    } else if (collectStar(pVtx)) {
        removeInnerVertex(pVtx);
    } else {
        removeHullVertex(pVtx, true);
    }
}

bool VertexRemover::collectStar(const Point2* v) {
    vStar_.clear();
    Triangle2* const pStartT = v->getIncidentTriangle();
    TARO_ASSERT(pStartT != nullptr);
    // To overlap waits for memory, a second pointer goes round in the opposite direction, and records needed later are
    // prefetched.
    const auto fetchAround = [v](const Triangle2* pT) {
        __builtin_prefetch(getOuter(pT, v));
        __builtin_prefetch(getFirst(pT, v));
    };
    Triangle2 *pT = pStartT, *pScout = pStartT;
    do {
        vStar_.push_back(pT);
        fetchAround(pT);
        if (pScout) {
            fetchAround(pScout);
            pScout = getPrevious(pScout, v);
        }
        pT = getNext(pT, v);
    } while (pT && pT != pStartT);
    if (pT) return true;
    const auto numFromStart = static_cast<std::ptrdiff_t>(vStar_.size());
    for (pT = getPrevious(pStartT, v); pT; pT = getPrevious(pT, v)) vStar_.push_back(pT);
    std::reverse(vStar_.begin() + numFromStart, vStar_.end());
    std::rotate(vStar_.begin(), vStar_.begin() + numFromStart, vStar_.end());
    return false;
}

void VertexRemover::removeInnerVertex(Point2* v) {
    if (reduceDegree(v, 3) > 3) watchDogFailed(v);
    mergeStar(v);
    restoreDelaunay();
    discardVertex(v);
}

void VertexRemover::takeOutHullVertex(Point2* v, bool bRestoreDelaunay) {
    collectStar(v);
    reduceDegree(v, 1);
    takeOutStar(v);
    if (bRestoreDelaunay) restoreDelaunay();
}

void VertexRemover::removeHullVertex(Point2* v, bool bRestoreDelaunay) {
    if (!v->getIncidentTriangle()) throw TaroException();
    takeOutHullVertex(v, bRestoreDelaunay);
    if (mesh_.numberOfTriangles() == 0) mesh_.getVertexVault().setFullDimensional(false);
    discardVertex(v);
}

void VertexRemover::discardVertex(Point2* v) {
    mesh_.getInnerVtxMgr().eraseVtx(v);
    mesh_.getVertexVault().removeAndInvalidateVtx(v);
}

// ---------------------------------------------------------------------------------------------------------------------
// Shrinking the star

size_t VertexRemover::reduceDegree(Point2* v, size_t minDegree) {
    vNewTriangles_.clear();
    size_t degree = vStar_.size();
    if (degree <= minDegree) return degree;
    fillRibs(v);
    while (degree > minDegree && earRanks_.getMin() < NO_EAR) {
        const size_t i = earRanks_.getPlaceOfMin();
        Triangle2* pEar = vRibs_[i].pT;
        earRanks_.set(i,
                      NO_EAR);  // holds if the flip is refused, until a neighbouring rib is dropped
        if (!flipForRemove(v, pEar)) continue;
        vNewTriangles_.push_back(pEar);
        dropRib(i);
        --degree;
    }
    return degree;
}

void VertexRemover::fillRibs(const Point2* v) {
    const size_t n = vStar_.size();
    const bool bOnHull = !getNext(vStar_.back(), v);
    vRibs_.resize(n + bOnHull);
    for (size_t i = 0; i < vRibs_.size(); ++i) {
        Rib& rib = vRibs_[i];
        rib.pT = i < n ? vStar_[i] : nullptr;
        const Point2* pEnd = i < n ? getFirst(vStar_[i], v) : getSecond(vStar_.back(), v);
        rib.x = pEnd->x() - v->x();
        rib.y = pEnd->y() - v->y();
        rib.previous = i - 1;
        rib.next = i + 1;
    }
    vRibs_.front().previous = vRibs_.size() - 1;
    vRibs_.back().next = 0;
    earRanks_.build(vRibs_.size(), [this](size_t i) { return getRankOfEar(i); });
}

double VertexRemover::getRankOfEar(size_t i) const {
    const Rib &p = vRibs_[i], &q = vRibs_[p.next], &d = vRibs_[q.next];
    return p.pT && q.pT ? getRank(p.x, p.y, q.x, q.y, d.x, d.y) : NO_EAR;
}

void VertexRemover::dropRib(size_t i) {
    // After the flip, the triangle of the next rib lies between the end of the dropped rib and the end of the rib after
    // the next.
    const Rib& dropped = vRibs_[i];
    Rib &previous = vRibs_[dropped.previous], &next = vRibs_[dropped.next];
    previous.next = dropped.next;
    next.previous = dropped.previous;
    next.x = dropped.x;
    next.y = dropped.y;
    earRanks_.set(dropped.next, getRankOfEar(dropped.next));
    earRanks_.set(dropped.previous, getRankOfEar(dropped.previous));
}

Triangle2* VertexRemover::flipForRemove(Point2* pVtx, Triangle2* t) {
    const Point2 *p = getFirst(t, pVtx), *q = getSecond(t, pVtx), *d = getSecond(getNext(t, pVtx), pVtx);
    if (mesh_.getGeomTest().getOrientation2(p, q, d) != ORIENTATION2_CCW ||
        mesh_.getGeomTest().getOrientation2(p, d, pVtx) == ORIENTATION2_CW) {
        return nullptr;
    }
    return mesh_.flip(t, incIndexBy1(indexOfVertex(t, pVtx)));
}

void VertexRemover::watchDogFailed(const Point2* v) {
    collectStar(v);
    if (!hasMessageHandler()) {
        Visualizer2 visualizer(Dt2::getFilenamePrefix() + "watchDogFailed.ps");
        mesh_.show(&visualizer, true);
        visualizer.addObject(*v, Color(CRED));
        visualizer.writeFile();
    }
    Note("Dt2::remove()") << "vUmbrellaT.size()=" << vStar_.size() << "\n";
    TARO_ASSERT_TEXT(false, "false");
}

// ---------------------------------------------------------------------------------------------------------------------
// Without the vertex

void VertexRemover::mergeStar(const Point2* v) {
    // (v, a, b), (v, b, c) and (v, c, a) become (c, a, b) in the first record.
    Triangle2 *pAB = v->getIncidentTriangle(), *pBC = getNext(pAB, v), *pCA = getNext(pBC, v);
    Point2 *a = getFirst(pAB, v), *b = getFirst(pBC, v), *c = getFirst(pCA, v);
    const int k = indexOfVertex(pAB, v);
    pAB->setCorner(k, c);
    relink(pAB, incIndexBy1(k), getOuter(pBC, v), pBC);
    relink(pAB, incIndexBy2(k), getOuter(pCA, v), pCA);
    for (Point2* pCorner : {a, b, c}) pCorner->setIncidentTriangle(pAB);
    vNewTriangles_.push_back(pAB);
    vStar_.assign({pBC, pCA});
    mesh_.storeRecycledT(vStar_);
}

void VertexRemover::takeOutStar(const Point2* v) {
    collectStar(v);
    for (const Triangle2* pT : vStar_) {
        getFirst(pT, v)->setIncidentTriangle(nullptr);
        getSecond(pT, v)->setIncidentTriangle(nullptr);
    }
    for (const Triangle2* pT : vStar_) {
        Triangle2* pOuter = getOuter(pT, v);
        if (!pOuter) continue;  // the last triangle: only collinear vertices remain, or the hull would have a dent here
        pOuter->setOppositeTriangle(indexOfNeighbour(pOuter, pT), nullptr);
        getFirst(pT, v)->setIncidentTriangle(pOuter);
        getSecond(pT, v)->setIncidentTriangle(pOuter);
    }
    mesh_.storeRecycledT(vStar_);
}

void VertexRemover::restoreDelaunay() {
    for (Triangle2* pEar : vNewTriangles_) mesh_.flipUnlessDelaunay(pEar, BASE_OF_EAR);
    mesh_.flipUntilDelaunay();
}

}  // namespace LUMO_TARO25D
