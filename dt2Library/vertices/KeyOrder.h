#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "support/LargeVector.h"
#include "support/parallel.h"
#include "vertices/HC2.h"

namespace LUMO_TARO25D {

/// A point to be sorted: its key and its index in the caller's list.
struct KeyedIndex {
    std::uint32_t key;
    std::uint32_t index;
};

/// Runs of equal keys up to this length are searched linearly. A longer run, as when one stray point widens the box so
/// much that all others share a few cells, is ordered by a second curve over the box of the run, recursively.
constexpr size_t MAX_RUN_OF_EQUAL_KEYS = 64;

/// Sorts [first, last) by key; equal keys keep their order. Linear. The scratch vector only saves allocations.
void sortByKey(KeyedIndex* first, KeyedIndex* last, ScratchVector<KeyedIndex>& vScratch, int numThreads);

/// Widens the short side of a box whose sides differ by more than a factor of four. In cells as flat as those of a long
/// corridor, or of two sites far apart, one coordinate alone would decide the order.
inline void widenShortSide(double minX, double minY, double& maxX, double& maxY) {
    constexpr double largest = std::numeric_limits<double>::max();
    const double halfX = 0.5 * maxX - 0.5 * minX, halfY = 0.5 * maxY - 0.5 * minY;
    if (halfX < 0.25 * halfY) maxX = std::min(largest, minX + 2.0 * halfY);
    if (halfY < 0.25 * halfX) maxY = std::min(largest, minY + 2.0 * halfX);
}

/// The curve for a run of points: over their own box, so that not all of them share one key. Null if all are equal.
template <class PointAt>
std::unique_ptr<HC2> makeCurveOfRun(size_t begin, size_t end, const PointAt& pointAt) {
    double minX = pointAt(begin).x(), maxX = minX, minY = pointAt(begin).y(), maxY = minY;
    for (size_t i = begin + 1; i < end; ++i) {
        const double x = pointAt(i).x(), y = pointAt(i).y();
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    }
    if (minX == maxX && minY == maxY) return nullptr;
    widenShortSide(minX, minY, maxX, maxY);
    return std::make_unique<HC2>(minX, minY, maxX, maxY, 30);
}

/// Sorts points into spatial order: by key, in a long run of equal keys by the curve of the run, in a short run by x, y
/// and index. Equal positions are therefore adjacent, in input order.
template <class PointAt>
class KeyOrder {
  public:
    /// pointAt(index) is the point of an entry.
    explicit KeyOrder(const PointAt& pointAt, int numThreads = 1) : pointAt_(pointAt), numThreads_(numThreads) {}

    /// Sorts [first, last), whose keys are set. Linear, except for the sorting of short runs.
    void sort(KeyedIndex* first, KeyedIndex* last) {
        sortByKey(first, last, vScratch_, numThreads_);
        const size_t length = static_cast<size_t>(last - first), numParts = numParallelParts(numThreads_, length);
        std::vector<KeyedIndex*> vCuts(numParts + 1, last);  // between runs, so that each run belongs to one thread
        for (size_t t = 0; t < numParts; ++t) {
            vCuts[t] = first + length / numParts * t;
            while (vCuts[t] > first && vCuts[t] < last && vCuts[t]->key == vCuts[t][-1].key) ++vCuts[t];
        }
        std::vector<std::vector<Run>> vvLongRuns(numParts);
        runOnThreads(static_cast<int>(numParts), [&](int threadIdx) {
            const size_t t = static_cast<size_t>(threadIdx);
            sortShortRuns(vCuts[t], vCuts[t + 1], vvLongRuns[t]);
        });
        for (const auto& vLongRuns : vvLongRuns) {
            for (const Run& run : vLongRuns) sortLongRun(run.first, run.second);
        }
    }

  private:
    using Run = std::pair<KeyedIndex*, KeyedIndex*>;

    /// Sorts the short runs of equal keys and lists the long ones.
    void sortShortRuns(KeyedIndex* first, const KeyedIndex* last, std::vector<Run>& vLongRuns) const {
        for (KeyedIndex* end; first < last; first = end) {
            end = first + 1;
            while (end < last && end->key == first->key) ++end;
            if (static_cast<size_t>(end - first) > MAX_RUN_OF_EQUAL_KEYS) {
                vLongRuns.emplace_back(first, end);
            } else if (end - first > 1) {
                std::sort(first, end, [&](const KeyedIndex& a, const KeyedIndex& b) { return isBefore(a, b); });
            }
        }
    }

    void sortLongRun(KeyedIndex* first, KeyedIndex* last) {
        const auto pCurve =
            makeCurveOfRun(0, static_cast<size_t>(last - first), [&](size_t i) { return pointAt_(first[i].index); });
        if (!pCurve) return;
        const std::uint32_t key = first->key;
        for (KeyedIndex* p = first; p < last; ++p) {
            const auto point = pointAt_(p->index);
            p->key = pCurve->iReset(point.x(), point.y());
        }
        sort(first, last);
        for (KeyedIndex* p = first; p < last; ++p) p->key = key;
    }

    bool isBefore(const KeyedIndex& a, const KeyedIndex& b) const {
        const auto p = pointAt_(a.index), q = pointAt_(b.index);
        if (p.x() != q.x()) return p.x() < q.x();
        if (p.y() != q.y()) return p.y() < q.y();
        return a.index < b.index;
    }

    const PointAt& pointAt_;
    int numThreads_;
    ScratchVector<KeyedIndex> vScratch_;
};

/// The keys of a list in spatial order, laid out flat for a binary search, with a finer index for each long run. It may
/// be copied.
class KeyIndex {
  public:
    /// Rebuilds the index for the positions [begin, end) of a list in spatial order: keyAt(i) and pointAt(i)
    /// are the key and the point at a position.
    template <class KeyAt, class PointAt>
    void build(size_t begin, size_t end, const KeyAt& keyAt, const PointAt& pointAt, int numThreads = 1) {
        begin_ = begin;
        vRuns_.clear();
        vKeys_.resize(end - begin);
        parallelFor(numThreads, vKeys_.size(), [&](size_t first, size_t last, int) {
            for (size_t i = first; i < last; ++i) vKeys_[i] = keyAt(begin + i);
        });
        buildBuckets(numThreads);
        // Every long run contains one of these positions.
        for (size_t i = 0; i < vKeys_.size(); i += MAX_RUN_OF_EQUAL_KEYS) {
            const size_t first = beginOfRun(i), last = endOfRun(i);
            if (last - first <= MAX_RUN_OF_EQUAL_KEYS) continue;
            addRun(begin + first, begin + last, pointAt);
            i = (last - 1) / MAX_RUN_OF_EQUAL_KEYS * MAX_RUN_OF_EQUAL_KEYS;
        }
    }

    /// The positions [first, second) of the items that share the key of (x, y) down to the finest curve; if there are
    /// none, an empty range at the place where they would be. Logarithmic.
    std::pair<size_t, size_t> find(std::uint32_t key, double x, double y) const;

  private:
    struct Run;

    void buildBuckets(int numThreads);
    size_t lowerBound(std::uint32_t key) const;
    size_t beginOfRun(size_t last) const {
        size_t first = last;
        while (first > 0 && vKeys_[first - 1] == vKeys_[last]) --first;
        return first;
    }
    size_t endOfRun(size_t first) const {
        size_t last = first;
        while (last < vKeys_.size() && vKeys_[last] == vKeys_[first]) ++last;
        return last;
    }

    template <class PointAt>
    void addRun(size_t begin, size_t end, const PointAt& pointAt);

    size_t begin_ = 0;
    LargeVector<std::uint32_t> vKeys_;
    // The first position of the keys that have the same leading bits, about eight keys on average, and one more entry
    // for the end: a search reads one cache line here and one or two of the keys.
    LargeVector<std::uint32_t> vBucketStart_;
    unsigned bucketShift_ = 0;
    std::vector<Run> vRuns_;  // in order of position
};

struct KeyIndex::Run {
    size_t begin;
    std::shared_ptr<const HC2> pCurve;
    KeyIndex index;
};

template <class PointAt>
void KeyIndex::addRun(size_t begin, size_t end, const PointAt& pointAt) {
    Run run{begin, makeCurveOfRun(begin, end, pointAt), {}};
    if (!run.pCurve) return;
    const auto keyAt = [&](size_t i) { return run.pCurve->iReset(pointAt(i).x(), pointAt(i).y()); };
    run.index.build(begin, end, keyAt, pointAt);
    vRuns_.push_back(std::move(run));
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the analyzer loses the curve in the move

}  // namespace LUMO_TARO25D
