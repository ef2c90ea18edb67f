#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

// A triangulation with constraints that records its input and checks itself.

namespace constraint_work {

using namespace LUMO_TARO25D;

/// Ends the process if a test takes much longer than it should, so that an endless loop fails.
class Constraint : public testing::Test {
  protected:
    Constraint() { alarm(120); }
    ~Constraint() override { alarm(0); }
};

constexpr double SNAP_DISTANCE = 1e-6;
constexpr ConstraintInsertionStrategy strategies[] = {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_SURFACE_Z,
                                                      CIS_CONFORMING_LINEAR_Z};

inline Segment2 reversed(const Segment2& s) { return Segment2(s.getTrg(), s.getSrc()); }

inline PointVector makeSquare(double from, double to) { return makeRectangle(from, from, to, to); }

/// A triangulation, its input and graphs, and the text that it has printed.
struct Work {
    Taro_2D mesh;
    std::vector<ConstraintGraph2*> vGraphs;
    PointVector vPoints;
    SegmentVector vSegments;
    std::string output;
    bool bPending = false;  // segments wait for the first triangle

    void insert(const Point2& point) {
        StdoutCapture capture;
        vPoints.push_back(point);
        EXPECT_EQ(*mesh.insert(point), point);
        output += capture.text();
    }
    void insertBulk(const PointVector& vMore) {
        StdoutCapture capture;
        vPoints.insert(vPoints.end(), vMore.begin(), vMore.end());
        mesh.insert(vMore);
        output += capture.text();
    }
    ConstraintGraph2* constrain(const SegmentVector& vMore, ConstraintInsertionStrategy cis = CIS_CONSTRAINED_DELAUNAY,
                                bool bOriented = true) {
        StdoutCapture capture;
        vSegments.insert(vSegments.end(), vMore.begin(), vMore.end());
        ConstraintGraph2* pGraph = mesh.createConstraint(vMore, cis, bOriented);
        EXPECT_NE(pGraph, nullptr);
        if (pGraph) vGraphs.push_back(pGraph);
        output += capture.text();
        bPending |= !mesh.is2D();
        return pGraph;
    }
    void apply() {
        StdoutCapture capture;
        mesh.applyConstraintsAndZones();
        output += capture.text();
    }
    void applyIfPending() {
        if (!bPending || !mesh.is2D()) return;
        apply();
        bPending = false;
    }

    bool gaveUp() const {
        return contains(output, "insufficient numeric accuracy") || contains(output, "Double precision arithmetic");
    }

    /// By default, crossings may be rounded, each by an ulp, or drawn to an end.
    testing::AssertionResult check(double tolerance = 4 * SNAP_DISTANCE) const {
        double magnitude = 0;
        for (const Segment2& s : vSegments) {
            for (const Point2& p : {s.getSrc(), s.getTrg()}) {
                magnitude = std::max({magnitude, std::abs(p.x()), std::abs(p.y())});
            }
        }
        tolerance += 32 * magnitude * std::numeric_limits<double>::epsilon();
        testing::AssertionResult result = ConstraintOracle(mesh, gaveUp()).check();
        for (size_t i = 0; result && i < vGraphs.size(); ++i) {
            result = ConstraintOracle::checkGraph(*vGraphs[i], tolerance);
        }
        return result ? result : result << "\n" << output;
    }

    /// Checks, and compares the constrained edges with the exact ones, where these are doubles. Returns whether they
    /// are.
    bool checkExactly() const {
        const auto sExpected = expectedEdges(vPoints, vSegments);
        EXPECT_TRUE(check(sExpected ? 0 : 4 * SNAP_DISTANCE));
        if (sExpected) {
            EXPECT_EQ(ConstraintOracle(mesh).aliveEnds(), *sExpected);
            EXPECT_EQ(output.substr(0, 300), "");
        }
        return sExpected.has_value();
    }
};

}  // namespace constraint_work
