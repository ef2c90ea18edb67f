#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/stopping.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// The linear interpolation from a to b at t in [0, 1], clamped to their range.
inline double interpolate(double a, double b, double t) {
    const double difference = b - a;
    const double value = std::isfinite(difference) ? a + t * difference : (1.0 - t) * a + t * b;
    return std::clamp(value, std::min(a, b), std::max(a, b));
}

/// The position of a height between two others, from 0 to 1.
inline double fractionAt(double height, double low, double high) {
    const double range = high - low;
    return std::isfinite(range) ? (height - low) / range : (0.5 * height - 0.5 * low) / (0.5 * high - 0.5 * low);
}

/// Mixes the bits of numbers into a hash (the finisher of Stafford 2011). Equal numbers have equal hashes, zeros too.
inline std::uint64_t hashOfNumbers(std::initializer_list<double> numbers) {
    std::uint64_t hash = 1;
    for (double number : numbers) {
        number += 0.0;
        std::uint64_t bits;
        std::memcpy(&bits, &number, sizeof bits);
        hash = (hash ^ bits) * 0xbf58476d1ce4e5b9;
        hash = (hash ^ (hash >> 27)) * 0x94d049bb133111eb;
        hash ^= hash >> 31;
    }
    return hash;
}

/// The crossings of a horizontal plane with the edges of a surface, joined into chains by the triangles that it cuts.
/// The plane must not pass through a corner: then it crosses two edges of a triangle, or none.
///
/// A crossing is identified by its edge, not by its point: both triangles of an edge find the same one, and so do
/// triangles that have equal corners without sharing them, while crossings whose points round to equal ones stay apart.
/// Edges are found by a hash of their ends' coordinates, so that everything except sorting the result is linear in the
/// number of triangles.
class CrossingGraph {
  public:
    /// Begins anew at a height, for at most maxTriangles triangles; keeps its memory.
    void start(double height, size_t maxTriangles);

    /// Adds a triangle that the plane cuts. False if one of its edges has more than two triangles: the crossings do
    /// not form chains.
    bool add(const Triangle2& triangle);

    /// Appends the chains as polylines with the higher ground on the left: open ones first, then closed ones, which
    /// begin at their smallest points; both ordered by their first points. Pieces without length are left out. Call it
    /// only once for each height.
    void appendPolylines(std::vector<std::vector<Segment2>>& vvPolylines);

  private:
    using Index = std::uint32_t;
    static constexpr Index NONE = std::numeric_limits<Index>::max();

    struct Crossing {
        const Point2 *pLow, *pHigh;
        double x, y;
        Index aNext[2];
        bool bVisited;
    };

    Index findCrossing(const Point2* pA, const Point2* pB);
    Crossing makeCrossing(const Point2* pLow, const Point2* pHigh) const;
    bool link(Index from, Index to);

    void appendSorted(bool bClosed, std::vector<std::vector<Segment2>>& vvPolylines);
    void walkFrom(Index start);
    void direct(bool bClosed);
    Orientation2 sideOfHigherGround(const Crossing& from, const Crossing& to);
    std::vector<Segment2> toPolyline(bool bClosed) const;
    Point2 toPoint(Index i) const { return Point2(vCrossings_[i].x, vCrossings_[i].y, height_); }

    double height_ = 0.0;
    std::vector<Crossing> vCrossings_;
    std::vector<Index> vChain_;  // the current chain
    std::vector<Index> vTable_;  // open addressing, at most half full
    GeomTest geomTest_;
    CancelPoint<> cancelPoint_;
};

}  // namespace LUMO_TARO25D
