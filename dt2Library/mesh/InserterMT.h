#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "mesh/Chunk.h"
#include "mesh/Dt2.h"

namespace LUMO_TARO25D {

/// One parallel bulk insertion: a coarse mesh first, then chunks of the rest on several threads, never two at
/// a time whose extended boxes touch. Lives for the length of one `go`.
class InserterMT {
  public:
    /// The mesh must stand in the fake box of the vault.
    explicit InserterMT(Dt2* pDt2);

    /// Inserts the items, which are in curve order and lie strictly inside the mesh, starting the search at pStartT.
    /// Returns false, with a few of them inserted, where chunks could only wait for each other.
    bool go(Dt2::ItemIterator begin, Dt2::ItemIterator end, Triangle2* pStartT);

  private:
    struct ByLabel {
        bool operator()(const Chunk* a, const Chunk* b) const { return a->getLabel() < b->getLabel(); }
    };

    void splitSmallBig(size_t k, Dt2::ItemIterator begin, Dt2::ItemIterator end, LargeVector<IdxVtxAct*>& vDenseVtx,
                       LargeVector<IdxVtxAct*>& vSparseVtx);
    void createChunks(size_t numChunks, const LargeVector<IdxVtxAct*>& vDenseVtx,
                      const LargeVector<IdxVtxAct*>& vSparseVtx);
    void determineBoxes(int numThreads);
    bool doMostRunAlone() const;
    void startWork(int numThreads);
    void workOnChunks();
    /// A waiting chunk that touches none that runs, or null.
    Chunk* getWork(bool& bNoneWaiting);
    void release(Chunk* pChunk, bool bFailed);

    Dt2* pDt2_;
    Bbox2 engineBox_;
    size_t sparseStep_ = 1;  // so many dense items stand before each sparse one
    std::vector<std::unique_ptr<Chunk>> vChunks_;
    std::mutex mutex_;  // guards the two sets
    std::set<Chunk*, ByLabel> sWaiting_, sStarted_;
};

}  // namespace LUMO_TARO25D
