#pragma once

#include <cstddef>
#include <vector>

#include "analysis/BandNodes.h"
#include "analysis/BandOverlay.h"
#include "analysis/HeightTree.h"
#include "analysis/RingBuilder.h"
#include "support/Progress.h"
#include "taro25d/ContourBand.h"
#include "taro25d/Edge2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Divides a surface into bands of height.
class BandBuilder {
  public:
    /// The levels must be sorted and different.
    BandBuilder(const HeightTree& tree, const std::vector<double>& vLevels, Progress& progress)
        : tree_(tree),
          vLevels_(vLevels),
          progress_(progress),
          nodes_(vLevels),
          vSidesOf_(vLevels.size() + 1),
          thinCorners_(vLevels),
          overlay_(nodes_) {}

    /// Collects the sides of all bands.
    void collectSides();
    /// Appends the bands that are not empty. False if the sides of a band make no rings.
    bool build(int numThreads, std::vector<ContourBand>& vBands);

  private:
    using Index = BandNodes::Index;

    /// The number of levels at or below a height, and below it.
    size_t countUpTo(double height) const;
    size_t countBelow(double height) const;
    void markThin(const Triangle2& triangle);
    bool isNearThin(const Triangle2& triangle) const;
    bool overlaySides();
    void cut(const Triangle2& triangle);
    void addLevelEdges(const Triangle2& triangle);
    void findBorder(const std::vector<Triangle2*>& vTriangles, std::vector<Edge2>& vBorder) const;
    void addBorderEdge(const Edge2& edge);
    void addSeam(const std::vector<Triangle2*>& vTriangles, const std::vector<Edge2>& vBorder);
    void addSide(size_t band, Index from, Index to) {
        if (bNearThin_) {
            overlay_.add(band, from, to);
        } else {
            vSidesOf_[band].emplace_back(from, to);
        }
    }
    size_t getBandAtLevelEdge(const Triangle2& triangle, int i) const;

    const HeightTree& tree_;
    const std::vector<double>& vLevels_;
    Progress& progress_;  // counts triangles and bands
    BandNodes nodes_;
    std::vector<std::vector<RingBuilder::Side>> vSidesOf_;  // for each band, with its area on the left
    double magnitude_ = 0.0;                                // of coordinates
    BandNodes thinCorners_;                                 // of triangles with pieces thinner than rounding
    bool bNearThin_ = false;                                // whether the current triangle has such a corner
    BandOverlay overlay_;                                   // of the triangles that have one
    std::vector<Index> vLong_, vLower_, vUpper_;            // nodes on the edges of a triangle
};

}  // namespace LUMO_TARO25D
