// Removal of vertices.
//
// The triangles around the vertex v form its umbrella. Where p, q, d are neighbours of v in a row, the flip
// of the edge v-q turns two triangles of the umbrella into the ear (p, q, d), which no longer touches v, and
// one that still does: the umbrella has shrunk by one. Around an inner vertex, this goes on until three
// triangles are left, which merge into one; such a flip exists as long as there are more, provided that the
// triangle that keeps v may be flat. At a hull vertex it goes on as long as there is an ear; then the
// umbrella lies outside the hull of the other vertices and is taken out. (A vertex on a straight piece of the
// hull ends with a single flat triangle.)
//
// Which ear comes next decides how much work is left for the Lawson flips that make the new triangles
// Delaunay: lift all points to the paraboloid and move v up. Each ear then becomes part of the lower hull
// when v passes its plane, so the ears are taken in the order of the height of their planes over v, from a
// heap (Devillers 1999). In exact arithmetic all ears would be Delaunay triangles at once; here the order is
// computed with rounding, all decisions are exact, and the check afterwards finds next to nothing to flip.
// Triangles outside the umbrella never change: their circles stay empty. So every edge that must be checked
// is the base p-d of an ear.
//
// A vertex of degree k costs O(k log k).

#include "Dt2.h"

#include <algorithm>
#include <iostream>
#include <limits>

#include "diagnostics.h"
#include "taro25d/Color.h"
#include "taro25d/TaroException.h"
#include "taro25d/Visualizer2.h"
#include "tools.h"

namespace LUMO_TARO25D {

namespace {

/// The edge of an ear that a flip has created behind which the vertex is removed: corner 1 is the tip.
constexpr int BASE_OF_EAR = 1;

/// The index under which pT is linked in its neighbour pN.
inline int indexOfNeighbour(const Triangle2* pN, const Triangle2* pT) {
    return static_cast<int>(pN->getOppositeTriangle(1) == pT) +
           2 * static_cast<int>(pN->getOppositeTriangle(2) == pT);
}

inline int indexOfVertex(const Triangle2* pT, const Point2* pVtx) {
    return static_cast<int>(pT->getCorner(1) == pVtx) + 2 * static_cast<int>(pT->getCorner(2) == pVtx);
}

/// The next triangle around a corner, counterclockwise.
inline Triangle2* getNext(const Triangle2* pT, const Point2* pVtx) {
    return pT->getOppositeTriangle(incIndexBy1(indexOfVertex(pT, pVtx)));
}

inline Triangle2* getPrevious(const Triangle2* pT, const Point2* pVtx) {
    return pT->getOppositeTriangle(incIndexBy2(indexOfVertex(pT, pVtx)));
}

/// Corners of a triangle of the umbrella, counterclockwise from v.
inline Point2* getFirstNeighbour(const Triangle2* pT, const Point2* pVtx) {
    return pT->getCorner(incIndexBy1(indexOfVertex(pT, pVtx)));
}

inline Point2* getSecondNeighbour(const Triangle2* pT, const Point2* pVtx) {
    return pT->getCorner(incIndexBy2(indexOfVertex(pT, pVtx)));
}

/// How far above v, lifted to the paraboloid, the plane of the ear (p, q, d) passes. Infinite for what is no
/// ear.
inline double getRank(const Point2* v, const Point2* p, const Point2* q, const Point2* d) {
    const double px = p->x() - v->x(), py = p->y() - v->y(), qx = q->x() - v->x(), qy = q->y() - v->y(),
                 dx = d->x() - v->x(), dy = d->y() - v->y();
    const double pq = px * qy - py * qx, qd = qx * dy - qy * dx, pd = px * dy - py * dx;
    const double area = pq + qd - pd;
    const double rank =
        ((px * px + py * py) * qd - (qx * qx + qy * qy) * pd + (dx * dx + dy * dy) * pq) / area;
    constexpr double inf = std::numeric_limits<double>::infinity();
    return area > 0.0 && rank < inf ? rank : inf;
}

}  // namespace

void Dt2::remove(Point2* pVtx) {
    if (!pVtx) {
        warning("Dt2::remove(..)", "pVtx==NULL, illegal, return.");
        return;
    }
    if (isConstraintVertex(pVtx)) {
        std::cerr << *pVtx << "\n";
        warning("Dt2::remove()", "Illegal: Can't remove a constraint vertex");
        return;
    }
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    if (vertexVault_.getIdxOfActiveVtx(pVtx) == VertexVault::NOT_FOUND) {
        std::cout << *pVtx << "\n";
        warning("Dt2::remove()", "vertex does not belong to the triangulation, return");
        return;
    }
    if (!is2D()) {
        vertexVault_.removeAndInvalidateVtx(pVtx);
    } else if (collectUmbrella(pVtx)) {
        removeInnerVertex(pVtx);
    } else {
        remove_CHVersion(pVtx, true);
    }
}

bool Dt2::collectUmbrella(const Point2* pVtx) {
    vUmbrella_.clear();
    Triangle2* const pFirst = pVtx->getIncidentTriangle();
    Triangle2* pT = pFirst;
    do {
        vUmbrella_.push_back(pT);
        pT = getNext(pT, pVtx);
    } while (pT && pT != pFirst);
    if (pT) return true;
    const auto numAfterFirst = static_cast<std::ptrdiff_t>(vUmbrella_.size());
    for (pT = getPrevious(pFirst, pVtx); pT; pT = getPrevious(pT, pVtx)) vUmbrella_.push_back(pT);
    std::reverse(vUmbrella_.begin() + numAfterFirst, vUmbrella_.end());
    std::rotate(vUmbrella_.begin(), vUmbrella_.begin() + numAfterFirst, vUmbrella_.end());
    return false;
}

void Dt2::removeInnerVertex(Point2* pVtx) {
    if (reduceDegree(pVtx, 3) > 3) watchDogFailed(pVtx);
    mergeUmbrella(pVtx);
    restoreDelaunay();
    discardVertex(pVtx);
}

void Dt2::remove_CHVersion(Point2* pVtx, bool bRestoreDelaunay) {
    if (!pVtx->getIncidentTriangle()) throw TaroException();
    collectUmbrella(pVtx);
    reduceDegree(pVtx, 1);
    takeOutUmbrella(pVtx);
    if (bRestoreDelaunay) restoreDelaunay();
    if (numberOfTriangles() == 0) vertexVault_.setFullDimensional(false);
    discardVertex(pVtx);
}

void Dt2::discardVertex(Point2* pVtx) {
    vertexVault_.removeAndInvalidateVtx(pVtx);
    if (!pvCreatedTriangles_) return;
    pvCreatedTriangles_->insert(pvCreatedTriangles_->end(), vNewTriangles_.begin(), vNewTriangles_.end());
}

// ---------------------------------------------------------------------------------------------------------------------
// Shrinking the umbrella

void Dt2::offerEar(const Point2* pVtx, Triangle2* pT) {
    const Triangle2* pN = pT ? getNext(pT, pVtx) : nullptr;
    if (!pN) return;
    const Point2 *p = getFirstNeighbour(pT, pVtx), *q = getSecondNeighbour(pT, pVtx),
                 *d = getSecondNeighbour(pN, pVtx);
    vEars_.push_back({getRank(pVtx, p, q, d), pT, p, d});
    std::push_heap(vEars_.begin(), vEars_.end());
}

bool Dt2::takeEar(const Point2* pVtx, Ear& ear) {
    while (!vEars_.empty()) {
        std::pop_heap(vEars_.begin(), vEars_.end());
        ear = vEars_.back();
        vEars_.pop_back();
        // Flips nearby have changed it unless its corners are still the same.
        if (ear.pT->hasVertex(pVtx) && getFirstNeighbour(ear.pT, pVtx) == ear.pFrom &&
            getSecondNeighbour(getNext(ear.pT, pVtx), pVtx) == ear.pTo) {
            return true;
        }
    }
    return false;
}

size_t Dt2::reduceDegree(Point2* pVtx, size_t minDegree) {
    vNewTriangles_.clear();
    vEars_.clear();
    size_t degree = vUmbrella_.size();
    if (degree <= minDegree) return degree;
    for (Triangle2* pT : vUmbrella_) offerEar(pVtx, pT);
    for (Ear ear; degree > minDegree && takeEar(pVtx, ear);) {
        Triangle2* pT = flipForRemove(pVtx, ear.pT);
        if (!pT) continue;
        --degree;
        vNewTriangles_.push_back(ear.pT);
        offerEar(pVtx, pT);
        offerEar(pVtx, getPrevious(pT, pVtx));
    }
    return degree;
}

Triangle2* Dt2::flipForRemove(Point2* pVtx, Triangle2* t) {
    const Triangle2* pN = getNext(t, pVtx);
    Point2 *p = getFirstNeighbour(t, pVtx), *q = getSecondNeighbour(t, pVtx),
           *d = getSecondNeighbour(pN, pVtx);
    if (geomTest_.getOrientation2(p, q, d) != ORIENTATION2_CCW ||
        geomTest_.getOrientation2(p, d, pVtx) == ORIENTATION2_CW) {
        return nullptr;
    }
    return flip(t, incIndexBy1(indexOfVertex(t, pVtx)));
}

void Dt2::watchDogFailed(const Point2* pVtx) {
    collectUmbrella(pVtx);
    Visualizer2 visualizer(getFilenamePrefix() + "watchDogFailed.ps");
    show(&visualizer, true);
    visualizer.addObject(*pVtx, Color(CRED));
    visualizer.writeFile();
    std::cout << "vUmbrellaT.size()=" << vUmbrella_.size() << std::endl;
    TARO_ASSERT_TEXT(false, "false");
}

// ---------------------------------------------------------------------------------------------------------------------
// Without the vertex

void Dt2::mergeUmbrella(const Point2* pVtx) {
    // (v, a, b), (v, b, c) and (v, c, a) become (c, a, b) in the first record.
    Triangle2 *pAB = pVtx->getIncidentTriangle(), *pBC = getNext(pAB, pVtx), *pCA = getNext(pBC, pVtx);
    Point2 *a = getFirstNeighbour(pAB, pVtx), *b = getFirstNeighbour(pBC, pVtx),
           *c = getFirstNeighbour(pCA, pVtx);
    const int k = indexOfVertex(pAB, pVtx);
    pAB->setCorner(k, c);
    const auto takeOver = [&](int i, const Triangle2* pT) {
        Triangle2* pN = pT->getOppositeTriangle(indexOfVertex(pT, pVtx));
        pAB->setOppositeTriangle(i, pN);
        if (pN) pN->setOppositeTriangle(indexOfNeighbour(pN, pT), pAB);
    };
    takeOver(incIndexBy1(k), pBC);
    takeOver(incIndexBy2(k), pCA);
    for (Point2* pCorner : {a, b, c}) pCorner->setIncidentTriangle(pAB);
    vNewTriangles_.push_back(pAB);
    vUmbrella_.assign({pBC, pCA});
    storeRecycledT(vUmbrella_);
}

void Dt2::takeOutUmbrella(const Point2* pVtx) {
    collectUmbrella(pVtx);
    for (const Triangle2* pT : vUmbrella_) {
        getFirstNeighbour(pT, pVtx)->setIncidentTriangle(nullptr);
        getSecondNeighbour(pT, pVtx)->setIncidentTriangle(nullptr);
    }
    for (const Triangle2* pT : vUmbrella_) {
        Triangle2* pN = pT->getOppositeTriangle(indexOfVertex(pT, pVtx));
        if (!pN) continue;  // only when nothing but collinear vertices remains
        pN->setOppositeTriangle(indexOfNeighbour(pN, pT), nullptr);
        getFirstNeighbour(pT, pVtx)->setIncidentTriangle(pN);
        getSecondNeighbour(pT, pVtx)->setIncidentTriangle(pN);
    }
    storeRecycledT(vUmbrella_);
}

bool Dt2::flipUnlessDelaunay(Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    if (!pN || isConstraintEdge(pT, i)) return false;
    const Point2* pFar = pN->getCorner(indexOfNeighbour(pN, pT));
    if (geomTest_.circleInc3state(pT, pFar) != CINC2_INCIRCLE) return false;
    vFlipStack_.push_back(pT);
    vFlipStack_.push_back(flip(pT, i));
    return true;
}

void Dt2::restoreDelaunay() {
    for (Triangle2* pEar : vNewTriangles_) flipUnlessDelaunay(pEar, BASE_OF_EAR);
    while (!vFlipStack_.empty()) {
        Triangle2* pT = vFlipStack_.back();
        vFlipStack_.pop_back();
        for (int i = 0; i < 3; ++i) {
            if (flipUnlessDelaunay(pT, i)) break;
        }
    }
}

}  // namespace LUMO_TARO25D
