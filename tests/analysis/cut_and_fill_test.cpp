#include "taro25d/CutAndFill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "analysis/CutAndFillImpl.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

using namespace LUMO_TARO25D;

namespace {

using Heights = std::map<Point2*, std::pair<double, double>>;
using HeightFunction = std::function<double(double, double)>;

double areaOf(const Triangle2* pT) { return getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)); }

// ---- Oracles ----

struct Volumes {
    double cut = 0, fill = 0;
};

/// The integral over a convex polygon of a function that is linear on it.
template <class FunctionT>
double integrate(const PointVector& vPolygon, const FunctionT& f) {
    double sum = 0;
    for (size_t i = 2; i < vPolygon.size(); ++i) {
        const Point2 &a = vPolygon[0], &b = vPolygon[i - 1], &c = vPolygon[i];
        sum += getArea2D(a, b, c) * (f(a) + f(b) + f(c)) / 3;
    }
    return sum;
}

/// The plane of a triangle.
struct Plane {
    explicit Plane(const Triangle2& t) : o(*t.getCorner(0)) {
        const Point2 &p = *t.getCorner(1), &q = *t.getCorner(2);
        const double px = p.x() - o.x(), py = p.y() - o.y(), qx = q.x() - o.x(), qy = q.y() - o.y();
        const double pz = p.z() - o.z(), qz = q.z() - o.z(), det = px * qy - py * qx;
        dx = (pz * qy - qz * py) / det;
        dy = (px * qz - qx * pz) / det;
    }
    double operator()(const Point2& at) const { return o.z() + dx * (at.x() - o.x()) + dy * (at.y() - o.y()); }
    Point2 o;
    double dx, dy;
};

/// The volumes by brute force: each pair of triangles is clipped to its intersection, then to the part where one is
/// above the other. Slivers of rounding are left out, since their planes are arbitrary.
Volumes intersectAll(const Zone2* pBefore, const Zone2* pAfter) {
    const auto listFat = [](const Zone2* pZone) {
        TriangleVector vTriangles = trianglesOf(pZone);
        const auto isThin = [](const Triangle2* pT) { return areaOf(pT) < 1e-11 * pT->getMaxSqEdgeLen2D(); };
        vTriangles.erase(std::remove_if(vTriangles.begin(), vTriangles.end(), isThin), vTriangles.end());
        return vTriangles;
    };
    Volumes volumes;
    const TriangleVector vAfter = listFat(pAfter);
    for (const Triangle2* pA : listFat(pBefore)) {
        for (const Triangle2* pB : vAfter) {
            PointVector vPolygon{*pA->getCorner(0), *pA->getCorner(1), *pA->getCorner(2)};
            for (int i = 0; i < 3 && !vPolygon.empty(); ++i) {
                vPolygon = clip(vPolygon, *pB->getCorner((i + 1) % 3), *pB->getCorner((i + 2) % 3));
            }
            if (vPolygon.empty()) continue;
            const Plane before(*pA), after(*pB);
            const auto raised = [&](const Point2& p) { return after(p) - before(p); };
            const auto lowered = [&](const Point2& p) { return before(p) - after(p); };
            volumes.fill += integrate(clip(vPolygon, raised), raised);
            volumes.cut += integrate(clip(vPolygon, lowered), lowered);
        }
    }
    return volumes;
}

double volumeUnder(const Zone2* pZone) {
    double sum = 0;
    for (const Triangle2* pT : trianglesOf(pZone))
        sum += areaOf(pT) * (pT->getCorner(0)->z() + pT->getCorner(1)->z() + pT->getCorner(2)->z()) / 3;
    return sum;
}

// ---- Results ----

/// The border of a component: closed chains around it.
void checkBorder(const CAF_Component& component, double area, double scale) {
    SegmentVector vBorder;
    component.getBorder(vBorder);
    ASSERT_FALSE(vBorder.empty());
    const Point2 origin = vBorder[0].getSrc();
    double twiceArea = 0;
    for (size_t first = 0, i = 0; i < vBorder.size(); ++i) {
        const Point2 &a = vBorder[i].getSrc(), &b = vBorder[i].getTrg();
        twiceArea += (a.x() - origin.x()) * (b.y() - origin.y()) - (b.x() - origin.x()) * (a.y() - origin.y());
        if (i + 1 < vBorder.size() && b == vBorder[i + 1].getSrc() && b != vBorder[first].getSrc()) continue;
        ASSERT_EQ(b, vBorder[first].getSrc()) << "an open chain";
        first = i + 1;
    }
    EXPECT_NEAR(twiceArea / 2, area, 1e-9 * scale);
}

/// Each vertex of the zone has the heights before and after whose difference it carries.
void checkHeights(const Zone2* pZone, const Heights& mHeights) {
    VertexVector vVertices;
    pZone->getVertices(vVertices);
    EXPECT_EQ(mHeights.size(), vVertices.size());
    for (Point2* pVtx : vVertices) {
        const auto it = mHeights.find(pVtx);
        if (it == mHeights.end())
            ADD_FAILURE() << "no heights for " << *pVtx;
        else
            EXPECT_EQ(pVtx->z(), it->second.first - it->second.second);
    }
}

/// The expected properties of a component, from its triangles alone; the signs of its corners must not differ.
struct Expected {
    double prisms = 0, area = 0, scale = 0;
    int type = CT_NO_CHANGE;

    explicit Expected(const TriangleVector& vTriangles) {
        for (const Triangle2* pT : vTriangles) add(*pT);
    }

  private:
    void add(const Triangle2& t) {
        double sum = 0;
        for (int i = 0; i < 3; ++i) {
            const Point2& corner = *t.getCorner(i);
            sum += corner.z();
            scale = std::max({scale, std::abs(corner.x()), std::abs(corner.y())});
            if (corner.z() == 0) continue;
            EXPECT_TRUE(type == CT_NO_CHANGE || type == (corner.z() > 0 ? CT_CUT : CT_FILL)) << "both signs";
            type = corner.z() > 0 ? CT_CUT : CT_FILL;
        }
        area += areaOf(&t);
        prisms += std::abs(sum) * areaOf(&t) / 3;
    }
};

void checkComponent(const CAF_Component& component, const TriangleVector& vTriangles, const Expected& expected) {
    std::vector<ConnectedComponent> vParts;
    getConnectedComponents(vTriangles, vParts);
    EXPECT_EQ(vParts.size(), 1u) << "not connected";
    checkBorder(component, expected.area, expected.scale * expected.scale);
    if (component.getCAFType() == CT_NO_CHANGE) {
        EXPECT_EQ(component.getVolume(), 0);
        EXPECT_LE(expected.prisms, 0.0001 * expected.area);
    } else {
        EXPECT_EQ(component.getCAFType(), expected.type);
    }
}

/// Checks the invariants of any result; returns the sums of the volumes.
Volumes check(const CutAndFill& caf) {
    Volumes volumes;
    Zone2* pZone = nullptr;
    Heights mHeights;
    caf.getDiffZone(pZone, mHeights);
    if (!pZone) {
        EXPECT_TRUE(mHeights.empty());
        EXPECT_EQ(caf.getNumberOfComponents(), 0u);
        return volumes;
    }
    checkHeights(pZone, mHeights);
    std::set<Triangle2*> sOfComponents;
    const TriangleVector vOfZone = trianglesOf(pZone);
    int lastType = 0;
    for (size_t i = 0; i < caf.getNumberOfComponents(); ++i) {
        const CAF_Component& component = *caf.getComponent(i);
        EXPECT_EQ(component.getLabel(), int(i));
        TriangleVector vTriangles;
        component.getTriangles(vTriangles);
        for (Triangle2* pT : vTriangles) EXPECT_TRUE(sOfComponents.insert(pT).second) << "a triangle in two components";
        const Expected expected(vTriangles);
        EXPECT_GE(expected.type, lastType);
        lastType = expected.type;
        checkComponent(component, vTriangles, expected);
        (expected.type == CT_CUT ? volumes.cut : volumes.fill) += component.getVolume();
    }
    EXPECT_EQ(sOfComponents.size(), vOfZone.size());
    EXPECT_EQ(sOfComponents, std::set<Triangle2*>(vOfZone.begin(), vOfZone.end()));
    return volumes;
}

Volumes compare(Zone2* pBefore, Zone2* pAfter, double threshold = 0) {
    CutAndFill caf(pBefore, pAfter, threshold);
    caf.go();
    return check(caf);
}

/// Every byte of vertices and triangles.
std::string dump(const Taro_2D& mesh) {
    std::string bytes;
    for (const Point2* p : verticesOf(mesh)) bytes.append(reinterpret_cast<const char*>(p), sizeof(*p));
    for (const Triangle2* p : trianglesOf(mesh)) bytes.append(reinterpret_cast<const char*>(p), sizeof(*p));
    return bytes;
}

// ---- Surfaces ----

struct Surface {
    Taro_2D mesh;
    Zone2* pZone = nullptr;

    explicit Surface(const PointVector& vPoints) {
        mesh.insert(vPoints);
        pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    }
    /// The surface of a function that is linear off some breaklines, over a rectangle.
    Surface(const PointVector& vRectangle, const HeightFunction& f, const PointVector& vExtra,
            const SegmentVector& vBreaklines = {}) {
        const auto lifted = [&f](const Point2& p) { return Point2(p.x(), p.y(), f(p.x(), p.y())); };
        for (const Point2& p : vRectangle) mesh.insert(lifted(p));
        SegmentVector vLifted;
        for (const Segment2& s : vBreaklines) vLifted.emplace_back(lifted(s.getSrc()), lifted(s.getTrg()));
        if (!vLifted.empty()) mesh.createConstraint(vLifted, CIS_CONSTRAINED_DELAUNAY);
        for (const Point2& p : vExtra) mesh.insert(lifted(p));
        pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    }
    /// The part of the ground within a polygon.
    Zone2* inside(const PointVector& vPolygon) { return mesh.createZone_cookieCutter(makeSides(vPolygon)); }
};

/// Two thirds of the triangles.
Zone2* makeRagged(Surface& surface, Random& r) {
    return surface.mesh.createZone(someOf(trianglesOf(surface.mesh), 2 / 3.0, r), false);
}

/// Points at 40 of 49 places of a lattice, each moved by itself, with heights from 0 to 2.
struct Family {
    const char* name;
    double origin, spacing;
    double (*move)(Random&);
    bool bRoundHeights;

    PointVector make(Random& r) const {
        PointVector vPoints;
        for (int i = 0; i < 49; ++i) {
            const double x = origin + (spacing * (i % 7) + move(r)), y = origin + (spacing * (i / 7) + move(r));
            const double z = uniform(r, 0, 2);
            vPoints.emplace_back(x, y, bRoundHeights ? std::round(z) : z);
        }
        std::shuffle(vPoints.begin(), vPoints.end(), r);
        vPoints.resize(40);
        return vPoints;
    }
};

}  // namespace

TEST(CutAndFill, AgreesWithAllAgainstAll) {
    const Family aFamilies[] = {
        {"scattered", 0, 10, [](Random& r) { return uniform(r, -5, 5); }, false},
        {"scattered far off", 5e6, 10, [](Random& r) { return uniform(r, -5, 5); }, false},
        {"scattered, low", 1e5, 10, [](Random& r) { return uniform(r, -5, 5); }, true},
        {"lattice", 0, 1, [](Random&) { return 0.0; }, true},
        {"lattice far off", 5e6, 1, [](Random&) { return 0.0; }, true},
        {"half lattice", 0, 1, [](Random& r) { return 0.5 * integer(r, 0, 1); }, true},
        {"lattice with ulps", 9, 1, [](Random& r) { return std::ldexp(integer(r, -1, 1), -49); }, true},
        {"lattice with ulps far off", 5e6, 1, [](Random& r) { return std::ldexp(integer(r, -1, 1), -30); }, true},
        {"lattice, jittered", 0, 1000, [](Random& r) { return uniform(r, -1e-7, 1e-7); }, true},
        {"lattice, jittered less", 0, 1, [](Random& r) { return uniform(r, -1e-11, 1e-11); }, true},
    };
    size_t numCases = 0, numWarnings = 0;
    for (const Family& family : aFamilies) {
        for (unsigned seed = 1; seed <= scaled(200) + 2; ++seed) {
            SCOPED_TRACE(std::string(family.name) + ", seed " + std::to_string(seed));
            Random r(seed);
            Surface before(family.make(r)), after(family.make(r));
            if (seed % 2) {  // with holes, parts, and corners that touch
                before.pZone = makeRagged(before, r);
                after.pZone = makeRagged(after, r);
            }
            const Volumes expected = intersectAll(before.pZone, after.pZone);
            const std::string bytesBefore = dump(before.mesh), bytesAfter = dump(after.mesh);
            const StdoutCapture capture;
            const Volumes volumes = compare(before.pZone, after.pZone);
            ++numCases;
            if (contains(capture, "insufficient numeric accuracy")) {
                ++numWarnings;
            } else {
                const Bbox2 box = before.mesh.computeBoundingBox();
                const double area = (box.getMaxX() - box.getMinX()) * (box.getMaxY() - box.getMinY());
                EXPECT_NEAR(volumes.cut, expected.cut, 1e-9 * 2 * area);
                EXPECT_NEAR(volumes.fill, expected.fill, 1e-9 * 2 * area);
            }
            EXPECT_TRUE(bytesBefore == dump(before.mesh) && bytesAfter == dump(after.mesh));
        }
    }
    EXPECT_LE(numWarnings, numCases / 50);
}

// ---- Closed forms ----

namespace {

struct ClosedForm {
    const char* name;
    struct {
        double cut, fill;
        size_t numCut, numFill;
    } expected;
    double range;
    SegmentVector vBreaklines;
    HeightFunction before, after;
};

/// Upright lines through the square.
SegmentVector makeUprights(const std::vector<double>& vX) {
    SegmentVector vLines;
    for (const double x : vX) vLines.push_back(makeSegment(x, 0, x, 10));
    return vLines;
}

/// The sides of a square around (5, 5), and lines from there to its corners.
SegmentVector makePyramid(double half) {
    const PointVector vCorners = makeRectangle(5 - half, 5 - half, 5 + half, 5 + half);
    SegmentVector vLines = makeSides(vCorners);
    for (const Point2& corner : vCorners) vLines.emplace_back(corner, Point2(5, 5, 0));
    return vLines;
}

double pyramid(double x, double y, double half) {
    return std::max(0.0, 1 - std::max(std::abs(x - 5), std::abs(y - 5)) / half);
}

/// Over the square from 0 to 10.
std::vector<ClosedForm> makeClosedForms() {
    const auto flat = [](double, double) { return 0.0; };
    const auto slope = [](double x, double y) { return 100 + 0.3 * x - 0.1 * y; };
    const auto above = [=](double height) { return [=](double x, double y) { return slope(x, y) + height; }; };
    const auto tilted = [=](double x, double y) { return slope(x, y) + 0.01 * (x + 2 * y - 15); };
    const auto hill = [](double height, double half) {
        return [=](double x, double y) { return height * pyramid(x, y, half); };
    };
    const auto hillInPit = [](double x, double y) { return 6 * pyramid(x, y, 2) - 3 * pyramid(x, y, 4); };
    const auto diagonal = [](double x, double y) { return x - y; };
    const auto dam = [](double x, double) { return std::clamp(3 - std::abs(x - 5), 0.0, 2.0); };
    const auto step = [](double at) { return [=](double x, double) { return std::clamp(1000 * (x - at), 0.0, 1.0); }; };
    const auto wave = [](double x, double) { return std::abs(std::fmod(x, 4) - 2) - 1; };
    // Half the integral of 0.01 |u + 2 v| over -5 < u, v < 5.
    const double tilt = 0.0025 * (1000 + 250 / 3.0);
    return {
        {"identical", {0, 0, 0, 0}, 4, {}, slope, slope},
        {"raised", {0, 150, 0, 1}, 4, {}, slope, above(1.5)},
        {"lowered", {25, 0, 1, 0}, 4, {}, slope, above(-0.25)},
        {"crossing", {40, 90, 1, 1}, 5, {}, flat, [](double x, double) { return 0.5 * (x - 4); }},
        {"crossing in a diagonal", {500 / 3.0, 500 / 3.0, 1, 1}, 10, {}, flat, diagonal},
        {"crossing high up", {tilt, tilt, 1, 1}, 4, {}, slope, tilted},
        {"hill in a pit", {0, 60, 0, 1}, 5, makePyramid(3), hill(-3, 3), hill(2, 3)},
        {"smaller hill in a pit", {0, 32, 0, 1}, 6, joined(makePyramid(4), makePyramid(2)), hill(-3, 4), hillInPit},
        {"dam", {0, 80, 0, 1}, 2, makeUprights({2, 4, 6, 8}), flat, dam},
        {"moved step", {40, 0, 1, 0}, 1, makeUprights({3, 3.001, 7, 7.001}), step(3), step(7)},
        {"wave", {25, 25, 3, 3}, 2, makeUprights({2, 4, 6, 8}), flat, wave},
    };
}

/// The surface of a function over that square, with some random points, and all of it moved.
std::unique_ptr<Surface> makeSurface(const HeightFunction& f, SegmentVector vBreaklines, unsigned seed, double origin) {
    Random r(seed);
    const auto move = [origin](const Point2& p) { return Point2(origin + p.x(), origin + p.y(), 0); };
    PointVector vRectangle = makeRectangle(0, 0, 10, 10), vExtra = makeScattered(60, 0, 0, 10, 10, r);
    for (Point2& p : vRectangle) p = move(p);
    for (Point2& p : vExtra) p = move(p);
    for (Segment2& s : vBreaklines) s = Segment2(move(s.getSrc()), move(s.getTrg()));
    const auto moved = [&](double x, double y) { return f(x - origin, y - origin); };
    return std::make_unique<Surface>(vRectangle, moved, vExtra, vBreaklines);
}

}  // namespace

TEST(CutAndFill, AgreesWithClosedForms) {
    for (const auto& [name, expected, range, vBreaklines, before, after] : makeClosedForms()) {
        for (const double origin : {0.0, 5e6}) {
            for (unsigned seed = 1; seed <= 3; ++seed) {
                SCOPED_TRACE(testing::Message() << name << " at " << origin << ", seed " << seed);
                const auto pBefore = makeSurface(before, vBreaklines, seed, origin),
                           pAfter = makeSurface(after, vBreaklines, 10 + seed, origin);
                const StdoutCapture capture;
                CutAndFill caf(pBefore->pZone, pAfter->pZone, 1e-6);
                caf.go();
                const Volumes volumes = check(caf);
                EXPECT_NEAR(volumes.cut, expected.cut, 1e-9 * 100 * range);
                EXPECT_NEAR(volumes.fill, expected.fill, 1e-9 * 100 * range);
                size_t aNumbers[3] = {0, 0, 0};
                for (size_t i = 0; i < caf.getNumberOfComponents(); ++i) ++aNumbers[caf.getComponent(i)->getCAFType()];
                EXPECT_EQ(aNumbers[CT_CUT], expected.numCut);
                EXPECT_EQ(aNumbers[CT_FILL], expected.numFill);
            }
        }
    }
}

// ---- Zones ----

namespace {

HeightFunction plane(double z) {
    return [z](double x, double) { return z + 0.5 * x; };
}

Zone2* makeRing(Surface& surface, const PointVector& vOuter, const PointVector& vInner) {
    return zoneDifference(surface.inside(vOuter), surface.inside(vInner));
}

}  // namespace

TEST(CutAndFill, ComparesWhatIsInBothZones) {
    Random r(1);
    const PointVector vExtra = makeScattered(50, 0, 0, 10, 10, r);
    const auto square = makeRectangle(0, 0, 10, 10);
    const auto makePair = [&] {
        return std::make_pair(std::make_unique<Surface>(square, plane(3), vExtra),
                              std::make_unique<Surface>(square, plane(1), PointVector()));
    };
    const auto cutBetween = [&](const PointVector& vBefore, const PointVector& vAfter) {
        const auto [pBefore, pAfter] = makePair();
        return compare(pBefore->inside(vBefore), pAfter->inside(vAfter)).cut;
    };
    EXPECT_NEAR(cutBetween(makeRectangle(1, 1, 6, 9), makeRectangle(4, 2, 10, 10)), 2 * 2 * 7, 1e-7);
    EXPECT_NEAR(cutBetween(makeRectangle(1, 4, 9, 6), makeRectangle(4, 1, 6, 9)), 2 * 2 * 2, 1e-7) << "a cross";
    EXPECT_NEAR(cutBetween(makeRectangle(1, 1, 9, 9), {{3, 3, 0}, {7, 3, 0}, {5, 7, 0}}), 2 * 8, 1e-7) << "inside";
    const PointVector vComb{{1, 1, 0}, {9, 1, 0}, {9, 9, 0}, {7, 9, 0}, {7, 3, 0}, {3, 3, 0}, {3, 9, 0}, {1, 9, 0}};
    EXPECT_NEAR(cutBetween(vComb, makeRectangle(0, 5, 10, 8)), 2 * 12, 1e-7) << "two parts";
    {
        const auto [pBefore, pAfter] = makePair();
        CutAndFill caf(makeRing(*pBefore, makeRectangle(1, 1, 9, 9), makeRectangle(3, 3, 6, 6)),
                       makeRing(*pAfter, makeRectangle(2, 2, 10, 10), makeRectangle(5, 5, 7, 7)), 0);
        caf.go();
        EXPECT_NEAR(check(caf).cut, 2 * (49 - 9 - 4 + 1), 1e-7) << "holes";
        EXPECT_EQ(caf.getNumberOfComponents(), 1u);
    }
    {  // of one triangulation, and in it
        const auto pBefore = std::move(makePair().first);
        CutAndFill caf(pBefore->pZone, pBefore->inside(makeRectangle(2, 2, 5, 5)), 0);
        caf.go();
        check(caf);
        ASSERT_EQ(caf.getNumberOfComponents(), 1u);
        EXPECT_EQ(caf.getComponent(0)->getCAFType(), CT_NO_CHANGE);
    }
}

TEST(CutAndFill, HasNoComponentsWhereThereIsNothingToCompare) {
    Surface left(makeRectangle(0, 0, 1, 1), plane(0), {}), right(makeRectangle(1, 0, 2, 1), plane(1), {});
    Surface corner(makeRectangle(1, 1, 2, 2), plane(1), {}), far(makeRectangle(7, 7, 8, 8), plane(1), {});
    Surface inner(makeRectangle(0.2, 0.2, 0.8, 0.8), plane(1), {}),
        turned({{1, 0.5, 0}, {3, 0, 0}, {3, 1, 0}}, plane(1), {});
    Zone2* pNothing = zoneDifference(left.pZone, left.pZone);
    Zone2* pRing = left.inside(makeRectangle(0.2, 0.2, 0.8, 0.8));
    const struct {
        Zone2 *pBefore, *pAfter;
        const char* message;
    } aCases[] = {
        {left.pZone, right.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, corner.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, turned.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, far.pZone, "Zones do not overlap, nothing to do"},
        {zoneDifference(left.pZone, pRing), inner.pZone, "Zones do not overlap, nothing to do"},
        {pNothing, left.pZone, "Zones do not overlap, nothing to do"},
        {left.pZone, pNothing, "Zones do not overlap, nothing to do"},
        {nullptr, left.pZone, "NULL"},
        {left.pZone, nullptr, "NULL"},
    };
    for (const auto& c : aCases) {
        const StdoutCapture capture;
        CutAndFill caf(c.pBefore, c.pAfter, 0);
        caf.go();
        check(caf);
        EXPECT_EQ(caf.getNumberOfComponents(), 0u);
        EXPECT_TRUE(contains(capture, c.message));
        EXPECT_EQ(capture.text().find("WARNING"), capture.text().rfind("WARNING")) << "more than one warning";
    }
}

TEST(CutAndFill, ComparesZonesThatHardlyOverlap) {
    for (const double overlap : {1e-12, 1e-9, 1e-7, 1e-6}) {
        for (unsigned seed = 1; seed <= 20; ++seed) {  // the borders meet at other points, and fold
            SCOPED_TRACE(std::to_string(overlap) + ", seed " + std::to_string(seed));
            Random r(seed);
            const auto makeSurface = [&r](double x) {
                PointVector vPoints = makeRectangle(x, 0, x + 5, 5);
                for (int i = 1; i < 5; ++i)
                    for (const double side : {0, 5}) vPoints.emplace_back(x + side, i + uniform(r, -0.3, 0.3), 2);
                return std::make_unique<Surface>(vPoints);
            };
            const auto pBefore = makeSurface(0), pAfter = makeSurface(5 - overlap);
            const StdoutCapture capture;
            const Volumes volumes = compare(pBefore->pZone, pAfter->pZone);
            EXPECT_LE(volumes.cut + volumes.fill, 1e-4);
        }
    }
}

TEST(CutAndFill, TakesHeightsWhoseDifferenceOverflows) {
    Surface before(makeRectangle(0, 0, 10, 10), [](double x, double) { return x > 5 ? 1.7e308 : -1.7e308; }, {});
    Surface after(makeRectangle(0, 0, 10, 10), [](double x, double) { return x > 5 ? -1.7e308 : 1.7e308; }, {});
    const StdoutCapture capture;
    CutAndFill caf(before.pZone, after.pZone, 0);
    caf.go();
    EXPECT_GE(caf.getNumberOfComponents(), 2u);
}

TEST(CutAndFill, IgnoresWhatIsWithinTheThreshold) {
    Random r(5);
    PointVector vBefore = makeGrid(8, 0, 0, 1, r), vAfter = vBefore;
    for (Point2& p : vBefore) p.set(p.x(), p.y(), uniform(r, 0, 10));
    for (size_t i = 0; i < vAfter.size(); ++i)
        vAfter[i].set(vAfter[i].x(), vAfter[i].y(), vBefore[i].z() + uniform(r, -0.1, 0.1));
    Surface before(vBefore), after(vAfter);
    const double exact = volumeUnder(after.pZone) - volumeUnder(before.pZone);
    const Volumes all = compare(before.pZone, after.pZone);
    EXPECT_NEAR(all.fill - all.cut, exact, 1e-9);
    EXPECT_GT(std::min(all.fill, all.cut), 0.1);
    CutAndFill caf(before.pZone, after.pZone, 0.1);
    caf.go();
    check(caf);  // which finds the heights of each vertex equal
    ASSERT_EQ(caf.getNumberOfComponents(), 1u);
    EXPECT_EQ(caf.getComponent(0)->getCAFType(), CT_NO_CHANGE);
    const Volumes some = compare(before.pZone, after.pZone, 0.05);
    EXPECT_LT(some.fill + some.cut, all.fill + all.cut);
    // Differences below the minimum threshold of 0.0001.
    for (size_t i = 0; i < vAfter.size(); ++i) vAfter[i].set(vAfter[i].x(), vAfter[i].y(), vBefore[i].z() + 0.00009);
    Surface hardlyRaised(vAfter);
    const Volumes none = compare(before.pZone, hardlyRaised.pZone);
    EXPECT_EQ(none.fill + none.cut, 0);
    for (const double threshold : {-1.0, NOT_A_NUMBER})
        EXPECT_EQ(compare(before.pZone, after.pZone, threshold).cut, all.cut);
    EXPECT_EQ(compare(before.pZone, after.pZone, INF).cut, 0);
}

// ---- Where numbers are too coarse ----

namespace {

/// The output of a comparison, whose result must be valid, have no fill, and have the given number of components.
std::string printedByCut(const PointVector& vBefore, const PointVector& vAfter, size_t numComponents) {
    Surface before(vBefore), after(vAfter);
    CutAndFill caf(before.pZone, after.pZone, 0);
    const std::string text = printedBy([&] { caf.go(); });
    EXPECT_EQ(check(caf).fill, 0);
    EXPECT_EQ(caf.getNumberOfComponents(), numComponents);
    return text;
}

}  // namespace

TEST(CutAndFill, DividedDiagonalsStayUnderAThreshold) {
    // The numbers are those of cutting edge by edge. Where the mesh is made Delaunay across divided diagonals, there are more.
    Random r(1);
    Surface before(makeScattered(1000, 0, 0, 100, 100, r, 10)), after(makeScattered(1000, 0, 0, 100, 100, r, 10));
    CutAndFill caf(before.pZone, after.pZone, 2);
    caf.go();
    size_t aNumbers[3] = {0, 0, 0};
    for (size_t i = 0; i < caf.getNumberOfComponents(); ++i) ++aNumbers[caf.getComponent(i)->getCAFType()];
    EXPECT_EQ(aNumbers[CT_NO_CHANGE], 321u);
    EXPECT_EQ(aNumbers[CT_CUT], 79u);
    EXPECT_EQ(aNumbers[CT_FILL], 114u);
}

TEST(CutAndFill, AZeroThatRoundsToTheEndOfItsEdgeIsThatEnd) {
    const PointVector vBefore = makeRectangle(0, 0, 3, 3);
    PointVector vAfter = vBefore;
    for (Point2& p : vAfter) p.set(p.x(), p.y(), -1);
    vAfter.emplace_back(1.3, 1.1, 1e-20);  // raised by next to nothing, while all around is lowered
    const std::string text = printedByCut(vBefore, vAfter, 1);
    EXPECT_EQ(countOf("CutAndFillImpl::virtualCut(), WARNING: close intersection skipped", text), 4u);
    EXPECT_EQ(countOf("WARNING", text), 4u);
}

TEST(CutAndFill, ASignThatCannotBeCutOffGivesWay) {
    // The zeros below the vertex in the middle round to places beside it, at its height, where its edges do not pass.
    const double ulp = std::ldexp(1, -49);
    const auto withMiddle = [=](double z, double zOfMiddle) {
        return PointVector{{11 - ulp, 10, z}, {12 + ulp, 10, z}, {12, 11, 0}, {11, 11, 0}, {11.5, 10.5, zOfMiddle}};
    };
    const std::string text = printedByCut(withMiddle(1, 0), withMiddle(0, ulp), 2);
    EXPECT_TRUE(contains(text, "CutAndFillImpl::addMissingSplitPoints, retry (vnew): "));
    EXPECT_EQ(countOf("TT_INVALID for Triangle", text), 1u);
    EXPECT_EQ(countOf("insufficient numeric accuracy, small differences are set to 0", text), 1u);
}

TEST(CutAndFill, HeightsAtZerosAreEqualWhateverRoundingSays) {
    Random r(1);
    const auto makeRough = [&r] {
        PointVector vPoints = makeScattered(20, 0, 0, 10, 10, r);
        for (Point2& p : vPoints) p.set(p.x(), p.y(), uniform(r, -1e9, 1e9));
        return vPoints;
    };
    Surface before(makeRough()), after(makeRough());
    CutAndFill caf(before.pZone, after.pZone, 0);
    const std::string text = printedBy([&] { caf.go(); });
    check(caf);
    EXPECT_TRUE(contains(text, "CutAndFillImpl::cutT(), WARNING: splitHeight="));
    EXPECT_TRUE(contains(text, "instead of 0, using 0"));
    EXPECT_TRUE(contains(text, "CutAndFillImpl::cutT(), WARNING: height difference="));
    Zone2* pZone = nullptr;
    Heights mHeights;
    caf.getDiffZone(pZone, mHeights);
    const auto isZero = [](const auto& entry) { return entry.first->z() == 0; };
    EXPECT_GT(std::count_if(mHeights.begin(), mHeights.end(), isZero), 20);
}

// ---- Real ground ----

namespace {

/// Ground with a level platform, and slopes of 1 in 2 around it.
double graded(const Point2& p, double x, double y, double half, double level) {
    const double beside = std::max({0.0, std::abs(p.x() - x) - half, std::abs(p.y() - y) - half});
    return std::clamp(p.z(), level - 0.5 * beside, level + 0.5 * beside);
}

}  // namespace

TEST(CutAndFill, OfALandslide) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    Surface before(readRealPoints("landslide_pre10m")), after(readRealPoints("landslide_post10m"));
    ASSERT_EQ(before.mesh.numberOfPoints(), 9638u);
    const Volumes volumes = compare(before.pZone, after.pZone);
    EXPECT_GE(volumes.fill, 19774.6);
    EXPECT_LE(volumes.fill, 23605.3);
    EXPECT_GE(volumes.cut, 24024.4);
    EXPECT_LE(volumes.cut, 27083.2);
    const double exact = volumeUnder(after.pZone) - volumeUnder(before.pZone);
    EXPECT_NEAR(volumes.fill - volumes.cut, exact, 1e-6 * std::abs(exact));
}

TEST(CutAndFill, OfGradedGroundIsTheIntegral) {
    const size_t side = std::max<size_t>(30, scaled(120));
    const PointVector vGround = readTerrain(side, side, 1);
    ASSERT_EQ(vGround.size(), side * side);
    const double x = 74.57 * double(side) / 2, y = -92.47 * double(side) / 2;
    Random r(7);
    // The graded ground, seen through half of the points, and others on it.
    Surface before(vGround);
    PointVector vGraded;
    for (const Point2& p : vGround) {
        const bool bOnHull =
            p.x() == 0 || p.y() == 0 || p.x() > 74.57 * (double(side) - 1.5) || p.y() < -92.47 * (double(side) - 1.5);
        Point2 q = p;
        if (!bOnHull && uniform(r, 0, 1) < 0.5) {
            q.set(p.x() + uniform(r, -30, 30), p.y() + uniform(r, -30, 30), 0);
            double z = 0;
            ASSERT_TRUE(before.mesh.getHeight(q.x(), q.y(), z));
            q.set(q.x(), q.y(), z);
        }
        q.set(q.x(), q.y(), graded(q, x, y, 600, 450));
        vGraded.push_back(q);
    }
    Surface after(vGraded);
    const StdoutCapture capture;
    CutAndFill caf(before.pZone, after.pZone, 0);
    caf.go();
    const Volumes volumes = check(caf);
    const double exact = volumeUnder(after.pZone) - volumeUnder(before.pZone);
    EXPECT_NEAR(volumes.fill - volumes.cut, exact, 1e-6 * std::abs(exact));
    EXPECT_GT(std::min(volumes.cut, volumes.fill), 1e5);
}

// ---- The object ----

TEST(CutAndFill, DoesNotDependOnTheOrderOfThePoints) {
    Random r(3);
    PointVector aPoints[2];
    for (PointVector& vPoints : aPoints) {
        vPoints = joined(makeRectangle(0, 0, 100, 100), makeScattered(300, 0, 0, 100, 100, r, 10));
    }
    std::vector<double> aVolumes[2];
    for (auto& vVolumes : aVolumes) {
        Surface before(aPoints[0]), after(aPoints[1]);
        CutAndFill caf(before.pZone, after.pZone, 0);
        caf.go();
        check(caf);
        for (size_t i = 0; i < caf.getNumberOfComponents(); ++i) vVolumes.push_back(caf.getComponent(i)->getVolume());
        for (PointVector& vPoints : aPoints) std::shuffle(vPoints.begin(), vPoints.end(), r);
    }
    ASSERT_GT(aVolumes[0].size(), 20u);
    ASSERT_EQ(aVolumes[0].size(), aVolumes[1].size());
    for (size_t i = 0; i < aVolumes[0].size(); ++i) EXPECT_NEAR(aVolumes[0][i], aVolumes[1][i], 1e-6) << i;
}

TEST(CutAndFill, TellsListenersHowFarItIs) {
    Recorder listener, warned, former;
    Surface before(makeRectangle(0, 0, 1, 1), plane(0), {}), after(makeRectangle(0, 0, 1, 1), plane(1), {});
    CutAndFill caf(before.pZone, after.pZone, 0);
    EXPECT_EQ(caf.getNumberOfComponents(), 0u);
    caf.subscribe(MT_PROGRESS, &listener);
    caf.subscribe(MT_WARNING, &warned);
    caf.subscribe(MT_PROGRESS, &former);
    caf.unsubscribe(MT_PROGRESS, &former);
    caf.go();
    ASSERT_GT(listener.vValues.size(), 3u);
    EXPECT_TRUE(std::is_sorted(listener.vValues.begin(), listener.vValues.end()));
    EXPECT_EQ(listener.vValues.back(), 1.0);
    EXPECT_EQ(std::count(listener.vValues.begin(), listener.vValues.end(), 1.0), 1);
    EXPECT_EQ(listener.vMessages, std::vector<std::string>(listener.vValues.size(), "CutAndFill"));
    EXPECT_TRUE(warned.vValues.empty() && former.vValues.empty());
    const CAF_Component* pFirst = caf.getComponent(0);
    const StdoutCapture capture;
    caf.go();
    EXPECT_EQ(warned.vMessages, std::vector<std::string>{"go() has been called before, nothing to do"});
    EXPECT_TRUE(contains(capture, "CutAndFill, WARNING: go() has been called before, nothing to do"));
    EXPECT_EQ(caf.getNumberOfComponents(), 1u);
    EXPECT_EQ(caf.getComponent(0), pFirst);
    EXPECT_THROW(caf.getComponent(1), TaroException);
}

TEST(CutAndFill, DrawsCutAndFillAndTheLineBetween) {
    Surface before(makeRectangle(0, 0, 10, 10), plane(0), {});
    Surface after(makeRectangle(0, 0, 10, 10), [](double x, double) { return x - 3; }, {});
    CutAndFill caf(before.pZone, after.pZone, 0);
    caf.go();
    caf.show(nullptr);
    printedBy([&] {
        Visualizer2 drawing("cut_and_fill.ps");
        caf.show(&drawing);
        drawing.writeFile();
    });
    const std::string text = readFile("cut_and_fill.ps");
    for (const char* color : {"1\t0\t0\tsetrgbcolor", "0\t0\t1\tsetrgbcolor", "0.5\tsetlinewidth"})
        EXPECT_TRUE(contains(text, color)) << color;
}

TEST(CutAndFill, ChecksItsHeights) {
    Surface before(makeRectangle(0, 0, 10, 10), plane(0), {});
    Surface after(makeRectangle(0, 0, 10, 10), [](double x, double) { return x - 3; }, {});
    CutAndFillImpl caf(before.pZone, after.pZone, 0);
    StdoutCapture capture;
    EXPECT_FALSE(caf.checkHeightMap(nullptr));
    EXPECT_FALSE(caf.verifyHeightMap("nothing yet"));
    EXPECT_TRUE(contains(capture, "checkHeightMap: pCombinedZone==NULL, returning"));
    EXPECT_EQ(capture.text().find("OKAY"), std::string::npos);
    caf.go();
    EXPECT_TRUE(caf.verifyHeightMap("sound"));
    EXPECT_TRUE(contains(capture, "\n\n\n*** verifyHeightMap for sound"));
    EXPECT_TRUE(contains(capture, "\n\n\n*** verifyHeightMap OKAY for sound"));

    Zone2* pZone = nullptr;
    Heights mHeights;
    caf.getDiffZone(pZone, mHeights);
    Triangle2* pT = trianglesOf(pZone)[0];
    Point2* pVtx = pT->getCorner(0);
    pVtx->set(pVtx->x(), pVtx->y(), pVtx->z() + 0.0005);
    EXPECT_FALSE(caf.checkHeightMap(pZone));
    EXPECT_NE(caf.getTriangleType(pT), CutAndFillImpl::TT_INVALID);
    pVtx->set(pVtx->x(), pVtx->y(), pVtx->z() + 0.001);
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());
            caf.getTriangleType(pT);
        },
        testing::ExitedWithCode(1), "getTriangleType, pVtx=.*but combined height is: ");
}

// ---- Simple components ----

namespace {

/// Whether the borders of the parts are single rings that meet no vertex twice; how many there are.
size_t checkParts(const TriangleVector& vTriangles) {
    std::vector<ConnectedComponent> vComponents, vParts;
    getConnectedComponents(vTriangles, vComponents);
    for (const ConnectedComponent& component : vComponents) component.splitIntoSimple(vParts);
    TriangleVector vAll;
    for (ConnectedComponent& part : vParts) {
        vAll.insert(vAll.end(), part.getTriangles().begin(), part.getTriangles().end());
        part.sortBorders();
        EXPECT_EQ(part.getSortedBorders().size(), 1u);
        std::set<Point2*> sVertices;
        for (const Edge2& edge : part.getSortedBorders()[0]) EXPECT_TRUE(sVertices.insert(edge.getSrc()).second);
    }
    EXPECT_EQ(std::set<Triangle2*>(vAll.begin(), vAll.end()),
              std::set<Triangle2*>(vTriangles.begin(), vTriangles.end()));
    EXPECT_EQ(vAll.size(), vTriangles.size());
    return vParts.size();
}

}  // namespace

TEST(ConnectedComponent, SplitsIntoSimpleOnes) {
    Random r(4);
    Surface surface(makeGrid(20, 0, 0, 1, r));
    EXPECT_EQ(checkParts(trianglesOf(surface.pZone)), 1u);
    EXPECT_EQ(checkParts(trianglesOf(surface.inside(makeStar(40, 10, 10, 9, r)))), 1u);
    EXPECT_EQ(checkParts(trianglesOf(makeRing(surface, makeRectangle(2, 2, 16, 16), makeRectangle(5, 5, 8, 8)))), 2u);
    for (const double share : {0.1, 0.5, 0.8, 0.95}) {
        checkParts(someOf(trianglesOf(surface.mesh), share, r));
    }
}
