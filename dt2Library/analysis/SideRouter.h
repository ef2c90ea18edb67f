#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "analysis/BandNodes.h"
#include "kernel/BoxTree.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

/// Leads the sides of bands through the nodes that rounding may have moved across them (snap rounding: Hobby 1999;
/// Halperin and Packer 2002), so that sides that do not cross before their ends are rounded do not cross afterwards.
/// Considers only the sides that it was given. O(n log n) for n sides that have few nodes near them.
class SideRouter {
  public:
    using Index = BandNodes::Index;
    using Side = std::pair<Index, Index>;

    explicit SideRouter(const BandNodes& nodes) : nodes_(nodes) {}

    /// No nodes may be added after this.
    void add(const std::vector<Side>& vSides);
    /// Replaces sides by the pieces of their paths. Sides that were not added get the ends of those that were.
    void replace(std::vector<Side>& vSides) const;

  private:
    void collectNodes(const std::vector<Side>& vSides);
    void mergeNodes();
    void route(Index from, Index to, size_t depth, std::vector<Index>& vPath) const;
    void getNodesOn(Index from, Index to, std::vector<Index>& vOn) const;
    template <class Visit>
    void forEachNear(const Point2& a, const Point2& b, const Visit& visit) const;
    Vector2 getScaled(Index from, Index to) const;
    double getDistance(Index a, Index b) const;
    double getPlaceOn(Index from, Index to, Index node) const;
    static std::uint64_t getKey(Index from, Index to) { return std::uint64_t(from) << 32 | to; }

    const BandNodes& nodes_;
    double scale_ = 1.0;            // a power of two that takes the largest coordinate of vNodes_ to between 1 and 2
    double resolution_ = 0.0;       // scaled
    std::vector<Index> vNodes_;     // of the sides added
    std::vector<Index> vReplaced_;  // for each node: itself, or the node with which it is merged
    BoxTree tree_;                  // of vNodes_
    std::unordered_map<std::uint64_t, std::vector<Index>> mPaths_;  // by from and to, from < to
};

}  // namespace LUMO_TARO25D
