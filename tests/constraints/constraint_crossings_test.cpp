// Many crossings next to the ends of segments: which of them are all resolved.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

void expectAllEstablished(const SegmentVector& vSegments, const char* name) {
    SCOPED_TRACE(name);
    const StdoutCapture capture;
    Taro_2D mesh;
    mesh.insert(makeRectangle(-3000, -3000, 5000, 5000));
    mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_EQ(capture.text().substr(0, 300), "");
    EXPECT_TRUE(ConstraintOracle(mesh).check());
}

/// Two rails and skew braces between them that reach a little beyond, most in the middle if there is a bulge.
SegmentVector makeLadder(size_t numBraces, double y, double overshoot, bool bBulge) {
    SegmentVector vSegments{makeSegment(0, y, 2000, y), makeSegment(0, y + 100, 2000, y + 100)};
    for (size_t k = 0; k < numBraces; ++k) {
        const double t = (static_cast<double>(k) + 0.5) / static_cast<double>(numBraces);
        const double reach = bBulge ? overshoot * 4 * t * (1 - t) + 1e-8 : overshoot;
        vSegments.push_back(makeSegment(1000 * t, y - reach, 1000 * t + 500, y + 100 + reach));
    }
    return vSegments;
}

TEST(ConstraintCrossings, ThatMoveToAnEndAreNotRationed) {
    expectAllEstablished(makeLadder(scaled(1000), 0, 1e-7, false), "ladder");
    expectAllEstablished(makeLadder(scaled(600), 0, 3e-7, true), "ladder with a bulge");
    SegmentVector vLadder = makeLadder(scaled(1000), 17.3, 3e-7, true);
    Random random(1);
    std::shuffle(vLadder.begin(), vLadder.end(), random);
    expectAllEstablished(vLadder, "shuffled ladder");

    // Segments that nearly meet in one place: all of them, one end of each, or both.
    for (const double size : {1e-7, 1e-5}) {
        const auto near = [&] { return Point2(uniform(random, 0, size), uniform(random, 0, size), 0); };
        SegmentVector vStar, vSpokes, vCluster;
        for (size_t i = 0; i < scaled(400); ++i) {
            const double angle = uniform(random, 0, 6.28), x = 100 * std::cos(angle), y = 100 * std::sin(angle);
            const Point2 centre = near();
            vStar.emplace_back(Point2(centre.x() - x, centre.y() - y, 0), Point2(centre.x() + x, centre.y() + y, 0));
            vSpokes.emplace_back(near(), Point2(x, y, 0));
            vCluster.emplace_back(near(), near());
        }
        expectAllEstablished(vStar, "star");
        expectAllEstablished(vSpokes, "spokes");
        expectAllEstablished(vCluster, "cluster");
    }
}

}  // namespace
