#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "mesh/BulkInserter.h"
#include "mesh/Chunk.h"

namespace LUMO_TARO25D {

/// One parallel bulk insertion: a coarse mesh first, then chunks of the rest on several threads. Two chunks whose
/// extended boxes touch never run at the same time, and their order is fixed, so that the mesh depends neither on the
/// number of threads nor on their speed. Four temporary vertices at the corners of a box around all points, the fake
/// box, keep every point off the hull.
class InserterMT {
  public:
    explicit InserterMT(Dt2& mesh) : mesh_(mesh) {}

    /// Makes four vertices at the corners of the box enlarged by 1.01, counterclockwise; they are no items of
    /// the vault. Makes none where rounding leaves no room between the box and the enlarged one.
    void createFakeBox(const Bbox2& box);
    bool hasFakeBox() const { return aFakeBoxCorner_[0] != nullptr; }
    Point2* getFakeBoxCorner(size_t i) const { return aFakeBoxCorner_[i]; }
    /// Makes two triangles of the corners, in a mesh that has none; returns one of them.
    Triangle2* triangulateFakeBox();
    /// Inserts the corners into a mesh that has triangles.
    void insertFakeBox();
    /// Removes the corners from the mesh and discards them.
    void removeFakeBox();

    /// Inserts items, given in curve order, into a mesh that has the fake box. Returns false, with only a sample of
    /// them inserted, if most chunks could not run side by side.
    bool go(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end);

  private:
    /// A chunk for the workers.
    struct Task {
        Chunk* pChunk;
        size_t numBlockers;             // unfinished tasks before it whose boxes touch its own
        std::vector<Task*> vFollowers;  // the tasks behind it whose boxes touch its own
    };

    void splitSmallBig(size_t k, BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end,
                       LargeVector<IdxVtxAct*>& vDenseVtx, LargeVector<IdxVtxAct*>& vSparseVtx);
    void createChunks(size_t numChunks, const LargeVector<IdxVtxAct*>& vDenseVtx,
                      const LargeVector<IdxVtxAct*>& vSparseVtx);
    void determineBoxes(int numThreads);
    bool doMostRunAlone() const;
    void createTasks();
    void findBlockers();
    void startWork(int numThreads);
    void workOnChunks();
    /// Waits for a task without blockers; null when none is left.
    Task* getWork();
    void release(const Task& task);
    void stop();

    Dt2& mesh_;
    Point2* aFakeBoxCorner_[4] = {nullptr, nullptr, nullptr, nullptr};
    Bbox2 engineBox_;
    size_t sparseStep_ = 1;  // the number of dense items before each sparse one
    std::vector<std::unique_ptr<Chunk>> vChunks_;
    std::vector<Task> vTasks_;  // in their fixed order

    std::mutex mutex_;              // guards the members below and numBlockers
    std::condition_variable news_;  // signals a ready task, or that none is waiting any more
    std::set<Task*> sReady_;
    size_t numWaiting_ = 0;  // tasks not started yet
};

}  // namespace LUMO_TARO25D
