#pragma once

#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/iterator/function_output_iterator.hpp>
#include <cstddef>
#include <utility>

#include "taro25d/Bbox2.h"

namespace LUMO_TARO25D {

/// A set of numbered boxes with search for those that meet a given box: an R-tree (Guttman 1984).
class BoxTree {
  public:
    void add(const Bbox2& box, size_t number) { tree_.insert(Entry(toTreeBox(box), number)); }
    /// Calls visit(number) for every box that has a point in common with a given one, in any order.
    template <class Visit>
    void forEachIn(const Bbox2& box, const Visit& visit) const {
        const auto take = [&visit](const Entry& entry) { visit(entry.second); };
        tree_.query(boost::geometry::index::intersects(toTreeBox(box)), boost::make_function_output_iterator(take));
    }

  private:
    using Corner = boost::geometry::model::point<double, 2, boost::geometry::cs::cartesian>;
    using Box = boost::geometry::model::box<Corner>;
    using Entry = std::pair<Box, size_t>;

    static Box toTreeBox(const Bbox2& box) {
        return {Corner(box.getMinX(), box.getMinY()), Corner(box.getMaxX(), box.getMaxY())};
    }

    boost::geometry::index::rtree<Entry, boost::geometry::index::quadratic<16>> tree_;
};

}  // namespace LUMO_TARO25D
