#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "meshing/GuideSurface.h"
#include "meshing/RefCand3.h"
#include "support/SimplePool.h"

namespace LUMO_TARO25D {

/// The candidates of a running refinement: a priority queue by smallest angle in space, the smallest first, with equal
/// angles in the order of insertion. A binary heap of keys with serial numbers.
///
/// A triangle that meets every limit gets no candidate. A triangle that changes leaves a stale candidate behind; these
/// are swept out whenever the queue has doubled, so that memory follows the number of triangles that still miss a
/// limit.
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
    /// Removes and returns the first candidate; the caller gives its record back.
    RefCand3* extractFirst();
    void giveBack(RefCand3* pRC) { vRecycled_.push_back(pRC); }
    /// Empties the queue and frees all records except the first block.
    void resetPool();

  private:
    struct Entry {
        double key;
        std::uint64_t number;
        RefCand3* pRC;
        /// Reversed, since a standard heap has its largest entry on top. Without branches, which would be mispredicted
        /// half of the time.
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
