// Rings of the sides of an area.
//
// Sides are grouped by their first nodes in a flat list (vFirst_, vNumSides_), and opposite sides cancel. A walk goes
// from side to side; at a node it takes the first side clockwise from the one on which it came, by exact orientation
// tests, which keeps it on the border of one sector. When it comes to a node of its path again, the loop between
// becomes a ring. Outer rings turn left at their smallest nodes, again by an exact test.
//
// A walk bounds one piece of the area, from inside or from outside. Walks without an outer ring are holes that touch no
// other border. If there is a single outer ring, it is theirs; otherwise HoleSweep finds the ring to the south of the
// smallest point of each, and the parent of that ring's walk is the parent.

#include "analysis/RingBuilder.h"

#include <algorithm>
#include <utility>

#include "analysis/HoleSweep.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t STEPS_BETWEEN_LOOKS = 1024;

}  // namespace

bool RingBuilder::build(const std::vector<Side>& vSides, std::vector<std::vector<Point2>>& vRings) {
    sortSides(vSides);
    cancel();
    const bool bBuilt = buildSorted(vRings);
    for (const Side& side : vSides_) vNumSides_[side.first] = 0;
    return bBuilt;
}

/// Groups the sides by their first nodes; drops sides without length.
void RingBuilder::sortSides(const std::vector<Side>& vSides) {
    std::vector<Index> vBegun;
    for (const auto& [from, to] : vSides) {
        if (from != to && vNumSides_[from]++ == 0) vBegun.push_back(from);
    }
    size_t numSides = 0;
    for (const Index node : vBegun) {
        vFirst_[node] = numSides;
        numSides += vNumSides_[node];
        vNumSides_[node] = 0;
    }
    vSides_.resize(numSides);
    for (const Side& side : vSides) {
        if (side.first != side.second) vSides_[vFirst_[side.first] + vNumSides_[side.first]++] = side;
    }
    vUsed_.assign(numSides, false);
}

/// Cancels pairs of sides that run in opposite directions.
void RingBuilder::cancel() {
    for (size_t side = 0; side < vSides_.size(); ++side) {
        const auto [from, to] = vSides_[side];
        if (vUsed_[side]) continue;
        for (size_t back = vFirst_[to], end = back + vNumSides_[to]; vNumSides_[to] > 0 && back < end; ++back) {
            if (vUsed_[back] || vSides_[back].second != from) continue;
            vUsed_[side] = vUsed_[back] = true;
            break;
        }
    }
}

bool RingBuilder::buildSorted(std::vector<std::vector<Point2>>& vRings) {
    vFound_.clear();
    numWalks_ = 0;
    std::vector<size_t> vParents;
    if (!trace() || !assignHoles(vParents)) return false;
    // Each ring follows its parent; the parent of an outer ring is itself.
    std::vector<size_t> vOrder(vFound_.size());
    for (size_t i = 0; i < vOrder.size(); ++i) vOrder[i] = i;
    // Rings that share their smallest point have different second points.
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

bool RingBuilder::trace() {
    std::vector<size_t> vPlaces(vSides_.size(), NONE);
    for (size_t begin = 0; begin < vSides_.size(); ++begin) {
        if (vUsed_[begin]) continue;
        if (!traceFrom(begin, vPlaces)) return false;
        ++numWalks_;
    }
    return true;
}

/// Follows the walk that starts with a side. vPlaces holds the place of a node in the path, under the number of the
/// first side of the node.
bool RingBuilder::traceFrom(size_t begin, std::vector<size_t>& vPlaces) {
    std::vector<Index> vPath;
    size_t side = begin;
    for (size_t numSteps = 0; numSteps == 0 || side != begin; ++numSteps) {
        if (numSteps % STEPS_BETWEEN_LOOKS == 0) progress_.throwIfStopped();
        const auto [from, to] = vSides_[side];
        vUsed_[side] = true;
        vPlaces[vFirst_[from]] = vPath.size();
        vPath.push_back(from);
        if (vNumSides_[to] == 0) return false;
        const size_t place = vPlaces[vFirst_[to]];
        if (place != NONE) {
            for (size_t k = place; k < vPath.size(); ++k) vPlaces[vFirst_[vPath[k]]] = NONE;
            closeRing(vPath, place, numWalks_);
        }
        side = findNext(from, to, begin);
        if (side == NONE) return false;
    }
    return vPath.empty();
}

/// The next side at a node: the first one clockwise from the side on which the node was reached, among unused sides and
/// the side with which the walk began.
size_t RingBuilder::findNext(Index from, Index at, size_t begin) {
    size_t best = NONE;
    for (size_t side = vFirst_[at], end = side + vNumSides_[at]; side < end; ++side) {
        if (vUsed_[side] && side != begin) continue;
        if (best == NONE || isSooner(at, from, vSides_[side].second, vSides_[best].second)) best = side;
    }
    return best;
}

/// Whether a clockwise turn around a pivot, starting at node from, reaches a before b.
bool RingBuilder::isSooner(Index pivot, Index from, Index a, Index b) {
    const auto sideOf = [&](Index of, Index node) {
        return geomTest_.getOrientation2(&nodes_[pivot], &nodes_[of], &nodes_[node]);
    };
    const auto isPastHalf = [&](Index node) { return sideOf(from, node) == ORIENTATION2_CCW; };
    if (isPastHalf(a) != isPastHalf(b)) return isPastHalf(b);
    return sideOf(a, b) == ORIENTATION2_CW;
}

/// Moves the end of a path into a ring; drops it if it has no area.
void RingBuilder::closeRing(std::vector<Index>& vPath, size_t begin, size_t walk) {
    Ring ring{std::vector<Index>(vPath.begin() + static_cast<std::ptrdiff_t>(begin), vPath.end()), walk, false};
    vPath.resize(begin);
    startAtSmallest(ring.vNodes);
    // No ring passes a node twice, so that the smallest one is a corner of its convex hull.
    const std::vector<Index>& vNodes = ring.vNodes;
    const Orientation2 turn = geomTest_.getOrientation2(&nodes_[vNodes.back()], &nodes_[vNodes[0]], &nodes_[vNodes[1]]);
    if (turn == ORIENTATION2_COLLINEAR) return;
    ring.bOuter = turn == ORIENTATION2_CCW;
    vFound_.push_back(std::move(ring));
}

void RingBuilder::startAtSmallest(std::vector<Index>& vNodes) const {
    const auto smallest =
        std::min_element(vNodes.begin(), vNodes.end(), [this](Index a, Index b) { return isBefore(a, b); });
    std::rotate(vNodes.begin(), smallest, vNodes.end());
}

// ---- Holes ----

/// Finds the outer ring of each ring; false if a hole has none.
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
        std::vector<const Point2*> vPoints;
        vPoints.reserve(vNodes.size());
        for (const Index node : vNodes) vPoints.push_back(&nodes_[node]);
        sweep.addRing(vPoints, ring.walk);
    }
    for (size_t walk = 0; walk < numWalks_; ++walk) {
        if (vStartOfWalk[walk]) sweep.addQuestion(*vStartOfWalk[walk], walk);
    }
    // The sweep visits walks from west to east, so the walk below, which begins farther west, has its outer ring
    // already.
    return sweep.run(progress_, [&](size_t walk, size_t below) {
        vParentOfWalk[walk] = vParentOfWalk[below];
        return vParentOfWalk[walk] != NONE;
    });
}

}  // namespace LUMO_TARO25D
