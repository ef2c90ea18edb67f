// The sweep that finds the ring below a point.
//
// A ring is cut where it turns between east and west, into chains that run east. At equal x, points are answered
// first, then chains end, then chains begin: so a chain is in the order only where it has a point just west of the
// sweep line. Two chains are compared by the first point of one that is not on the other, with exact orientation tests.

#include "analysis/HoleSweep.h"

#include <algorithm>
#include <iterator>

#include "support/stopping.h"

namespace LUMO_TARO25D {

void HoleSweep::addRing(const std::vector<const Point2*>& vRing, size_t number) {
    std::vector<const Point2*> vPoints{vRing.front()};
    int direction = 0;  // 1 to the east, -1 to the west, 0 before the first edge
    for (size_t i = 0; i < vRing.size(); ++i) {
        const Point2 *p = vRing[i], *q = vRing[i + 1 < vRing.size() ? i + 1 : 0];
        const int next = p->x() < q->x() ? 1 : p->x() > q->x() ? -1 : 0;
        if (next != direction) {
            addChain(vPoints, number);
            vPoints.assign(1, p);
        }
        if (next == 0) vPoints.clear();
        if (next != 0) vPoints.push_back(q);
        direction = next;
    }
    addChain(vPoints, number);
}

void HoleSweep::addChain(std::vector<const Point2*>& vPoints, size_t ring) {
    if (vPoints.size() < 2) return;
    if (vPoints.front()->x() > vPoints.back()->x()) std::reverse(vPoints.begin(), vPoints.end());
    vChains_.push_back({vPoints, ring});
    vEvents_.push_back({vPoints.front(), BEGIN, vChains_.size() - 1});
    vEvents_.push_back({vPoints.back(), END, vChains_.size() - 1});
}

bool HoleSweep::run(const Progress& progress, const std::function<bool(size_t, size_t)>& f) {
    sortEvents();
    std::vector<std::set<size_t, Order>::iterator> vPlaces(vChains_.size(), status_.end());
    for (const Event& event : vEvents_) {
        progress.throwIfStopped();
        if (event.kind == QUESTION) {
            const auto next = status_.lower_bound(event.pPlace);
            if (next == status_.begin() || !f(event.number, vChains_[*std::prev(next)].ring)) return false;
        } else if (event.kind == BEGIN) {
            const auto [place, bNew] = status_.insert(event.number);
            if (bNew) vPlaces[event.number] = place;
        } else if (vPlaces[event.number] != status_.end()) {
            status_.erase(vPlaces[event.number]);
        }
    }
    return true;
}

void HoleSweep::sortEvents() {
    const auto isBefore = [](const Event& a, const Event& b) {
        if (a.pPlace->x() != b.pPlace->x()) return a.pPlace->x() < b.pPlace->x();
        if (a.kind != b.kind) return a.kind < b.kind;
        return a.kind == QUESTION ? a.pPlace->y() < b.pPlace->y() : a.number < b.number;
    };
    std::sort(vEvents_.begin(), vEvents_.end(), withCancelPoints(isBefore));
}

/// The side on which a place lies of the edge of a chain that ends at point east.
Orientation2 HoleSweep::sideOf(const Chain& chain, size_t east, const Point2& place) const {
    return geomTest_.getOrientation2(chain.vPoints[east - 1], chain.vPoints[east], &place);
}

/// Over their common range of x, all points of one chain are on one side of the other chain, or on it. The first point
/// that is not on it decides.
bool HoleSweep::isSouth(size_t a, size_t b) const {
    const bool bFirstIsEarly = vChains_[a].getWest().x() <= vChains_[b].getWest().x();
    const Chain &early = vChains_[bFirstIsEarly ? a : b], &late = vChains_[bFirstIsEarly ? b : a];
    const auto isWestOf = [](const Point2* p, double x) { return p->x() <= x; };
    const double begin = late.getWest().x();
    size_t e = static_cast<size_t>(
        std::partition_point(early.vPoints.begin(), early.vPoints.end(), [&](auto* p) { return isWestOf(p, begin); }) -
        early.vPoints.begin());
    if (e == early.vPoints.size()) return a < b;  // they have no common x
    Orientation2 side = sideOf(early, e, late.getWest());
    for (size_t l = 1; side == ORIENTATION2_COLLINEAR && e < early.vPoints.size() && l < late.vPoints.size();) {
        const Point2 &nextEarly = *early.vPoints[e], &nextLate = *late.vPoints[l];
        if (nextLate.x() <= nextEarly.x()) {
            side = sideOf(early, e, nextLate);
            ++l;
        } else {
            side = sideOf(late, l, nextEarly);
            if (side != ORIENTATION2_COLLINEAR) side = side == ORIENTATION2_CCW ? ORIENTATION2_CW : ORIENTATION2_CCW;
            ++e;
        }
    }
    if (side == ORIENTATION2_COLLINEAR) return a < b;
    return (side == ORIENTATION2_CCW) == bFirstIsEarly;
}

bool HoleSweep::isSouthOf(size_t chain, const Point2& place) const {
    const std::vector<const Point2*>& vPoints = vChains_[chain].vPoints;
    const auto east =
        std::partition_point(vPoints.begin(), vPoints.end(), [&place](const Point2* p) { return p->x() < place.x(); });
    const size_t k = static_cast<size_t>(east - vPoints.begin());
    return k > 0 && k < vPoints.size() && sideOf(vChains_[chain], k, place) == ORIENTATION2_CCW;
}

}  // namespace LUMO_TARO25D
