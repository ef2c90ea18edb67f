#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <utility>
#include <vector>

#include "analysis/BandNodes.h"
#include "analysis/SideRouter.h"
#include "taro25d/Taro_2D.h"

namespace LUMO_TARO25D {

/// Divides a region among bands whose sides rounding has moved. The sides become constraints of a triangulation, which
/// divides them where they cross or pass nodes, and each of its triangles goes to one band: so the sides between
/// triangles of different bands do not cross, whatever the sides were. O(n log n) for n sides that cross few others.
class BandOverlay {
  public:
    using Index = BandNodes::Index;
    using Side = std::pair<Index, Index>;
    struct SideOfBand {
        size_t band;
        Side side;
    };

    explicit BandOverlay(BandNodes& nodes) : nodes_(nodes), router_(nodes) {}

    /// Adds a side with its band on the left. All sides of a band together must be closed.
    void add(size_t band, Index from, Index to) {
        if (from != to) vSides_.push_back({band, {from, to}});
    }
    /// All sides so far.
    const std::vector<SideOfBand>& getSides() const { return vSides_; }
    /// Divides the region; nodes are added where sides cross. False if numbers are too coarse for that.
    bool run();
    /// Appends the sides of the bands after run(), for each band.
    void appendSides(std::vector<std::vector<Side>>& vSidesOf) const;
    /// Replaces those sides of a list that run() has moved or divided, in either direction, by their pieces.
    void replace(std::vector<Side>& vSides) const;

  private:
    /// How many times each band contains a place, without zeros.
    using Winding = std::map<size_t, int>;
    static constexpr size_t NO_BAND = static_cast<size_t>(-1);

    void route();
    void divide(std::vector<Side>& vSides) const;
    void insertNodes();
    bool insertSides();
    bool appendChain(ConstraintSegment2* pCSeg, std::vector<Index>& vChain);
    Index toNode(Point2* pVtx);
    void countSteps();
    void assignBands();
    void step(Index from, Index to, Winding& winding) const;
    static size_t getBand(const Winding& winding);
    static std::uint64_t getKey(Index a, Index b) {
        return a < b ? std::uint64_t(a) << 32 | b : std::uint64_t(b) << 32 | a;
    }

    BandNodes& nodes_;
    SideRouter router_;
    std::vector<SideOfBand> vSides_;
    Taro_2D mesh_;  // scaled by a power of two; a vertex has the number of its node as its index
    double scale_ = 1.0;
    std::vector<Point2*> vVertices_;                                 // of vNodes_
    std::vector<Index> vNodes_;                                      // of the sides, and crossings
    std::unordered_map<std::uint64_t, std::vector<Index>> mChains_;  // of divided sides, from the lower node
    std::unordered_map<std::uint64_t, Winding> mSteps_;              // of edges from the lower node: from right to left
    std::vector<Triangle2*> vTriangles_;
    std::unordered_map<const Triangle2*, size_t> mBands_;
};

}  // namespace LUMO_TARO25D
