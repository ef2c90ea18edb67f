#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <map>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/stopping.h"
#include "taro25d/Edge2.h"
#include "taro25d/IsoContours.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

constexpr double NO_LIMIT = std::numeric_limits<double>::max();

/// The sum of the angles between normals over all inner edges.
double costOf(const Taro_2D& mesh) {
    double sum = 0;
    for (const Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || pT < pN) continue;
            bool ok = true;
            const Vector2 u = getNormalVector(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2), ok);
            const Vector2 v = getNormalVector(*pN->getCorner(0), *pN->getCorner(1), *pN->getCorner(2), ok);
            sum += std::acos(std::min(1.0, (u.x() * v.x() + u.y() * v.y() + u.z() * v.z()) / u.length() / v.length()));
        }
    }
    return sum;
}

/// A valley along x + y = 0, given by points that suggest edges across it.
PointVector makeValley(unsigned seed) {
    Random random(seed);
    PointVector vPoints;
    for (int i = 0; i < 400; ++i) {
        const double x = uniform(random, -10, 10), y = uniform(random, -10, 10);
        vPoints.emplace_back(x, y, std::abs(x + y));
    }
    for (int i = -12; i <= 12; ++i) vPoints.emplace_back(0.7 * i, -0.7 * i, 0);
    return vPoints;
}

TEST(Valleys, FlipsLowerTheCostAndKeepTheHeights) {
    for (unsigned seed = 0; seed < 5; ++seed) {
        Taro_2D mesh;
        mesh.insert(makeValley(seed));
        std::map<XY, double> mHeights;
        for (const Point2* p : verticesOf(mesh)) mHeights[xyOf(*p)] = p->z();
        const double before = costOf(mesh);
        mesh.createZone(nullptr, ZL_GLOBAL)->optimizeValleysAndRidges(1, NO_LIMIT);
        EXPECT_LT(costOf(mesh), 0.9 * before);
        EXPECT_TRUE(ConstraintOracle(mesh).check());
        for (const Point2* p : verticesOf(mesh)) EXPECT_EQ(mHeights.at(xyOf(*p)), p->z());
        const double after = costOf(mesh);
        mesh.createZone(nullptr, ZL_GLOBAL)->optimizeValleysAndRidges(1, NO_LIMIT);
        EXPECT_EQ(costOf(mesh), after) << "flipped edges are constraints";
    }
}

TEST(Valleys, LimitsConstraintsAndBordersHold) {
    Taro_2D mesh;
    mesh.insert(makeValley(7));
    mesh.createConstraint({makeSegment(-9, -9, 9, 9, 18, 18)}, CIS_CONSTRAINED_DELAUNAY);
    Zone2* pZone = mesh.createZone(
        mesh.createConstraint(makeSides(makeRectangle(-4, -4, 4, 4)), CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
    Zone2* pAll = mesh.createZone(nullptr, ZL_GLOBAL);
    const double before = costOf(mesh);
    pAll->optimizeValleysAndRidges(180, NO_LIMIT);
    pAll->optimizeValleysAndRidges(0, 0);
    EXPECT_EQ(costOf(mesh), before);
    std::vector<Edge2> vBorder;
    pZone->getBorderEdges(vBorder);
    pZone->slopeValleyRidgeOptimization();
    EXPECT_LT(costOf(mesh), before);
    for (const Edge2& edge : vBorder) EXPECT_TRUE(mesh.isConstraint(edge.getSrc(), edge.getTrg()));
    EXPECT_TRUE(ConstraintOracle(mesh).check());
    StdoutCapture capture;
    for (const double wrong : {-1.0, NOT_A_NUMBER}) {
        pAll->optimizeValleysAndRidges(wrong, 1);
        pAll->optimizeValleysAndRidges(1, wrong);
        pAll->unifyGrid(wrong);
    }
    pAll->unifyGrid(0);
    EXPECT_TRUE(contains(capture, "Zone2::optimizeValleysAndRidges(), WARNING: "));
    EXPECT_TRUE(contains(capture, "Zone2::unifyGrid(), WARNING: "));
}

bool isFlat(const Triangle2* pT) {
    return pT->getCorner(0)->z() == pT->getCorner(1)->z() && pT->getCorner(0)->z() == pT->getCorner(2)->z();
}

double angleBetween(const Triangle2* pA, const Triangle2* pB) {
    bool ok = true;
    const auto normalOf = [&ok](const Triangle2* p) {
        return getNormalVector(*p->getCorner(0), *p->getCorner(1), *p->getCorner(2), ok);
    };
    const Vector2 u = normalOf(pA), v = normalOf(pB);
    const double x = u.y() * v.z() - u.z() * v.y(), y = u.z() * v.x() - u.x() * v.z(),
                 z = u.x() * v.y() - u.y() * v.x();
    return std::atan2(std::sqrt(x * x + y * y + z * z), u.x() * v.x() + u.y() * v.y() + u.z() * v.z());
}

/// The angles between the normals at the edges of two neighbours, each edge once.
double costAround(const Triangle2* pT, const Triangle2* pN) {
    double sum = 0;
    for (const Triangle2* pOf : {pT, pN}) {
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pFar = pOf->getOppositeTriangle(i);
            if (pFar && (pOf != pN || pFar != pT)) sum += angleBetween(pOf, pFar);
        }
    }
    return sum;
}

/// Tries each flip that the minimal angle allows at a flat triangle; the number of tries.
size_t expectNoBetterFlip(Taro_2D& mesh, double minAngleDegree) {
    size_t numTried = 0;
    Dt2& engine = *mesh.getImpl();
    for (Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; isFlat(pT) && i < 3; ++i) {
            Triangle2* pN = pT->getOppositeTriangle(i);
            if (!pN || !engine.canBeFlipped(pT, i) || angleBetween(pT, pN) < minAngleDegree * M_PI / 180) continue;
            const double cost = costAround(pT, pN);
            ++numTried;
            engine.flip(pT, i);
            EXPECT_GE(costAround(pT, pN), cost - 2e-9) << *pT << *pN;
            engine.flip(pT, pT->getIntraTriangleIndex(pN));
        }
    }
    return numTried;
}

TEST(Valleys, NoAllowedFlipRemovesAFlatTriangle) {
    // Contours of a valley: their bends make terraces.
    Random random(3);
    Taro_2D mesh;
    SegmentVector vContours;
    for (int height = 1; height <= 8; ++height) {
        for (int side = -1; side <= 1; side += 2) {
            Point2 last(0, 6.0 * height, height);
            for (int i = 1; i <= 12; ++i) {
                const Point2 next(side * 4.0 * i, 6.0 * height - 2.5 * i + uniform(random, -0.4, 0.4), height);
                vContours.emplace_back(last, next);
                last = next;
            }
        }
    }
    mesh.createConstraint(vContours, CIS_CONSTRAINED_DELAUNAY);
    mesh.createZone(nullptr, ZL_GLOBAL)->optimizeValleysAndRidges(0, NO_LIMIT);
    EXPECT_GT(expectNoBetterFlip(mesh, 0), 10u);
}

/// The contours of real ground, as constraints.
void makeContourSurface(Taro_2D& mesh, double interval) {
    const IsoContours isoContours(readTerrain(120, 120, 1), Vector2(1, 0, 0));
    SegmentVector vSegments;
    for (double height = std::ceil(isoContours.getMinHeight() / interval) * interval;
         height < isoContours.getMaxHeight(); height += interval) {
        std::vector<SegmentVector> vvLines;
        isoContours.getContours(height, vvLines, false);
        for (const SegmentVector& vLine : vvLines) {
            for (const Segment2& segment : vLine) {
                const auto at = [height](const Point2& point) { return Point2(point.x(), point.y(), height); };
                vSegments.emplace_back(at(segment.getSrc()), at(segment.getTrg()));
            }
        }
    }
    mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
}

TEST(Valleys, NoAllowedFlipRemovesAFlatTriangleOfRealContours) {
    for (const double minAngleDegree : {5.0, 0.0}) {
        Taro_2D mesh;
        makeContourSurface(mesh, 20);
        const auto countFlats = [&mesh] {
            const TriangleVector vTriangles = trianglesOf(mesh);
            return std::count_if(vTriangles.begin(), vTriangles.end(), isFlat);
        };
        const auto numBefore = countFlats();
        mesh.createZone(nullptr, ZL_GLOBAL)->optimizeValleysAndRidges(minAngleDegree, NO_LIMIT);
        EXPECT_LT(countFlats(), numBefore);
        EXPECT_GT(expectNoBetterFlip(mesh, minAngleDegree), 100u);
    }
}

TEST(Valleys, CancelledTheyLeaveAValidMesh) {
    Taro_2D whole;
    whole.insert(makeValley(2));
    whole.createZone(nullptr, ZL_GLOBAL)->optimizeValleysAndRidges(1, NO_LIMIT);
    const auto vExpected = facesOf(whole);
    size_t numCancelled = 0;
    for (size_t moment = 1; moment < 40000; moment += 1 + moment / 8) {
        Taro_2D mesh;
        mesh.insert(makeValley(2));
        std::atomic<bool> bFlag{false};
        mesh.setCancelFlag(&bFlag);
        Zone2* pAll = mesh.createZone(nullptr, ZL_GLOBAL);
        size_t numCancelPoints = 0;
        setCancelPointObserver([&] { bFlag = bFlag || ++numCancelPoints == moment; });
        try {
            pAll->optimizeValleysAndRidges(1, NO_LIMIT);
        } catch (const TaroCancelled&) {
            ++numCancelled;
        }
        setCancelPointObserver(nullptr);
        mesh.setCancelFlag(nullptr);
        EXPECT_TRUE(ConstraintOracle(mesh).check()) << moment;
        mesh.applyConstraintsAndZones();
        pAll->optimizeValleysAndRidges(1, NO_LIMIT);
        EXPECT_TRUE(facesOf(mesh) == vExpected) << moment;
    }
    EXPECT_GT(numCancelled, 20u);
}

TEST(Valleys, GridOfHeights) {
    Taro_2D mesh;
    mesh.insert({{0, 0, 0.26}, {4, 0, -0.26}, {0, 4, 1.1}, {9, 9, 7.77}});
    Zone2* pZone = mesh.createZone({trianglesOf(mesh)[0]});
    VertexVector vInside;
    pZone->getVertices(vInside);
    pZone->unifyGrid(0.5);
    for (const Point2* p : verticesOf(mesh)) {
        const bool bInside = std::find(vInside.begin(), vInside.end(), p) != vInside.end();
        EXPECT_EQ(std::fmod(p->z(), 0.5) == 0, bInside) << *p;
    }
}

TEST(Holes, AreFilledUpToAPerimeter) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(0, 0, 40, 40));
    const auto zoneOf = [&mesh](double x, double y, double size) {
        return mesh.createZone(
            mesh.createConstraint(makeSides(makeRectangle(x, y, x + size, y + size)), CIS_CONSTRAINED_DELAUNAY),
            ZL_INSIDE);
    };
    Zone2 *pWhole = zoneOf(2, 2, 30), *pSmall = zoneOf(5, 5, 2), *pLarge = zoneOf(12, 12, 6);
    Zone2* pZone = zoneDifference(zoneDifference(pWhole, pSmall), pLarge);
    EXPECT_DOUBLE_EQ(mesh.fillHoles(pZone, 7)->getArea2D(), 900 - 4 - 36);
    EXPECT_DOUBLE_EQ(mesh.fillHoles(pZone, 8)->getArea2D(), 900 - 36);
    EXPECT_DOUBLE_EQ(mesh.fillHoles(pZone, 1e300)->getArea2D(), 900);
    Taro_2D other;
    const auto refuses = [](const char* reason, Taro_2D& asked, Zone2* pOf, double perimeter) {
        return contains(printedBy([&] { EXPECT_EQ(asked.fillHoles(pOf, perimeter), nullptr); }), reason);
    };
    EXPECT_TRUE(refuses("the zone is none of this triangulation", mesh, nullptr, 8));
    EXPECT_TRUE(refuses("the zone is none of this triangulation", other, pZone, 8));
    EXPECT_TRUE(refuses("the perimeter is negative or no number", mesh, pZone, -1));
    EXPECT_TRUE(refuses("the perimeter is negative or no number", mesh, pZone, NOT_A_NUMBER));
    EXPECT_TRUE(refuses("the zone has no triangles", mesh, zoneDifference(pSmall, pWhole), 8));
}

TEST(Holes, OfAZoneThatIsTooThinGiveAWarning) {
    // No place with double coordinates lies inside this triangle.
    const double least = std::numeric_limits<double>::denorm_min();
    Taro_2D mesh;
    mesh.insert({{0, 0, 0}, {1, 0, 0}, {0, least, 0}});
    Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    ASSERT_EQ(pZone->getNumberOfTriangles(), 1u);
    EXPECT_NE(printedBy([&] { EXPECT_EQ(mesh.fillHoles(pZone, 1), nullptr); }), "");
}

TEST(Holes, FollowTheSurfaceAround) {
    // A valley along the diagonal of a hole: the Delaunay diagonals of its lattice are ties, which may go across it.
    for (const double tilt : {1.0, -1.0}) {
        const auto at = [tilt](int x, int y) { return Point2(x, y, std::abs(x + tilt * y - (tilt > 0 ? 6 : 0))); };
        PointVector vCorners;
        for (int x = 0; x < 6; ++x) {
            for (int y = 0; y < 6; ++y) {
                const bool bHole = x == 2 && y >= 2 && y <= 3, bAlong = tilt < 0;
                if (bHole) continue;
                const Point2 a = at(x, y), b = at(x + 1, y), c = at(x + 1, y + 1), d = at(x, y + 1);
                if (bAlong)
                    vCorners.insert(vCorners.end(), {a, b, c, a, c, d});
                else
                    vCorners.insert(vCorners.end(), {a, b, d, b, c, d});
            }
        }
        Taro_2D mesh;
        ASSERT_TRUE(mesh.importTriangles(vCorners, false, false));
        Zone2* pFilled = mesh.fillHoles(mesh.getImportedZone(), 100);
        ASSERT_NE(pFilled, nullptr);
        EXPECT_DOUBLE_EQ(pFilled->getArea2D(), 36);
        for (const Point2& place : {Point2(2.5, 2.5, 0), Point2(2.5, 3.5, 0), Point2(2.25, 2.75, 0)}) {
            double height = -1;
            ASSERT_TRUE(mesh.getHeight(place.x(), place.y(), height));
            EXPECT_NEAR(height, std::abs(place.x() + tilt * place.y() - (tilt > 0 ? 6 : 0)), 1e-12) << place;
        }
        EXPECT_TRUE(ConstraintOracle(mesh).check());
    }
}

}  // namespace
