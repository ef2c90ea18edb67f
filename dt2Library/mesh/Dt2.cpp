// Life of the engine, and insertion of points.
//
// A new vertex is located by a walk over orientation tests that starts near its place on the Hilbert curve,
// splits the triangle, the edge or the piece of hull that it hits, and flips edges until every one is
// Delaunay again (Lawson 1977). Invariants: corners are counterclockwise, links are mutual, the vertex being
// inserted is corner 0 of every triangle on the flip stack, and the flip stack is empty between operations.
//
// Memory: 40 bytes a vertex, 48 a triangle, and 44 a vertex in the vault and the lists.

#include "mesh/Dt2.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <random>
#include <thread>

#include "kernel/links.h"
#include "kernel/nearness.h"
#include "kernel/tools.h"
#include "mesh/BulkInserter.h"
#include "mesh/ConstraintKeeper.h"
#include "mesh/InnerVtxMgr.h"
#include "support/diagnostics.h"
#include "taro25d/TriangleAroundVertexIterator.h"

namespace LUMO_TARO25D {

namespace {

constexpr int MAX_ORDERED_STEPS = 1000;

constexpr int CODE_WALK_ON = 5;

std::string& filenamePrefix() {
    static std::string prefix;
    return prefix;
}

/// Appends the hull edges that v sees strictly, from the one that a first step reaches on.
template <class Step>
void collectVisibleHullEdges(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int i, const Point2* v,
                             GeomTest& geomTest, Step step) {
    const auto isVisible = [&] {
        return geomTest.getOrientation2(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), v) ==
               ORIENTATION2_CW;
    };
    for (step(pT, i); isVisible(); step(pT, i)) vPatch.emplace_back(pT, i);
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Life

Dt2::Dt2(unsigned numExpectedVertices) : vertexVault_(geomTest_, numExpectedVertices) {
    constexpr unsigned MAX_TRIANGLE_BLOCK = 2083333;
    const unsigned numTriangles = 2 * std::clamp(numExpectedVertices, 3u, 2500000u) + 10;
    trianglePool_.init(static_cast<int>(numTriangles), MAX_TRIANGLE_BLOCK);
    pInnerVtxMgr_ = std::make_unique<InnerVtxMgr>();
    pVertexRemover_ = std::make_unique<VertexRemover>(*this);
}

Dt2::~Dt2() = default;

int Dt2::setNumCPU(int n) {
    if (n == 0) n = static_cast<int>(std::thread::hardware_concurrency());
    numCPU_ = n > 0 ? n : 1;
    vertexVault_.setNumThreads(numCPU_);
    return numCPU_;
}

void Dt2::setDev(const std::string& text, int, double) { filenamePrefix() = text; }

std::string Dt2::getFilenamePrefix() { return filenamePrefix(); }

inline Triangle2* Dt2::newTriangleRecord() {
    if (!vRecycledTriangles_.empty()) {
        Triangle2* pT = vRecycledTriangles_.back();
        vRecycledTriangles_.pop_back();
        return new (pT) Triangle2();
    }
    return new (trianglePool_.getElement()) Triangle2();
}

Triangle2* Dt2::createTriangle(Point2* p0, Point2* p1, Point2* p2) {
    Triangle2* pT = newTriangleRecord();
    setTriangle(pT, p0, p1, p2);
    p0->setIncidentTriangle(pT);
    p1->setIncidentTriangle(pT);
    p2->setIncidentTriangle(pT);
    return pT;
}

void Dt2::getFreshTriangles(size_t n, std::vector<Triangle2*>& vFreshTriangles) {
    vFreshTriangles.clear();
    for (size_t i = 0; i < n; ++i) vFreshTriangles.push_back(newTriangleRecord());
}

void Dt2::storeRecycledT(const std::vector<Triangle2*>& vTriangles) {
    for (Triangle2* pT : vTriangles) {
        setTriangle(pT, nullptr, nullptr, nullptr);  // tells a dead record from a live one
        vRecycledTriangles_.push_back(pT);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// One point

Point2* Dt2::insert(const Point2& point) {
    if (!isFinite(point)) {
        warning("Dt2::insert()", "non-finite coordinates, point refused");
        return nullptr;
    }
    vertexVault_.enlargeBoxForPoint(point);
    if (!vertexVault_.isFullDimensional()) return insertWhileCollinear(point);
    Point2* pVtx = vertexVault_.createRegisteredVertex(point);
    insertVertex(pVtx, getStartTriangle(point));
    if (!vertexVault_.dupIsClean()) return vertexVault_.treatOneDupGetHandle(pVtx);
    pLastVtx_ = pVtx;
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    return pVtx;
}

Triangle2* Dt2::getStartTriangle(const Point2& point) const {
    Triangle2* pT = vertexVault_.getCloseTriangle(point);
    // Points that come in the order of a survey are near the last one, which the sorted part of the vault does not
    // know yet. (A vertex that was removed meanwhile has no triangle, or is another vertex by now.)
    if (!pLastVtx_ || !pLastVtx_->getIncidentTriangle()) return pT;
    const bool bNearer = sqDistance2D(*pLastVtx_, point) < sqDistance2D(*pT->getCorner(0), point);
    return bNearer ? pLastVtx_->getIncidentTriangle() : pT;
}

Point2* Dt2::insertWhileCollinear(const Point2& point) {
    if (Point2* pExisting = vertexVault_.getVertexPointer(point)) {
        vertexVault_.getHeightBook().meet(pExisting, point.z());
        return pExisting;
    }
    Point2* pVtx = vertexVault_.createRegisteredVertex(point);
    if (!createFullDimTriangle(0)) vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    return pVtx;
}

Triangle2* Dt2::insertVertex(Point2*& pVtx, Triangle2* pHint) {
    Triangle2* pT = pHint;
    int idx = -1;
    const int code = locateConflictTriangle(pVtx, pT, idx);
    if (code != CODE_INSIDE) return triangulateCoplanarOrDuplicate(pVtx, pT, code);
    if (idx == -1) {
        initVCheckT13(pT, pVtx);
    } else {
        initVCheckT24(pT, pVtx, idx);
    }
    settle(pVtx);
    return pT;
}

int Dt2::locateConflictTriangle(const Point2* p, Triangle2*& pT, int& idx) const { return walk(p, pT, idx, geomTest_); }

int Dt2::walk(const Point2* p, Triangle2*& pT, int& idx, GeomTest& geomTest) {
    TARO_ASSERT_TEXT(pT != nullptr, "pStartTriangle!=__null");
    idx = -1;
    int i = 0;
    int numEdges = 3;  // still to be tested in this triangle, from edge i on
    std::minstd_rand random;
    for (int numSteps = 0; numEdges > 0;) {
        const int next = incIndexBy1(i), afterNext = incIndexBy2(i);
        const Orientation2 ori = geomTest.getOrientation2(pT->getCorner(afterNext), pT->getCorner(next), p);
        if (ori == ORIENTATION2_CCW) {
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN) return i;
            // p lies strictly inside the edge of entry, which need not be tested again. A walk that takes so
            // long may be going in circles, as it can among constraints: from then on it starts at any edge, always
            // the same ones, so that nothing but the mesh and the point decides where it ends.
            const bool bOrdered = ++numSteps <= MAX_ORDERED_STEPS;
            i = bOrdered ? incIndexBy1(indexOfNeighbour(pN, pT)) : static_cast<int>(random() % 3);
            numEdges = bOrdered ? 2 : 3;
            idx = -1;
            pT = pN;
            continue;
        }
        if (ori == ORIENTATION2_COLLINEAR) {
            for (int k = 0; k < 3; ++k) {
                if (*pT->getCorner(k) == *p) return CODE_DUPLICATE;
            }
            idx = i;
            if (!pT->getOppositeTriangle(i)) {
                const int code = locateCoplanarExtension(p, pT, i, geomTest);
                if (code != CODE_WALK_ON) return code;
                i = 0;
                numEdges = 3;
                idx = -1;
                continue;
            }
        }
        i = next;
        --numEdges;
    }
    return CODE_INSIDE;
}

int Dt2::locateCoplanarExtension(const Point2* p, Triangle2*& pT, int idx, GeomTest& geomTest) {
    for (const int i : {incIndexBy1(idx), incIndexBy2(idx)}) {
        const Orientation2 ori =
            geomTest.getOrientation2(pT->getCorner(incIndexBy2(i)), pT->getCorner(incIndexBy1(i)), p);
        if (ori != ORIENTATION2_CCW) continue;
        Triangle2* pN = pT->getOppositeTriangle(i);
        if (!pN) return i;
        pT = pN;
        return CODE_WALK_ON;
    }
    return idx;
}

Triangle2* Dt2::triangulateCoplanarOrDuplicate(Point2*& pVtx, Triangle2* pT, int code) {
    if (code != CODE_DUPLICATE) return insertVertexCH(pVtx, pT, code);
    for (int i = 0; i < 3; ++i) {
        if (*pT->getCorner(i) != *pVtx) continue;
        vertexVault_.registerDup(pVtx, pT->getCorner(i));
        return pT;
    }
    error("triangulateCoplanarOrDuplicate()", "Proxy not found");
    TARO_ASSERT_TEXT(false, "Proxy not found");
    return nullptr;
}

void Dt2::initVCheckT13(Triangle2* pT, Point2* v) {
    Triangle2 *pBC = newTriangleRecord(), *pCA = newTriangleRecord();
    splitTriangle(pT, v, pBC, pCA);
    for (Triangle2* pNew : {pT, pBC, pCA}) {
        if (pNew->getOppositeTriangle(0)) vFlipStack_.push_back(pNew);
    }
}

void Dt2::initVCheckT24(Triangle2* pT, Point2* v, int idx) {
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

void Dt2::legalize(const Point2* v) {
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

void Dt2::rememberEncroached(const Triangle2* pT, int i) {
    pConstraintKeeper_->rememberEncroached(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)));
}

void Dt2::splitConstraintOn(const Triangle2* pT, int i, Point2* v) {
    if (!isConstraint(pT, i)) return;
    pConstraintKeeper_->splitConstraintAt(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)), v);
}

bool Dt2::isConstraintVertex(const Point2* pVtx) const {
    return pConstraintKeeper_ && pConstraintKeeper_->isConstraintVertex(pVtx);
}

/// Flips may bring the next constraint to a vertex, so that all around it are looked at again after each.
void Dt2::bendConstraintsTo(Point2* v) {
    const auto isBesideConstraint = [this, v](const Triangle2* pT) {
        const int i = indexOfVertex(pT, v);
        return isBeside(*pT->getCorner(incIndexBy1(i)), *pT->getCorner(incIndexBy2(i)), *v) && isConstraint(pT, i);
    };
    while (Triangle2* pT = findIncidentTriangle(v, isBesideConstraint)) {
        splitConstraintOn(pT, 0, v);
        vFlipStack_.push_back(pT);
        legalize(v);
    }
}

Triangle2* Dt2::flip(Triangle2* pT, int i) {
    Triangle2* pN = pT->getOppositeTriangle(i);
    flipEdge(pT, i, pN, indexOfNeighbour(pN, pT));
    return pN;
}

bool Dt2::isStrictlyConvex(const Triangle2* pT, int i) const {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    const Point2* a = pT->getCorner(i);
    const Point2* d = pN->getCorner(indexOfNeighbour(pN, pT));
    return geomTest_.getOrientation2(a, d, pT->getCorner(incIndexBy1(i))) == ORIENTATION2_CW &&
           geomTest_.getOrientation2(a, d, pT->getCorner(incIndexBy2(i))) == ORIENTATION2_CCW;
}

void Dt2::bfsFlipIncident(Point2* pVtx) {
    getIncidentTriangles(pVtx, vFlipStack_);
    flipUntilDelaunay();
}

Triangle2* Dt2::takeNoted() {
    if (vFlipStack_.empty()) return nullptr;
    Triangle2* pT = vFlipStack_.back();
    vFlipStack_.pop_back();
    return pT;
}

void Dt2::flipUntilDelaunay() {
    while (Triangle2* pT = takeNoted()) {
        for (int i = 0; i < 3; ++i) {
            if (flipUnlessDelaunay(pT, i)) break;  // and pT is on the stack again
        }
    }
}

bool Dt2::flipUnlessDelaunay(Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    if (!pN) return false;
    const Point2* pFar = pN->getCorner(indexOfNeighbour(pN, pT));
    if (geomTest_.circleInc3state(pT, pFar) != CINC2_INCIRCLE || isFixed(pT, i)) return false;
    vFlipStack_.push_back(pT);
    vFlipStack_.push_back(flip(pT, i));
    return true;
}

// ---------------------------------------------------------------------------------------------------------------------
// Outside the convex hull

Triangle2* Dt2::insertVertexCH(Point2* v, Triangle2* pT, int idx) {
    const Orientation2 ori =
        geomTest_.getOrientation2(pT->getCorner(incIndexBy1(idx)), pT->getCorner(incIndexBy2(idx)), v);
    if (ori == ORIENTATION2_COLLINEAR) {
        splitHullEdge(v, pT, idx);
    } else {
        vHullPatch_.clear();
        const auto toPrevious = [this](Triangle2*& pHullT, int& i) { hullHubs_.toPrevious(pHullT, i); };
        const auto toNext = [this](Triangle2*& pHullT, int& i) { hullHubs_.toNext(pHullT, i); };
        collectVisibleHullEdges(vHullPatch_, pT, idx, v, geomTest_, toPrevious);
        std::reverse(vHullPatch_.begin(), vHullPatch_.end());
        vHullPatch_.emplace_back(pT, idx);
        collectVisibleHullEdges(vHullPatch_, pT, idx, v, geomTest_, toNext);
        fanFromHullPatch(v);
    }
    settle(v);
    return v->getIncidentTriangle();
}

void Dt2::splitHullEdge(Point2* v, Triangle2* pT, int idx) {
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

void Dt2::determineHullPatchLeft(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int idx,
                                 const Point2* v, GeomTest& geomTest) {
    collectVisibleHullEdges(vPatch, pT, idx, v, geomTest, toPreviousHullEdge);
}

void Dt2::determineHullPatchRight(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int idx,
                                  const Point2* v, GeomTest& geomTest) {
    collectVisibleHullEdges(vPatch, pT, idx, v, geomTest, toNextHullEdge);
}

void Dt2::fanFromHullPatch(Point2* v) {
    Triangle2* pPrevious = nullptr;
    for (const auto& [pT, k] : vHullPatch_) {
        Triangle2* pNew = createTriangle(v, pT->getCorner(incIndexBy2(k)), pT->getCorner(incIndexBy1(k)));
        pNew->setOppositeTriangle(0, pT);
        pT->setOppositeTriangle(k, pNew);
        pNew->setOppositeTriangle(1, pPrevious);
        if (pPrevious) pPrevious->setOppositeTriangle(2, pNew);
        pPrevious = pNew;
        vFlipStack_.push_back(pNew);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Many points

void Dt2::insertVector(const std::vector<Point2>& vPoints) { insertBulk(PointSource(vPoints), nullptr); }

void Dt2::insertVector(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandlesOut) {
    vHandlesOut.assign(vPoints.size(), nullptr);
    insertBulk(PointSource(vPoints), vHandlesOut.data());
}

void Dt2::insertBulk(const PointSource& source, Point2** aHandles, std::vector<Point2*>* pNewVertices) {
    BulkInserter(*this).insert(source, aHandles, pNewVertices);
}

bool Dt2::createFullDimTriangle(size_t numPreExistingVtx) {
    return BulkInserter(*this).createFullDimTriangle(numPreExistingVtx);
}

void Dt2::triangulateRec(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end, Triangle2* pStartT) {
    BulkInserter(*this).triangulateRec(begin, end, pStartT);
}

void Dt2::expectTriangles(size_t n) { trianglePool_.expect(n - std::min(n, vRecycledTriangles_.size()), numCPU_); }

}  // namespace LUMO_TARO25D
