#include "support/rasters.h"
#include "taro25d/rasterize.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "mesh/Dt2.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace rasters;

namespace {

/// The part of a triangle that belongs to the Voronoi cell of its corner i, negative where the centre of the circle is
/// outside.
double voronoiPart(const Triangle2& triangle, int i) {
    const auto cotangentAt = [&](int k) {
        const Point2 &p = *triangle.getCorner(k), &a = *triangle.getCorner((k + 1) % 3),
                     &b = *triangle.getCorner((k + 2) % 3);
        const double ax = a.x() - p.x(), ay = a.y() - p.y(), bx = b.x() - p.x(), by = b.y() - p.y();
        return (ax * bx + ay * by) / (ax * by - ay * bx);
    };
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    return 0.125 *
           (triangle.getSquaredEdgeLength2D(k) * cotangentAt(k) + triangle.getSquaredEdgeLength2D(j) * cotangentAt(j));
}

double voronoiArea(const Taro_2D& mesh, Point2* pVtx) {
    double area = 0;
    for (const Triangle2* pT : trianglesAround(mesh, pVtx)) area += voronoiPart(*pT, pT->getIntraTriangleIndex(pVtx));
    return area;
}

/// A scene with a constraint or without, made twice to compare: the second time with one point more.
struct Scene {
    PointVector vPoints;
    std::vector<Segment2> vSegments;

    void build(Taro_2D& mesh) const {
        mesh.insert(vPoints);
        if (!vSegments.empty()) mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    }
    /// The weight of each neighbour is the part of its Voronoi cell that the point takes when it is inserted.
    double interpolate(const Taro_2D& before, const Point2& place) const {
        Taro_2D after;
        build(after);
        Point2* pNew = after.insert(place);
        VertexVector vAround;
        after.getIncidentVertices(pNew, vAround);
        double sum = 0, area = 0;
        for (Point2* pVtx : vAround) {
            Point2* pBefore = before.getImpl()->getVertexPointer(*pVtx);
            const double loss = voronoiArea(before, pBefore) - voronoiArea(after, pVtx);
            sum += loss * pVtx->z();
            area += loss;
        }
        return sum / area;
    }
};

}  // namespace

TEST(NaturalNeighbours, AreWeightedByTheAreasThatInsertionWouldTake) {
    Random r(5);
    for (int round = 0; round < 6; ++round) {
        Scene scene;
        scene.vPoints = makeScattered(120, 0, 0, 10, 10, r, 30);
        for (const double x : {-5.0, 15.0})
            for (const double y : {-5.0, 15.0}) scene.vPoints.emplace_back(x, y, uniform(r, 0, 30));
        if (round % 2 == 1) {
            scene.vSegments = {Segment2(Point2(1, 2, 5), Point2(9, 7.5, 20)),
                               Segment2(Point2(2, 9, 0), Point2(8, 1, 9)),
                               Segment2(Point2(4, 4.5, 60), Point2(4.7, 8, 10))};
        }
        Taro_2D mesh;
        scene.build(mesh);
        const RasterFrame frame{0.013, 9.987, 0.51, 0.49, 19, 20};
        const Cells vCells = rasterOf(mesh.createZone(nullptr, ZL_GLOBAL), frame, RK_NATURAL_NEIGHBOUR);
        for (size_t k = 0; k < vCells.size(); ++k)
            ASSERT_NEAR(scene.interpolate(mesh, centreOf(frame, k)), vCells[k], 1e-7) << centreOf(frame, k);
    }
}

TEST(NaturalNeighbours, ReproducePlanes) {
    Random r(6);
    for (const double origin : {0.0, 5e6}) {
        Taro_2D mesh;
        insertPlane(5000, origin, mesh, r);
        const auto pointAt = [&](double x, double y) { return Point2(origin + x, origin + y, planeAt(x, y)); };
        mesh.createConstraint(
            {Segment2(pointAt(10, 15), pointAt(90, 80)), Segment2(pointAt(20, 80), pointAt(80, 10.5))},
            CIS_CONSTRAINED_DELAUNAY);
        const RasterFrame frame{origin, origin + 100, 0.33, 0.34, 300, 290};
        const Cells vCells = rasterOf(mesh.createZone(nullptr, ZL_GLOBAL), frame, RK_NATURAL_NEIGHBOUR);
        size_t numInside = 0;
        for (size_t k = 0; k < vCells.size(); ++k) {
            if (std::isnan(vCells[k])) continue;
            ++numInside;
            const Point2 centre = centreOf(frame, k);
            // 1e-9 of the heights' range, and the plane's own rounding errors at large coordinates.
            ASSERT_NEAR(planeAt(centre.x() - origin, centre.y() - origin), vCells[k], 6e-8 + 1e-15 * origin) << centre;
        }
        EXPECT_GT(numInside, vCells.size() * 9 / 10);
    }
}

TEST(NaturalNeighbours, ReproducePlanesAmongThinTriangles) {
    // All triangles within the circle belong to the cavity of each place in it; most of them are thin.
    Random r(22);
    PointVector vPoints;
    for (int i = 0; i < 400; ++i) {
        const double angle = uniform(r, 0, 2 * M_PI), x = 50 + 40 * std::cos(angle), y = 50 + 40 * std::sin(angle);
        vPoints.emplace_back(x, y, planeAt(x, y));
    }
    Taro_2D mesh;
    mesh.insert(vPoints);
    const RasterFrame frame{20, 80, 1, 1, 60, 60};
    const Cells vCells = rasterOf(mesh.createZone(nullptr, ZL_GLOBAL), frame, RK_NATURAL_NEIGHBOUR);
    for (size_t k = 0; k < vCells.size(); ++k) {
        if (std::isnan(vCells[k])) continue;
        const Point2 centre = centreOf(frame, k);
        ASSERT_NEAR(planeAt(centre.x(), centre.y()), vCells[k], 1e-9) << centre;
    }
}

TEST(NaturalNeighbours, AreLinearOnConstraintsAndOnTheBorder) {
    Random r(7);
    Taro_2D mesh;
    PointVector vPoints = makeScattered(500, 0, 0, 16, 16, r, 30);
    for (const double x : {0.0, 16.0})
        for (const double y : {0.0, 16.0}) vPoints.emplace_back(x, y, x + 2 * y);
    mesh.insert(vPoints);
    mesh.createConstraint({Segment2(Point2(2, 2, 0), Point2(14, 14, 120))}, CIS_CONSTRAINED_DELAUNAY);
    const RasterFrame frame{-0.125, 16.125, 0.25, 0.25, 65, 65};
    const Cells vCells = rasterOf(mesh.createZone(nullptr, ZL_GLOBAL), frame, RK_NATURAL_NEIGHBOUR),
                vLinear = rasterOf(mesh.createZone(nullptr, ZL_GLOBAL), frame, RK_LINEAR);
    for (size_t k = 0; k < vCells.size(); ++k) {
        const Point2 p = centreOf(frame, k);
        ASSERT_FALSE(std::isnan(vCells[k])) << p;
        if (p.x() == p.y() && p.x() >= 2 && p.x() <= 14) {
            ASSERT_NEAR(vCells[k], 10 * (p.x() - 2), 1e-9) << p;
        }
        if (p.x() == 0 || p.y() == 0 || p.x() == 16 || p.y() == 16) {
            ASSERT_NEAR(vCells[k], vLinear[k], 1e-9) << p;
        }
    }
}

/// Close to a barrier circumcentres are far away. Heights must still converge to those on the barrier.
TEST(NaturalNeighbours, ComeNearToABarrierAsTheDistanceDoes) {
    Taro_2D mesh;
    mesh.insert({Point2(0, 0, 0), Point2(1, 0, 10), Point2(0.4, 1, 3), Point2(0.5, -1, 77)});
    mesh.createConstraint({Segment2(Point2(0, 0, 0), Point2(1, 0, 10))}, CIS_CONSTRAINED_DELAUNAY);
    const Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    for (double distance = 0.01; distance > 1e-14; distance /= 3) {
        const RasterFrame frame{0.25, 2 * distance, 0.1, 2 * distance, 1, 1};
        const Cells vCells = rasterOf(pZone, frame, RK_NATURAL_NEIGHBOUR);
        ASSERT_NEAR(vCells[0], 3.0, 20 * distance + 1e-13) << distance;
    }
}
