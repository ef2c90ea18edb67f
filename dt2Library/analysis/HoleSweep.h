#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// Tells which edge of some rings is next to the south of a point, just west of it. The rings do not cross, and none of their
/// edges comes to the point from the west. A line goes from west to east, with the edges that cross it in order from south to
/// north (Shamos and Hoey 1976). O(n log n).
class HoleSweep {
  public:
    explicit HoleSweep(GeomTest& geomTest) : geomTest_(geomTest), status_(Order{this}) {}

    /// Adds an edge of a ring with a number.
    void addEdge(const Point2& p, const Point2& q, size_t ring);
    /// Adds a point with a number.
    void addQuestion(const Point2& place, size_t number);
    /// Calls f(number of the point, number of the ring) for each point, from west to east, until one is false. False also if
    /// there is no edge south of a point.
    bool run(const Progress& progress, const std::function<bool(size_t, size_t)>& f);

  private:
    struct Edge {
        const Point2 *pWest, *pEast;
        size_t ring;
    };
    /// At one x there are first questions, then ends of edges, then beginnings.
    enum Kind { QUESTION, END, BEGIN };
    struct Event {
        const Point2* pPlace;
        Kind kind;
        size_t number;
    };
    /// From south to north.
    struct Order {
        using is_transparent = void;
        const HoleSweep* pSweep;

        bool operator()(size_t a, size_t b) const { return pSweep->isSouth(a, b); }
        bool operator()(size_t edge, const Point2* pPlace) const { return pSweep->isSouthOf(edge, *pPlace); }
    };

    bool isSouth(size_t a, size_t b) const;
    bool isSouthOf(size_t edge, const Point2& place) const;
    void sortEvents();

    GeomTest& geomTest_;
    std::vector<Edge> vEdges_;
    std::vector<Event> vEvents_;
    std::set<size_t, Order> status_;
};

}  // namespace LUMO_TARO25D
