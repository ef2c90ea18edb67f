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

/// Makes rings of the sides of an area, which have the area on their left. First, sides with the area on both sides are
/// dropped; the others are joined to walks around the pieces of the area. At a node with several sides a walk turns to
/// the side that bounds the same sector of the area, so walks do not cross; a walk that returns to a node is divided
/// there, so rings are simple. Rings of one walk bound one piece. A piece has one outer ring; for holes that no walk
/// connects with it, a sweep finds it (Shamos and Hoey 1976). O(n log n).
class RingBuilder {
  public:
    using Index = BandNodes::Index;
    using Side = std::pair<Index, Index>;

    /// An object serves one thread and one area at a time. No nodes may be added meanwhile.
    RingBuilder(const BandNodes& nodes, double magnitude, const Progress& progress)
        : nodes_(nodes),
          progress_(progress),
          geomTest_(magnitude),
          vFirst_(nodes.size()),
          vNumSides_(nodes.size(), 0) {}

    /// Appends the rings, each outer ring followed by its holes. Rings begin at their smallest points; outer rings, and
    /// the holes of each, are in the order of these points. False if the sides do not form rings.
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
    std::vector<size_t> vFirst_;    // the first side of a node in vSides_
    std::vector<Index> vNumSides_;  // the number of sides that begin at a node
    std::vector<Side> vSides_;      // grouped by first node
    std::vector<bool> vUsed_;       // or cancelled
    std::vector<Ring> vFound_;
    size_t numWalks_ = 0;
};

}  // namespace LUMO_TARO25D
