#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "support/capture.h"
#include "support/mesh.h"
#include "support/mesh_quality.h"
#include "support/scene.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

// Meshing at all magnitudes that coordinates can have.

namespace {

Point2 scaled(const Point2& p, int exponent) {
    return Point2(std::ldexp(p.x(), exponent), std::ldexp(p.y(), exponent), std::ldexp(p.z(), exponent));
}

SegmentVector scaled(const SegmentVector& vSegments, int exponent) {
    SegmentVector vScaled;
    for (const Segment2& s : vSegments)
        vScaled.emplace_back(scaled(s.getSrc(), exponent), scaled(s.getTrg(), exponent));
    return vScaled;
}

/// Segments that do not meet, one in each of some squares.
SegmentVector makeSeparateSegments(Random& r) {
    SegmentVector vSegments;
    for (int i = 0; i < 9; ++i) {
        const int row = i / 3, column = i % 3;
        const double x = 25 + column * 20, y = 25 + row * 20;
        const auto place = [&] { return Point2(x + uniform(r, 0, 10), y + uniform(r, 0, 10), 0); };
        const Point2 src = place();
        vSegments.emplace_back(src, place());
    }
    return vSegments;
}

/// The input of meshing: a border, segments inside, and limits proportional to a length.
struct Geometry {
    PointVector vBorder;
    SegmentVector vInner;
    Height height;
    double length;
    bool bGuide;
};

void fillGuide(Taro_2D& guide, const Height& height, int exponent) {
    for (double x = -13; x < 120; x += 14) {
        for (double y = -13; y < 120; y += 14) guide.insert(scaled(Point2(x, y, height(x, y) + 30), exponent));
    }
}

/// The triangles of a mesh that is made with everything times 2^exponent, divided by that again.
std::vector<Corners> meshScaled(const Geometry& geometry, int exponent) {
    Taro_2D mesh, guide;
    ConstraintGraph2* pBorder = mesh.createConstraint(
        scaled(lift(makeSides(geometry.vBorder), geometry.height), exponent), CIS_CONSTRAINED_DELAUNAY);
    const SegmentVector vInner = lift(geometry.vInner, geometry.height);
    if (!vInner.empty()) mesh.createConstraint(scaled(vInner, exponent), CIS_CONSTRAINED_DELAUNAY);
    mesh.applyConstraintsAndZones();
    MeshGenParams params(mesh.createZone(pBorder, ZL_INSIDE));
    const double length = std::ldexp(geometry.length, exponent);
    params.minAngleDegree = 25;
    params.minEdgeLength = 0.001 * length;
    params.maxEdgeLength = length;
    params.maxTriangleArea = 0.25 * length * length;
    params.growthFactor = 5;
    params.growthMinArea = 1e-4 * length * length;
    if (geometry.bGuide) {
        fillGuide(guide, geometry.height, exponent);
        params.pHeightGuide = &guide;
    }
    mesh.refineAdvanced(&params);
    EXPECT_TRUE(mesh.checkValidity(true, "scaled")) << exponent;
    std::vector<Corners> vCorners = snapshot(trianglesOf(mesh));
    for (Corners& corners : vCorners) {
        for (double& coordinate : corners) coordinate = std::ldexp(coordinate, -exponent);
    }
    return vCorners;
}

}  // namespace

TEST(MeshingRange, MeshesScaleWithTheirGeometry) {
    Random r(12);
    const PointVector vStar = makeStar(25, 50, 50, 60, r);
    // An extent of some hundred ulps, where few segments have a midpoint that is a double.
    PointVector vGrain;
    for (const Point2& p : makeStar(25, 0, 0, 900, r)) {
        vGrain.emplace_back(0x1p20 + std::round(p.x()) * 0x1p-32, 0x1p20 + std::round(p.y()) * 0x1p-32, 0);
    }
    const Geometry aGeometries[] = {{vStar, {}, flat, 9, false},
                                    {makeRectangle(0, 0, 100, 100), makeSeparateSegments(r), steep, 9, false},
                                    {vStar, {}, plane, 9, true},
                                    {vGrain, {}, flat, 150 * 0x1p-32, false}};
    const StdoutCapture capture;
    for (const Geometry& geometry : aGeometries) {
        SCOPED_TRACE(&geometry - aGeometries);
        const std::vector<Corners> vExpected = meshScaled(geometry, 0);
        EXPECT_GT(vExpected.size(), 200u);
        for (const int exponent : {-200, -61, 33, 60, 180})
            EXPECT_EQ(meshScaled(geometry, exponent), vExpected) << exponent;
    }
}

TEST(MeshingRange, MissesNoAngleFarFromTheOrigin) {
    for (const double offset : {5e9, -5e9, 0x1p45}) {
        SCOPED_TRACE(offset);
        Random r(3);
        const double ulp = std::ldexp(1, std::ilogb(offset) - 52);
        const Scene scene = makeScene({makeStar(30, offset, offset, 1e7 * ulp, r)});
        MeshGenParams params(scene.pZone);
        params.minAngleDegree = 25;
        params.minEdgeLength = 3e5 * ulp;
        params.maxEdgeLength = 2e6 * ulp;
        scene.pMesh->refineAdvanced(&params);
        EXPECT_TRUE(isWellMeshed(*scene.pMesh, params));
        EXPECT_GT(scene.pMesh->numberOfPoints(), 60u);
        const MeshQuality quality = inspectMesh(*scene.pMesh, params);
        EXPECT_EQ(quality.mExcuses.count("inaccurate centre"), 0u);
        EXPECT_EQ(quality.mExcuses.count("too small"), 0u);
    }
}

TEST(MeshingRange, RefusesLengthsThatCannotBeSquared) {
    for (const double side : {1e-200, 1e-170, 1e-140, 1e-135, 1e-30, 1e120, 1e150, 1e154, 1e160, 1e300}) {
        SCOPED_TRACE(side);
        const Scene scene = makeScene({{{0, 0, 0}, {side, 0, 0}, {side, side, 0}, {0, 0.1 * side, 0}}});
        MeshGenParams params(scene.pZone);
        params.minEdgeLength = 0.001 * side;
        params.maxEdgeLength = 0.2 * side;
        const StdoutCapture capture;
        scene.pMesh->refineAdvanced(&params);
        const bool bRefused =
            contains(capture, "Dt2::refineMain2(), ERROR: coordinates whose distances cannot be squared");
        EXPECT_EQ(bRefused, side < 1e-138 || side > 1e153);
        if (bRefused) {
            EXPECT_EQ(scene.pMesh->numberOfPoints(), 4u);
        } else {
            EXPECT_GT(scene.pMesh->numberOfPoints(), 25u);
            EXPECT_TRUE(isWellMeshed(*scene.pMesh, params));
        }
    }
    const Scene tall =
        makeScene({{{0, 0, 0}, {10, 0, 1e200}, {0, 10, 0}}}, {}, [](double x, double) { return x * 1e199; });
    const StdoutCapture capture;
    tall.pMesh->refine(tall.pZone, 20, 0.001, 1, true);
    EXPECT_TRUE(contains(capture, "cannot be squared"));
}
