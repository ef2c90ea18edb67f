// Natural neighbour interpolation (Sibson 1981) that only reads the mesh.
//
// A vertex inserted at the place would replace the triangles whose circles contain it, the cavity, by triangles that
// join it with the border of the cavity, and its Voronoi cell would take a part from the cell of each vertex around
// the cavity. The height is the mean of the heights of these vertices, weighted by the areas of the parts (Watson
// 1992).
//
// The centre of its circle and the bisectors of its edges divide a triangle into three signed parts, one for each
// corner, and the cell of a vertex consists of the parts of the triangles around it. So a vertex loses its parts of
// the old triangles and gets those of the new ones, and the new cell consists of the parts of the new triangles at
// the place. With the edges e and f from a corner, their cross product D and their dot product d, the part at the end
// of e is an eighth of D + (d / D) f (f - e), that at the end of f is an eighth of D - (d / D) e (f - e), and all
// three are D / 2. (The difference f - e is taken first: where it is small, f^2 - d would lose its digits.) Each
// triangle is summed up alone: neither centres nor a table of vertices are needed.
//
// The cavity is that of constrained insertion: the triangles whose circles contain the place and which are reached
// from the triangle of the place across edges that are no constraints. Some of the areas may then be negative. Planes
// are still reproduced, for any cavity: the heights of a plane, weighted by the parts of a triangle, add up to the
// height at its nine-point centre times its area. The sum of these over triangles depends only on their common
// border, so it is equal for the old triangles and the new ones. If the place approaches an edge that is a barrier,
// the parts of the new triangle at that edge tend to infinity and all weight goes to its two ends: there the height
// is linear.
//
// Where distances are so large or small that their products leave the range of doubles, all is computed once more in
// scaled coordinates.
//
// Cost: linear in the triangles of the cavity, of which there are four on average.

#include "analysis/NaturalNeighbours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "analysis/FacePlane.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// A place that sees the ends of an edge at an angle whose sine is twice this is certainly off the edge: rounding
/// changes the computed sine by less than a tenth of this.
constexpr double MIN_CLEAR_SINE = 1e-14;

}  // namespace

double NaturalNeighbours::getHeight(const Triangle2& triangle, const Point2& place) {
    scale_ = 1.0;
    double height = compute(triangle, place);
    if (std::isfinite(height) && isInRange()) return height;
    scale_ = getScaleOfCavity();
    height = compute(triangle, place);
    // This happens only if heights overflow, or vertices are rounding errors apart.
    if (!std::isfinite(height)) getHeightInside(triangle, place, height);
    return height;
}

/// Whether no product has lost digits by underflow: that is so if the first triangle is large enough.
bool NaturalNeighbours::isInRange() const {
    return std::max({vCorners_[0].sqLength, vCorners_[1].sqLength, vCorners_[2].sqLength}) > MIN_FACE_SQUARE;
}

/// The power of two that brings the largest distance of a corner to about 1, that of the first triangle if it is small.
double NaturalNeighbours::getScaleOfCavity() const {
    constexpr int MAX_EXPONENT = 1000;
    double largest = 0.0;
    const size_t num = isInRange() ? vCorners_.size() : 3;
    for (size_t k = 0; k < num; ++k) largest = std::max({largest, std::abs(vCorners_[k].x), std::abs(vCorners_[k].y)});
    largest = std::min(largest, std::numeric_limits<double>::max());
    return largest > 0.0 ? std::ldexp(1.0, std::min(MAX_EXPONENT, -std::ilogb(largest))) : 1.0;
}

double NaturalNeighbours::compute(const Triangle2& triangle, const Point2& place) {
    vCorners_.clear();
    vExits_.clear();
    // From the smallest corner on, so that the sums do not depend on the record.
    int first = 0;
    for (const int i : {1, 2}) {
        if (*triangle.getCorner(i) < *triangle.getCorner(first)) first = i;
    }
    const std::array<int, 3> aIndex{first, incIndexBy1(first), incIndexBy2(first)};
    for (const int i : aIndex) {
        vCorners_.emplace_back(*triangle.getCorner(i), place, scale_);
    }
    for (const int i : aIndex) {
        if (place == *triangle.getCorner(i)) return triangle.getCorner(i)->z();
    }
    std::array<double, 3> aCross;
    for (size_t k = 0; k < 3; ++k) {
        const size_t src = k == 2 ? 0 : k + 1, trg = k == 0 ? 2 : k - 1;
        const Corner &a = vCorners_[src], &b = vCorners_[trg];
        const double cross = getCross(a, b);
        aCross[k] = cross;
        const bool bSureInside = cross > MIN_CLEAR_SINE * (a.sqLength + b.sqLength);
        if (bSureInside || !isOnBarrier(triangle, aIndex[k], place)) continue;
        return getZOnSegment(*triangle.getCorner(aIndex[src]), *triangle.getCorner(aIndex[trg]), place.x(), place.y());
    }
    for (size_t k = 0; k < 3; ++k)
        addExit(&triangle, aIndex[k], k == 2 ? 0 : k + 1, k == 0 ? 2 : k - 1, aCross[k], place);
    return interpolate(place);
}

bool NaturalNeighbours::isOnBarrier(const Triangle2& triangle, int i, const Point2& place) {
    const Point2 *pSrc = triangle.getCorner(incIndexBy1(i)), *pTrg = triangle.getCorner(incIndexBy2(i));
    return geomTest_.getOrientation2(pSrc, pTrg, &place) == ORIENTATION2_COLLINEAR && isBarrier(&triangle, i);
}

/// Adds the parts of an old triangle.
inline void NaturalNeighbours::addTriangle(const Corner& a, const Corner& b, const Corner& c) {
    const double bx = b.x - a.x, by = b.y - a.y, cx = c.x - a.x, cy = c.y - a.y;
    const double cross = accurateDeterminant(bx, by, cx, cy), dot = bx * cx + by * cy;
    const double cotangent = dot / cross, dx = c.x - b.x, dy = c.y - b.y;
    volume_ += 4.0 * cross * (a.z - baseZ_) + (cross + cotangent * (cx * dx + cy * dy)) * (b.z - a.z) +
               (cross - cotangent * (bx * dx + by * dy)) * (c.z - a.z);
}

/// Adds the parts of the new triangle at a border edge.
inline void NaturalNeighbours::addBorder(const Corner& src, const Corner& trg) {
    const double cross = accurateDeterminant(src.x, src.y, trg.x, trg.y), dot = src.x * trg.x + src.y * trg.y;
    const double cotangent = dot / cross, dx = trg.x - src.x, dy = trg.y - src.y;
    const double atSrc = cross + cotangent * (trg.x * dx + trg.y * dy);
    const double atTrg = cross - cotangent * (src.x * dx + src.y * dy);
    volume_ -= atSrc * (src.z - baseZ_) + atTrg * (trg.z - baseZ_);
    area_ += 4.0 * cross - atSrc - atTrg;
}

/// Adds an exit with the circle test of the triangle behind it.
inline void NaturalNeighbours::addExit(const Triangle2* pT, int i, size_t src, size_t trg, double cross,
                                       const Point2& place) {
    Exit& exit = vExits_.emplace_back();
    exit.pT = pT;
    exit.i = i;
    exit.src = static_cast<std::uint32_t>(src);
    exit.trg = static_cast<std::uint32_t>(trg);
    exit.pNext = pT->getOppositeTriangle(i);
    exit.sign = -1;
    if (!exit.pNext) return;
    exit.far = indexOfNeighbour(exit.pNext, pT);
    exit.farIdx = static_cast<std::uint32_t>(vCorners_.size());
    const Corner& far = vCorners_.emplace_back(*exit.pNext->getCorner(exit.far), place, scale_);
    const Corner &a = vCorners_[src], &b = vCorners_[trg];
    exit.fromSrc = getCross(a, far);
    exit.toTrg = getCross(far, b);
    const double det = b.sqLength * exit.fromSrc + a.sqLength * exit.toTrg - far.sqLength * cross;
    exit.sign = GeomTest::getSureSignInCircle(det, b.sqLength, a.sqLength, far.sqLength);
}

double NaturalNeighbours::interpolate(const Point2& place) {
    baseZ_ = vCorners_[0].z;
    volume_ = area_ = 0.0;
    addTriangle(vCorners_[0], vCorners_[1], vCorners_[2]);
    for (size_t k = 0; k < vExits_.size(); ++k) {
        if (!isInside(vExits_[k], place)) {
            addBorder(vCorners_[vExits_[k].src], vCorners_[vExits_[k].trg]);
            continue;
        }
        const Triangle2* pNext = vExits_[k].pNext;
        const int far = vExits_[k].far;
        const size_t src = vExits_[k].src, trg = vExits_[k].trg, added = vExits_[k].farIdx;
        const double fromSrc = vExits_[k].fromSrc, toTrg = vExits_[k].toTrg;
        addExit(pNext, incIndexBy1(far), src, added, fromSrc, place);
        addExit(pNext, incIndexBy2(far), added, trg, toTrg, place);
        addTriangle(vCorners_[added], vCorners_[trg], vCorners_[src]);
    }
    return baseZ_ + volume_ / area_;
}

}  // namespace LUMO_TARO25D
