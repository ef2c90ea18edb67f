// After the removal of a vertex of a Delaunay triangulation, the triangle at its place has three of its neighbours as
// corners, and no other neighbour in its circumcircle. Lifted to the paraboloid z = x^2 + y^2, with the vertex as
// origin, it is the lowest of all triangles of neighbours above the origin.

#include "modelling/removalPreview.h"

#include <array>
#include <cstddef>
#include <limits>

#include "kernel/links.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t MAX_DEGREE = 12;

/// A neighbour relative to the vertex.
struct Neighbour {
    double x, y, z, lift;
};

double cross(const Neighbour& p, const Neighbour& q) { return p.x * q.y - p.y * q.x; }

}  // namespace

bool previewRemoval(const Point2& vertex, const std::vector<Triangle2*>& vTriangles, double& height) {
    const size_t num = vTriangles.size();
    if (num > MAX_DEGREE) return false;
    std::array<Neighbour, MAX_DEGREE> aRing;
    for (size_t k = 0; k < num; ++k) {
        const int i = indexOfVertex(vTriangles[k], &vertex);
        if (!vTriangles[k]->getOppositeTriangle(incIndexBy1(i))) return false;
        const Point2& p = *vTriangles[k]->getCorner(incIndexBy1(i));
        const double dx = p.x() - vertex.x(), dy = p.y() - vertex.y();
        aRing[k] = {dx, dy, p.z(), dx * dx + dy * dy};
    }
    double lowest = std::numeric_limits<double>::infinity();
    for (size_t a = 0; a < num; ++a) {
        for (size_t b = a + 1; b < num; ++b) {
            const double ab = cross(aRing[a], aRing[b]);
            for (size_t c = b + 1; ab >= 0.0 && c < num; ++c) {
                const double bc = cross(aRing[b], aRing[c]), ca = cross(aRing[c], aRing[a]);
                const double lift = (bc * aRing[a].lift + ca * aRing[b].lift + ab * aRing[c].lift) / (ab + bc + ca);
                if (bc < 0.0 || ca < 0.0 || !(lift < lowest)) continue;
                lowest = lift;
                height = (bc * aRing[a].z + ca * aRing[b].z + ab * aRing[c].z) / (ab + bc + ca);
            }
        }
    }
    return lowest < std::numeric_limits<double>::infinity();
}

}  // namespace LUMO_TARO25D
