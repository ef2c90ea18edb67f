#pragma once

#include <algorithm>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/iterator/function_output_iterator.hpp>
#include <boost/iterator/transform_iterator.hpp>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "support/stopping.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// A set of numbered boxes with search for those that meet a given box: an R-tree (Guttman 1984).
class BoxTree {
  public:
    using Corner = boost::geometry::model::point<double, 2, boost::geometry::cs::cartesian>;
    using Box = boost::geometry::model::box<Corner>;
    using Entry = std::pair<Box, size_t>;

    /// The box of two points, enlarged by a margin.
    static Box getBox(const Point2& p, const Point2& q, double margin = 0.0) {
        const auto [minX, maxX] = std::minmax({p.x(), q.x()});
        const auto [minY, maxY] = std::minmax({p.y(), q.y()});
        return {Corner(minX - margin, minY - margin), Corner(maxX + margin, maxY + margin)};
    }

    void add(const Box& box, size_t number) { tree_.insert(Entry(box, number)); }
    /// Replaces all boxes. The tree is better than one made by adding them, and costs less (Leutenegger, Lopez and
    /// Edgington 1997). Has cancellation points.
    void load(const std::vector<Entry>& vEntries) {
        CancelPoint<> cancelPoint;
        const std::function<const Entry&(const Entry&)> passing = [&cancelPoint](const Entry& entry) -> const Entry& {
            cancelPoint.pass();
            return entry;
        };
        tree_ = Tree(boost::make_transform_iterator(vEntries.begin(), passing),
                     boost::make_transform_iterator(vEntries.end(), passing));
    }

    /// Calls visit(number) for every box that has a point in common with a given one, in any order.
    template <class Visit>
    void forEachIn(const Box& box, const Visit& visit) const {
        const auto take = [&visit](const Entry& entry) { visit(entry.second); };
        tree_.query(boost::geometry::index::intersects(box), boost::make_function_output_iterator(take));
    }
    /// Calls visit(number) for the same boxes until it returns false; then the result is false.
    template <class Visit>
    bool forEachInWhile(const Box& box, const Visit& visit) const {
        const auto end = tree_.qend();
        for (auto it = tree_.qbegin(boost::geometry::index::intersects(box)); it != end; ++it) {
            if (!visit(it->second)) return false;
        }
        return true;
    }

  private:
    using Tree = boost::geometry::index::rtree<Entry, boost::geometry::index::quadratic<16>>;

    Tree tree_;
};

}  // namespace LUMO_TARO25D
