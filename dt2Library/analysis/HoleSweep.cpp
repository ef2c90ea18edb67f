#include "analysis/HoleSweep.h"

#include <algorithm>

namespace LUMO_TARO25D {

void HoleSweep::addEdge(const Point2& p, const Point2& q, size_t ring) {
    if (p.x() == q.x()) return;
    const bool bForward = p.x() < q.x();
    vEdges_.push_back({bForward ? &p : &q, bForward ? &q : &p, ring});
    vEvents_.push_back({vEdges_.back().pWest, BEGIN, vEdges_.size() - 1});
    vEvents_.push_back({vEdges_.back().pEast, END, vEdges_.size() - 1});
}

void HoleSweep::addQuestion(const Point2& place, size_t number) { vEvents_.push_back({&place, QUESTION, number}); }

bool HoleSweep::run(const Progress& progress, const std::function<bool(size_t, size_t)>& f) {
    sortEvents();
    std::vector<std::set<size_t, Order>::iterator> vPlaces(vEdges_.size(), status_.end());
    for (const Event& event : vEvents_) {
        progress.throwIfStopped();
        if (event.kind == QUESTION) {
            const auto next = status_.lower_bound(event.pPlace);
            if (next == status_.begin() || !f(event.number, vEdges_[*std::prev(next)].ring)) return false;
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
    std::sort(vEvents_.begin(), vEvents_.end(), [](const Event& a, const Event& b) {
        if (a.pPlace->x() != b.pPlace->x()) return a.pPlace->x() < b.pPlace->x();
        if (a.kind != b.kind) return a.kind < b.kind;
        return a.kind == QUESTION ? a.pPlace->y() < b.pPlace->y() : a.number < b.number;
    });
}

/// The one that begins later is on a side of the other one, or the end of it is.
bool HoleSweep::isSouth(size_t a, size_t b) const {
    const bool bFirstIsEarly = vEdges_[a].pWest->x() <= vEdges_[b].pWest->x();
    const Edge &early = vEdges_[bFirstIsEarly ? a : b], &late = vEdges_[bFirstIsEarly ? b : a];
    for (const Point2* pEnd : {late.pWest, late.pEast}) {
        const Orientation2 side = geomTest_.getOrientation2(early.pWest, early.pEast, pEnd);
        if (side != ORIENTATION2_COLLINEAR) return (side == ORIENTATION2_CCW) == bFirstIsEarly;
    }
    return a < b;
}

bool HoleSweep::isSouthOf(size_t edge, const Point2& place) const {
    return geomTest_.getOrientation2(vEdges_[edge].pWest, vEdges_[edge].pEast, &place) == ORIENTATION2_CCW;
}

}  // namespace LUMO_TARO25D
