#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "taro25d/Bbox2.h"

namespace LUMO_TARO25D {

/// A set of numbered places with search for those in a box: a k-d tree (Bentley 1975), without pointers. A node is a
/// range of the list, divided at its middle by x and by y in turn. Building takes O(n log n), a search
/// O(sqrt(n) + k) for k places found.
class PlaceTree {
  public:
    void add(const Point2& place, size_t number) { vPlaces_.push_back({{place.x(), place.y()}, number}); }
    /// To be called once, after all places have been added.
    void build() { build(0, vPlaces_.size(), 0); }
    /// Calls visit(number) for every place in a box or on its boundary.
    template <class Visit>
    void forEachIn(const Bbox2& box, const Visit& visit) const {
        search(0, vPlaces_.size(), 0, {{box.getMinX(), box.getMinY()}, {box.getMaxX(), box.getMaxY()}}, visit);
    }

  private:
    struct Place {
        double aXy[2];
        size_t number;
    };
    struct Range {
        double aMin[2], aMax[2];
    };

    static size_t middleOf(size_t begin, size_t end) { return begin + (end - begin) / 2; }

    void build(size_t begin, size_t end, int axis) {
        if (end - begin < 2) return;
        const auto at = [this](size_t i) { return vPlaces_.begin() + static_cast<std::ptrdiff_t>(i); };
        const size_t middle = middleOf(begin, end);
        std::nth_element(at(begin), at(middle), at(end),
                         [axis](const Place& a, const Place& b) { return a.aXy[axis] < b.aXy[axis]; });
        build(begin, middle, 1 - axis);
        build(middle + 1, end, 1 - axis);
    }

    template <class Visit>
    void search(size_t begin, size_t end, int axis, const Range& range, const Visit& visit) const {
        if (begin == end) return;
        const size_t middle = middleOf(begin, end);
        const Place& place = vPlaces_[middle];
        if (range.aMin[axis] <= place.aXy[axis]) search(begin, middle, 1 - axis, range, visit);
        const auto isIn = [&](int i) { return range.aMin[i] <= place.aXy[i] && place.aXy[i] <= range.aMax[i]; };
        if (isIn(0) && isIn(1)) visit(place.number);
        if (place.aXy[axis] <= range.aMax[axis]) search(middle + 1, end, 1 - axis, range, visit);
    }

    std::vector<Place> vPlaces_;
};

}  // namespace LUMO_TARO25D
