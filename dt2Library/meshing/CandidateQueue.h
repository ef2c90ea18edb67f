#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "meshing/GuideSurface.h"

namespace LUMO_TARO25D {

class MeshGenParams;
class Point2;
class RefinementContext;
class Triangle2;

/// The candidates of a running refinement: a priority queue by smallest angle in space, the smallest first, with equal
/// angles in the order of insertion.
///
/// A triangle that meets every limit gets no candidate. A triangle that changes leaves a stale candidate behind, which
/// is never returned; stale candidates are swept out whenever the queue has doubled, so that memory follows the number
/// of triangles that still miss a limit.
class CandidateQueue {
  public:
    /// The context and the parameters are not owned.
    CandidateQueue(RefinementContext& context, MeshGenParams& params);

    /// Makes a candidate for a triangle, if it may miss a limit.
    void add(Triangle2* pT);
    /// Whether a triangle may miss a limit because a neighbour has become smaller.
    bool dependsOnNeighbours() const { return bGrowthLimit_; }
    bool empty() const { return size_ == 0; }
    /// The number of candidates, stale ones included.
    size_t size() const { return size_; }
    /// Removes the first candidate and returns its triangle; null if that candidate is stale. The queue must not be
    /// empty.
    Triangle2* extractFirst();
    /// Empties the queue, and frees its memory.
    void clear();

  private:
    struct Entry {
        double key;
        std::uint64_t number;
        Triangle2* pT;
        std::array<Point2*, 3> aCorner;  // as they were

        bool isAlive() const;
        /// Reversed, since a standard heap has its largest entry on top. Without branches, which would be mispredicted
        /// half of the time.
        bool operator<(const Entry& other) const {
            return (key > other.key) | ((key == other.key) & (number > other.number));
        }
    };
    /// The candidates of a range of angles: a list in no order until one of them is extracted, then a binary heap.
    struct Bucket {
        std::vector<Entry> vEntries;
        bool bHeap = false;
    };

    bool mayMissLimit(Triangle2* pT, const Sides& aSide) const;
    bool mayBeNarrow(const double* aSqLengths, double sqCosine) const;
    size_t getFirstBucket() const;
    void dropStale(Bucket& bucket);
    void sweep();

    static constexpr size_t NUM_BUCKETS = 2048, NUM_WORDS = NUM_BUCKETS / 64, MIN_SWEEP_SIZE = 1024;

    RefinementContext& context_;
    MeshGenParams& params_;
    bool bGrowthLimit_;
    double sqCosineOfLimit_, sqCosineOfCap_;
    std::vector<Bucket> vBuckets_;
    std::array<std::uint64_t, NUM_WORDS> aOccupied_{};  // one bit for each bucket
    size_t size_ = 0;
    std::uint64_t numAdded_ = 0;
    size_t sweepSize_ = MIN_SWEEP_SIZE;
};

}  // namespace LUMO_TARO25D
