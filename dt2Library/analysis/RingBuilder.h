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

    /// For one thread and one area after the other. There will be no more nodes.
    RingBuilder(const BandNodes& nodes, double magnitude, const Progress& progress)
        : nodes_(nodes),
          progress_(progress),
          geomTest_(magnitude),
          vFirst_(nodes.size()),
          vNumSides_(nodes.size(), 0) {}

    /// Appends the rings, outer ones each with its holes behind it; both begin at their smallest points and are in the order
    /// of these. False if the sides do not make rings.
    bool build(const std::vector<Side>& vSides, std::vector<std::vector<Point2>>& vRings);

  private:
    struct Ring {
        std::vector<Index> vNodes;
        size_t walk;
        bool bOuter;
    };
    static constexpr size_t NONE = static_cast<size_t>(-1);

    void sortSides(const std::vector<Side>& vSides);
    void cancel();
    bool buildSorted(std::vector<std::vector<Point2>>& vRings);
    bool trace();
    bool traceFrom(size_t begin, std::vector<size_t>& vPlaces);
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
    std::vector<size_t> vFirst_;    // of a node with sides: where they begin in the list
    std::vector<Index> vNumSides_;  // that begin at a node
    std::vector<Side> vSides_;      // those of a node stand together
    std::vector<bool> vUsed_;       // or cancelled
    std::vector<Ring> vFound_;
    size_t numWalks_ = 0;
};

}  // namespace LUMO_TARO25D
