#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

// Surfaces to cut, which check that they keep their shape.

namespace cut_surfaces {

using namespace LUMO_TARO25D;

/// A surface over a box, its heights at random places, and how far heights may be off by rounding.
struct Surface {
    Taro_2D mesh;
    Random random;
    Bbox2 box;
    double tolerance = 0;
    PointVector vSamples;

    Surface(const Generator& generator, size_t n, std::uint64_t seed) : random(seed) {
        PointVector vPoints = generator.make(n, random);
        for (Point2& point : vPoints) point.set(point.x(), point.y(), uniform(random, 0, 1));
        init(vPoints);
    }
    explicit Surface(const PointVector& vPoints) : random(1) { init(vPoints); }

    void init(const PointVector& vPoints) {
        mesh.insert(vPoints);
        box = mesh.computeBoundingBox();
        // A rounding error of a coordinate, on the steepest of the triangles that are wide enough to be met by a
        // sample.
        const double extent = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
        const double magnitude =
            std::max({std::abs(box.getMinX()), box.getMaxX(), std::abs(box.getMinY()), box.getMaxY()});
        tolerance = 1e-15 * magnitude / extent * 1e6 + 1e-12;
        for (int i = 0; i < 2000; ++i) {
            const Point2 place = randomPlace();
            double z;
            if (mesh.getHeight(place.x(), place.y(), z)) vSamples.emplace_back(place.x(), place.y(), z);
        }
    }
    Point2 randomPlace(double scale = 1) {
        const Point2 center = box.computeCenter();
        return Point2(center.x() + scale * (uniform(random, box.getMinX(), box.getMaxX()) - center.x()),
                      center.y() + scale * (uniform(random, box.getMinY(), box.getMaxY()) - center.y()), 77);
    }
    Point2 randomVertex() {
        const VertexVector vVertices = verticesOf(mesh);
        return *vVertices[random() % vVertices.size()];
    }

    /// Returns the printed text.
    std::string cut(const SegmentVector& vSegments, bool bConstraints) {
        const StdoutCapture capture;
        mesh.cutTriangles(vSegments, bConstraints);
        return capture.text();
    }

    /// Samples the heights again, after an intended change of the surface.
    void takeHeights() {
        for (Point2& sample : vSamples) {
            double z = 0;
            mesh.getHeight(sample.x(), sample.y(), z);
            sample.set(sample.x(), sample.y(), z);
        }
    }
    testing::AssertionResult isUnchanged() {
        size_t numOff = 0;
        double worst = 0;
        for (const Point2& sample : vSamples) {
            double z;
            if (!mesh.getHeight(sample.x(), sample.y(), z)) return testing::AssertionFailure() << "no height";
            numOff += std::abs(z - sample.z()) > tolerance;
            worst = std::max(worst, std::abs(z - sample.z()));
        }
        if (numOff == 0) return testing::AssertionSuccess();
        return testing::AssertionFailure() << numOff << " of " << vSamples.size() << " heights are off, by up to "
                                           << worst << " instead of " << tolerance;
    }
    testing::AssertionResult isSound() {
        const StdoutCapture capture;
        if (mesh.checkValidity(true, "cut")) return testing::AssertionSuccess();
        return testing::AssertionFailure() << capture.text();
    }
};

/// Whether a path of constraints along a segment connects its ends.
inline bool isCovered(const Surface& surface, const Segment2& segment) {
    const double ulp = 1e-15 * std::max(std::abs(surface.box.getMaxX()), std::abs(surface.box.getMaxY())) + 1e-15;
    Point2* pVtx = const_cast<Taro_2D&>(surface.mesh).insert(segment.getSrc());
    const Point2& trg = segment.getTrg();
    for (int numSteps = 0; *pVtx != trg && numSteps < 100000; ++numSteps) {
        VertexVector vNeighbours;
        surface.mesh.getIncidentVertices(pVtx, vNeighbours);
        const auto distance = [&](const Point2* p) { return std::hypot(p->x() - trg.x(), p->y() - trg.y()); };
        const auto next = std::find_if(vNeighbours.begin(), vNeighbours.end(), [&](Point2* p) {
            return surface.mesh.isConstraint(pVtx, p) && distance(p) < distance(pVtx) &&
                   getPointLineDistance2D(*p, segment.getSrc(), trg) <= 100 * ulp;
        });
        if (next == vNeighbours.end()) return false;
        pVtx = *next;
    }
    return *pVtx == trg;
}

}  // namespace cut_surfaces
