// Life of the engine, and insertion of points.
//
// A new vertex is located by a walk over orientation tests (walk.h) that starts near its place on the Hilbert curve,
// splits the triangle, the edge or the piece of hull that it hits, and flips edges until every one is Delaunay again
// (TriangleMesh.h).
//
// Memory: 40 bytes a vertex, 48 a triangle, and 44 a vertex in the vault and the lists.

#include "mesh/Dt2.h"

#include <algorithm>
#include <thread>

#include "kernel/links.h"
#include "kernel/tools.h"
#include "mesh/InnerVtxMgr.h"
#include "mesh/hullPatch.h"
#include "mesh/walk.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

std::string& filenamePrefix() {
    static std::string prefix;
    return prefix;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// Life

Dt2::Dt2(unsigned numExpectedVertices)
    : TriangleMesh(numExpectedVertices),
      vertexVault_(getGeomTest(), numExpectedVertices),
      pInnerVtxMgr_(std::make_unique<InnerVtxMgr>()) {}

Dt2::~Dt2() = default;

/// All records are copied, dead ones included, in an order that preserves that of their addresses, and relinked. So all
/// lists of the copy have the order of the original's, and later operations have equal results.
std::unique_ptr<Dt2> Dt2::clone() const {
    auto pCopy = std::make_unique<Dt2>(3);
    pCopy->setNumCPU(numCPU_);
    pCopy->bPrefersChunks_ = bPrefersChunks_;
    pCopy->name_ = name_;
    const RecordCopies<Point2> vertices = pCopy->vertexVault_.layOutLike(vertexVault_);
    const RecordCopies<Triangle2> triangles = pCopy->layOutLike(*this, numCPU_);
    pCopy->vertexVault_.copyFrom(vertexVault_, vertices, triangles);
    pCopy->copyFrom(*this, vertices, triangles);
    pCopy->pLastVtx_ = vertices(pLastVtx_);
    pCopy->pInnerVtxMgr_->copyFrom(*pInnerVtxMgr_, vertices);
    slots_.copyTo(*pCopy, vertices);
    return pCopy;
}

int Dt2::setNumCPU(int n) {
    if (n == 0) n = static_cast<int>(std::thread::hardware_concurrency());
    numCPU_ = n > 0 ? n : 1;
    vertexVault_.setNumThreads(numCPU_);
    return numCPU_;
}

void Dt2::takeSettings(const Dt2& other) {
    setNumCPU(other.numCPU_);
    bPrefersChunks_ = other.bPrefersChunks_;
    name_ = other.name_;
    getHeightBook().setRule(other.vertexVault_.getHeightBook().getRule());
    progress_.takeClients(other.progress_);
}

void Dt2::setDev(const std::string& text, int, double) { filenamePrefix() = text; }

std::string Dt2::getFilenamePrefix() { return filenamePrefix(); }

// ---------------------------------------------------------------------------------------------------------------------
// One point

Point2* Dt2::insert(const Point2& point) {
    if (!isFinite(point)) {
        warning("Dt2::insert()", "non-finite coordinates, point refused");
        return nullptr;
    }
    vertexVault_.enlargeBoxForPoint(point);
    if (!vertexVault_.isFullDimensional()) return insertWhileCollinear(point);
    const unsigned key = vertexVault_.getKey(point);
    Point2* pVtx = vertexVault_.createVertex(point);
    vertexVault_.addItem(key, pVtx);
    insertVertex(pVtx, getStartTriangle(point, key));
    if (!vertexVault_.dupIsClean()) return vertexVault_.treatOneDupGetHandle(pVtx);
    pLastVtx_ = pVtx;
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    return pVtx;
}

Triangle2* Dt2::getStartTriangle(const Point2& point, unsigned key) const {
    Triangle2* pT = vertexVault_.getCloseTriangle(point, key);
    // Points in the order of a survey are near the last vertex, which is not yet in the sorted part of the vault. (If
    // it was removed meanwhile, its record has no triangle, or is another vertex, which does no harm.)
    if (!pLastVtx_ || !pLastVtx_->getIncidentTriangle()) return pT;
    const bool bNearer = sqDistance2D(*pLastVtx_, point) < sqDistance2D(*pT->getCorner(0), point);
    return bNearer ? pLastVtx_->getIncidentTriangle() : pT;
}

Point2* Dt2::insertWhileCollinear(const Point2& point) {
    if (Point2* pExisting = vertexVault_.getVertexPointer(point)) {
        vertexVault_.getHeightBook().meet(pExisting, point.z());
        return pExisting;
    }
    const size_t numPreExisting = vertexVault_.getSize();
    Point2* pVtx = vertexVault_.createRegisteredVertex(point);
    if (!createFullDimTriangle(numPreExisting)) vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    return pVtx;
}

Triangle2* Dt2::insertVertex(Point2*& pVtx, Triangle2* pHint) {
    Triangle2* pT = pHint;
    int idx = -1;
    const int code = walk(pVtx, pT, idx, getGeomTest());
    if (code == CODE_DUPLICATE) return noteDuplicate(pVtx, pT);
    if (code != CODE_INSIDE) return insertVertexCH(pVtx, pT, code);
    if (idx == -1) {
        initVCheckT13(pT, pVtx);
    } else {
        initVCheckT24(pT, pVtx, idx);
    }
    settle(pVtx);
    return pT;
}

Triangle2* Dt2::noteDuplicate(Point2*& pVtx, Triangle2* pT) {
    for (int i = 0; i < 3; ++i) {
        if (*pT->getCorner(i) != *pVtx) continue;
        vertexVault_.registerDup(pVtx, pT->getCorner(i));
        return pT;
    }
    error("triangulateCoplanarOrDuplicate()", "Proxy not found");
    TARO_ASSERT_TEXT(false, "Proxy not found");
    return nullptr;
}

// ---------------------------------------------------------------------------------------------------------------------
// Outside the convex hull

Triangle2* Dt2::insertVertexCH(Point2* v, Triangle2* pT, int idx) {
    const Orientation2 ori =
        getGeomTest().getOrientation2(pT->getCorner(incIndexBy1(idx)), pT->getCorner(incIndexBy2(idx)), v);
    if (ori == ORIENTATION2_COLLINEAR) {
        splitHullEdge(v, pT, idx);
    } else {
        vHullPatch_.clear();
        const auto toPrevious = [this](Triangle2*& pHullT, int& i) { hullHubs_.toPrevious(pHullT, i); };
        const auto toNext = [this](Triangle2*& pHullT, int& i) { hullHubs_.toNext(pHullT, i); };
        collectVisibleHullEdges(vHullPatch_, pT, idx, v, getGeomTest(), toPrevious);
        std::reverse(vHullPatch_.begin(), vHullPatch_.end());
        vHullPatch_.emplace_back(pT, idx);
        collectVisibleHullEdges(vHullPatch_, pT, idx, v, getGeomTest(), toNext);
        fanFromHullPatch(v);
    }
    settle(v);
    return v->getIncidentTriangle();
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
        noteForFlips(pNew);
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Many points

void Dt2::insertVector(const std::vector<Point2>& vPoints) { insertBulk(PointSource(vPoints), nullptr); }

void Dt2::insertVector(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandlesOut) {
    vHandlesOut.assign(vPoints.size(), nullptr);
    insertBulk(PointSource(vPoints), vHandlesOut.data());
}

void Dt2::insertBulk(const PointSource& source, Point2** aHandles, std::vector<Point2*>* pNewVertices,
                     const char* phase) {
    BulkInserter(*this).insert(source, aHandles, pNewVertices, phase);
}

bool Dt2::createFullDimTriangle(size_t numPreExistingVtx) {
    return BulkInserter(*this).leaveCollinearPhase(numPreExistingVtx);
}

void Dt2::triangulateRec(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end, Triangle2* pStartT) {
    BulkInserter(*this).triangulateRec(begin, end, pStartT);
}

}  // namespace LUMO_TARO25D
