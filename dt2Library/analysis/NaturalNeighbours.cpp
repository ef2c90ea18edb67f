// Natural neighbour interpolation (Sibson 1981) that only reads the mesh.
//
// A vertex inserted at the place would replace the triangles whose circles contain it, the cavity, and its Voronoi cell
// would take a part from the cell of each vertex around the cavity. The height is the mean of the heights of these
// vertices, weighted by the areas of the parts (Watson 1992). The part of a vertex is a polygon: its corners are the
// centre of the circle through the place and the border edge of the cavity that ends at the vertex, then the centres of
// the old triangles around the vertex, and last the centre for the border edge that starts at it. By the shoelace
// formula an area is a sum over sides, and two polygons share each side in opposite directions. So the sum of heights
// times areas is a sum over sides, each times a difference of two heights, and no table of vertices is needed. The
// sides join the centres of two triangles across an edge within the cavity, the centres for a border edge and for its
// triangle, and the centres of successive border edges. The latter also bound the new cell, so that their sum gives its
// area.
//
// The cavity is that of constrained insertion: the triangles whose circles contain the place and which are reached from
// the triangle of the place across edges that are no constraints. Some of the areas may then be negative. Planes are
// still reproduced, for any cavity: the sum over triangles of area times nine-point centre depends only on the border
// of the cavity, so it is equal for the old triangles and the new ones. If the place approaches an edge that is a
// barrier, the centre for that edge tends to infinity and all weight goes to its two ends: there the height is linear.
//
// Cost: linear in the triangles of the cavity, of which there are four on average.

#include "analysis/NaturalNeighbours.h"

#include <cmath>

#include "analysis/FacePlane.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// A place that sees the ends of an edge at an angle whose sine is twice this is certainly off the edge: rounding
/// changes the computed sine by less than a tenth of this.
constexpr double MIN_CLEAR_SINE = 1e-14;

}  // namespace

double NaturalNeighbours::getHeight(const Triangle2& triangle, const Point2& place) {
    const std::array<Corner, 3> aCorners{
        {{*triangle.getCorner(0), place}, {*triangle.getCorner(1), place}, {*triangle.getCorner(2), place}}};
    for (const Corner& corner : aCorners) {
        if (corner.x == 0.0 && corner.y == 0.0) return corner.z;
    }
    for (size_t i = 0; i < 3; ++i) {
        const size_t src = i == 2 ? 0 : i + 1, trg = i == 0 ? 2 : i - 1;
        const Corner &a = aCorners[src], &b = aCorners[trg];
        const bool bSureInside = a.x * b.y - a.y * b.x > MIN_CLEAR_SINE * (a.sqLength + b.sqLength);
        if (bSureInside || !isOnBarrier(triangle, static_cast<int>(i), place)) continue;
        return getZOnSegment(*triangle.getCorner(static_cast<int>(src)), *triangle.getCorner(static_cast<int>(trg)),
                             place.x(), place.y());
    }
    double height = interpolate(triangle, aCorners, place);
    // This happens only if numbers overflow, or vertices are rounding errors apart.
    if (!std::isfinite(height)) getHeightInside(triangle, place, height);
    return height;
}

bool NaturalNeighbours::isOnBarrier(const Triangle2& triangle, int i, const Point2& place) {
    const Point2 *pSrc = triangle.getCorner(incIndexBy1(i)), *pTrg = triangle.getCorner(incIndexBy2(i));
    return geomTest_.getOrientation2(pSrc, pTrg, &place) == ORIENTATION2_COLLINEAR && isBarrier(&triangle, i);
}

double NaturalNeighbours::interpolate(const Triangle2& triangle, const std::array<Corner, 3>& aCorners,
                                      const Point2& place) {
    sums_ = Sums{aCorners[0].z};
    const Dual centre = getCentre(aCorners[0], aCorners[1], aCorners[2]);
    vExits_.clear();
    vExits_.push_back({&triangle, 2, aCorners[0], aCorners[1], centre});
    vExits_.push_back({&triangle, 1, aCorners[2], aCorners[0], centre});
    vExits_.push_back({&triangle, 0, aCorners[1], aCorners[2], centre});
    while (!vExits_.empty()) {
        const Exit exit = vExits_.back();
        vExits_.pop_back();
        const Triangle2* pN = exit.pT->getOppositeTriangle(exit.i);
        if (pN && isInCircle(*pN, place) && !dt2_.isConstraint(exit.pT, exit.i)) {
            cross(exit, place);
        } else {
            followBorder(exit);
        }
    }
    closeBorder();
    return sums_.baseZ + sums_.volume / sums_.area;
}

bool NaturalNeighbours::isInCircle(const Triangle2& triangle, const Point2& place) {
    return geomTest_.circleInc(triangle.getCorner(0), triangle.getCorner(1), triangle.getCorner(2), &place);
}

/// Adds the next triangle to the cavity; its two other edges replace the crossed one on the stack.
void NaturalNeighbours::cross(const Exit& exit, const Point2& place) {
    const Triangle2* pN = exit.pT->getOppositeTriangle(exit.i);
    const int k = indexOfNeighbour(pN, exit.pT);
    const Corner far(*pN->getCorner(k), place);
    const Dual centre = getCentre(exit.src, exit.trg, far);
    sums_.volume += getArea(centre, exit.centre) * (exit.src.z - exit.trg.z);
    vExits_.push_back({pN, incIndexBy2(k), far, exit.trg, centre});
    vExits_.push_back({pN, incIndexBy1(k), exit.src, far, centre});
}

void NaturalNeighbours::followBorder(const Exit& exit) {
    const Corner &src = exit.src, &trg = exit.trg;
    const Dual centre = getCentre(src.x, src.y, src.sqLength, trg.x, trg.y, trg.sqLength);
    sums_.volume += getArea(centre, exit.centre) * (src.z - trg.z);
    if (sums_.bHasBorder) {
        const double area = getArea(sums_.last, centre);
        sums_.volume += area * (src.z - sums_.baseZ);
        sums_.area += area;
    } else {
        sums_.first = centre;
        sums_.firstZ = src.z;
        sums_.bHasBorder = true;
    }
    sums_.last = centre;
}

void NaturalNeighbours::closeBorder() {
    const double area = getArea(sums_.last, sums_.first);
    sums_.volume += area * (sums_.firstZ - sums_.baseZ);
    sums_.area += area;
}

/// The centre of the circle through a point and two others, all relative to that point.
NaturalNeighbours::Dual NaturalNeighbours::getCentre(double bx, double by, double sqB, double cx, double cy,
                                                     double sqC) {
    const double perTwice = 0.5 / accurateDeterminant(bx, by, cx, cy);
    return {(cy * sqB - by * sqC) * perTwice, (bx * sqC - cx * sqB) * perTwice};
}

NaturalNeighbours::Dual NaturalNeighbours::getCentre(const Corner& a, const Corner& b, const Corner& c) {
    const double bx = b.x - a.x, by = b.y - a.y, cx = c.x - a.x, cy = c.y - a.y;
    const Dual fromA = getCentre(bx, by, bx * bx + by * by, cx, cy, cx * cx + cy * cy);
    return {fromA.x + a.x, fromA.y + a.y};
}

}  // namespace LUMO_TARO25D
