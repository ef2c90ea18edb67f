#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "meshing/GuideSurface.h"
#include "meshing/RefCand3.h"
#include "support/SimplePool.h"

namespace LUMO_TARO25D {

/// The candidates of a running refinement: an ordered multimap from the smallest angle in space, of which the smallest key
/// comes first, and equal keys in the order of insertion. It is a binary heap of keys with serial numbers.
///
/// A triangle that meets every limit would be refused later without any effect, so it gets no candidate. One that changes
/// leaves a stale candidate behind; these are swept out whenever the queue has doubled, so that memory follows the number of
/// triangles that still miss a limit.
class CandidateQueue {
  public:
    /// The context and the parameters are not owned.
    CandidateQueue(RefinementContext& context, MeshGenParams& params);

    /// Makes a candidate for a triangle, if it may miss a limit.
    void add(Triangle2* pT);
    /// Whether a triangle may miss a limit because a neighbour has become smaller.
    bool dependsOnNeighbours() const { return bGrowthLimit_; }
    bool empty() const { return vHeap_.empty(); }
    size_t size() const { return vHeap_.size(); }
    /// Takes the first candidate out. Its record is to be given back.
    RefCand3* extractFirst();
    void giveBack(RefCand3* pRC) { vRecycled_.push_back(pRC); }
    /// Gives all records back to the system, but for the first block.
    void resetPool();

  private:
    struct Entry {
        double key;
        std::uint64_t number;
        RefCand3* pRC;
        /// Of a heap with the last one on top. Without branches, since nothing tells which of two entries comes first.
        bool operator<(const Entry& other) const {
            return (key > other.key) | ((key == other.key) & (number > other.number));
        }
    };

    bool mayMissLimit(Triangle2* pT, const Sides& aSide) const;
    bool mayBeNarrow(const double* aSqLengths, double sqCosine) const;
    RefCand3* getRecord();
    void sweep();

    static constexpr size_t MIN_SWEEP_SIZE = 1024;

    RefinementContext& context_;
    MeshGenParams& params_;
    bool bGrowthLimit_;
    double sqCosineOfLimit_, sqCosineOfCap_;
    SimplePool<RefCand3> pool_;
    std::vector<RefCand3*> vRecycled_;
    std::vector<Entry> vHeap_;
    std::uint64_t numAdded_ = 0;
    size_t sweepSize_ = MIN_SWEEP_SIZE;
};

}  // namespace LUMO_TARO25D
