#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// Finds the nearest ring to the south of a point, just west of it. The rings must not cross, and none may reach the
/// point from the west. A sweep line moves from west to east; the chains that cross it are kept in order from south
/// to north (Shamos and Hoey 1976). Rings are cut into chains that run from west to east, and only their ends are
/// events. O(n log n) at worst.
class HoleSweep {
  public:
    explicit HoleSweep(GeomTest& geomTest) : geomTest_(geomTest), status_(Order{this}) {}

    /// Adds a ring with a number. The ring must begin at its smallest point.
    void addRing(const std::vector<const Point2*>& vRing, size_t number);
    /// Adds a point with a number.
    void addQuestion(const Point2& place, size_t number) { vEvents_.push_back({&place, QUESTION, number}); }
    /// Calls f(number of the point, number of the ring) for each point, from west to east, until one is false. False
    /// also if there is no ring south of a point.
    bool run(const Progress& progress, const std::function<bool(size_t, size_t)>& f);

  private:
    struct Chain {
        std::vector<const Point2*> vPoints;  // from west to east
        size_t ring;

        const Point2& getWest() const { return *vPoints.front(); }
    };
    /// The order of events at equal x.
    enum Kind { QUESTION, END, BEGIN };
    struct Event {
        const Point2* pPlace;
        Kind kind;
        size_t number;
    };
    /// The order of chains from south to north.
    struct Order {
        using is_transparent = void;
        const HoleSweep* pSweep;

        bool operator()(size_t a, size_t b) const { return pSweep->isSouth(a, b); }
        bool operator()(size_t chain, const Point2* pPlace) const { return pSweep->isSouthOf(chain, *pPlace); }
    };

    void addChain(std::vector<const Point2*>& vPoints, size_t ring);
    bool isSouth(size_t a, size_t b) const;
    bool isSouthOf(size_t chain, const Point2& place) const;
    Orientation2 sideOf(const Chain& chain, size_t east, const Point2& place) const;
    void sortEvents();

    GeomTest& geomTest_;
    std::vector<Chain> vChains_;
    std::vector<Event> vEvents_;
    std::set<size_t, Order> status_;
};

}  // namespace LUMO_TARO25D
