#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "analysis/BandNodes.h"
#include "kernel/GeomTest.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// Makes rings of the sides of an area, which have it on their left: what has the area on both sides goes first, and the rest
/// is joined to walks around the pieces of the area. At a node with several sides a walk turns to the side that bounds the same
/// sector of the area, so walks do not cross; where one comes to a node again it is divided, so rings are simple. Rings of one
/// walk bound one piece. A piece has one outer ring; holes that no walk connects with it find it by a sweep (Shamos and Hoey
/// 1976). O(n log n).
class RingBuilder {
  public:
    using Index = BandNodes::Index;
    using Side = std::pair<Index, Index>;

    RingBuilder(const BandNodes& nodes, double magnitude, const Progress& progress)
        : nodes_(nodes), progress_(progress), geomTest_(magnitude) {}

    /// Appends the rings, outer ones each with its holes behind it; both begin at their smallest points and are in the order
    /// of these. False if the sides do not make rings.
    bool build(std::vector<Side> vSides, std::vector<std::vector<Point2>>& vRings);

  private:
    struct Ring {
        std::vector<Index> vNodes;
        size_t walk;
        bool bOuter;
    };
    static constexpr size_t NONE = static_cast<size_t>(-1);

    void cancel(std::vector<Side>& vSides) const;
    bool trace();
    size_t findNext(Index from, Index at, size_t begin);
    bool isSooner(Index pivot, Index from, Index a, Index b);
    void closeRing(std::vector<Index>& vPath, size_t begin, size_t walk);
    void startAtSmallest(std::vector<Index>& vNodes) const;
    bool assignHoles(std::vector<size_t>& vParents);
    bool findPieces(const std::vector<size_t>& vOuterOfWalk, std::vector<size_t>& vParentOfWalk);
    bool isBefore(Index a, Index b) const { return nodes_[a] < nodes_[b]; }

    const BandNodes& nodes_;
    const Progress& progress_;
    GeomTest geomTest_;
    std::vector<Side> vSides_;  // by their first nodes
    std::vector<bool> vUsed_;
    std::vector<Ring> vFound_;
    size_t numWalks_ = 0;
};

}  // namespace LUMO_TARO25D
