#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <deque>
#include <set>
#include <vector>

#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/recorder.h"
#include "taro25d/ContourBand.h"
#include "taro25d/IsoContours.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

using Bands = std::vector<ContourBand>;
using Ring = std::vector<Point2>;
using XYZ = std::array<double, 3>;

XYZ xyz(const Point2& p) { return {p.x(), p.y(), p.z()}; }

Bands bandsOf(const TriangleVector& vTriangles, const std::vector<double>& vLevels, int numCPU = 1) {
    IsoContours iso(vTriangles);
    iso.setNumCPU(numCPU);
    Bands vBands;
    EXPECT_TRUE(iso.getBands(vLevels, vBands));
    return vBands;
}

double areaOf(const Ring& vRing) {
    double area = 0;
    for (size_t i = 1; i + 1 < vRing.size(); ++i) {
        area += 0.5 * ((vRing[i].x() - vRing[0].x()) * (vRing[i + 1].y() - vRing[0].y()) -
                       (vRing[i].y() - vRing[0].y()) * (vRing[i + 1].x() - vRing[0].x()));
    }
    return area;
}

/// Whether a place is inside, by the crossings of a ray; not for places on the ring.
bool isInside(const Ring& vRing, const Point2& place) {
    bool bInside = false;
    for (size_t i = 0; i < vRing.size(); ++i) {
        const Point2 &p = vRing[i], &q = vRing[(i + 1) % vRing.size()];
        if ((p.y() > place.y()) == (q.y() > place.y())) continue;
        const Point2 &low = p.y() < q.y() ? p : q, &high = p.y() < q.y() ? q : p;
        if (getOrientation2_mt(&low, &high, &place) == ORIENTATION2_CCW) bInside = !bInside;
    }
    return bInside;
}

/// Whether two sides have more in common than an end of both.
bool cross(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    const auto side = [](const Point2& p, const Point2& q, const Point2& r) { return getOrientation2_mt(&p, &q, &r); };
    const auto isOn = [&](const Point2& p, const Point2& q, const Point2& r) {
        return side(p, q, r) == ORIENTATION2_COLLINEAR && std::min(p, q) < r && r < std::max(p, q);
    };
    if (isOn(a, b, c) || isOn(a, b, d) || isOn(c, d, a) || isOn(c, d, b)) return true;
    if ((a == c && b == d) || (a == d && b == c)) return true;
    const Orientation2 s[] = {side(a, b, c), side(a, b, d), side(c, d, a), side(c, d, b)};
    return std::count(s, s + 4, ORIENTATION2_COLLINEAR) == 0 && s[0] != s[1] && s[2] != s[3];
}

/// The contract of a band's rings.
void expectSound(const ContourBand& band) {
    ASSERT_FALSE(band.vRings.empty());
    std::vector<std::pair<Point2, Point2>> vSides;
    const Ring* pOuter = nullptr;
    for (const Ring& vRing : band.vRings) {
        ASSERT_GE(vRing.size(), 3u);
        std::set<XYZ> sPoints;
        for (const Point2& p : vRing) sPoints.insert({p.x(), p.y(), 0});
        ASSERT_EQ(sPoints.size(), vRing.size()) << "a point twice in one ring";
        if (areaOf(vRing) > 0) pOuter = &vRing;
        ASSERT_TRUE(pOuter) << "a hole before its outer ring";
        if (areaOf(vRing) < 0) {
            // One point of the hole that is not on the outer ring decides.
            const auto isElsewhere = [&](const Point2& p) {
                return std::find(pOuter->begin(), pOuter->end(), p) == pOuter->end();
            };
            const auto elsewhere = std::find_if(vRing.begin(), vRing.end(), isElsewhere);
            EXPECT_TRUE(elsewhere == vRing.end() || isInside(*pOuter, *elsewhere));
        }
        for (size_t i = 0; i < vRing.size(); ++i) vSides.emplace_back(vRing[i], vRing[(i + 1) % vRing.size()]);
    }
    for (size_t i = 0; i < vSides.size(); ++i)
        for (size_t j = 0; j < i; ++j)
            ASSERT_FALSE(cross(vSides[i].first, vSides[i].second, vSides[j].first, vSides[j].second))
                << vSides[i].first << vSides[i].second << vSides[j].first << vSides[j].second;
}

/// Every side that is not on the border of the surface is a side of another band, turned around.
void expectShared(const Bands& vBands, size_t numBorderSides) {
    std::multiset<std::pair<XYZ, XYZ>> sSides;
    for (const ContourBand& band : vBands)
        for (const Ring& vRing : band.vRings)
            for (size_t i = 0; i < vRing.size(); ++i)
                sSides.insert({xyz(vRing[i]), xyz(vRing[(i + 1) % vRing.size()])});
    size_t numAlone = 0;
    for (const auto& [from, to] : sSides) numAlone += sSides.count({to, from}) == 0 ? 1 : 0;
    EXPECT_EQ(numAlone, numBorderSides);
}

double totalOf(const ContourBand& band) {
    double area = 0;
    for (const Ring& vRing : band.vRings) area += areaOf(vRing);
    return area;
}

/// The pieces into which levels divide the border of the surface.
size_t countBorderPieces(const TriangleVector& vTriangles, const std::vector<double>& vLevels) {
    size_t numPieces = 0;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            if (pT->getOppositeTriangle(i)) continue;
            const double z0 = pT->getCorner((i + 1) % 3)->z(), z1 = pT->getCorner((i + 2) % 3)->z();
            numPieces += 1 + static_cast<size_t>(std::count_if(vLevels.begin(), vLevels.end(), [&](double level) {
                             return std::min(z0, z1) < level && level < std::max(z0, z1);
                         }));
        }
    }
    return numPieces;
}

void expectBandsOfSurface(const Taro_2D& mesh, const std::vector<double>& vLevels, double tolerance, Random& r) {
    const TriangleVector vTriangles = trianglesOf(mesh);
    const Bands vBands = bandsOf(vTriangles, vLevels);
    double area = 0, expected = 0;
    for (const Triangle2* pT : vTriangles)
        expected += getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
    for (const ContourBand& band : vBands) {
        expectSound(band);
        EXPECT_LT(band.low, band.high);
        area += totalOf(band);
    }
    EXPECT_NEAR(area, expected, tolerance);
    const Bbox2 box = mesh.computeBoundingBox();
    for (int k = 0; k < 300; ++k) {
        const Point2 place(uniform(r, box.getMinX(), box.getMaxX()), uniform(r, box.getMinY(), box.getMaxY()), 0);
        double height = 0;
        if (!mesh.getHeight(place.x(), place.y(), height)) continue;
        for (const ContourBand& band : vBands) {
            // Not where rounding decides.
            if (std::abs(height - band.low) < 1e-6 || std::abs(height - band.high) < 1e-6) continue;
            bool bIn = false;
            for (const Ring& vRing : band.vRings) bIn = bIn != isInside(vRing, place);
            EXPECT_EQ(bIn, band.low <= height && height < band.high) << place << height;
        }
    }
}

}  // namespace

TEST(Bands, DivideTheSurfaceByHeight) {
    Random r(1);
    for (const double origin : {0.0, 4e6}) {
        Taro_2D mesh;
        mesh.insert(makeScattered(150, origin, origin, origin + 10, origin + 10, r, 30));
        const std::vector<double> vLevels{12.5, 3, 27, 18, 3, 12.5, 40, -5};
        expectBandsOfSurface(mesh, vLevels, 1e-10 + 40 * 1e-15 * origin, r);
        expectShared(bandsOf(trianglesOf(mesh), vLevels), countBorderPieces(trianglesOf(mesh), {3, 12.5, 18, 27}));
    }
}

/// Heights are small integers: levels run through vertices, along edges, and around level ground.
TEST(Bands, TakeGroundAtALevelForTheBandAbove) {
    Random r(2);
    for (int round = 0; round < 30; ++round) {
        Taro_2D mesh;
        PointVector vPoints = makeGrid(9, 0, 0, 1, r);
        for (Point2& point : vPoints) point.set(point.x(), point.y(), integer(r, 0, 3));
        mesh.insert(vPoints);
        expectBandsOfSurface(mesh, {1, 2, 1.5}, 1e-10, r);
        // Ground exactly at a level belongs to the band above it.
        const Bands vBands = bandsOf(trianglesOf(mesh), {1, 2});
        for (const Triangle2* pT : trianglesOf(mesh)) {
            if (pT->getCorner(0)->z() == 2 && pT->getCorner(1)->z() == 2 && pT->getCorner(2)->z() == 2) {
                const Point2 middle = pT->getBarycenter();
                bool bIn = false;
                for (const Ring& vRing : vBands.back().vRings) bIn = bIn != isInside(vRing, middle);
                EXPECT_TRUE(bIn && vBands.back().low == 2);
            }
        }
    }
}

/// Rounding moves crossings onto vertices and onto each other.
TEST(Bands, AreSoundAtHeightsNextToThoseOfVertices) {
    Random r(3);
    for (const double origin : {0.0, 500000.0}) {
        Taro_2D mesh;
        mesh.insert(makeScattered(80, origin, origin, origin + 10, origin + 10, r, 30));
        std::vector<double> vLevels;
        for (const Point2* pVtx : verticesOf(mesh)) {
            if (vLevels.size() > 60) break;
            for (const double towards : {-1e9, 1e9}) vLevels.push_back(std::nextafter(pVtx->z(), towards));
            vLevels.push_back(pVtx->z() + 1e-13);
            if (vLevels.size() % 2) vLevels.push_back(pVtx->z());
        }
        expectBandsOfSurface(mesh, vLevels, 1e-10 + 40 * 1e-15 * origin, r);
    }
}

/// Levels are some units in the last place apart, so rounding could make sides cross where they end near a vertex. In
/// two thirds of the scenes many heights are equal, and in half of these vertices are as near to each other.
TEST(Bands, AreSoundBetweenLevelsThatRoundingCouldExchange) {
    for (unsigned seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Random r(seed);
        Taro_2D mesh;
        PointVector vPoints = makeScattered(40, 0, 0, 10, 10, r, 4);
        vPoints.emplace_back(3, 4, 2.5);
        for (size_t i = 1; i < vPoints.size() && seed % 3 > 0; ++i) {
            const Point2& near = vPoints[seed % 3 == 2 && i % 3 == 0 ? i / 2 : i];
            const double x = near.x(), y = near.y();
            vPoints[i].set(std::nextafter(x, x + 1), std::nextafter(y, y - 1), std::floor(vPoints[i].z()));
        }
        mesh.insert(vPoints);
        std::vector<double> vLevels;
        for (const Point2& point : vPoints) {
            if (vLevels.size() > 45) break;
            for (const double towards : {-1e9, 1e9}) vLevels.push_back(std::nextafter(point.z(), towards));
            vLevels.push_back(point.z());
        }
        Bands vBands;
        ASSERT_TRUE(IsoContours(trianglesOf(mesh)).getBands(vLevels, vBands));
        double area = 0, expected = 0;
        for (const ContourBand& band : vBands) {
            expectSound(band);
            area += totalOf(band);
        }
        for (const Triangle2* pT : trianglesOf(mesh))
            expected += getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
        EXPECT_NEAR(area, expected, 1e-12 * expected);
    }
}

TEST(Bands, GiveHolesToTheRingsAroundThem) {
    // Waves around a centre: rings within rings.
    Taro_2D mesh;
    PointVector vPoints;
    for (double x = -20; x <= 20; ++x)
        for (double y = -20; y <= 20; ++y) vPoints.emplace_back(x, y, 10 * std::sin(std::hypot(x, y) * 0.6));
    mesh.insert(vPoints);
    const Bands vBands = bandsOf(trianglesOf(mesh), {-5, 0, 5});
    ASSERT_EQ(vBands.size(), 4u);
    for (const ContourBand& band : vBands) {
        expectSound(band);
        const auto isHole = [](const Ring& vRing) { return areaOf(vRing) < 0; };
        EXPECT_GT(std::count_if(band.vRings.begin(), band.vRings.end(), isHole), 0);
    }
    EXPECT_EQ(vBands[0].low, -MAX);
    EXPECT_EQ(vBands[3].high, MAX);
}

/// Rounding of the largest coordinates is wide beside the distances of the smallest.
TEST(Bands, AreSoundWhereDistancesDifferByMagnitudes) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        Random r(seed);
        const auto coordinate = [&r] {
            const double mantissa = uniform(r, -1, 1);
            return std::ldexp(mantissa, static_cast<int>(integer(r, -60, 60)));
        };
        PointVector vPoints;
        for (int i = 0; i < 25; ++i) {
            const double x = coordinate(), y = coordinate();
            vPoints.emplace_back(x, y, uniform(r, 0, 1));
        }
        Taro_2D mesh;
        mesh.insert(vPoints);
        std::vector<double> vLevels{0.5};
        for (size_t i = 0; i < 4; ++i) vLevels.push_back(std::nextafter(vPoints[i].z(), i % 2 ? 9 : -9));
        for (const ContourBand& band : bandsOf(trianglesOf(mesh), vLevels)) expectSound(band);
    }
}

/// Products of such coordinates are neither finite nor distinct from 0.
TEST(Bands, AreSoundWhereAreasLeaveTheRangeOfDoubles) {
    Random r(8);
    PointVector vPoints = makeScattered(150, -10, -10, 10, 10, r, 30);
    const auto ringsAt = [&](double scale) {
        Taro_2D mesh;
        PointVector vScaled;
        for (const Point2& point : vPoints) vScaled.emplace_back(point.x() * scale, point.y() * scale, point.z());
        mesh.insert(vScaled);
        std::vector<std::vector<XYZ>> vvRings;
        for (const ContourBand& band : bandsOf(trianglesOf(mesh), {5, 10, 15, 25})) {
            for (const Ring& vRing : band.vRings) {
                vvRings.emplace_back();
                for (const Point2& p : vRing) vvRings.back().push_back({p.x() / scale, p.y() / scale, p.z()});
            }
        }
        return vvRings;
    };
    const auto vvExpected = ringsAt(1);
    EXPECT_GT(vvExpected.size(), 5u);
    for (const double scale : {0x1p-950, 0x1p1000}) EXPECT_EQ(ringsAt(scale), vvExpected);
}

TEST(Bands, NeedNoNeighboursAndNoOrder) {
    Random r(4);
    Taro_2D mesh;
    mesh.insert(makeScattered(100, 0, 0, 10, 10, r, 30));
    const std::vector<double> vLevels{5, 10, 20};
    const Bands vBands = bandsOf(trianglesOf(mesh), vLevels);
    std::deque<Point2> vCorners;
    std::deque<Triangle2> vSoup;
    TriangleVector vPointers;
    for (const Triangle2* pT : trianglesOf(mesh)) {
        Triangle2& loose = vSoup.emplace_back();
        for (int i = 0; i < 3; ++i) {
            vCorners.push_back(*pT->getCorner(i));
            loose.setCorner(vSoup.size() % 2 ? i : 2 - i, &vCorners.back());
        }
        vPointers.push_back(&loose);
    }
    std::shuffle(vPointers.begin(), vPointers.end(), r);
    const auto expectEqual = [](const Bands& vExpected, const Bands& vFound) {
        ASSERT_EQ(vExpected.size(), vFound.size());
        for (size_t b = 0; b < vFound.size(); ++b) {
            ASSERT_EQ(vExpected[b].vRings.size(), vFound[b].vRings.size());
            for (size_t k = 0; k < vFound[b].vRings.size(); ++k)
                EXPECT_TRUE(std::equal(vExpected[b].vRings[k].begin(), vExpected[b].vRings[k].end(),
                                       vFound[b].vRings[k].begin(), vFound[b].vRings[k].end(), samePoint));
        }
    };
    expectEqual(vBands, bandsOf(vPointers, vLevels));
    expectEqual(vBands, bandsOf(trianglesOf(mesh), vLevels, 3));
}

TEST(Bands, OfNoLevelsAreTheSurface) {
    Taro_2D mesh;
    mesh.insert({Point2(0, 0, 1), Point2(4, 0, 1), Point2(0, 4, 1), Point2(4, 4, 2)});
    const Bands vBands = bandsOf(trianglesOf(mesh), {});
    ASSERT_EQ(vBands.size(), 1u);
    EXPECT_EQ(vBands[0].vRings.size(), 1u);
    EXPECT_EQ(areaOf(vBands[0].vRings[0]), 16);
    EXPECT_TRUE(bandsOf({}, {1, 2}).empty());
    const IsoContours iso(trianglesOf(mesh));
    Bands vNone;
    EXPECT_TRUE(contains(printedBy([&] { EXPECT_FALSE(iso.getBands({1, INF}, vNone)); }), "not finite"));
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(iso.getBands({NOT_A_NUMBER}, vNone, false)); }), "");
    EXPECT_TRUE(vNone.empty());
}

TEST(Contours, OfManyHeightsAreThoseOfEach) {
    Random r(5);
    Taro_2D mesh;
    mesh.insert(makeScattered(500, 0, 0, 10, 10, r, 30));
    IsoContours iso(trianglesOf(mesh));
    EXPECT_EQ(iso.setNumCPU(-4), 1);
    EXPECT_EQ(iso.setNumCPU(3), 3);
    const std::vector<double> vHeights{20, 5, 11.5, 99, verticesOf(mesh)[7]->z()};
    std::vector<std::vector<std::vector<Segment2>>> vvvContours(1);
    EXPECT_EQ(countOf("Degenerate", printedBy([&] { EXPECT_TRUE(iso.getContours(vHeights, vvvContours)); })), 1u);
    ASSERT_EQ(vvvContours.size(), 1 + vHeights.size());
    EXPECT_TRUE(vvvContours[0].empty());  // the entry that was there
    vvvContours.erase(vvvContours.begin());
    for (size_t k = 0; k < vHeights.size(); ++k) {
        std::vector<std::vector<Segment2>> vvExpected;
        iso.getContours(vHeights[k], vvExpected, false);
        ASSERT_EQ(vvExpected.size(), vvvContours[k].size());
        for (size_t c = 0; c < vvExpected.size(); ++c) {
            const auto isSame = [](const Segment2& a, const Segment2& b) {
                return samePoint(a.getSrc(), b.getSrc()) && samePoint(a.getTrg(), b.getTrg());
            };
            EXPECT_TRUE(std::equal(vvExpected[c].begin(), vvExpected[c].end(), vvvContours[k][c].begin(),
                                   vvvContours[k][c].end(), isSame));
        }
    }
}

TEST(Contours, ReportAndCanBeCancelled) {
    Random r(6);
    Taro_2D mesh;
    mesh.insert(makeScattered(2000, 0, 0, 10, 10, r, 30));
    IsoContours iso(trianglesOf(mesh));
    Recorder recorder;
    iso.subscribe(MT_PROGRESS, &recorder);
    Bands vBands;
    EXPECT_TRUE(iso.getBands({5, 10, 20}, vBands));
    ASSERT_FALSE(recorder.vValues.empty());
    EXPECT_TRUE(std::is_sorted(recorder.vValues.begin(), recorder.vValues.end()));
    EXPECT_EQ(recorder.vValues.back(), 1.0);
    std::atomic<bool> bCancel{true};
    iso.setCancelFlag(&bCancel);
    std::vector<std::vector<Segment2>> vvContours;
    std::vector<std::vector<std::vector<Segment2>>> vvvContours;
    std::vector<Segment2> vProfile;
    EXPECT_THROW(iso.getBands({5, 10, 20}, vBands), TaroCancelled);
    EXPECT_THROW(iso.getContours(5, vvContours), TaroCancelled);
    EXPECT_THROW(iso.getContours({5.0, 6.0}, vvvContours), TaroCancelled);
    EXPECT_THROW(iso.getProfile(Point2(5, 5, 0), vProfile), TaroCancelled);
    EXPECT_TRUE(vvContours.empty() && vvvContours.empty() && vProfile.empty());
    EXPECT_EQ(vBands.size(), 4u);
    iso.unsubscribe(MT_PROGRESS, &recorder);
    iso.setCancelFlag(nullptr);
    EXPECT_TRUE(iso.getContours(5, vvContours));
}
