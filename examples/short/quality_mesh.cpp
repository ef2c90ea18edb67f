// A mesh for simulation: a boundary with a hole, no angle below 25 degrees, no edge longer than 8 m, and the heights of
// a surveyed surface.
#include <algorithm>
#include <cmath>
#include <iostream>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

// A closed ring. The heights at its corners are those of the ground.
std::vector<Segment2> makeRing(const Taro_2D& ground, std::vector<Point2> vCorners) {
    std::vector<Segment2> vSides;
    for (Point2& corner : vCorners) {
        double height = 0;
        if (ground.getHeight(corner.x(), corner.y(), height)) corner.set(corner.x(), corner.y(), height);
    }
    for (std::size_t i = 0; i < vCorners.size(); ++i)
        vSides.emplace_back(vCorners[i], vCorners[(i + 1) % vCorners.size()]);
    return vSides;
}

int main() {
    Taro_2D ground;
    ground.insert({{-10, -10, 20}, {130, -10, 22}, {130, 90, 27}, {-10, 90, 24}, {55, 50, 33}, {90, 20, 23}});

    // The outer ring and the hole, a building. The mesh fills the space between them.
    Taro_2D mesh;
    const auto vOuter = makeRing(ground, {{0, 0, 0}, {120, 0, 0}, {110, 80, 0}, {10, 70, 0}});
    const auto vHole = makeRing(ground, {{40, 25, 0}, {60, 25, 0}, {60, 40, 0}, {40, 40, 0}});
    ConstraintGraph2* pOuter = mesh.createConstraint(vOuter, CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2* pHole = mesh.createConstraint(vHole, CIS_CONSTRAINED_DELAUNAY);
    mesh.applyConstraintsAndZones();
    Zone2* pZone = zoneDifference(mesh.createZone(pOuter, ZL_INSIDE), mesh.createZone(pHole, ZL_INSIDE));
    if (pZone) pZone = pZone->convertToBoundedZone();  // the only kind that can be refined, besides ZL_INSIDE
    if (!pZone) return 1;

    MeshGenParams params(pZone);
    params.minAngleDegree = 25;
    params.maxEdgeLength = 8;
    params.minEdgeLength = 0.5;
    params.pHeightGuide = &ground;
    mesh.refineAdvanced(&params);

    std::vector<Triangle2*> vTriangles;
    pZone->getTriangles(vTriangles);
    double smallestAngle = 180, longestEdge = 0;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            smallestAngle = std::min(smallestAngle, pT->getInteriorAngle25D(i));
            longestEdge = std::max(longestEdge, std::sqrt(pT->getSquaredEdgeLength25D(i)));
        }
    }
    std::cout << vTriangles.size() << " triangles, " << pZone->getArea2D() << " m2\n";
    std::cout << "no angle below 25 degrees: " << (smallestAngle >= 25 ? "yes" : "no") << "\n";
    std::cout << "no edge longer than 8 m: " << (longestEdge <= 8 ? "yes" : "no") << "\n";
}

// It prints:
//   620 triangles, 7950 m2
//   no angle below 25 degrees: yes
//   no edge longer than 8 m: yes
