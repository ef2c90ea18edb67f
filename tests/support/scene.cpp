#include "support/scene.h"

#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

Point2 lift(const Point2& p, const Height& height) { return Point2(p.x(), p.y(), height(p.x(), p.y())); }

SegmentVector lift(const SegmentVector& vSegments, const Height& height) {
    SegmentVector vLifted;
    for (const Segment2& s : vSegments) vLifted.emplace_back(lift(s.getSrc(), height), lift(s.getTrg(), height));
    return vLifted;
}

Scene makeScene(const std::vector<PointVector>& vPolygons, const SegmentVector& vInner, const Height& height,
                const PointVector& vPoints) {
    Scene scene;
    for (const Point2& p : vPoints) scene.pMesh->insert(lift(p, height));
    for (const PointVector& vCorners : vPolygons) {
        scene.vGraphs.push_back(
            scene.pMesh->createConstraint(lift(makeSides(vCorners), height), CIS_CONSTRAINED_DELAUNAY));
    }
    if (!vInner.empty()) scene.pMesh->createConstraint(lift(vInner, height), CIS_CONSTRAINED_DELAUNAY);
    scene.pMesh->applyConstraintsAndZones();
    scene.pZone = scene.pMesh->createZone(scene.vGraphs[0], ZL_INSIDE);
    for (size_t i = 1; i < scene.vGraphs.size(); ++i) {
        scene.pZone = zoneDifference(scene.pZone, scene.pMesh->createZone(scene.vGraphs[i], ZL_INSIDE));
    }
    if (vPolygons.size() > 1) scene.pZone = scene.pZone->convertToBoundedZone();
    return scene;
}

Scene makeSquare(double side, const Height& height) { return makeScene({makeRectangle(0, 0, side, side)}, {}, height); }

SegmentVector makeRandomSegments(size_t n, double side, Random& r) {
    SegmentVector vSegments;
    for (size_t i = 0; i < n; ++i) {
        const Point2 p(uniform(r, 0.1 * side, 0.9 * side), uniform(r, 0.1 * side, 0.9 * side), 0);
        vSegments.emplace_back(p,
                               Point2(p.x() + uniform(r, -0.1, 0.1) * side, p.y() + uniform(r, -0.1, 0.1) * side, 0));
    }
    return vSegments;
}
