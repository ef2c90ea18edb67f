#include "mesh/InserterMT.h"

#include <sched.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <ctime>

#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/parallel.h"

namespace LUMO_TARO25D {

// ---------------------------------------------------------------------------------------------------------------------
// The fake box

void InserterMT::createFakeBox(const Bbox2& box) {
    Bbox2 fakeBox = box;
    fakeBox.enlargeRanges(1.01);
    const bool bStrictlyAround = fakeBox.getMinX() < box.getMinX() && box.getMaxX() < fakeBox.getMaxX() &&
                                 fakeBox.getMinY() < box.getMinY() && box.getMaxY() < fakeBox.getMaxY();
    if (!bStrictlyAround) return;
    fakeBox.setGeomTest(&mesh_.getGeomTest());
    std::vector<Point2> vCorners;
    fakeBox.getCorners(vCorners);
    for (size_t i = 0; i < 4; ++i) aFakeBoxCorner_[i] = mesh_.getVertexVault().createVertex(vCorners[i]);
    engineBox_ = fakeBox;
}

Triangle2* InserterMT::triangulateFakeBox() {
    Triangle2* pT = mesh_.createTriangle(aFakeBoxCorner_[0], aFakeBoxCorner_[1], aFakeBoxCorner_[2]);
    Triangle2* pN = mesh_.createTriangle(aFakeBoxCorner_[0], aFakeBoxCorner_[2], aFakeBoxCorner_[3]);
    pT->setOppositeTriangle(1, pN);
    pN->setOppositeTriangle(2, pT);
    return pT;
}

void InserterMT::insertFakeBox() {
    Triangle2* pT = mesh_.getOneValidTriangle();
    for (Point2* pCorner : aFakeBoxCorner_) {
        mesh_.insertVertex(pCorner, pT);
        pT = pCorner->getIncidentTriangle();
    }
}

void InserterMT::removeFakeBox() {
    for (Point2*& pCorner : aFakeBoxCorner_) {
        if (pCorner->getIncidentTriangle()) mesh_.takeOutHullVertex(pCorner, true);
        pCorner->setIncidentTriangle(nullptr);
        mesh_.getVertexVault().recycleVertex(pCorner);
        pCorner = nullptr;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// The chunks

bool InserterMT::go(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end) {
    const size_t root = static_cast<size_t>(2.0 * std::sqrt(static_cast<double>(end - begin)));
    LargeVector<IdxVtxAct*> vDenseVtx, vSparseVtx;
    splitSmallBig(5 * root, begin, end, vDenseVtx, vSparseVtx);
    TARO_ASSERT_TEXT(vDenseVtx.size() + vSparseVtx.size() == static_cast<size_t>(end - begin),
                     "vDenseVtx.size()+vSparseVtx.size()==(size_t)distance(start_it,end_it)");
    TARO_ASSERT_TEXT(!vSparseVtx.empty(), "!vSparseVtx.empty()");
    Triangle2* pStartT = aFakeBoxCorner_[0]->getIncidentTriangle();
    TARO_ASSERT_TEXT(pStartT != nullptr, "pStartT!=__null");
    mesh_.triangulateRec(vSparseVtx.data(), vSparseVtx.data() + vSparseVtx.size(), pStartT);
    createChunks(root, vDenseVtx, vSparseVtx);
    determineBoxes(mesh_.getNumCPU());
    if (doMostRunAlone()) return false;
    try {
        for (const auto& pChunk : vChunks_) pChunk->takeTriangles();
        startWork(mesh_.getNumCPU());
        for (const auto& pChunk : vChunks_) pChunk->finalize();
    } catch (...) {
        for (const auto& pChunk : vChunks_) pChunk->giveBackTriangles();
        throw;
    }
    return true;
}

void InserterMT::splitSmallBig(size_t k, BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end,
                               LargeVector<IdxVtxAct*>& vDenseVtx, LargeVector<IdxVtxAct*>& vSparseVtx) {
    const size_t n = static_cast<size_t>(end - begin);
    sparseStep_ = n / std::min(n / 2, k);
    const size_t group = sparseStep_ + 1;  // the last item of each group of so many is sparse
    vSparseVtx.resize(n / group);
    vDenseVtx.resize(n - n / group);
    parallelFor(mesh_.getNumCPU(), n, [&](size_t first, size_t last, int) {
        for (size_t i = first; i < last; ++i) {
            const size_t numSparseBefore = i / group;
            const bool bSparse = i % group == sparseStep_;
            (bSparse ? vSparseVtx[numSparseBefore] : vDenseVtx[i - numSparseBefore]) = begin[i];
        }
    });
}

void InserterMT::createChunks(size_t numChunks, const LargeVector<IdxVtxAct*>& vDenseVtx,
                              const LargeVector<IdxVtxAct*>& vSparseVtx) {
    const size_t numDense = vDenseVtx.size();
    const size_t size = numDense / numChunks, small = size / 3;
    for (size_t start = 0, end = 0; end < numDense; start += size) {
        end = std::min(start + size, numDense);
        const size_t rest = numDense - end;
        if (rest <= 999 && rest <= small) end = numDense;  // a short tail makes no chunk of its own
        // The sparse item behind the first dense ones stands among them on the curve.
        const IdxVtxAct* pAnchor = vSparseVtx[std::min(start / sparseStep_, vSparseVtx.size() - 1)];
        vChunks_.push_back(std::make_unique<Chunk>(&mesh_, engineBox_, static_cast<int>(vChunks_.size()), vDenseVtx,
                                                   start, end, mesh_.getVertexVault().getOriginal(pAnchor->vtx)));
        sWaiting_.insert(vChunks_.back().get());
    }
}

void InserterMT::determineBoxes(int numThreads) {
    std::atomic<size_t> nextChunk{0};
    runOnThreads(numThreads, [&](int) {
        for (size_t i = nextChunk++; i < vChunks_.size(); i = nextChunk++) vChunks_[i]->determineExtBox();
    });
}

/// So it is where all points are near the hull, on a circle for one: the triangles at the corners of the fake box then
/// reach over everything, and have so many neighbours that taking the corners out again would cost more than the rest.
bool InserterMT::doMostRunAlone() const {
    const auto runsAlone = [](const auto& pChunk) { return pChunk->runsAlone(); };
    const auto numAlone = std::count_if(vChunks_.begin(), vChunks_.end(), runsAlone);
    return 2 * static_cast<size_t>(numAlone) > vChunks_.size();
}

void InserterMT::startWork(int numThreads) {
    Progress& progress = mesh_.getProgress();
    const int num = static_cast<int>(std::min(static_cast<size_t>(numThreads), vChunks_.size()));
    runOnThreads(
        num, [this](int) { workOnChunks(); }, [&progress] { progress.report(); });
}

void InserterMT::workOnChunks() {
    for (;;) {
        bool bNoneWaiting = false;
        Chunk* pChunk = getWork(bNoneWaiting);
        if (!pChunk && bNoneWaiting) return;
        if (!pChunk) {
            // All that wait touch one that runs.
            sched_yield();
            const timespec oneMillisecond{0, 1000000};
            nanosleep(&oneMillisecond, nullptr);
            continue;
        }
        try {
            pChunk->insert();
        } catch (...) {
            release(pChunk, true);
            throw;
        }
        release(pChunk, false);
    }
}

Chunk* InserterMT::getWork(bool& bNoneWaiting) {
    const std::lock_guard<std::mutex> lock(mutex_);
    bNoneWaiting = sWaiting_.empty();
    const auto isFree = [this](const Chunk* pChunk) {
        return std::none_of(sStarted_.begin(), sStarted_.end(), [pChunk](const Chunk* pStarted) {
            return pChunk->getExtBox().doIntersect(pStarted->getExtBox());
        });
    };
    const auto it = std::find_if(sWaiting_.begin(), sWaiting_.end(), isFree);
    if (it == sWaiting_.end()) return nullptr;
    Chunk* pChunk = *it;
    sWaiting_.erase(it);
    sStarted_.insert(pChunk);
    return pChunk;
}

void InserterMT::release(Chunk* pChunk, bool bFailed) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sStarted_.erase(pChunk);
    if (bFailed) sWaiting_.clear();  // the others stop too
}

}  // namespace LUMO_TARO25D
