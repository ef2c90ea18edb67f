#include "analysis/RingBuilder.h"

#include <algorithm>
#include <utility>

#include "analysis/HoleSweep.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t STEPS_BETWEEN_LOOKS = 1024;

/// Twice the area, positive for a counterclockwise ring. Relative to the first point, so that nothing is lost far away.
template <class GetPoint>
double getTwiceArea(size_t size, const GetPoint& getPoint) {
    const Point2& origin = getPoint(0);
    double sum = 0.0;
    for (size_t i = 1; i + 1 < size; ++i) {
        const Point2 &p = getPoint(i), &q = getPoint(i + 1);
        sum += (p.x() - origin.x()) * (q.y() - origin.y()) - (p.y() - origin.y()) * (q.x() - origin.x());
    }
    return sum;
}

}  // namespace

bool RingBuilder::build(std::vector<Side> vSides, std::vector<std::vector<Point2>>& vRings) {
    cancel(vSides);
    vSides_ = std::move(vSides);
    vUsed_.assign(vSides_.size(), false);
    vFound_.clear();
    numWalks_ = 0;
    std::vector<size_t> vParents;
    if (!trace() || !assignHoles(vParents)) return false;
    // Each ring after its parent, which outer ones are themselves.
    std::vector<size_t> vOrder(vFound_.size());
    for (size_t i = 0; i < vOrder.size(); ++i) vOrder[i] = i;
    // Rings that touch at their smallest points go on to different ones.
    const auto isRingBefore = [this](size_t a, size_t b) {
        const std::vector<Index>&vA = vFound_[a].vNodes, &vB = vFound_[b].vNodes;
        return vA[0] != vB[0] ? isBefore(vA[0], vB[0]) : isBefore(vA[1], vB[1]);
    };
    std::sort(vOrder.begin(), vOrder.end(), [&](size_t a, size_t b) {
        if (vParents[a] != vParents[b]) return isRingBefore(vParents[a], vParents[b]);
        if (vFound_[a].bOuter != vFound_[b].bOuter) return vFound_[a].bOuter;
        return isRingBefore(a, b);
    });
    for (const size_t ring : vOrder) {
        std::vector<Point2> vRing;
        vRing.reserve(vFound_[ring].vNodes.size());
        for (const Index node : vFound_[ring].vNodes) vRing.push_back(nodes_[node]);
        vRings.push_back(std::move(vRing));
    }
    return true;
}

/// Takes out sides without a length, and pairs that run in opposite directions; sorts what is left.
void RingBuilder::cancel(std::vector<Side>& vSides) const {
    const auto ends = [](const Side& side) { return std::minmax(side.first, side.second); };
    std::sort(vSides.begin(), vSides.end(), [&](const Side& a, const Side& b) {
        const auto [lowA, highA] = ends(a);
        const auto [lowB, highB] = ends(b);
        return lowA != lowB ? lowA < lowB : highA != highB ? highA < highB : a.first < b.first;
    });
    std::vector<Side> vLeft;
    for (size_t begin = 0, end = 0; begin < vSides.size(); begin = end) {
        size_t numForward = 0;
        const Side& first = vSides[begin];
        for (; end < vSides.size() && ends(vSides[end]) == ends(first); ++end) {
            numForward += vSides[end].first < vSides[end].second ? 1 : 0;
        }
        const size_t numBack = end - begin - numForward;
        if (first.first == first.second || numForward == numBack) continue;
        const auto [low, high] = ends(first);
        const Side kept = numForward > numBack ? Side(low, high) : Side(high, low);
        vLeft.insert(vLeft.end(), std::max(numForward, numBack) - std::min(numForward, numBack), kept);
    }
    std::sort(vLeft.begin(), vLeft.end());
    vSides = std::move(vLeft);
}

bool RingBuilder::trace() {
    std::vector<size_t> vPlace(vSides_.size(), NONE);  // in the path, of the node whose first side has this number
    const auto firstSideOf = [this](Index node) {
        return static_cast<size_t>(std::lower_bound(vSides_.begin(), vSides_.end(), Side(node, 0)) - vSides_.begin());
    };
    for (size_t begin = 0; begin < vSides_.size(); ++begin) {
        if (vUsed_[begin]) continue;
        std::vector<Index> vPath;
        for (size_t side = begin, numSteps = 0;; ++numSteps) {
            if (numSteps % STEPS_BETWEEN_LOOKS == 0) progress_.throwIfStopped();
            const auto [from, to] = vSides_[side];
            vUsed_[side] = true;
            vPlace[firstSideOf(from)] = vPath.size();
            vPath.push_back(from);
            const size_t firstSide = firstSideOf(to);
            if (firstSide == vSides_.size() || vSides_[firstSide].first != to) return false;
            if (const size_t place = vPlace[firstSide]; place != NONE) {
                for (size_t k = place; k < vPath.size(); ++k) vPlace[firstSideOf(vPath[k])] = NONE;
                closeRing(vPath, place, numWalks_);
            }
            side = findNext(from, to, begin);
            if (side == begin) break;
            if (side == NONE) return false;
        }
        if (!vPath.empty()) return false;
        ++numWalks_;
    }
    return true;
}

/// The side from a node that comes first clockwise from the one on which it was reached: an unused one, or that with which the
/// walk has begun.
size_t RingBuilder::findNext(Index from, Index at, size_t begin) {
    size_t best = NONE;
    const auto first = std::lower_bound(vSides_.begin(), vSides_.end(), Side(at, 0));
    for (size_t side = static_cast<size_t>(first - vSides_.begin()); side < vSides_.size() && vSides_[side].first == at;
         ++side) {
        if (vUsed_[side] && side != begin) continue;
        if (best == NONE || isSooner(at, from, vSides_[side].second, vSides_[best].second)) best = side;
    }
    return best;
}

/// Whether a clockwise turn around a pivot from one node comes to a before b.
bool RingBuilder::isSooner(Index pivot, Index from, Index a, Index b) {
    const auto sideOf = [&](Index of, Index node) {
        return geomTest_.getOrientation2(&nodes_[pivot], &nodes_[of], &nodes_[node]);
    };
    const auto isPastHalf = [&](Index node) { return sideOf(from, node) == ORIENTATION2_CCW; };
    if (isPastHalf(a) != isPastHalf(b)) return isPastHalf(b);
    return sideOf(a, b) == ORIENTATION2_CW;
}

/// Takes the end of a path as a ring, unless it has no area.
void RingBuilder::closeRing(std::vector<Index>& vPath, size_t begin, size_t walk) {
    Ring ring{std::vector<Index>(vPath.begin() + static_cast<std::ptrdiff_t>(begin), vPath.end()), walk, false};
    vPath.resize(begin);
    startAtSmallest(ring.vNodes);
    const double twiceArea =
        getTwiceArea(ring.vNodes.size(), [&](size_t i) -> const Point2& { return nodes_[ring.vNodes[i]]; });
    if (twiceArea == 0.0) return;
    ring.bOuter = twiceArea > 0.0;
    vFound_.push_back(std::move(ring));
}

void RingBuilder::startAtSmallest(std::vector<Index>& vNodes) const {
    const auto smallest =
        std::min_element(vNodes.begin(), vNodes.end(), [this](Index a, Index b) { return isBefore(a, b); });
    std::rotate(vNodes.begin(), smallest, vNodes.end());
}

// ---- Holes ----

/// The outer ring of each ring.
bool RingBuilder::assignHoles(std::vector<size_t>& vParents) {
    std::vector<size_t> vOuterOfWalk(numWalks_, NONE);
    size_t numOuter = 0, anyOuter = NONE;
    for (size_t ring = 0; ring < vFound_.size(); ++ring) {
        if (!vFound_[ring].bOuter) continue;
        vOuterOfWalk[vFound_[ring].walk] = anyOuter = ring;
        ++numOuter;
    }
    std::vector<size_t> vParentOfWalk = vOuterOfWalk;
    if (numOuter == 1) {
        std::fill(vParentOfWalk.begin(), vParentOfWalk.end(), anyOuter);
    } else {
        for (const Ring& ring : vFound_) {
            if (vOuterOfWalk[ring.walk] != NONE) continue;
            if (!findPieces(vOuterOfWalk, vParentOfWalk)) return false;
            break;
        }
    }
    vParents.resize(vFound_.size());
    for (size_t ring = 0; ring < vFound_.size(); ++ring) {
        vParents[ring] = vFound_[ring].bOuter ? ring : vParentOfWalk[vFound_[ring].walk];
        if (vParents[ring] == NONE) return false;
    }
    return true;
}

bool RingBuilder::findPieces(const std::vector<size_t>& vOuterOfWalk, std::vector<size_t>& vParentOfWalk) {
    HoleSweep sweep(geomTest_);
    std::vector<const Point2*> vStartOfWalk(numWalks_, nullptr);
    for (const Ring& ring : vFound_) {
        const std::vector<Index>& vNodes = ring.vNodes;
        const Point2*& pStart = vStartOfWalk[ring.walk];
        const Point2& start = nodes_[vNodes.front()];
        if (vOuterOfWalk[ring.walk] == NONE && (!pStart || start < *pStart)) pStart = &start;
        for (size_t i = 0; i < vNodes.size(); ++i) {
            sweep.addEdge(nodes_[vNodes[i]], nodes_[vNodes[i + 1 < vNodes.size() ? i + 1 : 0]], ring.walk);
        }
    }
    for (size_t walk = 0; walk < numWalks_; ++walk) {
        if (vStartOfWalk[walk]) sweep.addQuestion(*vStartOfWalk[walk], walk);
    }
    // A walk whose ground is found is not asked for before: it begins farther west.
    return sweep.run(progress_, [&](size_t walk, size_t below) {
        vParentOfWalk[walk] = vParentOfWalk[below];
        return vParentOfWalk[walk] != NONE;
    });
}

}  // namespace LUMO_TARO25D
