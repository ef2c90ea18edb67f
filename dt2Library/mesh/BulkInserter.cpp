// Insertion of many points.
//
// The points are first put into curve order, records included, so that neighbours in the plane are neighbours in
// memory; then they are inserted from coarse to fine, which keeps walks short without the long fans of triangles that a
// straight sweep along the curve would build and flip away again. All of it takes expected linear time except for the
// location of points from scratch, O(log n). On several threads InserterMT inserts chunks of the curve in this manner,
// inside a temporary box of four vertices around all points.

#include "mesh/BulkInserter.h"

#include <algorithm>
#include <iterator>

#include "mesh/Dt2.h"
#include "mesh/InserterMT.h"
#include "mesh/coarseToFine.h"
#include "support/diagnostics.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t MIN_VERTICES_FOR_CHUNKS = 1000;

}  // namespace

BulkInserter::BulkInserter(Dt2& mesh) : mesh_(mesh), vault_(mesh.getVertexVault()) {}

BulkInserter::~BulkInserter() = default;

void BulkInserter::insert(const PointSource& source, Point2** aHandles, std::vector<Point2*>* pNewVertices,
                          const char* phase) {
    const size_t n = source.size();
    if (n == 0) return;
    TARO_ASSERT_TEXT(vault_.dupIsClean(), "vertexVault.dupIsClean()");
    if (const size_t numRefused = vault_.enlargeBoxForBulk(source)) {
        warning("Dt2::insertVector()", "non-finite coordinates, points refused: " + std::to_string(numRefused));
    }
    Progress& progress = mesh_.getProgress();
    const size_t numSteps = n + n / 10;
    progress.start(phase, numSteps, Progress::fineStep(numSteps));
    const ProgressEnd progressEnd(progress);
    const size_t numPreExisting = vault_.getSize();
    try {
        vault_.iReset_vector(source, aHandles);
        progress.incProgress(n / 10);
        triangulateNew(numPreExisting);
    } catch (...) {
        abandon(numPreExisting, aHandles, n, pNewVertices);
        throw;
    }
    vault_.treatDupsAndHandles(numPreExisting, aHandles, aHandles ? n : 0);
    TARO_ASSERT_TEXT(vault_.dupIsClean(), "vertexVault.dupIsClean()");
    appendNew(numPreExisting, pNewVertices);
    vault_.sortIV(VertexVault::SM_IF_DUE);
    progress.finish();
}

void BulkInserter::appendNew(size_t numPreExisting, std::vector<Point2*>* pNewVertices) const {
    if (!pNewVertices) return;
    const auto& vItems = vault_.getData();
    for (size_t i = numPreExisting; i < vItems.size(); ++i) {
        Point2* pVtx = vItems[i]->vtx;
        if (!mesh_.is2D() || pVtx->getIncidentTriangle()) pNewVertices->push_back(pVtx);
    }
}

bool BulkInserter::leaveCollinearPhase(size_t numPreExisting) {
    try {
        return createFullDimTriangle(numPreExisting);
    } catch (...) {
        abandon(numPreExisting, nullptr, 0, nullptr);
        throw;
    }
}

bool BulkInserter::createFullDimTriangle(size_t numPreExistingVtx) {
    TARO_ASSERT_TEXT(!vault_.isFullDimensional(), "!vertexVault.bFullDimensional");
    Point2 *p0 = nullptr, *p1 = nullptr, *p2 = nullptr;
    if (!vault_.getThreeInitialPoints(p0, p1, p2)) return false;
    const size_t numVertices = vault_.getSize();
    TARO_ASSERT_TEXT(numPreExistingVtx <= numVertices, "numPreExistingVtx<=(size_t)distance(startIt,stopIt)");
    vault_.setFullDimensional(true);
    if (numPreExistingVtx == 0) vault_.sortIV(VertexVault::SM_IF_DUE);
    Triangle2* pT = nullptr;
    if (hasFakeBox()) {
        pT = pInserterMT_->triangulateFakeBox();
    } else {
        pT = mesh_.createTriangle(p0, p1, p2);
        mesh_.getProgress().incProgress(3);
    }
    const ItemIterator start = vault_.getData().data();
    triangulateGate(start, start + numPreExistingVtx, pT);
    if (numPreExistingVtx > 0) pT = (*start)->vtx->getIncidentTriangle();
    triangulateGate(start + numPreExistingVtx, start + numVertices, pT);
    return true;
}

void BulkInserter::triangulateNew(size_t numPreExisting) {
    const size_t numItems = vault_.getSize(), numNew = numItems - numPreExisting;
    mesh_.expectTriangles(2 * numNew + 3, mesh_.getNumCPU());
    prepareThreads(numNew, numPreExisting);
    if (!vault_.isFullDimensional()) {
        createFullDimTriangle(numPreExisting);
    } else if (numNew > 0) {
        if (hasFakeBox()) pInserterMT_->insertFakeBox();
        const ItemIterator start = vault_.getData().data();
        triangulateGate(start + numPreExisting, start + numItems, vault_.getCloseTriangle(*start[numPreExisting]->vtx));
    }
    if (hasFakeBox()) pInserterMT_->removeFakeBox();
}

void BulkInserter::prepareThreads(size_t numNew, size_t numPreExisting) {
    if (mesh_.getNumCPU() < 2 || mesh_.hasConstraints() || !areChunksFaster(numNew, numPreExisting)) return;
    pInserterMT_ = std::make_unique<InserterMT>(mesh_);
    pInserterMT_->createFakeBox(vault_.getInsertionBox());
}

/// Each chunk examines the triangles around its box before it starts. These are few in the coarse mesh of a first
/// insertion, but many in a mesh that exists already. Wall time of two threads with chunks as a share of the time
/// without (medians, measured before the order became coarse to fine, which both gained by; registration runs on both
/// threads in both cases):
///
///     new vertices    into a mesh of    uniform    clustered    grid    survey lines
///           15,000                 0       1.04         1.01    0.98            0.96
///           30,000                 0       1.04         0.99    0.89            0.89
///           40,000                 0       0.91         0.92    0.84            0.87
///           60,000                 0       0.86         0.84    0.80            0.81
///          200,000           400,000       1.22         1.22    1.27            1.32
///          200,000           200,000       1.12         1.12    1.13            1.19
///          400,000           200,000       1.01         1.00    0.98            1.04
///        1,000,000           500,000       0.96         0.93    0.92            0.93
///          800,000           200,000       0.91         0.92    0.85            0.91
///          200,000            50,000       0.98         0.97    0.92            0.98
bool BulkInserter::areChunksFaster(size_t numNew, size_t numPreExisting) const {
    constexpr size_t MIN_VERTICES = 40000, MIN_SHARE_OF_MESH = 3;
    if (mesh_.prefersChunks()) return numNew >= MIN_VERTICES_FOR_CHUNKS;
    return numNew >= MIN_VERTICES && numNew >= MIN_SHARE_OF_MESH * numPreExisting;
}

void BulkInserter::triangulateGate(ItemIterator begin, ItemIterator end, Triangle2* pStartT) {
    if (!hasFakeBox() || static_cast<size_t>(end - begin) < MIN_VERTICES_FOR_CHUNKS) {
        triangulateRec(begin, end, pStartT);
    } else if (!pInserterMT_->go(begin, end)) {
        leaveFakeBox(begin, end);
    }
}

void BulkInserter::leaveFakeBox(ItemIterator begin, ItemIterator end) {
    pInserterMT_->removeFakeBox();
    if (Triangle2* pT = mesh_.getOneValidTriangle()) return triangulateRest(begin, end, pT);
    // All vertices inserted so far are collinear and lost their triangles with the box.
    Point2 *p0 = nullptr, *p1 = nullptr, *p2 = nullptr;
    vault_.getThreeInitialPoints(p0, p1, p2);
    triangulateRest(vault_.getData().data(), end, mesh_.createTriangle(p0, p1, p2));
}

/// Vertices that are not in the mesh yet are dropped, as if they had not been passed. Those of a former collinear phase
/// stay: either all of them are inserted, or there are no triangles again.
void BulkInserter::abandon(size_t numPreExisting, Point2** aHandles, size_t numHandles,
                           std::vector<Point2*>* pNewVertices) {
    const NoStopScope noStop;
    mesh_.getProgress().reset();
    mesh_.forgetFlips();
    if (mesh_.is2D() && !returnToCollinearPhase(numPreExisting)) {
        const ItemIterator start = vault_.getData().data();
        Triangle2* pT = hasFakeBox() ? pInserterMT_->getFakeBoxCorner(0)->getIncidentTriangle() : nullptr;
        triangulateRest(start, start + numPreExisting, pT ? pT : mesh_.getOneValidTriangle());
    }
    if (hasFakeBox()) pInserterMT_->removeFakeBox();
    if (!mesh_.getOneValidTriangle()) vault_.setFullDimensional(false);
    appendNew(numPreExisting, pNewVertices);
    vault_.dropUninserted(numPreExisting, aHandles, aHandles ? numHandles : 0);
}

bool BulkInserter::returnToCollinearPhase(size_t numPreExisting) {
    const auto& vItems = vault_.getData();
    const auto isOut = [](const IdxVtxAct* pItem) { return pItem->active && !pItem->vtx->getIncidentTriangle(); };
    const auto end = vItems.begin() + static_cast<std::ptrdiff_t>(numPreExisting);
    if (hasFakeBox() || std::none_of(vItems.begin(), end, isOut)) return false;
    mesh_.dropAllTriangles();
    mesh_.forgetShortcuts();
    for (const IdxVtxAct* pItem : vItems) pItem->vtx->setIncidentTriangle(nullptr);
    return true;
}

bool BulkInserter::hasFakeBox() const { return pInserterMT_ && pInserterMT_->hasFakeBox(); }

void BulkInserter::triangulateRest(ItemIterator begin, ItemIterator end, Triangle2* pStartT) {
    LargeVector<IdxVtxAct*> vRest;
    std::copy_if(begin, end, std::back_inserter(vRest), [this](const IdxVtxAct* pItem) {
        return !pItem->vtx->getIncidentTriangle() && vault_.getOriginal(pItem->vtx) == pItem->vtx;
    });
    triangulateRec(vRest.data(), vRest.data() + vRest.size(), pStartT);
}

void BulkInserter::triangulateRec(ItemIterator begin, ItemIterator end, Triangle2* pStartT) {
    Triangle2* pIncT = pStartT;
    const auto goTo = [&](size_t i) {
        if (Triangle2* pT = begin[i]->vtx->getIncidentTriangle()) pIncT = pT;  // null: it is a duplicate
    };
    const auto insertAt = [&](size_t i) {
        Point2* pVtx = begin[i]->vtx;
        if (pVtx->getIncidentTriangle()) return;  // one of the vertices of the first triangle
        if (mesh_.getProgress().isActive()) mesh_.getProgress().incProgress(1);
        cancelPoint_.pass();
        pIncT = mesh_.insertVertex(pVtx, pIncT);
        TARO_ASSERT_TEXT(pIncT != nullptr, "pIncT!=NULL");
    };
    coarseToFine(static_cast<size_t>(end - begin), goTo, insertAt);
}

}  // namespace LUMO_TARO25D
