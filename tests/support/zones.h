#pragma once

#include <gtest/gtest.h>

#include <set>

#include "mesh/Dt2.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

// Sets of triangles, and a square with points to make zones of.

namespace zones {

using namespace LUMO_TARO25D;

using TriangleSet = std::set<Triangle2*>;

inline TriangleSet setOf(const Zone2* pZone) {
    const TriangleVector vTriangles = trianglesOf(pZone);
    TriangleSet sTriangles(vTriangles.begin(), vTriangles.end());
    EXPECT_EQ(sTriangles.size(), vTriangles.size()) << "a triangle comes twice";
    return sTriangles;
}

inline TriangleSet allOf(const Taro_2D& mesh) {
    const TriangleVector vTriangles = trianglesOf(mesh);
    return TriangleSet(vTriangles.begin(), vTriangles.end());
}

template <class Test>
TriangleSet selected(const Taro_2D& mesh, const Test& test) {
    TriangleSet sSelected;
    for (Triangle2* pT : allOf(mesh)) {
        if (test(pT)) sSelected.insert(pT);
    }
    return sSelected;
}

inline ConstraintGraph2* addPolygon(Taro_2D& mesh, const PointVector& vCorners,
                                    ConstraintInsertionStrategy cis = CIS_CONSTRAINED_DELAUNAY,
                                    bool bOriented = false) {
    return mesh.createConstraint(makeSides(vCorners), cis, bOriented);
}

/// A square of side 100 with random points.
struct Square : Taro_2D {
    explicit Square(size_t n, std::uint64_t seed = 1) : random(seed) {
        insert(makeRectangle(0, 0, 100, 100));
        scatter(n);
    }
    void scatter(size_t n) { insert(makeScattered(n, 0, 0, 100, 100, random, 9)); }
    Random random;
};

}  // namespace zones
