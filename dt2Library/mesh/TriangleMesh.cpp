// Records of triangles, and the changes that operations make to them.
//
// Invariants: corners are counterclockwise, links are mutual. Where a vertex is being inserted it is corner 0 of every
// noted triangle, so that edge 0 of each is the one to be tested (legalize); otherwise all three edges are
// (flipUntilDelaunay). Both are Lawson's flips (1977), which pass over constraint edges.
//
// Memory: 48 bytes a triangle.

#include "mesh/TriangleMesh.h"

#include <algorithm>
#include <new>
#include <tuple>
#include <utility>

#include "kernel/links.h"
#include "kernel/nearness.h"
#include "mesh/ConstraintKeeper.h"
#include "support/PoolSnapshot.h"
#include "support/diagnostics.h"
#include "support/lists.h"
#include "support/stopping.h"
#include "taro25d/TriangleAroundVertexIterator.h"

namespace LUMO_TARO25D {

// ---------------------------------------------------------------------------------------------------------------------
// Records

TriangleMesh::TriangleMesh(unsigned numExpectedVertices) {
    constexpr unsigned MAX_TRIANGLE_BLOCK = 2083333;
    const unsigned numTriangles = 2 * std::clamp(numExpectedVertices, 3u, 2500000u) + 10;
    trianglePool_.init(static_cast<int>(numTriangles), MAX_TRIANGLE_BLOCK);
}

inline Triangle2* TriangleMesh::newTriangleRecord() {
    if (!vRecycledTriangles_.empty()) {
        Triangle2* pT = vRecycledTriangles_.back();
        vRecycledTriangles_.pop_back();
        return new (pT) Triangle2();
    }
    return new (trianglePool_.getElement()) Triangle2();
}

Triangle2* TriangleMesh::createTriangle(Point2* p0, Point2* p1, Point2* p2) {
    Triangle2* pT = newTriangleRecord();
    setTriangle(pT, p0, p1, p2);
    p0->setIncidentTriangle(pT);
    p1->setIncidentTriangle(pT);
    p2->setIncidentTriangle(pT);
    return pT;
}

void TriangleMesh::getFreshTriangles(size_t n, std::vector<Triangle2*>& vFreshTriangles) {
    vFreshTriangles.clear();
    for (size_t i = 0; i < n; ++i) vFreshTriangles.push_back(newTriangleRecord());
}

void TriangleMesh::storeRecycledT(const std::vector<Triangle2*>& vTriangles) {
    for (Triangle2* pT : vTriangles) {
        setTriangle(pT, nullptr, nullptr, nullptr);  // tells a dead record from a live one
        vRecycledTriangles_.push_back(pT);
    }
}

void TriangleMesh::expectTriangles(size_t n, int numThreads) {
    trianglePool_.expect(n - std::min(n, vRecycledTriangles_.size()), numThreads);
}

size_t TriangleMesh::numberOfTriangles() const {
    const size_t numAllT = trianglePool_.getNumElements(), numDeadT = vRecycledTriangles_.size();
    TARO_ASSERT_TEXT(numDeadT <= numAllT, "numDeadT<=numAllT");
    return numAllT - numDeadT;
}

void TriangleMesh::getTrianglePointers(std::vector<Triangle2*>& vTriangles) const {
    reserveMore(vTriangles, numberOfTriangles());
    forEachTriangle([&](Triangle2* pT) { vTriangles.push_back(pT); });
}

void TriangleMesh::getIncidentTriangles(Point2* pVtx, std::vector<Triangle2*>& vIncidentT) const {
    const TriangleAroundVertexIterator refusesVertexWithoutTriangles(pVtx);
    findIncidentTriangle(pVtx, [&](Triangle2* pT) {
        vIncidentT.push_back(pT);
        return false;
    });
}

void TriangleMesh::copyFrom(const TriangleMesh& other, const RecordCopies<Point2>& vertices,
                            const RecordCopies<Triangle2>& triangles) {
    geomTest_.setStaticBound(other.geomTest_.getMaxAbsCoord());
    triangles.forEach(
        [&](const Triangle2* pOriginal, Triangle2* pCopy) {
            new (pCopy) Triangle2();
            if (!pOriginal->getCorner(0)) return;
            for (int i = 0; i < 3; ++i) {
                pCopy->setCorner(i, vertices(pOriginal->getCorner(i)));
                pCopy->setOppositeTriangle(i, triangles(pOriginal->getOppositeTriangle(i)));
            }
        },
        throwIfStopped);
    for (const Triangle2* pT : other.vRecycledTriangles_) vRecycledTriangles_.push_back(triangles(pT));
}

std::function<void()> TriangleMesh::rememberState() {
    PoolSnapshot<Triangle2> triangles(trianglePool_);
    const auto getMembers = [this] { return std::tie(vRecycledTriangles_, constraintEdges_); };
    auto members = copyAll(getMembers());
    return [this, getMembers, triangles = std::move(triangles), members = std::move(members),
            magnitude = getMagnitude()]() mutable {
        triangles.restore(trianglePool_);
        getMembers() = std::move(members);
        vFlipStack_.clear();
        geomTest_.setStaticBound(magnitude);
    };
}

// ---------------------------------------------------------------------------------------------------------------------
// Splits

void TriangleMesh::initVCheckT13(Triangle2* pT, Point2* v) {
    Triangle2 *pBC = newTriangleRecord(), *pCA = newTriangleRecord();
    splitTriangle(pT, v, pBC, pCA);
    for (Triangle2* pNew : {pT, pBC, pCA}) {
        if (pNew->getOppositeTriangle(0)) vFlipStack_.push_back(pNew);
    }
}

void TriangleMesh::initVCheckT24(Triangle2* pT, Point2* v, int idx) {
    splitConstraintOn(pT, idx, v);
    // v on the edge b-c between (a, b, c) and (d, c, b) makes (v, a, b), (v, c, a), (v, d, c) and (v, b, d).
    Triangle2* pNeigA = pT->getOppositeTriangle(idx);
    TARO_ASSERT_TEXT(pNeigA != nullptr, "pNeigA!=__null");
    const int idxN = indexOfNeighbour(pNeigA, pT);
    Point2 *a = pT->getCorner(idx), *b = pT->getCorner(incIndexBy1(idx)), *c = pT->getCorner(incIndexBy2(idx)),
           *d = pNeigA->getCorner(idxN);
    Triangle2 *pAcrossCA = pT->getOppositeTriangle(incIndexBy1(idx)),
              *pAcrossAB = pT->getOppositeTriangle(incIndexBy2(idx)),
              *pAcrossBD = pNeigA->getOppositeTriangle(incIndexBy1(idxN)),
              *pAcrossDC = pNeigA->getOppositeTriangle(incIndexBy2(idxN));
    Triangle2 *pAB = pT, *pCA = createTriangle(v, c, a), *pDC = pNeigA, *pBD = createTriangle(v, b, d);
    relink(pCA, 0, pAcrossCA, pT);
    relink(pBD, 0, pAcrossBD, pNeigA);
    setTriangle(pAB, v, a, b);
    setTriangle(pDC, v, d, c);
    pAB->setOppositeTriangle(0, pAcrossAB);
    pDC->setOppositeTriangle(0, pAcrossDC);
    Triangle2* const aAround[4] = {pAB, pCA, pDC, pBD};  // clockwise around v
    for (int k = 0; k < 4; ++k) {
        aAround[k]->setOppositeTriangle(2, aAround[(k + 1) % 4]);
        aAround[k]->setOppositeTriangle(1, aAround[(k + 3) % 4]);
        aAround[k]->getCorner(1)->setIncidentTriangle(aAround[k]);
    }
    v->setIncidentTriangle(pAB);
    for (Triangle2* pNew : aAround) {
        if (pNew->getOppositeTriangle(0)) vFlipStack_.push_back(pNew);
    }
}

void TriangleMesh::splitHullEdge(Point2* v, Triangle2* pT, int idx) {
    splitConstraintOn(pT, idx, v);
    // v on the hull edge b-c of (a, b, c) makes (v, a, b) and (v, c, a).
    Point2 *a = pT->getCorner(idx), *b = pT->getCorner(incIndexBy1(idx)), *c = pT->getCorner(incIndexBy2(idx));
    Triangle2 *pAcrossCA = pT->getOppositeTriangle(incIndexBy1(idx)),
              *pAcrossAB = pT->getOppositeTriangle(incIndexBy2(idx));
    Triangle2* pCA = createTriangle(v, c, a);
    relink(pCA, 0, pAcrossCA, pT);
    setTriangle(pT, v, a, b);
    pT->setOppositeTriangle(0, pAcrossAB);
    pT->setOppositeTriangle(1, nullptr);
    pT->setOppositeTriangle(2, pCA);
    pCA->setOppositeTriangle(1, pT);
    v->setIncidentTriangle(pT);
    a->setIncidentTriangle(pT);
    b->setIncidentTriangle(pT);
    vFlipStack_.push_back(pT);
    vFlipStack_.push_back(pCA);
}

void TriangleMesh::splitConstraintOn(const Triangle2* pT, int i, Point2* v) {
    if (!isConstraint(pT, i)) return;
    pConstraintKeeper_->splitConstraintAt(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), v);
}

// ---------------------------------------------------------------------------------------------------------------------
// Constraint edges

bool TriangleMesh::isConstraintVertex(const Point2* pVtx) const {
    return pConstraintKeeper_ && pConstraintKeeper_->isConstraintVertex(pVtx);
}

void TriangleMesh::rememberEncroached(const Triangle2* pT, int i) {
    pConstraintKeeper_->rememberEncroached(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)));
}

/// A flip may bring another constraint next to the vertex, so that the search starts anew after each one.
void TriangleMesh::bendConstraintsTo(Point2* v) {
    const auto isBesideConstraint = [this, v](const Triangle2* pT) {
        const int i = indexOfVertex(pT, v);
        // First the test that needs no search and is rarely passed.
        return isBeside(*pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i)), *v) && isConstraint(pT, i);
    };
    while (Triangle2* pT = findIncidentTriangle(v, isBesideConstraint)) {
        splitConstraintOn(pT, 0, v);
        vFlipStack_.push_back(pT);
        legalize(v);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Flips

Triangle2* TriangleMesh::flip(Triangle2* pT, int i) {
    Triangle2* pN = pT->getOppositeTriangle(i);
    flipEdge(pT, i, pN, indexOfNeighbour(pN, pT));
    return pN;
}

bool TriangleMesh::isStrictlyConvex(const Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    const Point2* a = pT->getCorner(i);
    const Point2* d = pN->getCorner(indexOfNeighbour(pN, pT));
    return geomTest_.getOrientation2(a, d, pT->getCorner(incIndexBy1(i))) == ORIENTATION2_CW &&
           geomTest_.getOrientation2(a, d, pT->getCorner(incIndexBy2(i))) == ORIENTATION2_CCW;
}

void TriangleMesh::legalize(const Point2* v) {
    while (!vFlipStack_.empty()) {
        Triangle2* pT = vFlipStack_.back();
        Triangle2* pN = pT->getOppositeTriangle(0);
        const int j = pN ? indexOfNeighbour(pN, pT) : 0;
        const bool bFlip =
            pN && geomTest_.circleInc(pN->getCorner(j), pT->getCorner(2), pT->getCorner(1), v) && !isFixed(pT, 0);
        if (bFlip) {
            flipEdge(pT, 0, pN, j);
            vFlipStack_.push_back(pN);
        } else {
            vFlipStack_.pop_back();
        }
    }
}

Triangle2* TriangleMesh::takeNoted() {
    if (vFlipStack_.empty()) return nullptr;
    Triangle2* pT = vFlipStack_.back();
    vFlipStack_.pop_back();
    return pT;
}

void TriangleMesh::flipUntilDelaunay() {
    while (Triangle2* pT = takeNoted()) {
        for (int i = 0; i < 3; ++i) {
            if (flipUnlessDelaunay(pT, i)) break;  // and pT is on the stack again
        }
    }
}

bool TriangleMesh::flipUnlessDelaunay(Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    if (!pN) return false;
    const Point2* pFar = pN->getCorner(indexOfNeighbour(pN, pT));
    if (geomTest_.circleInc3state(pT, pFar) != CINC2_INCIRCLE || isFixed(pT, i)) return false;
    vFlipStack_.push_back(pT);
    vFlipStack_.push_back(flip(pT, i));
    return true;
}

void TriangleMesh::bfsFlipIncident(Point2* pVtx) {
    getIncidentTriangles(pVtx, vFlipStack_);
    flipUntilDelaunay();
}

}  // namespace LUMO_TARO25D
