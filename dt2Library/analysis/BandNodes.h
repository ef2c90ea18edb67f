#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The points of the rings of bands: points with equal x and y are one node. Triangles that share an edge, or have
/// equal edges, get the same nodes on it.
class BandNodes {
  public:
    using Index = std::uint32_t;

    /// The levels must be sorted and different.
    explicit BandNodes(const std::vector<double>& vLevels);

    size_t size() const { return vPoints_.size(); }
    const Point2& operator[](Index i) const { return vPoints_[i]; }
    bool isCorner(Index i) const { return vIsCorner_[i]; }
    /// Whether a point is the place of a node.
    bool contains(const Point2& point) const { return vTable_[findSlot(point.x(), point.y())] != NONE; }

    /// The node of a corner, whose height it takes.
    Index addCorner(const Point2& corner) { return add(corner, true); }
    /// The node at a crossing of sides.
    Index addCrossing(const Point2& crossing) { return add(crossing, false); }
    /// Replaces a list by the nodes at which the levels [beginLevel, endLevel) cross the segment from low to high; all
    /// must be strictly between the two heights.
    void getCrossings(const Point2& low, const Point2& high, size_t beginLevel, size_t endLevel,
                      std::vector<Index>& vCrossings);

  private:
    static constexpr Index NONE = std::numeric_limits<Index>::max();

    Index add(const Point2& point, bool bCorner);
    size_t findSlot(double x, double y) const;
    void grow();

    const std::vector<double>& vLevels_;
    std::vector<Point2> vPoints_;
    std::vector<bool> vIsCorner_;
    std::vector<Index> vTable_;  // open addressing, at most half full
};

}  // namespace LUMO_TARO25D
