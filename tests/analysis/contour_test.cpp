#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

using Polyline = std::vector<Segment2>;
using Polylines = std::vector<Polyline>;

Polylines contours(const IsoContours& iso, double height) {
    Polylines vContours;
    EXPECT_TRUE(iso.getContours(height, vContours, false));
    return vContours;
}

/// The integer points of a square around the origin, with heights.
void insertGrid(int halfSide, const std::function<double(double, double)>& heightAt, Taro_2D& mesh) {
    PointVector vPoints;
    for (int x = -halfSide; x <= halfSide; ++x)
        for (int y = -halfSide; y <= halfSide; ++y) vPoints.emplace_back(x, y, heightAt(x, y));
    mesh.insert(vPoints);
}

bool isClosed(const Polyline& vPolyline) { return samePoint(vPolyline.front().getSrc(), vPolyline.back().getTrg()); }

/// Positive for a closed polyline that runs counterclockwise.
double areaOf(const Polyline& vPolyline) {
    double area = 0;
    for (const Segment2& s : vPolyline)
        area += 0.5 * (s.getSrc().x() * s.getTrg().y() - s.getSrc().y() * s.getTrg().x());
    return area;
}

double lengthOf(const Polyline& vPolyline) {
    double length = 0;
    for (const Segment2& s : vPolyline) length += std::sqrt(s.getSqLen25D());
    return length;
}

std::string toText(const Polylines& vPolylines) {
    std::ostringstream text;
    text.precision(17);
    for (const Polyline& vPolyline : vPolylines) {
        for (const Segment2& s : vPolyline)
            text << s.getSrc().x() << " " << s.getSrc().y() << " " << s.getSrc().z() << ", ";
        text << vPolyline.back().getTrg().x() << " " << vPolyline.back().getTrg().y() << "\n";
    }
    return text.str();
}

/// The output of a query. A query that fails must append nothing.
std::string printedBy(const IsoContours& iso, double height, bool bVerbose, bool bAutoAdjustHeight, bool bExpected) {
    Polylines vContours;
    const StdoutCapture capture;
    EXPECT_EQ(iso.getContours(height, vContours, bVerbose, bAutoAdjustHeight), bExpected);
    if (!bExpected) {
        EXPECT_TRUE(vContours.empty());
    }
    return capture.text();
}

std::string warningOf(const std::string& text) {
    return "\033[0;93m      [Taro2D-Message] IsoContours::getContours(), WARNING: " + text + "\033[m\n";
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

/// A profile is connected, lies on the surface, and runs in the given direction, if there is one.
void expectSoundProfile(const Taro_2D& mesh, const Polyline& vProfile, const Vector2& direction) {
    const bool bDirected = std::isfinite(direction.x()) && direction.z() != 1;
    for (size_t i = 0; i < vProfile.size(); ++i) {
        const Point2 &src = vProfile[i].getSrc(), &trg = vProfile[i].getTrg();
        const double advance = (trg.x() - src.x()) * direction.x() + (trg.y() - src.y()) * direction.y();
        EXPECT_TRUE(!bDirected || advance > 0);
        EXPECT_TRUE(i == 0 || samePoint(vProfile[i - 1].getTrg(), src));
        for (const double t : {0.0, 0.3, 1.0}) {
            double surface = 0;
            EXPECT_TRUE(mesh.getHeight((1 - t) * src.x() + t * trg.x(), (1 - t) * src.y() + t * trg.y(), surface,
                                       nullptr, 1e-9));
            EXPECT_NEAR((1 - t) * src.z() + t * trg.z(), surface, 1e-7);
        }
    }
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

TEST(IsoContours, UnusualTriangles) {
    Point2 a(0, 0, 0), b(2, 0, 2), c(0, 2, 4), d(2, 2, 1), e(-1, 3, 1), bad(1, 1, NOT_A_NUMBER), far(INF, 0, 0);
    const IsoContours nothing({}), onlyBad({nullptr});
    for (const IsoContours* pIso : {&nothing, &onlyBad}) {
        EXPECT_EQ(pIso->getMinHeight(), -1.0);
        EXPECT_EQ(pIso->getMaxHeight(), -1.0);
        EXPECT_TRUE(contours(*pIso, 1).empty());
    }
    Triangle2 good(&a, &b, &c), withNaN(&a, &b, &bad), withInf(&a, &b, &far), recycled;
    const IsoContours mixed({&withNaN, &recycled, &good, nullptr, &withInf});
    EXPECT_EQ(mixed.getMaxHeight(), 4);
    EXPECT_EQ(toText(contours(mixed, 1)), toText(contours(IsoContours({&good}), 1)));
    EXPECT_EQ(toText(contours(mixed, 1)), "0 0.5 1, 1 0\n");

    // Clockwise corners change nothing. Triangles with coincident corners and vertical ones only connect others.
    Triangle2 clockwise(&a, &c, &b), doubled(&a, &a, &c), onEdge(&a, &b, &b);
    EXPECT_EQ(toText(contours(IsoContours({&clockwise, &doubled, &onEdge}), 1)), "0 0.5 1, 1 0\n");
    Point2 below(2, 0, -1), top(0, 0, 9);
    Triangle2 wall(&a, &below, &b), wallOnly(&a, &b, &top);
    EXPECT_EQ(toText(contours(IsoContours({&wall, &good}), 1)), "0 0.5 1, 1 0 1, 2 0\n");
    EXPECT_EQ(contours(IsoContours({&wallOnly}), 1).size(), 1u);

    // At an edge of three triangles contours are no chain; at other heights the same triangles give one.
    Triangle2 second(&b, &d, &c), third(&b, &e, &c);
    const IsoContours fan({&good, &second, &third});
    EXPECT_EQ(printedBy(fan, 2.5, true, true, false),
              warningOf("Bad numerical accuracy at height z=2.5.\n      Please add a little noise and try again. Use "
                        "bVerbose=false to suppress this message."));
    EXPECT_EQ(printedBy(fan, 2.5, false, false, false), "");
    EXPECT_EQ(contours(fan, 0.5).size(), 1u);

    // Coordinates near the largest and the smallest doubles.
    for (const double scale : {0.9 * MAX, 1e-300}) {
        Point2 p(-scale, -scale, -scale), q(scale, -scale, -scale), r(scale, scale, scale);
        Triangle2 huge(&p, &q, &r);
        const Polylines vContours = contours(IsoContours({&huge}), scale / 2);
        ASSERT_EQ(vContours.size(), 1u);
        EXPECT_NEAR(vContours[0][0].getSrc().x() / scale, 0.5, 1e-15);
        EXPECT_NEAR(vContours[0][0].getTrg().x() / scale, 1, 1e-15);
        EXPECT_NEAR(vContours[0][0].getTrg().y() / scale, 0.5, 1e-15);
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

TEST(IsoContours, OneLongLineInAStripOfManyTriangles) {
    const size_t n = scaled(1000000);
    std::vector<Point2> vPoints;
    for (size_t i = 0; i < n + 2; ++i) vPoints.emplace_back(double(i), double(i % 2), double(i % 2));
    std::vector<Triangle2> vTriangles;
    TriangleVector vPointers;
    for (size_t i = 0; i < n; ++i) vTriangles.emplace_back(&vPoints[i], &vPoints[i + 1], &vPoints[i + 2]);
    for (Triangle2& triangle : vTriangles) vPointers.push_back(&triangle);
    const Polylines vContours = contours(IsoContours(vPointers), 0.5);
    ASSERT_EQ(vContours.size(), 1u);
    EXPECT_EQ(vContours[0].size(), n);
    EXPECT_EQ(vContours[0][0].getSrc(), Point2(0.5, 0.5, 0));
}

TEST(IsoContours, ProfilesFollowTheSurface) {
    Random random(7);
    Taro_2D mesh;
    PointVector vPoints{Point2(-5, -5, 1), Point2(5, -5, 2), Point2(5, 5, 3), Point2(-5, 5, 4)};
    for (int i = 0; i < 400; ++i)
        vPoints.emplace_back(uniform(random, -5, 5), uniform(random, -5, 5), uniform(random, 0, 3));
    for (int i = -4; i < 5; ++i) vPoints.emplace_back(i, i, uniform(random, 0, 3));
    mesh.insert(vPoints);
    const struct {
        Point2 point;
        Vector2 direction;
        double length;  // in x-y
    } aCase[] = {
        {{0, 0, 99}, {1, 0, 0}, 10},
        {{0, 1, 0}, {-2e300, 0, 5}, 10},
        {{1, 0, 0}, {0, 3, 0}, 10},
        {{2, 2, 0}, {1, 1, 0}, 10 * M_SQRT2},
        {{3, 3, 0}, {-1e-9, -1e-9, 0}, 10 * M_SQRT2},
        {{0, 0, 0}, {1, 2, 0}, 5 * std::sqrt(5)},
        {{0, 5, 0}, {1, 0, 0}, 10},
        {{0, -5, 0}, {1, 0, 0}, 10},
        {{5, 7, 0}, {0, -1, 0}, 10},
        {{0, 2, 0}, {0, 0, 1}, 10},
        {{0, 2, 0}, {NOT_A_NUMBER, 1, 0}, 10},
        {{0, 5.5, 0}, {1, 0, 0}, 0},
        {{5, -5, 0}, {1, 1, 0}, 0},
    };
    for (const auto& c : aCase) {
        SCOPED_TRACE(testing::Message() << c.point << " " << c.direction.x() << " " << c.direction.y());
        const IsoContours iso(vPoints, c.direction);
        Polyline vProfile;
        EXPECT_TRUE(iso.getProfile(c.point, vProfile));
        expectSoundProfile(mesh, vProfile, c.direction);
        double length = 0;
        for (const Segment2& s : vProfile) length += std::sqrt(s.getSqLen2D());
        EXPECT_NEAR(length, c.length, 1e-9);
    }
}

TEST(IsoContours, ProfilesAndContoursOfPointsAndOfLooseTriangles) {
    Random random(7);
    const PointVector vPoints = makeScattered(100, -5, -5, 5, 5, random, 3);
    Taro_2D mesh;
    mesh.insert(vPoints);
    const IsoContours iso(vPoints, Vector2(0, 1, 0)), sameSurface(trianglesOf(mesh));
    EXPECT_EQ(toText(contours(iso, 1.55)), toText(contours(sameSurface, 1.55)));
    // Profiles of an object made from triangles run along the x axis, and may have gaps.
    Point2 a(0, 0, 0), b(1, 0, 1), c(0, 1, 2), d(2, 0, 5), e(3, 0, 5), f(2, 1, 5);
    Triangle2 left(&a, &b, &c), right(&d, &e, &f);
    Polyline vProfile;
    EXPECT_TRUE(IsoContours({&right, &left}).getProfile(Point2(7, 0.5, 0), vProfile));
    EXPECT_EQ(toText({{vProfile[0]}, {vProfile[1]}}), "0 0.5 1, 0.5 0.5\n2 0.5 5, 2.5 0.5\n");
    const StdoutCapture capture;
    EXPECT_FALSE(iso.getProfile(Point2(0, NOT_A_NUMBER, 0), vProfile));
    EXPECT_TRUE(IsoContours({{0, 0, 0}, {1, 1, 1}}, Vector2(1, 1, 0)).getProfile(Point2(), vProfile));
    EXPECT_EQ(vProfile.size(), 2u);
    EXPECT_TRUE(contains(capture, "IsoContours::getProfile(), WARNING: non-finite coordinates, no profile"));
}
