// Sides that pass nodes within rounding.
//
// The ends of a side are rounded crossings of an edge with a level. So a side may be some units in the last place off
// its place, and on the wrong side of a node that is nearer than that. Two steps make this harmless. First, nodes that
// are nearer than BAND_RESOLUTION to a corner, or to each other, become one. Then each side is led through the nodes
// that are nearer than that to its inside, in the order in which it passes them, and so are its pieces. Other nodes
// are farther off than rounding moves anything. Sides that coincide afterwards cancel, or are common sides of two
// bands.
//
// Corners are exact. They are not merged with each other, and a side between two corners is not led through a third.

#include "analysis/SideRouter.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "kernel/tolerances.h"
#include "support/lists.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t MAX_DEPTH = 16;

double getMagnitude(const Point2& point) { return std::max(std::abs(point.x()), std::abs(point.y())); }

}  // namespace

void SideRouter::add(const std::vector<Side>& vSides) {
    vReplaced_.resize(nodes_.size());
    for (Index i = 0; i < vReplaced_.size(); ++i) vReplaced_[i] = i;
    collectNodes(vSides);
    mergeNodes();
    CancelPoint<> cancelPoint;
    for (const Side& side : vSides) {
        cancelPoint.pass();
        const Index from = std::min(side.first, side.second), to = std::max(side.first, side.second);
        if (mPaths_.count(getKey(from, to)) > 0) continue;
        std::vector<Index> vPath{vReplaced_[from]};
        route(vReplaced_[from], vReplaced_[to], 0, vPath);
        if (vPath.size() > 2) mPaths_.emplace(getKey(from, to), std::move(vPath));
    }
}

void SideRouter::collectNodes(const std::vector<Side>& vSides) {
    for (const auto& [from, to] : vSides) {
        vNodes_.push_back(from);
        vNodes_.push_back(to);
    }
    oneInstance(vNodes_);
    double magnitude = std::numeric_limits<double>::min();
    for (const Index node : vNodes_) magnitude = std::max(magnitude, getMagnitude(nodes_[node]));
    scale_ = std::ldexp(1.0, std::min(-std::ilogb(magnitude), 1000));
    resolution_ = BAND_RESOLUTION * magnitude * scale_;
    std::vector<BoxTree::Entry> vEntries;
    vEntries.reserve(vNodes_.size());
    for (const Index node : vNodes_) vEntries.emplace_back(BoxTree::getBox(nodes_[node], nodes_[node]), node);
    tree_.load(vEntries);
}

/// Calls visit(node) for the nodes in the box of two points, which is enlarged by the resolution.
template <class Visit>
void SideRouter::forEachNear(const Point2& a, const Point2& b, const Visit& visit) const {
    const BoxTree::Box box = BoxTree::getBox(a, b, 2.0 * resolution_ / scale_);
    tree_.forEachIn(box, [&](size_t node) { visit(static_cast<Index>(node)); });
}

// ---- Nodes ----

/// Merges each node that is no corner with the nearest corner near it, otherwise with the nearest of the nodes before
/// it (by x, then y) that were kept. So no node moves farther than the resolution.
void SideRouter::mergeNodes() {
    std::vector<Index> vOrder;
    std::copy_if(vNodes_.begin(), vNodes_.end(), std::back_inserter(vOrder),
                 [this](Index node) { return !nodes_.isCorner(node); });
    std::sort(vOrder.begin(), vOrder.end(), [this](Index a, Index b) { return nodes_[a] < nodes_[b]; });
    CancelPoint<> cancelPoint;
    for (const Index node : vOrder) {
        cancelPoint.pass();
        std::pair<bool, double> best(true, resolution_);
        forEachNear(nodes_[node], nodes_[node], [&](Index other) {
            const bool bCorner = nodes_.isCorner(other);
            if (!bCorner && (vReplaced_[other] != other || !(nodes_[other] < nodes_[node]))) return;
            const std::pair<bool, double> rank(!bCorner, getDistance(node, other));
            const bool bTie = rank == best && vReplaced_[node] != node;
            if (rank.second > resolution_ || best < rank || (bTie && nodes_[vReplaced_[node]] < nodes_[other])) return;
            best = rank;
            vReplaced_[node] = other;
        });
    }
}

/// The distance of two nodes, scaled.
double SideRouter::getDistance(Index a, Index b) const {
    const Vector2 between = getScaled(a, b);
    return std::hypot(between.x(), between.y());
}

// ---- Paths ----

/// Appends the path after its first node.
void SideRouter::route(Index from, Index to, size_t depth, std::vector<Index>& vPath) const {
    std::vector<Index> vOn;
    if (from != to && depth < MAX_DEPTH) getNodesOn(from, to, vOn);
    if (vOn.empty()) {
        if (from != to) vPath.push_back(to);
        return;
    }
    vOn.push_back(to);
    for (const Index next : vOn) {
        route(from, next, depth + 1, vPath);
        from = next;
    }
}

/// The nodes that are nearer to a side than rounding may have moved them, in the order of their places on it.
void SideRouter::getNodesOn(Index from, Index to, std::vector<Index>& vOn) const {
    const bool bTurned = nodes_[to] < nodes_[from];  // both directions give one result
    if (bTurned) std::swap(from, to);
    const bool bExact = nodes_.isCorner(from) && nodes_.isCorner(to);
    std::vector<std::pair<double, Index>> vPlaces;
    forEachNear(nodes_[from], nodes_[to], [&](Index node) {
        if (node == from || node == to || vReplaced_[node] != node || (bExact && nodes_.isCorner(node))) return;
        const double place = getPlaceOn(from, to, node);
        if (place > 0.0) vPlaces.emplace_back(place, node);
    });
    std::sort(vPlaces.begin(), vPlaces.end(), [this](const auto& p, const auto& q) {
        return p.first != q.first ? p.first < q.first : nodes_[p.second] < nodes_[q.second];
    });
    for (const auto& [place, node] : vPlaces) vOn.push_back(node);
    if (bTurned) std::reverse(vOn.begin(), vOn.end());
}

/// The place of a node along a side, from 0 to 1, if it is within the resolution of its inside; otherwise 0.
double SideRouter::getPlaceOn(Index from, Index to, Index node) const {
    const Vector2 side = getScaled(from, to), offset = getScaled(from, node);
    const double along = offset.x() * side.x() + offset.y() * side.y();
    const double sqLength = side.x() * side.x() + side.y() * side.y();
    const double sqDistance = offset.x() * offset.x() + offset.y() * offset.y();
    const bool bPiecesAreShorter = sqDistance < std::min(sqLength, 2.0 * along);
    if (!(along > 0.0 && along < sqLength) || !bPiecesAreShorter) return 0.0;
    const double twiceArea = offset.x() * side.y() - offset.y() * side.x();
    return std::abs(twiceArea) <= resolution_ * std::sqrt(sqLength) ? along / sqLength : 0.0;
}

/// The vector from one node to another, scaled.
Vector2 SideRouter::getScaled(Index from, Index to) const {
    const Point2 &a = nodes_[from], &b = nodes_[to];
    return Vector2(b.x() * scale_ - a.x() * scale_, b.y() * scale_ - a.y() * scale_, 0.0);
}

void SideRouter::replace(std::vector<Side>& vSides) const {
    std::vector<Side> vPieces;
    vPieces.reserve(vSides.size());
    for (const auto& [from, to] : vSides) {
        const auto found = mPaths_.find(getKey(std::min(from, to), std::max(from, to)));
        if (found == mPaths_.end()) {
            vPieces.emplace_back(vReplaced_[from], vReplaced_[to]);
            continue;
        }
        const std::vector<Index>& vPath = found->second;
        for (size_t i = 0; i + 1 < vPath.size(); ++i) {
            vPieces.emplace_back(vPath[i], vPath[i + 1]);
            if (from > to) std::swap(vPieces.back().first, vPieces.back().second);
        }
    }
    vSides.swap(vPieces);
}

}  // namespace LUMO_TARO25D
