#pragma once

#include "taro25d/CutAndFill.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <set>

#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"
#include "zones/ConnectedComponent.h"

// Surfaces to compare, a slow comparison of all triangles with all, and checks of components.

namespace earthworks {

using namespace LUMO_TARO25D;

using Heights = std::map<Point2*, std::pair<double, double>>;

using HeightFunction = std::function<double(double, double)>;

inline double areaOf(const Triangle2* pT) { return getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)); }

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
inline Volumes intersectAll(const Zone2* pBefore, const Zone2* pAfter) {
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

inline double volumeUnder(const Zone2* pZone) {
    double sum = 0;
    for (const Triangle2* pT : trianglesOf(pZone))
        sum += areaOf(pT) * (pT->getCorner(0)->z() + pT->getCorner(1)->z() + pT->getCorner(2)->z()) / 3;
    return sum;
}

// ---- Results ----

/// The border of a component: closed chains around it.
inline void checkBorder(const CAF_Component& component, double area, double scale) {
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
inline void checkHeights(const Zone2* pZone, const Heights& mHeights) {
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

inline void checkComponent(const CAF_Component& component, const TriangleVector& vTriangles, const Expected& expected) {
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
inline Volumes check(const CutAndFill& caf) {
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

inline Volumes compare(Zone2* pBefore, Zone2* pAfter, double threshold = 0) {
    CutAndFill caf(pBefore, pAfter, threshold);
    caf.go();
    return check(caf);
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

}  // namespace earthworks
