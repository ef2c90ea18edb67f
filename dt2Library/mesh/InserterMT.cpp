// Insertion of many points on several threads.
//
// Four vertices around all points, the fake box, keep every point off the hull. A sample of about 2.5 times the root of
// n vertices is inserted first, on the calling thread; from this coarse mesh each chunk computes the box in which it
// may change triangles (Chunk.cpp). The other vertices are cut along the curve into about half the root of n chunks.
//
// Tasks have a fixed order. A task waits for all earlier tasks whose boxes touch its own; free threads take the first
// task that waits for none. So two chunks that could meet have a fixed order, and for any number of threads the mesh is
// equal to that of the tasks in their order on a single thread. Afterwards the calling thread inserts the vertices that
// chunks had to leave, in the order of the chunks, and removes the fake box.
//
// If most chunks would have to run alone, go() gives up before any of them starts, and BulkInserter goes on with one
// thread. After an exception in a worker or a listener all threads end, records are given back, and the exception
// reaches the caller.

#include "mesh/InserterMT.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/parallel.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// The work on this many chunks outweighs the start of a thread.
constexpr size_t MIN_CHUNKS_PER_THREAD = 4;

}  // namespace

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
        if (pCorner->getIncidentTriangle()) mesh_.getVertexRemover().takeOutHullVertex(pCorner, true);
        pCorner->setIncidentTriangle(nullptr);
        mesh_.getVertexVault().recycleVertex(pCorner);
        pCorner = nullptr;
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// The chunks

bool InserterMT::go(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end) {
    // Each box and each vertex of the sample costs time before the threads start: four times as many of both took two
    // threads 5 to 9 % longer.
    const size_t root = static_cast<size_t>(0.5 * std::sqrt(static_cast<double>(end - begin)));
    LargeVector<IdxVtxAct*> vDenseVtx, vSparseVtx;
    splitSmallBig(5 * root, begin, end, vDenseVtx, vSparseVtx);
    TARO_ASSERT_TEXT(vDenseVtx.size() + vSparseVtx.size() == static_cast<size_t>(end - begin),
                     "vDenseVtx.size()+vSparseVtx.size()==(size_t)distance(start_it,end_it)");
    TARO_ASSERT_TEXT(!vSparseVtx.empty(), "!vSparseVtx.empty()");
    Triangle2* pStartT = aFakeBoxCorner_[0]->getIncidentTriangle();
    TARO_ASSERT_TEXT(pStartT != nullptr, "pStartT!=__null");
    mesh_.triangulateRec(vSparseVtx.data(), vSparseVtx.data() + vSparseVtx.size(), pStartT);
    createChunks(root, vDenseVtx, vSparseVtx);
    const int numThreads =
        static_cast<int>(numParallelParts(mesh_.getNumCPU(), vChunks_.size(), MIN_CHUNKS_PER_THREAD));
    determineBoxes(numThreads);
    if (doMostRunAlone()) return false;
    createTasks();
    findBlockers();
    try {
        for (const auto& pChunk : vChunks_) pChunk->takeTriangles();
        startWork(numThreads);
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
    const size_t group = sparseStep_ + 1;  // the last item of each group is sparse
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
    vChunks_.clear();
    for (size_t start = 0, end = 0; end < numDense; start += size) {
        end = std::min(start + size, numDense);
        const size_t rest = numDense - end;
        if (rest <= 999 && rest <= small) end = numDense;  // a short tail makes no chunk of its own
        // The first sparse item behind the start of the chunk is near its first vertices on the curve.
        const IdxVtxAct* pAnchor = vSparseVtx[std::min(start / sparseStep_, vSparseVtx.size() - 1)];
        vChunks_.push_back(std::make_unique<Chunk>(&mesh_, engineBox_, static_cast<int>(vChunks_.size()), vDenseVtx,
                                                   start, end, mesh_.getVertexVault().getOriginal(pAnchor->vtx)));
    }
}

void InserterMT::determineBoxes(int numThreads) {
    std::atomic<size_t> nextChunk{0};
    runOnThreads(numThreads, [&](int) {
        for (size_t i = nextChunk++; i < vChunks_.size(); i = nextChunk++) {
            vChunks_[i]->determineExtBox();
            throwIfStopped();
        }
    });
}

/// This happens where all points are near the hull, as on a circle: the triangles at the corners of the fake box then
/// extend over the whole mesh, and the corners have a high degree, and removing them would cost more than the
/// insertion.
bool InserterMT::doMostRunAlone() const {
    const auto runsAlone = [](const auto& pChunk) { return pChunk->runsAlone(); };
    const auto numAlone = std::count_if(vChunks_.begin(), vChunks_.end(), runsAlone);
    return 2 * static_cast<size_t>(numAlone) > vChunks_.size();
}

/// Chunks that are close along the curve mostly touch. So that threads seldom wait, the curve is cut into pieces of
/// eight chunks, and each turn takes every eighth piece: the chunks of a piece follow each other, which keeps their
/// common triangles in the cache, and the pieces of one turn are far apart. Chunks that run alone get no task.
void InserterMT::createTasks() {
    constexpr size_t PIECE_SIZE = 8, NUM_TURNS = 8;
    vTasks_.clear();
    for (size_t turn = 0; turn < NUM_TURNS; ++turn) {
        for (size_t i = 0; i < vChunks_.size(); ++i) {
            if (i / PIECE_SIZE % NUM_TURNS != turn || vChunks_[i]->runsAlone()) continue;
            vTasks_.push_back({vChunks_[i].get(), 0, {}});
        }
    }
}

/// Finds all pairs of touching boxes by a sweep from left to right.
void InserterMT::findBlockers() {
    const auto boxOf = [](const Task* pTask) -> const Bbox2& { return pTask->pChunk->getExtBox(); };
    std::vector<Task*> vFromLeft;
    for (Task& task : vTasks_) vFromLeft.push_back(&task);
    std::stable_sort(vFromLeft.begin(), vFromLeft.end(),
                     [&](const Task* pA, const Task* pB) { return boxOf(pA).getMinX() < boxOf(pB).getMinX(); });
    for (size_t i = 0; i < vFromLeft.size(); ++i) {
        const Bbox2& box = boxOf(vFromLeft[i]);
        for (size_t k = i + 1; k < vFromLeft.size() && boxOf(vFromLeft[k]).getMinX() <= box.getMaxX(); ++k) {
            if (!box.doIntersect(boxOf(vFromLeft[k]))) continue;
            const auto [pEarlier, pLater] = std::minmax(vFromLeft[i], vFromLeft[k]);
            pEarlier->vFollowers.push_back(pLater);
            ++pLater->numBlockers;
        }
    }
    numWaiting_ = vTasks_.size();
    for (Task& task : vTasks_) {
        if (task.numBlockers == 0) sReady_.insert(&task);
    }
}

void InserterMT::startWork(int numThreads) {
    Progress& progress = mesh_.getProgress();
    const auto reportAndLook = [this, &progress] {
        try {
            progress.report();
            throwIfStopped();
        } catch (...) {
            stop();
            throw;
        }
    };
    runOnThreads(
        numThreads, [this](int) { workOnChunks(); }, reportAndLook);
}

void InserterMT::workOnChunks() {
    while (const Task* pTask = getWork()) {
        try {
            pTask->pChunk->insert();
        } catch (...) {
            stop();
            throw;
        }
        release(*pTask);
    }
}

InserterMT::Task* InserterMT::getWork() {
    std::unique_lock<std::mutex> lock(mutex_);
    news_.wait(lock, [this] { return !sReady_.empty() || numWaiting_ == 0; });
    if (sReady_.empty()) return nullptr;
    Task* pTask = *sReady_.begin();
    sReady_.erase(sReady_.begin());
    --numWaiting_;
    return pTask;
}

void InserterMT::release(const Task& task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    bool bNews = numWaiting_ == 0;
    for (Task* pFollower : task.vFollowers) {
        if (--pFollower->numBlockers > 0 || numWaiting_ == 0) continue;
        sReady_.insert(pFollower);
        bNews = true;
    }
    if (bNews) news_.notify_all();
}

/// After a failure: no thread starts another chunk.
void InserterMT::stop() {
    const std::lock_guard<std::mutex> lock(mutex_);
    sReady_.clear();
    numWaiting_ = 0;
    news_.notify_all();
}

}  // namespace LUMO_TARO25D
