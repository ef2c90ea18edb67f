#pragma once

#include <cstddef>
#include <vector>

#include "support/stopping.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Finds the triangles whose range of heights contains a given height.
///
/// A binary tree over the triangles in order of their lowest corners. A node is a range of that list, its children are
/// the two halves, the first of size n/2 rounded down, and a leaf is one triangle. The order gives the lowest height of
/// a node, so that only its highest is stored. Its index is that at which the second half of the node begins; no two
/// nodes share it. A node that a query enters contains a triangle to be found, unless some of its triangles begin above
/// the height; there is one such node on each level of the tree. Hence O(k log n) for k triangles found (the interval
/// tree of Cormen, Leiserson and Rivest 1990), and much less where they are adjacent in the list.
class HeightTree {
  public:
    /// Leaves out triangles that are null or have a corner that is null or not finite.
    explicit HeightTree(const std::vector<Triangle2*>& vTriangles);

    bool isEmpty() const { return vLeaves_.empty(); }
    size_t getNumTriangles() const { return vLeaves_.size(); }
    /// The lowest and the highest corner; the tree must not be empty.
    double getMin() const { return vLeaves_.front().minZ; }
    double getMax() const { return getMaxOf(0, vLeaves_.size()); }

    /// Appends the triangles that have corners at or below the height and corners at or above it.
    void getElements(double height, std::vector<Triangle2*>& vT) const {
        if (!isEmpty()) collect(0, vLeaves_.size(), height, vT);
    }
    /// Calls f for each triangle.
    template <class F>
    void forEach(const F& f) const {
        CancelPoint<> cancelPoint;
        for (const Leaf& leaf : vLeaves_) {
            cancelPoint.pass();
            f(*leaf.pT);
        }
    }

    /// Calls f(lowest height, highest height, triangle) for each triangle.
    template <class F>
    void forEachLeaf(const F& f) const {
        for (const Leaf& leaf : vLeaves_) f(leaf.minZ, leaf.maxZ, leaf.pT);
    }

  private:
    struct Leaf {
        double minZ, maxZ;
        Triangle2* pT;
    };

    static size_t middleOf(size_t begin, size_t end) { return begin + (end - begin) / 2; }
    double getMaxOf(size_t begin, size_t end) const {
        return end - begin < 2 ? vLeaves_[begin].maxZ : vMaxZ_[middleOf(begin, end)];
    }
    double computeMax(size_t begin, size_t end);
    void collect(size_t begin, size_t end, double height, std::vector<Triangle2*>& vT) const;

    std::vector<Leaf> vLeaves_;  // by lowest corner
    std::vector<double> vMaxZ_;  // of inner nodes, each at its middle
};

}  // namespace LUMO_TARO25D
