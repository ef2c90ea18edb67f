#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "kernel/BoxTree.h"
#include "kernel/tools.h"
#include "support/lists.h"
#include "support/stopping.h"
#include "taro25d/Segment2.h"

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
    void forEachCandidate(const Segment2& segment, const Visit& visit) {
        if (!isFinite2D(segment)) return;
        updateTree();
        tree_.forEachIn(getBox(segment), visit);
    }

    /// Calls visit(index) for the same segments until it returns false; then the result is false.
    template <class Visit>
    bool forEachCandidateWhile(const Segment2& segment, const Visit& visit) {
        if (!isFinite2D(segment)) return true;
        updateTree();
        return tree_.forEachInWhile(getBox(segment), visit);
    }

  private:
    static BoxTree::Box getBox(const Segment2& segment) { return BoxTree::getBox(segment.getSrc(), segment.getTrg()); }

    /// Loads the tree anew unless few segments are new.
    void updateTree() {
        if (size() - numInTree_ > numInTree_ / 8) return loadTree();
        CancelPoint<> cancelPoint;
        for (; numInTree_ < size(); ++numInTree_) {
            cancelPoint.pass();
            const Segment2& segment = *vSegments_[numInTree_];
            if (isFinite2D(segment)) tree_.add(getBox(segment), numInTree_);
        }
    }

    void loadTree() {
        std::vector<BoxTree::Entry> vEntries;
        vEntries.reserve(size());
        for (size_t i = 0; i < size(); ++i) {
            if (isFinite2D(*vSegments_[i])) vEntries.emplace_back(getBox(*vSegments_[i]), i);
        }
        tree_.load(vEntries);
        numInTree_ = size();
    }

    std::vector<Segment2*> vSegments_;
    std::unordered_map<const Segment2*, size_t> mIndex_;
    BoxTree tree_;
    size_t numInTree_ = 0;  // the finite ones of the first numInTree_ segments are in the tree
};

}  // namespace LUMO_TARO25D
