// Life of the engine, and insertion of points.
//
// A new vertex is located by a walk over orientation tests that starts near its place on the Hilbert curve,
// splits the triangle, the edge or the piece of hull that it hits, and flips edges until every one is
// Delaunay again (Lawson 1977). Invariants: corners are counterclockwise, links are mutual, the vertex being
// inserted is corner 0 of every triangle on the flip stack, and the flip stack is empty between operations.
//
// Many points at once are first put into curve order, records included, so that neighbours in the plane are
// neighbours in memory; then the middle one is inserted first and both halves after it, which keeps walks
// short (2.6 steps) without the long fans of triangles that a straight sweep along the curve would build and
// flip away again. All of it takes expected linear time but for the location of points from scratch, O(log
// n). Memory: 40 bytes a vertex, 48 a triangle, and 44 a vertex in the vault and the lists.

#include "mesh/Dt2.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <new>
#include <numeric>
#include <thread>

#include "constraints/ConstraintMgr.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/InnerVtxMgr.h"
#include "mesh/InserterMT.h"
#include "meshing/CandidateQueue.h"
#include "support/diagnostics.h"
#include "support/parallel.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/TriangleAroundVertexIterator.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

namespace {

constexpr int HILBERT_BITS = 30;
constexpr size_t MIN_VERTICES_FOR_THREADS = 1000;
constexpr int MAX_ORDERED_STEPS = 1000;

constexpr int CODE_WALK_ON = 5;

std::string& filenamePrefix() {
    static std::string prefix;
    return prefix;
}

HC2 makeCurve(const Bbox2& box) {
    return HC2(box.getMinX(), box.getMinY(), box.getMaxX(), box.getMaxY(), HILBERT_BITS);
}

/// Narrows a range to where nine tenths of a sample lie, with room for their extent on both sides. What is left out gets
/// the keys of border cells; without this, one stray point would flatten the cells of all others.
void leaveStraysOut(std::vector<double>& vSample, double& min, double& max) {
    constexpr size_t MIN_SAMPLE_SIZE = 64;
    if (vSample.size() < MIN_SAMPLE_SIZE) return;
    const auto quantile = [&vSample](size_t rank) {
        const auto place = vSample.begin() + static_cast<std::ptrdiff_t>(rank);
        std::nth_element(vSample.begin(), place, vSample.end());
        return *place;
    };
    const double low = quantile(vSample.size() / 20), high = quantile(vSample.size() - 1 - vSample.size() / 20);
    const double room = high - low;
    if (!(room > 0.0)) return;
    min = std::max(min, low - room);
    max = std::min(max, high + room);
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

Dt2::Dt2(unsigned numExpectedVertices) : hilbertCurve_(0.0, 0.0, 0.0, 0.0, HILBERT_BITS), vertexVault_(this) {
    constexpr unsigned MAX_VERTEX_BLOCK = 2500000;
    const int numVertices = static_cast<int>(std::clamp(numExpectedVertices, 3u, MAX_VERTEX_BLOCK));
    vertexPool_.init(numVertices, MAX_VERTEX_BLOCK);
    trianglePool_.init(2 * numVertices + 10, 2083333);
    insertionBox_.setGeomTest(&geomTest_);
    pConstraintMgr_ = std::make_unique<ConstraintMgr>(this);
    pInnerVtxMgr_ = std::make_unique<InnerVtxMgr>();
    pVertexRemover_ = std::make_unique<VertexRemover>(*this);
}

Dt2::~Dt2() = default;

int Dt2::setNumCPU(int n) {
    if (n == 0) n = static_cast<int>(std::thread::hardware_concurrency());
    numCPU_ = n > 0 ? n : 1;
    return numCPU_;
}

void Dt2::internalDebug(int topic, int, const std::string& text) {
    if (topic == 0) vertexVault_.showData(text);
    if (topic == 1) vertexVault_.checkVault();
    if (topic == 2) vertexVault_.debugDups();
    if (topic == 3) pConstraintMgr_->writeConstraints(text);
    if (topic == 4) pConstraintMgr_->writeConstraintsBIN(text);
}

void Dt2::setDev(const std::string& text, int, double) { filenamePrefix() = text; }

std::string Dt2::getFilenamePrefix() { return filenamePrefix(); }

Point2* Dt2::createVertex(const Point2& point) {
    if (vRecycledVertices_.empty()) return new (vertexPool_.getElement()) Point2(point);
    Point2* pVtx = vRecycledVertices_.back();
    vRecycledVertices_.pop_back();
    return new (pVtx) Point2(point);
}

Point2* Dt2::createRegisteredVertex(const Point2& point) {
    Point2* pVtx = createVertex(point);
    vertexVault_.addItem(hilbertCurve_.iReset(point.x(), point.y()), pVtx);
    return pVtx;
}

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

Bbox2 Dt2::chooseCurveBox(const PointSource* pComing) const {
    constexpr size_t SAMPLE_SIZE = 1000;
    std::vector<double> vX, vY;
    const auto addSample = [&](size_t n, const auto& pointAt) {
        for (size_t k = 0, size = std::min(n, SAMPLE_SIZE); k < size; ++k) {
            const Point2 point = pointAt(n / size * k + n % size * k / size);
            if (!isFinite(point)) continue;
            vX.push_back(point.x());
            vY.push_back(point.y());
        }
    };
    const auto& vItems = vertexVault_.getData();
    addSample(vItems.size(), [&](size_t i) { return *vItems[i]->vtx; });
    if (pComing) addSample(pComing->size(), [&](size_t i) { return (*pComing)[i]; });
    double minX, minY, maxX, maxY;
    insertionBox_.getBounds(minX, minY, maxX, maxY);
    leaveStraysOut(vX, minX, maxX);
    leaveStraysOut(vY, minY, maxY);
    widenShortSide(minX, minY, maxX, maxY);
    return Bbox2(minX, minY, maxX, maxY);
}

void Dt2::reconfigure(const PointSource* pComing) {
    curveBox_ = chooseCurveBox(pComing);
    hilbertCurve_ = makeCurve(curveBox_);
    vertexVault_.reconfiguration();
}

bool Dt2::refreshHilbertCurve() {
    const Bbox2 box = chooseCurveBox(nullptr);
    const auto differ = [](double a, double b) { return a > 4.0 * b || b > 4.0 * a; };
    if (!differ(box.getMaxX() - box.getMinX(), curveBox_.getMaxX() - curveBox_.getMinX()) &&
        !differ(box.getMaxY() - box.getMinY(), curveBox_.getMaxY() - curveBox_.getMinY())) {
        return false;
    }
    curveBox_ = box;
    hilbertCurve_ = makeCurve(curveBox_);
    return true;
}

void Dt2::enlargeBoxForPoint(const Point2& point) {
    if (insertionBox_.isInBox(point)) return;
    insertionBox_.add(point);
    insertionBox_.doubleTheBox();
    reconfigure();
}

Point2* Dt2::insert(const Point2& point) {
    if (!isFinite(point)) {
        warning("Dt2::insert()", "non-finite coordinates, point refused");
        return nullptr;
    }
    enlargeBoxForPoint(point);
    if (!vertexVault_.isFullDimensional()) return insertWhileCollinear(point);
    Point2* pVtx = createVertex(point);
    const unsigned key = hilbertCurve_.iReset(point.x(), point.y());
    vertexVault_.addItem(key, pVtx);
    insertVertex(pVtx, getStartTriangle(key, point));
    if (!vertexVault_.dupIsClean()) return vertexVault_.treatOneDupGetHandle(pVtx);
    pLastVtx_ = pVtx;
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    return pVtx;
}

Triangle2* Dt2::getStartTriangle(unsigned key, const Point2& point) const {
    Triangle2* pT = vertexVault_.getCloseTriangle(key, point.x(), point.y());
    // Points that come in the order of a survey are near the last one, which the sorted part of the vault does not
    // know yet. (A vertex that was removed meanwhile has no triangle, or is another vertex by now.)
    if (!pLastVtx_ || !pLastVtx_->getIncidentTriangle()) return pT;
    const bool bNearer = sqDistance2D(*pLastVtx_, point) < sqDistance2D(*pT->getCorner(0), point);
    return bNearer ? pLastVtx_->getIncidentTriangle() : pT;
}

Point2* Dt2::insertWhileCollinear(const Point2& point) {
    if (Point2* pExisting = vertexVault_.getVertexPointer(point)) return pExisting;
    Point2* pVtx = createRegisteredVertex(point);
    if (!createFullDimTriangle(0)) vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    return pVtx;
}

bool Dt2::createFullDimTriangle(size_t numPreExistingVtx) {
    TARO_ASSERT_TEXT(!vertexVault_.isFullDimensional(), "!vertexVault.bFullDimensional");
    Point2 *p0 = nullptr, *p1 = nullptr, *p2 = nullptr;
    if (!vertexVault_.getThreeInitialPoints(p0, p1, p2)) return false;
    const size_t numVertices = vertexVault_.getSize();
    TARO_ASSERT_TEXT(numPreExistingVtx <= numVertices, "numPreExistingVtx<=(size_t)distance(startIt,stopIt)");
    vertexVault_.setFullDimensional(true);
    if (numPreExistingVtx == 0) vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    Triangle2* pT = nullptr;
    if (vertexVault_.hasFakeBox()) {
        pT = triangulateFakeBox();
    } else {
        pT = createTriangle(p0, p1, p2);
        progress_.incProgress(3);
    }
    const ItemIterator start = vertexVault_.getData().data();
    triangulateGate(start, start + numPreExistingVtx, pT);
    if (numPreExistingVtx > 0) pT = (*start)->vtx->getIncidentTriangle();
    triangulateGate(start + numPreExistingVtx, start + numVertices, pT);
    return true;
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
    legalize(pVtx);
    return pT;
}

int Dt2::locateConflictTriangle(const Point2* p, Triangle2*& pT, int& idx) const {
    TARO_ASSERT_TEXT(pT != nullptr, "pStartTriangle!=__null");
    idx = -1;
    int i = 0;
    int numEdges = 3;  // still to be tested in this triangle, from edge i on
    for (int numSteps = 0; numEdges > 0;) {
        const int next = incIndexBy1(i), afterNext = incIndexBy2(i);
        const Orientation2 ori = geomTest_.getOrientation2(pT->getCorner(afterNext), pT->getCorner(next), p);
        if (ori == ORIENTATION2_CCW) {
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN) return i;
            // p lies strictly inside the edge of entry, which need not be tested again. A walk that takes so
            // long may be going in circles, as it can among constraints: from then on it starts at any edge.
            const bool bOrdered = ++numSteps <= MAX_ORDERED_STEPS;
            i = bOrdered ? incIndexBy1(indexOfNeighbour(pN, pT)) : std::rand() % 3;
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
                const int code = locateCoplanarExtension(p, pT, i);
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

int Dt2::locateCoplanarExtension(const Point2* p, Triangle2*& pT, int idx) const {
    for (const int i : {incIndexBy1(idx), incIndexBy2(idx)}) {
        const Orientation2 ori =
            geomTest_.getOrientation2(pT->getCorner(incIndexBy2(i)), pT->getCorner(incIndexBy1(i)), p);
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
    if (isConstraint(pT, idx)) splitConstraintAt(pT->getCorner(incIndexBy1(idx)), pT->getCorner(incIndexBy2(idx)), v);
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
        const bool bFlip = pN && geomTest_.circleInc(pN->getCorner(j), pT->getCorner(2), pT->getCorner(1), v) &&
                           !isConstraint(pT, 0) && !bFlipsSuppressed_;
        if (bFlip) {
            flipEdge(pT, 0, pN, j);
            vFlipStack_.push_back(pN);
        } else {
            vFlipStack_.pop_back();
        }
    }
}

Triangle2* Dt2::flip(Triangle2* pT, int i) {
    Triangle2* pN = pT->getOppositeTriangle(i);
    flipEdge(pT, i, pN, indexOfNeighbour(pN, pT));
    return pN;
}

bool Dt2::canBeFlipped(Triangle2* pT, int i) const {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    if (isConstraint(pT, i) || !pN) return false;
    const Point2* a = pT->getCorner(i);
    const Point2* d = pN->getCorner(indexOfNeighbour(pN, pT));
    return geomTest_.getOrientation2(a, d, pT->getCorner(incIndexBy1(i))) == ORIENTATION2_CW &&
           geomTest_.getOrientation2(a, d, pT->getCorner(incIndexBy2(i))) == ORIENTATION2_CCW;
}

void Dt2::bfsFlipIncident(Point2* pVtx) {
    getIncidentTriangles(pVtx, vFlipStack_);
    flipUntilDelaunay();
}

void Dt2::flipUntilDelaunay() {
    while (!vFlipStack_.empty()) {
        Triangle2* pT = vFlipStack_.back();
        vFlipStack_.pop_back();
        for (int i = 0; i < 3; ++i) {
            if (flipUnlessDelaunay(pT, i)) break;  // and pT is on the stack again
        }
    }
}

bool Dt2::flipUnlessDelaunay(Triangle2* pT, int i) {
    const Triangle2* pN = pT->getOppositeTriangle(i);
    if (!pN) return false;
    const Point2* pFar = pN->getCorner(indexOfNeighbour(pN, pT));
    if (geomTest_.circleInc3state(pT, pFar) != CINC2_INCIRCLE || isConstraint(pT, i)) return false;
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
        determineHullPatchLeft(vHullPatch_, pT, idx, v);
        std::reverse(vHullPatch_.begin(), vHullPatch_.end());
        vHullPatch_.emplace_back(pT, idx);
        determineHullPatchRight(vHullPatch_, pT, idx, v);
        fanFromHullPatch(v);
    }
    legalize(v);
    return v->getIncidentTriangle();
}

void Dt2::splitHullEdge(Point2* v, Triangle2* pT, int idx) {
    if (isConstraint(pT, idx)) splitConstraintAt(pT->getCorner(incIndexBy1(idx)), pT->getCorner(incIndexBy2(idx)), v);
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
                                 const Point2* v) const {
    collectVisibleHullEdges(vPatch, pT, idx, v, geomTest_, toPreviousHullEdge);
}

void Dt2::determineHullPatchRight(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int idx,
                                  const Point2* v) const {
    collectVisibleHullEdges(vPatch, pT, idx, v, geomTest_, toNextHullEdge);
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

void Dt2::enlargeBoxForBulk(const PointSource& source) {
    const size_t numParts = numParallelParts(numCPU_, source.size());
    std::vector<Bbox2> vBoxes(numParts);
    std::vector<size_t> vNumRefused(numParts, 0);
    parallelFor(numCPU_, source.size(), [&](size_t begin, size_t end, int part) {
        Bbox2 box;
        size_t numRefused = 0;
        for (size_t i = begin; i < end; ++i) {
            const Point2 point = source[i];
            if (isFinite(point)) {
                box.add(point);
            } else {
                ++numRefused;
            }
        }
        vBoxes[static_cast<size_t>(part)] = box;
        vNumRefused[static_cast<size_t>(part)] = numRefused;
    });
    Bbox2 box;
    for (const Bbox2& partBox : vBoxes) {
        if (partBox.isValid()) box + partBox;
    }
    const size_t numRefused = std::accumulate(vNumRefused.begin(), vNumRefused.end(), size_t(0));
    if (numRefused > 0) {
        warning("Dt2::insertVector()", "non-finite coordinates, points refused: " + std::to_string(numRefused));
    }
    if (!box.isValid() || (insertionBox_.isInBox(box.getMinPoint()) && insertionBox_.isInBox(box.getMaxPoint())))
        return;
    // A box that grows again and again is doubled, or each batch would cost as much as all before it.
    const bool bGrowsAgain = insertionBox_.isValid();
    insertionBox_.add(box.getMinPoint());
    insertionBox_.add(box.getMaxPoint());
    if (bGrowsAgain) insertionBox_.doubleTheBox();
    reconfigure(&source);
}

void Dt2::insertBulk(const PointSource& source, Point2** aHandles) {
    const size_t n = source.size();
    if (n == 0) return;
    TARO_ASSERT_TEXT(vertexVault_.dupIsClean(), "vertexVault.dupIsClean()");
    enlargeBoxForBulk(source);
    const size_t numSteps = n + n / 10;
    progress_.start("insert vertices", numSteps, Progress::fineStep(numSteps));
    const ProgressEnd progressEnd(progress_);
    const size_t numPreExisting = vertexVault_.getSize();
    vertexVault_.iReset_vector(source, aHandles);
    try {
        progress_.incProgress(n / 10);
        triangulateBulk(numPreExisting);
    } catch (...) {
        abandonBulk(numPreExisting, aHandles, n);
        throw;
    }
    vertexVault_.treatDupsAndHandles(numPreExisting, aHandles, aHandles ? n : 0);
    TARO_ASSERT_TEXT(vertexVault_.dupIsClean(), "vertexVault.dupIsClean()");
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    progress_.finish();
}

void Dt2::triangulateBulk(size_t numPreExisting) {
    const size_t numItems = vertexVault_.getSize();
    const size_t numTriangles = 2 * (numItems - numPreExisting) + 3;
    trianglePool_.expect(numTriangles - std::min(numTriangles, vRecycledTriangles_.size()), numCPU_);
    // The chunks of a batch that is small beside the mesh would each have to look at much of it.
    const size_t numNew = numItems - numPreExisting;
    const bool bInBox =
        isWorthThreads(numNew) && 4 * numNew >= numPreExisting && vertexVault_.createFakeBox(insertionBox_);
    if (!vertexVault_.isFullDimensional()) {
        createFullDimTriangle(numPreExisting);
    } else if (numPreExisting < numItems) {
        if (bInBox) insertFakeBox();
        const ItemIterator start = vertexVault_.getData().data();
        const IdxVtxAct* pFirst = start[numPreExisting];
        triangulateGate(start + numPreExisting, start + numItems,
                        vertexVault_.getCloseTriangle(pFirst->idx, pFirst->vtx->x(), pFirst->vtx->y()));
    }
    if (vertexVault_.hasFakeBox()) vertexVault_.removeFakeBox();
}

/// After a failure: what is not in the mesh goes, as if it had not been asked for. Only the points that stood on a line
/// before are all put into the mesh, if there is one now.
void Dt2::abandonBulk(size_t numPreExisting, Point2** aHandles, size_t numHandles) {
    progress_.reset();
    vFlipStack_.clear();
    if (is2D()) {
        const ItemIterator start = vertexVault_.getData().data();
        Triangle2* pT = vertexVault_.hasFakeBox() ? vertexVault_.getFakeBoxCorner(0)->getIncidentTriangle() : nullptr;
        triangulateRest(start, start + numPreExisting, pT ? pT : getOneValidTriangle());
    }
    if (vertexVault_.hasFakeBox()) vertexVault_.removeFakeBox();
    if (!getOneValidTriangle()) vertexVault_.setFullDimensional(false);
    vertexVault_.dropUninserted(numPreExisting, aHandles, aHandles ? numHandles : 0);
}

bool Dt2::isWorthThreads(size_t numVertices) const {
    return numCPU_ >= 2 && numVertices >= MIN_VERTICES_FOR_THREADS && !hasConstraints();
}

void Dt2::triangulateGate(ItemIterator begin, ItemIterator end, Triangle2* pStartT) {
    if (!vertexVault_.hasFakeBox() || !isWorthThreads(static_cast<size_t>(end - begin))) {
        triangulateRec(begin, end, pStartT);
    } else if (!InserterMT(this).go(begin, end, vertexVault_.getFakeBoxCorner(0)->getIncidentTriangle())) {
        leaveFakeBox(begin, end);
    }
}

Triangle2* Dt2::triangulateFakeBox() {
    Point2* corner[4];
    for (size_t i = 0; i < 4; ++i) corner[i] = vertexVault_.getFakeBoxCorner(i);
    Triangle2* pT = createTriangle(corner[0], corner[1], corner[2]);
    Triangle2* pN = createTriangle(corner[0], corner[2], corner[3]);
    pT->setOppositeTriangle(1, pN);
    pN->setOppositeTriangle(2, pT);
    return pT;
}

void Dt2::insertFakeBox() {
    for (size_t i = 0; i < 4; ++i) {
        Point2* pCorner = vertexVault_.getFakeBoxCorner(i);
        insertVertex(pCorner, i == 0 ? getOneValidTriangle() : vertexVault_.getFakeBoxCorner(0)->getIncidentTriangle());
    }
}

/// Goes on without the box, from the few vertices that are there already.
void Dt2::leaveFakeBox(ItemIterator begin, ItemIterator end) {
    vertexVault_.removeFakeBox();
    if (Triangle2* pT = getOneValidTriangle()) return triangulateRest(begin, end, pT);
    // They were collinear and have lost their triangles, with those that stood there before.
    Point2 *p0 = nullptr, *p1 = nullptr, *p2 = nullptr;
    vertexVault_.getThreeInitialPoints(p0, p1, p2);
    triangulateRest(vertexVault_.getData().data(), end, createTriangle(p0, p1, p2));
}

void Dt2::triangulateRest(ItemIterator begin, ItemIterator end, Triangle2* pStartT) {
    LargeVector<IdxVtxAct*> vRest;
    std::copy_if(begin, end, std::back_inserter(vRest), [this](const IdxVtxAct* pItem) {
        return !pItem->vtx->getIncidentTriangle() && vertexVault_.getOriginal(pItem->vtx) == pItem->vtx;
    });
    triangulateRec(vRest.data(), vRest.data() + vRest.size(), pStartT);
}

void Dt2::triangulateRec(ItemIterator begin, ItemIterator end, Triangle2* pStartT) {
    const auto insertItem = [this](ItemIterator item, Triangle2* pHint) {
        Point2* pVtx = (*item)->vtx;
        // The three vertices of the first triangle are in the mesh already.
        if (pVtx->getIncidentTriangle()) return pVtx->getIncidentTriangle();
        if (progress_.isActive()) progress_.incProgress(1);
        return insertVertex(pVtx, pHint);
    };
    if (end - begin <= MAX_RANGE_IN_SEQUENCE) {
        for (; begin < end; ++begin) pStartT = insertItem(begin, pStartT);
        return;
    }
    const ItemIterator middle = begin + (end - begin) / 2;
    Triangle2* pIncT = insertItem(middle, pStartT);
    TARO_ASSERT_TEXT(pIncT != nullptr, "pIncT!=NULL");
    triangulateRec(begin, middle, pIncT);
    // Flips have moved the triangle since; the vertex knows a better one, unless it was a duplicate.
    if (Triangle2* pT = (*middle)->vtx->getIncidentTriangle()) pIncT = pT;
    triangulateRec(middle + 1, end, pIncT);
}

}  // namespace LUMO_TARO25D
