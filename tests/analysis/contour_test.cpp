#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <numeric>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/contours.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;
using namespace contour_lines;

namespace {

double lengthOf(const Polyline& vPolyline) {
    double length = 0;
    for (const Segment2& s : vPolyline) length += std::sqrt(s.getSqLen25D());
    return length;
}

/// The contours of all triangles one by one, in long double: their total length; and how many connected pieces they
/// make, by joining triangles across common edges again and again.
class Oracle {
  public:
    Oracle(const TriangleVector& vTriangles, double height) {
        for (const Triangle2* pT : vTriangles)
            if (pieceOf(*pT, height) > 0) vCut_.push_back(pT);
        std::vector<size_t> vLabel(vCut_.size());
        std::iota(vLabel.begin(), vLabel.end(), 0);
        for (bool bChanged = true; bChanged;) {
            bChanged = false;
            for (size_t i = 0; i < vCut_.size(); ++i)
                for (size_t j = 0; j < vCut_.size(); ++j)
                    if (vLabel[j] < vLabel[i] && shareCutEdge(*vCut_[i], *vCut_[j], height))
                        vLabel[i] = vLabel[j], bChanged = true;
        }
        for (size_t i = 0; i < vLabel.size(); ++i) numPieces += vLabel[i] == i;
    }

    double length = 0;
    size_t numPieces = 0;

  private:
    double pieceOf(const Triangle2& t, double height) {
        std::vector<std::pair<long double, long double>> vPoints;
        for (int i = 0; i < 3; ++i) {
            const Point2 &a = *t.getCorner(i), &b = *t.getCorner((i + 1) % 3);
            if ((a.z() > height) == (b.z() > height)) continue;
            const long double f =
                (static_cast<long double>(height) - a.z()) / (static_cast<long double>(b.z()) - a.z());
            vPoints.emplace_back(a.x() + f * (static_cast<long double>(b.x()) - a.x()),
                                 a.y() + f * (static_cast<long double>(b.y()) - a.y()));
        }
        if (vPoints.empty()) return 0;
        length +=
            static_cast<double>(std::hypot(vPoints[0].first - vPoints[1].first, vPoints[0].second - vPoints[1].second));
        return 1;
    }
    static bool shareCutEdge(const Triangle2& s, const Triangle2& t, double height) {
        for (int i = 0; i < 3; ++i) {
            const Point2 *pA = s.getCorner((i + 1) % 3), *pB = s.getCorner((i + 2) % 3);
            if (s.getOppositeTriangle(i) == &t && (pA->z() > height) != (pB->z() > height)) return true;
        }
        return false;
    }

    std::vector<const Triangle2*> vCut_;
};

/// A contour is connected, lies on the surface, has the higher ground on its left, and is open only between two points
/// of the hull.
void expectSound(const Taro_2D& mesh, const Polyline& vPolyline, double height) {
    for (size_t i = 0; i < vPolyline.size(); ++i) {
        const Point2 &src = vPolyline[i].getSrc(), &trg = vPolyline[i].getTrg();
        EXPECT_NE(src, trg);
        EXPECT_EQ(src.z(), height);
        if (i > 0) {
            EXPECT_TRUE(samePoint(vPolyline[i - 1].getTrg(), src));
        }
        double surface = 0;
        EXPECT_TRUE(mesh.getHeight(src.x(), src.y(), surface, nullptr, 1e-9));
        EXPECT_NEAR(surface, height, 1e-7);
        const Triangle2* pT = mesh.locate(Point2(0.5 * (src.x() + trg.x()), 0.5 * (src.y() + trg.y()), 0));
        if (!pT || vPolyline[i].getSqLen2D() < 1e-8) continue;
        const Vector2 normal = pT->getNormalVector();
        EXPECT_GE(normal.x() * (trg.y() - src.y()) - normal.y() * (trg.x() - src.x()), 0);  // uphill is -normal
    }
    for (const Point2& end : {vPolyline.front().getSrc(), vPolyline.back().getTrg()}) {
        const Triangle2* pT = mesh.locate(Point2(end.x() * (1 + 1e-9), end.y() * (1 + 1e-9), 0));
        EXPECT_TRUE(isClosed(vPolyline) || pT == nullptr);
    }
}

/// Open contours come before closed ones, both sorted by their first points; a closed contour begins at its smallest
/// point.
void expectOrdered(const Polylines& vContours) {
    for (size_t i = 0; i < vContours.size(); ++i) {
        const bool bClosed = isClosed(vContours[i]);
        const Point2& first = vContours[i][0].getSrc();
        for (const Segment2& s : vContours[i]) EXPECT_FALSE(bClosed && s.getSrc() < first);
        if (i == 0) continue;
        EXPECT_TRUE(bClosed || !isClosed(vContours[i - 1]));
        if (bClosed == isClosed(vContours[i - 1])) {
            EXPECT_LE(vContours[i - 1][0].getSrc().x(), first.x());
        }
    }
}

/// The first step above a height: small, but not lost when it is added.
double firstStepAbove(double height) {
    double step = 0.5;
    if (height + step > height) {
        while (height + step / 2 != height) step /= 2;
        return 1000 * step < 1e-6 ? 1000 * step : step;
    }
    for (step = 1; !(height + step > height);) step *= 2;
    return step;
}

}  // namespace

TEST(IsoContours, AgreeWithASlowOracleOnEveryLevel) {
    for (const unsigned seed : {1u, 2u, 3u, 4u}) {
        SCOPED_TRACE(seed);
        Random random(seed);
        PointVector vPoints;
        for (size_t i = 0; i < scaled(1500); ++i) {
            const double x = uniform(random, -1, 1), y = uniform(random, -1, 1);
            vPoints.emplace_back(x, y, std::sin(5 * x) * std::cos(4 * y) + uniform(random, 0, 0.05 * seed));
        }
        Taro_2D mesh;
        mesh.insert(vPoints);
        const TriangleVector vTriangles = trianglesOf(mesh);
        const IsoContours iso(vTriangles);
        for (double part = 0.05; part < 1; part += 0.1) {
            const double height = iso.getMinHeight() + part * (iso.getMaxHeight() - iso.getMinHeight());
            const Oracle oracle(vTriangles, height);
            const Polylines vContours = contours(iso, height);
            double length = 0;
            for (const Polyline& vPolyline : vContours) {
                expectSound(mesh, vPolyline, height);
                length += lengthOf(vPolyline);
            }
            EXPECT_EQ(vContours.size(), oracle.numPieces);
            EXPECT_NEAR(length, oracle.length, 1e-9 * oracle.length);
        }
    }
}

TEST(IsoContours, ShapesOfGround) {
    const struct {
        const char* name;
        double (*heightAt)(double x, double y);
        double height;
        size_t numOpen, numClosed;
        double sign;  // of the area of closed ones
    } aCase[] = {
        {"summit", [](double x, double y) { return -x * x - y * y; }, -10.5, 0, 1, 1},
        {"hollow", [](double x, double y) { return x * x + y * y; }, 10.5, 0, 1, -1},
        {"summit at the level", [](double x, double y) { return -x * x - y * y; }, 0, 0, 0, 0},
        {"hollow at the level", [](double x, double y) { return 1 + x * x + y * y; }, 1, 0, 1, -1},
        {"saddle above", [](double x, double y) { return x * y; }, 0.5, 2, 0, 0},
        {"saddle below", [](double x, double y) { return x * y; }, -0.5, 2, 0, 0},
        {"saddle at the level", [](double x, double y) { return x * y; }, 0, 2, 0, 0},
        {"saddle at a large level", [](double x, double y) { return 500 + x * x - y * y; }, 500, 2, 0, 0},
        {"monkey saddle at the level", [](double x, double y) { return x * (x * x - 3 * y * y); }, 0, 3, 0, 0},
        {"plateau below", [](double x, double y) { return std::max(0.0, 9 - x * x - y * y); }, 0, 0, 1, 1},
        {"plateau above", [](double x, double y) { return std::min(3.0, 9 - x * x - y * y); }, 3, 0, 0, 0},
        {"plateau half way", [](double x, double y) { return std::floor((x - 0.5 * y) / 4); }, 0, 1, 0, 0},
        {"level ground", [](double, double) { return 7.0; }, 7, 0, 0, 0},
        {"rim", [](double x, double y) { return -std::abs(std::hypot(x, y) - 4); }, -1.1, 0, 2, 0},
        {"two summits", [](double x, double y) { return -std::abs(std::abs(x) - 3) - y * y; }, -1.5, 0, 2, 1},
        {"nested", [](double x, double y) { return std::cos(1.5 * std::min(std::hypot(x, y), 6.2)); }, 0.1, 0, 3, 0},
        {"slope", [](double x, double y) { return 2 * x + y; }, 0, 1, 0, 0},
    };
    for (const auto& c : aCase) {
        SCOPED_TRACE(c.name);
        Taro_2D mesh;
        insertGrid(6, c.heightAt, mesh);
        const Polylines vContours = contours(IsoContours(trianglesOf(mesh)), c.height);
        size_t numOpen = 0, numClosed = 0;
        for (const Polyline& vPolyline : vContours) {
            ++(isClosed(vPolyline) ? numClosed : numOpen);
            expectSound(mesh, vPolyline, vPolyline[0].getSrc().z());
            EXPECT_NEAR(vPolyline[0].getSrc().z(), c.height, 1e-9);
            if (c.sign != 0) {
                EXPECT_GT(c.sign * areaOf(vPolyline), 0);
            }
        }
        expectOrdered(vContours);
        EXPECT_EQ(numOpen, c.numOpen);
        EXPECT_EQ(numClosed, c.numClosed);
    }
}

TEST(IsoContours, AreWholeWhereRoundingMakesTheirPointsCoincide) {
    // Whole heights, so that plateaus and saddles of all kinds are at each level, and coordinates so large that the
    // step above the level is lost in them.
    for (const unsigned seed : {1u, 2u, 3u}) {
        Random random(seed);
        PointVector vPoints = makeGrid(20, 450000, 5200000, 1, random);
        for (Point2& point : vPoints) point.set(point.x(), point.y(), integer(random, -1, 2));
        Taro_2D mesh;
        mesh.insert(vPoints);
        const TriangleVector vTriangles = trianglesOf(mesh);
        for (const double height : {-1.0, 0.0, 1.0}) {
            size_t numOpenEnds = 0, numEndsOnHull = 0;
            double length = 0;
            const Polylines vContours = contours(IsoContours(vTriangles), height);
            for (const Polyline& vPolyline : vContours) {
                for (size_t i = 1; i < vPolyline.size(); ++i)
                    EXPECT_TRUE(samePoint(vPolyline[i - 1].getTrg(), vPolyline[i].getSrc()));
                numOpenEnds += isClosed(vPolyline) ? 0 : 2;
                length += lengthOf(vPolyline);
            }
            for (const Triangle2* pT : vTriangles)
                for (int i = 0; i < 3; ++i)
                    numEndsOnHull += !pT->getOppositeTriangle(i) && (pT->getCorner((i + 1) % 3)->z() > height) !=
                                                                        (pT->getCorner((i + 2) % 3)->z() > height);
            EXPECT_LE(numOpenEnds, numEndsOnHull);  // both ends may be at one corner of the hull
            EXPECT_NEAR(length, Oracle(vTriangles, height).length, 1e-6 * length);
        }
    }
}

TEST(IsoContours, HeightsOfCornersAreMovedOrRefused) {
    Point2 a(0, 0, 300), b(4, 0, 310), c(0, 4, 290);
    Triangle2 triangle(&a, &b, &c);
    const IsoContours iso({&triangle});
    EXPECT_EQ(iso.getMinHeight(), 290);
    EXPECT_EQ(iso.getMaxHeight(), 310);

    const double step = 1000 * std::ldexp(1.0, -44);
    std::ostringstream text;
    text << "Degenerate intersection at height z=300. Adding " << step
         << " automatically.\n      Use bVerbose=false to suppress this message.";
    EXPECT_EQ(printedBy(iso, 300, true, true, true), warningOf(text.str()));
    EXPECT_EQ(printedBy(iso, 300, false, true, true), "");
    EXPECT_EQ(printedBy(iso, 300, true, false, false),
              warningOf("Degenerate intersection at height z=300.\n      Please add a little noise and try again. Use "
                        "bVerbose=false to suppress this message."));
    EXPECT_EQ(printedBy(iso, 300, false, false, false), "");
    const Polylines vContours = contours(iso, 300);
    ASSERT_EQ(vContours.size(), 1u);
    EXPECT_EQ(vContours[0][0].getSrc().z(), 300 + step);
    EXPECT_NEAR(areaOf({vContours[0][0], Segment2(vContours[0][0].getTrg(), a)}), 0, 1e-9);

    for (const double outside : {289.0, 311.0, -INF, INF, NOT_A_NUMBER, -1e300}) {
        EXPECT_EQ(printedBy(iso, outside, true, false, true), "") << outside;
        EXPECT_TRUE(contours(iso, outside).empty());
    }
    EXPECT_EQ(printedBy(iso, 305, true, false, true), "");
    Polylines vAppended = vContours;
    EXPECT_TRUE(iso.getContours(305, vAppended));
    EXPECT_EQ(vAppended.size(), 2u);
}

TEST(IsoContours, StepsGrowUntilTheyReachAFreeHeight) {
    // The step doubles while the next height is taken too, and while rounding loses it.
    for (const double height : {0.0, 1.0, -1.0, 1e-300, 1e9, 9007199254740992.0, -9007199254740992.0, 1e17, -1e100}) {
        SCOPED_TRACE(height);
        double step = firstStepAbove(height);
        const double next = height + step;
        Point2 p(0, 0, height), q(1, 0, next), r(0, 1, height - 2 * std::abs(height) - 1),
            s(1, 1, height + 2 * std::abs(height) + 1);
        Triangle2 t0(&p, &q, &r), t1(&q, &s, &r);
        const Polylines vFound = contours(IsoContours({&t0, &t1}), height);
        ASSERT_EQ(vFound.size(), 1u);
        while (height + step == next) step *= 2;
        EXPECT_EQ(vFound[0][0].getSrc().z(), height + step);
    }
}

TEST(IsoContours, NeitherAddressesNorOrderNorSharingOfCornersMatter) {
    Random random(5);
    Taro_2D mesh;
    insertGrid(
        15, [&](double x, double y) { return std::sin(x) * y + uniform(random, 0, 1); }, mesh);
    TriangleVector vTriangles = trianglesOf(mesh);
    const IsoContours iso(vTriangles);
    std::shuffle(vTriangles.begin(), vTriangles.end(), random);
    std::deque<Point2> vCorners;
    std::deque<Triangle2> vLoose;
    TriangleVector vPointers;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Point2& corner = *pT->getCorner(i);
            vCorners.emplace_front(corner.x() == 0 && vLoose.size() % 2 ? -0.0 : corner.x(), corner.y(), corner.z());
        }
        vPointers.push_back(&vLoose.emplace_front(&vCorners[2], &vCorners[1], &vCorners[0]));
    }
    const IsoContours loose(vPointers);
    for (double height = -15.05; height < 15; ++height) {
        const std::string expected = toText(contours(iso, height));
        EXPECT_EQ(toText(contours(loose, height)), expected);
        EXPECT_EQ(toText(contours(IsoContours(vTriangles), height)), expected);
    }
}
