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

double NaturalNeighbours::getHeight(const Triangle2& triangle, const Point2& place) {
    double height = 0.0;
    if (isOnVertexOrBarrier(triangle, place, height)) return height;
    height = interpolate(triangle, place);
    // This happens only if numbers overflow, or vertices are rounding errors apart.
    if (!std::isfinite(height)) getHeightInside(triangle, place, height);
    return height;
}

bool NaturalNeighbours::isOnVertexOrBarrier(const Triangle2& triangle, const Point2& place, double& height) {
    for (int i = 0; i < 3; ++i) {
        const Point2 &src = *triangle.getCorner(incIndexBy1(i)), &trg = *triangle.getCorner(incIndexBy2(i));
        if (src == place) {
            height = src.z();
            return true;
        }
        if (trg != place && geomTest_.getOrientation2(&src, &trg, &place) == ORIENTATION2_COLLINEAR &&
            isBarrier(&triangle, i)) {
            height = getZOnSegment(src, trg, place.x(), place.y());
            return true;
        }
    }
    return false;
}

double NaturalNeighbours::interpolate(const Triangle2& triangle, const Point2& place) {
    sums_ = Sums{triangle.getCorner(0)->z()};
    const Dual centre = getCentre(triangle, place);
    vExits_.clear();
    for (const int i : {2, 1, 0}) vExits_.push_back({&triangle, i, centre});
    while (!vExits_.empty()) {
        const Exit exit = vExits_.back();
        vExits_.pop_back();
        if (goesOn(exit, place)) {
            cross(exit, place);
        } else {
            followBorder(exit, place);
        }
    }
    closeBorder();
    return sums_.baseZ + sums_.volume / sums_.area;
}

bool NaturalNeighbours::goesOn(const Exit& exit, const Point2& place) {
    const Triangle2* pN = exit.pT->getOppositeTriangle(exit.i);
    return pN && geomTest_.circleInc(pN->getCorner(0), pN->getCorner(1), pN->getCorner(2), &place) &&
           !dt2_.isConstraint(exit.pT, exit.i);
}

/// Adds the next triangle to the cavity; its two other edges replace the crossed one on the stack.
void NaturalNeighbours::cross(const Exit& exit, const Point2& place) {
    const Triangle2* pN = exit.pT->getOppositeTriangle(exit.i);
    const Point2 &src = *exit.pT->getCorner(incIndexBy1(exit.i)), &trg = *exit.pT->getCorner(incIndexBy2(exit.i));
    const Dual centre = getCentre(*pN, place);
    sums_.volume += getArea(centre, exit.centre) * (src.z() - trg.z());
    const int k = indexOfNeighbour(pN, exit.pT);
    vExits_.push_back({pN, incIndexBy2(k), centre});
    vExits_.push_back({pN, incIndexBy1(k), centre});
}

void NaturalNeighbours::followBorder(const Exit& exit, const Point2& place) {
    const Point2 &src = *exit.pT->getCorner(incIndexBy1(exit.i)), &trg = *exit.pT->getCorner(incIndexBy2(exit.i));
    const Dual centre = getCentre(src.x() - place.x(), src.y() - place.y(), trg.x() - place.x(), trg.y() - place.y());
    sums_.volume += getArea(centre, exit.centre) * (src.z() - trg.z());
    if (sums_.bHasBorder) {
        const double area = getArea(sums_.last, centre);
        sums_.volume += area * (src.z() - sums_.baseZ);
        sums_.area += area;
    } else {
        sums_.first = centre;
        sums_.firstZ = src.z();
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
NaturalNeighbours::Dual NaturalNeighbours::getCentre(double bx, double by, double cx, double cy) {
    const double sqB = bx * bx + by * by, sqC = cx * cx + cy * cy;
    const double twice = 2.0 * accurateDeterminant(bx, by, cx, cy);
    return {(cy * sqB - by * sqC) / twice, (bx * sqC - cx * sqB) / twice};
}

NaturalNeighbours::Dual NaturalNeighbours::getCentre(const Triangle2& triangle, const Point2& place) {
    const Point2 &a = *triangle.getCorner(0), &b = *triangle.getCorner(1), &c = *triangle.getCorner(2);
    const Dual fromA = getCentre(b.x() - a.x(), b.y() - a.y(), c.x() - a.x(), c.y() - a.y());
    return {fromA.x + (a.x() - place.x()), fromA.y + (a.y() - place.y())};
}

}  // namespace LUMO_TARO25D
