#pragma once

#include <algorithm>
#include <boost/geometry/geometries/box.hpp>
#include <boost/geometry/geometries/point.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/iterator/function_output_iterator.hpp>
#include <boost/iterator/transform_iterator.hpp>
#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kernel/tools.h"
#include "support/lists.h"
#include "support/stopping.h"
#include "taro25d/Segment2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

/// Segments in the order of adding, with look-up by pointer and search by bounding box.
class SegmentIndex {
  public:
    size_t size() const { return vSegments_.size(); }
    Segment2* operator[](size_t index) const { return vSegments_[index]; }
    auto begin() const { return vSegments_.begin(); }
    auto end() const { return vSegments_.end(); }

    size_t find(const Segment2* pSegment) const {
        const auto it = mIndex_.find(pSegment);
        return it == mIndex_.end() ? size() : it->second;
    }

    void add(const std::vector<Segment2*>& vSegments) {
        reserveMore(vSegments_, vSegments.size());
        mIndex_.reserve(vSegments_.capacity());
        for (Segment2* pSegment : vSegments) {
            if (pSegment && mIndex_.emplace(pSegment, size()).second) vSegments_.push_back(pSegment);
        }
    }

    /// Calls visit(index) for every segment whose box touches that of the given one, in any order. Segments with
    /// coordinates that are not finite are never found.
    template <class Visit>
    void forEachCandidate(const Segment2& segment, Visit visit) {
        if (!isFinite2D(segment)) return;
        updateTree();
        const auto take = [&](const Entry& entry) { visit(entry.second); };
        tree_.query(boost::geometry::index::intersects(getBox(segment)), boost::make_function_output_iterator(take));
    }

    /// Calls visit(index) for the same segments until it returns false; then the result is false.
    template <class Visit>
    bool forEachCandidateWhile(const Segment2& segment, Visit visit) {
        if (!isFinite2D(segment)) return true;
        updateTree();
        const auto touching = boost::geometry::index::intersects(getBox(segment));
        for (auto it = tree_.qbegin(touching); it != tree_.qend(); ++it) {
            if (!visit(it->second)) return false;
        }
        return true;
    }

  private:
    using Corner = boost::geometry::model::point<double, 2, boost::geometry::cs::cartesian>;
    using Box = boost::geometry::model::box<Corner>;
    using Entry = std::pair<Box, size_t>;
    using Tree = boost::geometry::index::rtree<Entry, boost::geometry::index::quadratic<16>>;

    static Box getBox(const Segment2& segment) {
        const auto [minX, maxX] = std::minmax({segment.getSrc().x(), segment.getTrg().x()});
        const auto [minY, maxY] = std::minmax({segment.getSrc().y(), segment.getTrg().y()});
        return {Corner(minX, minY), Corner(maxX, maxY)};
    }

    /// Bulk loading gives the better tree and costs less than insertion unless few segments are new.
    void updateTree() {
        if (size() - numInTree_ > numInTree_ / 8) return loadTree();
        CancelPoint<> cancelPoint;
        for (; numInTree_ < size(); ++numInTree_) {
            cancelPoint.pass();
            const Segment2& segment = *vSegments_[numInTree_];
            if (isFinite2D(segment)) tree_.insert(Entry(getBox(segment), numInTree_));
        }
    }

    void loadTree() {
        std::vector<Entry> vEntries;
        vEntries.reserve(size());
        for (size_t i = 0; i < size(); ++i) {
            if (isFinite2D(*vSegments_[i])) vEntries.emplace_back(getBox(*vSegments_[i]), i);
        }
        CancelPoint<> cancelPoint;
        const std::function<const Entry&(const Entry&)> passed = [&cancelPoint](const Entry& entry) -> const Entry& {
            cancelPoint.pass();
            return entry;
        };
        tree_ = Tree(boost::make_transform_iterator(vEntries.begin(), passed),
                     boost::make_transform_iterator(vEntries.end(), passed));
        numInTree_ = size();
    }

    std::vector<Segment2*> vSegments_;
    std::unordered_map<const Segment2*, size_t> mIndex_;
    Tree tree_;
    size_t numInTree_ = 0;  // the finite ones of the first numInTree_ segments are in the tree
};

}  // namespace LUMO_TARO25D
