#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "mesh/BulkInserter.h"
#include "mesh/Chunk.h"

namespace LUMO_TARO25D {

/// One parallel bulk insertion: a coarse mesh first, then chunks of the rest on several threads, never two at
/// a time whose extended boxes touch. Four vertices at the corners of a box around all points, the fake box, keep every
/// point off the hull meanwhile.
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
    /// Takes the corners out of the mesh again and discards them.
    void removeFakeBox();

    /// Inserts items, which are in curve order, into the mesh, which stands in the fake box. Returns false, with a few of
    /// them inserted, where chunks could only wait for each other.
    bool go(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end);

  private:
    struct ByLabel {
        bool operator()(const Chunk* a, const Chunk* b) const { return a->getLabel() < b->getLabel(); }
    };

    void splitSmallBig(size_t k, BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end,
                       LargeVector<IdxVtxAct*>& vDenseVtx, LargeVector<IdxVtxAct*>& vSparseVtx);
    void createChunks(size_t numChunks, const LargeVector<IdxVtxAct*>& vDenseVtx,
                      const LargeVector<IdxVtxAct*>& vSparseVtx);
    void determineBoxes(int numThreads);
    bool doMostRunAlone() const;
    void startWork(int numThreads);
    void workOnChunks();
    /// A waiting chunk that touches none that runs, or null.
    Chunk* getWork(bool& bNoneWaiting);
    void release(Chunk* pChunk, bool bFailed);

    Dt2& mesh_;
    Point2* aFakeBoxCorner_[4] = {nullptr, nullptr, nullptr, nullptr};
    Bbox2 engineBox_;
    size_t sparseStep_ = 1;  // so many dense items stand before each sparse one
    std::vector<std::unique_ptr<Chunk>> vChunks_;
    std::mutex mutex_;  // guards the two sets
    std::set<Chunk*, ByLabel> sWaiting_, sStarted_;
};

}  // namespace LUMO_TARO25D
