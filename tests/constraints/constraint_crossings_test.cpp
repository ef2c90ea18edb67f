// Many crossings close to the ends of segments, and the limits up to which all are resolved.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "kernel/tools.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/HeightConflict.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

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

/// Two rails and oblique braces that overshoot them a little; with a bulge, those in the middle overshoot most.
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

// ---- Many segments of one call that cross often: their crossings are found before they are inserted ----

double planeAt(double x, double y) { return 0.25 * x - 0.5 * y; }

/// Segments across a square and on a plane, on lattices of several finenesses, so that some meet at vertices, overlap
/// or nearly touch.
SegmentVector makeTangle(Random& random, size_t num, double origin, double fineness) {
    SegmentVector vSegments;
    while (vSegments.size() < num) {
        const auto makeEnd = [&] {
            const double x = origin + std::round(uniform(random, 0, 100) / fineness) * fineness;
            const double y = origin + std::round(uniform(random, 0, 100) / fineness) * fineness;
            return Point2(x, y, planeAt(x, y));
        };
        const Point2 src = makeEnd(), trg = makeEnd();
        if (src != trg) vSegments.emplace_back(src, trg);
    }
    return vSegments;
}

TEST(ConstraintCrossings, OfOneCallAreThoseOfManyCalls) {
    const StdoutCapture capture;
    Random random(11);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        const double origin = round % 3 == 0 ? 0 : round % 3 == 1 ? 4.5e6 : -1e3;
        const SegmentVector vOld = makeTangle(random, 3, origin, 0.25);
        const SegmentVector vSegments = makeTangle(random, 40, origin, round % 2 ? 1e-3 : 10);
        Taro_2D batch, single;
        for (Taro_2D* pMesh : {&batch, &single}) {
            pMesh->createConstraint(vOld, CIS_CONSTRAINED_DELAUNAY);
            for (const Segment2& s : vSegments) pMesh->insert(PointVector{s.getSrc(), s.getTrg()});
        }
        batch.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
        for (const Segment2& s : vSegments) single.createConstraint({s}, CIS_CONSTRAINED_DELAUNAY);
        EXPECT_TRUE(ConstraintOracle(batch).check());
        // Where three segments nearly meet, rounding decides whether there are one or two vertices.
        EXPECT_NEAR(double(batch.numberOfPoints()), double(single.numberOfPoints()), 1);
        for (const Point2* pVtx : verticesOf(batch)) {
            const double extent = std::abs(origin) + 100;
            EXPECT_NEAR(pVtx->z(), planeAt(pVtx->x(), pVtx->y()), 1e-6 + 1e-14 * extent);
        }
        std::vector<HeightConflict> vConflicts;
        batch.getHeightConflicts(1e-6, vConflicts);
        EXPECT_TRUE(vConflicts.empty());
    }
}

TEST(ConstraintCrossings, OfOneCallTakeTheHeightOfTheOlderSegment) {
    // Each segment is level, and all others cross it: between its crossings with the older ones it is straight.
    SegmentVector vSegments;
    for (int i = 0; i < 12; ++i) {
        const double x = std::cos(0.26 * i + 0.1), y = std::sin(0.26 * i + 0.1);
        const double shift = 0.01 * i * i, z = 100 * i;
        vSegments.push_back(
            Segment2({shift * y - 9 * x, -shift * x - 9 * y, z}, {shift * y + 9 * x, 9 * y - shift * x, z}));
    }
    Taro_2D mesh;
    mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_EQ(mesh.numberOfPoints(), 12u + 12u + 66u);
    const auto isOn = [](const Segment2& s, const Point2* p) {
        return getPointLineDistance2D(*p, s.getSrc(), s.getTrg()) < 1e-9;
    };
    for (size_t i = 0; i < vSegments.size(); ++i) {
        const double dx = vSegments[i].getTrg().x() - vSegments[i].getSrc().x(),
                     dy = vSegments[i].getTrg().y() - vSegments[i].getSrc().y();
        VertexVector vOn;
        for (Point2* pVtx : verticesOf(mesh)) {
            if (isOn(vSegments[i], pVtx)) vOn.push_back(pVtx);
        }
        std::sort(vOn.begin(), vOn.end(), [&](const Point2* p, const Point2* q) {
            return dx * p->x() + dy * p->y() < dx * q->x() + dy * q->y();
        });
        ASSERT_EQ(vOn.size(), 13u);
        const auto isOlder = [&](const Point2* pVtx) {
            return std::any_of(vSegments.begin(), vSegments.begin() + long(i), [&](auto& s) { return isOn(s, pVtx); });
        };
        for (size_t k = 1, last = 0; k < vOn.size(); ++k) {
            if (k + 1 < vOn.size() && !isOlder(vOn[k])) continue;
            for (size_t between = last + 1; between < k; ++between) {
                const double height = getZOnSegment(*vOn[last], *vOn[k], vOn[between]->x(), vOn[between]->y());
                EXPECT_NEAR(vOn[between]->z(), height, 1e-9);
            }
            last = k;
        }
    }
}

TEST(ConstraintCrossings, ManyAtOnePlaceOrAlongLatticesAreResolved) {
    SegmentVector vLattice, vThrough;
    for (int i = 1; i <= 40; ++i) {
        vLattice.push_back(makeSegment(0, i, 41, i));
        vLattice.push_back(makeSegment(i, 0, i, 41));
        vThrough.push_back(makeSegment(-i, -41 + i, i, 41 - i));
    }
    expectAllEstablished(vLattice, "lattice");
    expectAllEstablished(vThrough, "through one place");
    Taro_2D mesh;
    mesh.createConstraint(vLattice, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_EQ(mesh.numberOfPoints(), 1600u + 160u);
}

}  // namespace
