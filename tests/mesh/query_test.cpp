#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/delaunay_oracle.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/Segment2.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/TriangleAroundVertexIterator.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

/// Small triangulations of every kind of points, made at once and point by point.
void forEachMesh(const std::function<void(Taro_2D&, Random&)>& check) {
    for (const Generator& generator : generators) {
        for (const size_t n : {5, 40}) {
            SCOPED_TRACE(generator.name + (" " + std::to_string(n)));
            Random random(n);
            const PointVector vPoints = generator.make(n, random);
            Taro_2D bulkMesh, singleMesh;
            bulkMesh.insert(vPoints);
            if (bulkMesh.is2D()) check(bulkMesh, random);
            for (const Point2& point : vPoints) singleMesh.insert(point);
            if (singleMesh.is2D()) check(singleMesh, random);
        }
    }
}

template <class T>
std::vector<T> sorted(std::vector<T> v) {
    std::sort(v.begin(), v.end());
    return v;
}

bool isIn(const Triangle2& t, const Point2& p) {
    const auto isOnInnerSide = [&](int i) {
        return oracleOrientation(*t.getCorner(i), *t.getCorner(incIndexBy1(i)), p) >= 0;
    };
    return isOnInnerSide(0) && isOnInnerSide(1) && isOnInnerSide(2);
}

/// Andrew's monotone chain: counterclockwise from the leftmost point, with or without collinear points.
PointVector monotoneChain(const VertexVector& vVertices, bool bAllVertices) {
    PointVector vSorted, vHull;
    for (const Point2* p : vVertices) vSorted.push_back(*p);
    std::sort(vSorted.begin(), vSorted.end());
    const auto addChain = [&](auto begin, auto end) {
        const size_t base = vHull.size();
        for (auto it = begin; it != end; ++it) {
            while (vHull.size() >= base + 2 &&
                   oracleOrientation(vHull[vHull.size() - 2], vHull.back(), *it) < (bAllVertices ? 0 : 1)) {
                vHull.pop_back();
            }
            vHull.push_back(*it);
        }
        vHull.pop_back();
    };
    addChain(vSorted.begin(), vSorted.end());
    addChain(vSorted.rbegin(), vSorted.rend());
    return vHull;
}

PointVector getHull(const Taro_2D& mesh, bool bAllVertices) {
    const VertexVector vHull = hullOf(mesh, bAllVertices);
    PointVector vResult;
    for (const Point2* p : vHull) vResult.push_back(*p);
    std::rotate(vResult.begin(), std::min_element(vResult.begin(), vResult.end()), vResult.end());
    return vResult;
}

/// The unit square with one more vertex in the middle of its upper side; height x.
struct Square {
    Square() {
        for (const auto& [x, y] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}, {0.5, 1.0}}) {
            vCorners.push_back(mesh.insert(Point2(x, y, x)));
        }
    }
    Taro_2D mesh;
    VertexVector vCorners;
};

void expectPrinted(const StdoutCapture& capture, std::initializer_list<std::string> texts) {
    for (const std::string& text : texts) {
        EXPECT_TRUE(contains(capture, text));
    }
}

TEST(Locate, FindsExactlyTheTrianglesThatContainAPoint) {
    forEachMesh([](Taro_2D& mesh, Random& random) {
        const TriangleVector vTriangles = trianglesOf(mesh);
        PointVector vQueries;
        const VertexVector vVertices = verticesOf(mesh);
        for (const Point2* p : vVertices) vQueries.push_back(*p);
        for (size_t i = 0; i < 12; ++i) {
            const Point2 a = vQueries[random() % vQueries.size()], b = vQueries[random() % vQueries.size()];
            vQueries.push_back(centerWithShift(a, b));  // often exactly on an edge, or on the hull
            vQueries.emplace_back(std::nextafter(a.x(), b.x()), a.y(), 0.0);
            vQueries.emplace_back(a.x(), std::nextafter(a.y(), 0.0), 0.0);
        }
        for (const Point2& query : vQueries) {
            const Triangle2* pT = mesh.locate(query);
            const bool bInside =
                std::any_of(vTriangles.begin(), vTriangles.end(), [&](const Triangle2* p) { return isIn(*p, query); });
            ASSERT_EQ(pT != nullptr, bInside) << query;
            const bool bVertex =
                std::any_of(vVertices.begin(), vVertices.end(), [&](const Point2* p) { return *p == query; });
            const Point2* pVtx = mesh.getImpl()->getVertexPointer(query);
            ASSERT_TRUE(bVertex ? pVtx && *pVtx == query : !pVtx) << query;
            ASSERT_TRUE(!pT || isIn(*pT, query)) << query;
        }
    });
}

TEST(Locate, RefusesWhatCannotBeInside) {
    const Square square;
    for (const double bad : {NOT_A_NUMBER, INF, -INF, 1e308}) {
        EXPECT_EQ(square.mesh.locate(Point2(bad, 0.5, 0.0)), nullptr);
        EXPECT_EQ(square.mesh.locate(Point2(0.5, bad, 0.0)), nullptr);
        EXPECT_EQ(square.mesh.getImpl()->getVertexPointer(Point2(bad, 0.5, 0.0)), nullptr);
    }
    EXPECT_NE(square.mesh.locate(Point2(0.25, 1.0, NOT_A_NUMBER)), nullptr);
    EXPECT_LT(square.mesh.getImpl()->getGeomTest().getMaxAbsCoord(), 10.0) << "filters suffered from far queries";
}

bool isThin(const Triangle2& t) {
    const ExactVector u(*t.getCorner(1), *t.getCorner(0)), v(*t.getCorner(2), *t.getCorner(0));
    const mpq_class det = exactCross(u, v), sqSize = std::max(mpq_class(u.sqLength()), mpq_class(v.sqLength()));
    return det * det < 1e-16 * sqSize * sqSize;
}

/// The height of the plane through the corners at p, in rational numbers.
mpq_class exactHeight(const Triangle2& t, const Point2& p) {
    const Point2 &a = *t.getCorner(0), &b = *t.getCorner(1), &c = *t.getCorner(2);
    const ExactVector u(b, a), v(c, a), w(p, a);
    return a.z() + (exactCross(w, v) * (mpq_class(b.z()) - a.z()) + exactCross(u, w) * (mpq_class(c.z()) - a.z())) /
                       exactCross(u, v);
}

TEST(Height, IsThatOfThePlaneThroughTheCorners) {
    forEachMesh([](Taro_2D& mesh, Random& random) {
        const double zScale = std::ldexp(1.0, static_cast<int>(integer(random, -1000, 1000)));
        for (Point2* p : verticesOf(mesh)) p->set(p->x(), p->y(), p->z() * zScale);
        for (Triangle2* pT : trianglesOf(mesh)) {
            const Point2 &a = *pT->getCorner(0), &b = *pT->getCorner(1), &c = *pT->getCorner(2);
            const Point2 place = barycenter(centerWithShift(a, b), b, c);
            if (!isIn(*pT, place)) continue;
            double height = NOT_A_NUMBER;
            ASSERT_TRUE(mesh.getHeight(place.x(), place.y(), height)) << *pT;
            const auto [zMin, zMax] = std::minmax({a.z(), b.z(), c.z()});
            ASSERT_TRUE(zMin <= height && height <= zMax) << *pT;
            ASSERT_LE(std::abs(height - exactHeight(*pT, place).get_d()), 1e-7 * (zMax - zMin)) << *pT;
            ASSERT_TRUE(mesh.getHeight(b.x(), b.y(), height));
            ASSERT_EQ(height, b.z());
        }
    });
}

TEST(Height, OnALevelEdgeIsItsHeightHoweverLarge) {
    // The plane is above the edge by rounding, which is no reason to doubt that the place is in the triangle.
    Random random(5);
    for (int i = 0; i < 200; ++i) {
        Taro_2D mesh;
        const Point2 a(uniform(random, -1, 1), uniform(random, -1, 1), 1e20), b(uniform(random, 2, 4), 0.1, 1e20);
        for (const Point2& p : {a, b, Point2(1, 5, -1e20), Point2(1, -5, -1e20)}) mesh.insert(p);
        const Point2 place = centerWithShift(a, b);
        double height = 0;
        ASSERT_TRUE(mesh.getHeight(place.x(), place.y(), height));
        EXPECT_NEAR(height, 1e20, 1e6);
    }
}

TEST(Height, OfAGivenTriangle) {
    using XYZ = std::array<double, 3>;
    const struct {
        std::array<XYZ, 3> aCorners;
        double x, y;
        bool bFound;
        double height;
    } aCases[] = {// Beyond the range of the corners by less than the tolerance; by more, the edges on y = 0
                  // and x + y = 1 decide.
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, 0.25, 0.25, true, 0.25},
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, 1.0009, 0.25, true, 1.0},
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, -0.0009, 0.25, true, 0.0},
                  {{XYZ{0, 0, 0}, {1, 0, 1}, {0, 1, 0}}, 1.5, 0.0, true, 1.0},
                  // Thinner than rounding errors of an area.
                  {{XYZ{-2.4285714285714284, -7.4285714285714279, -2.4285714285714284}, {-3, -8, -3}, {-1, -6, -1}},
                   -1.525,
                   -6.525,
                   true,
                   -1.525},
                  // Collinear, between the second and the third corner: straight, bent up, bent down, level.
                  {{XYZ{0, 0, 0}, {1, 1, 1}, {4, 4, 4}}, 2.0, 2.0, true, 2.0},
                  {{XYZ{0, 0, 0}, {1, 1, 7}, {4, 4, 4}}, 2.0, 2.0, false, 3.5},
                  {{XYZ{0, 0, 0}, {1, 1, -2}, {4, 4, 4}}, 2.0, 2.0, true, 1.0},
                  {{XYZ{0, 0, 6}, {1, 1, 6}, {4, 4, 6}}, 2.0, 2.0, true, 6.0}};
    const Square square;
    for (const auto& c : aCases) {
        PointVector v;
        for (const auto& [x, y, z] : c.aCorners) v.emplace_back(x, y, z);
        Triangle2 triangle(&v[0], &v[1], &v[2]);
        double height = NOT_A_NUMBER;
        EXPECT_EQ(square.mesh.getHeight(c.x, c.y, height, &triangle), c.bFound) << triangle;
        EXPECT_DOUBLE_EQ(height, c.height) << triangle;
    }
}

TEST(Height, OutsideTheHullNeedsATolerance) {
    const Square square;
    const struct {
        double x, y, tolerance;
        bool bFound;
        double height;
    } aCases[] = {
        {0.25, -0.5, 0.0, false, 0.0},        {0.25, -0.5, 0.4375, false, 0.0}, {0.25, -0.5, 0.5, true, 0.25},
        {0.75, 1.5, 1.0, true, 0.75},         {-3.0, -4.0, 5.0, true, 0.0},     {4.0, 5.0, 4.999, false, 0.0},
        {4.0, 5.0, 5.0, true, 1.0},           {4.0, 1.0, 3.0, true, 1.0},       {1e300, 0.5, 1.0, false, 0.0},
        {1e300, 0.5, 1e301, true, 1.0},       {2.0, 0.5, INF, true, 1.0},       {2.0, 0.5, NOT_A_NUMBER, false, 0.0},
        {NOT_A_NUMBER, 0.5, 1.0, false, 0.0}, {0.5, INF, INF, false, 0.0}};
    for (const auto& c : aCases) {
        double height = 0.0;
        EXPECT_EQ(square.mesh.getHeight(c.x, c.y, height, nullptr, c.tolerance), c.bFound) << c.x << ", " << c.y;
        EXPECT_DOUBLE_EQ(height, c.height) << c.x << ", " << c.y;
    }
    double height = 0.0;
    const StdoutCapture capture;
    EXPECT_THROW(square.mesh.getImpl()->getNearbyHeight(0.3, 0.4, height, 1.0), TaroException);
    expectPrinted(capture, {"intState>-1 && intState<4"});
}

TEST(Height, OutsideTheHullIsThatOfTheNearestHullPoint) {
    forEachMesh([](Taro_2D& mesh, Random& random) {
        const PointVector vHull = getHull(mesh, true);
        const Bbox2 box = mesh.computeBoundingBox();
        const double size = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY());
        if (!(size < 1e100 && size > 1e-100)) return;
        // Heights along the hull must not be too steep, or on both sides of a flat hull, to be compared.
        for (const Triangle2* pT : trianglesOf(mesh)) {
            if (isThin(*pT)) return;
        }
        for (int k = 0; k < 20; ++k) {
            const Point2 query(box.getMinX() + uniform(random, -1.0, 2.0) * size,
                               box.getMinY() + uniform(random, -1.0, 2.0) * size, 0.0);
            double height = 0.0, nearest = INF, expected = 0.0;
            if (mesh.getHeight(query.x(), query.y(), height)) continue;
            for (size_t i = 0; i < vHull.size(); ++i) {
                const Point2 &a = vHull[i], &b = vHull[(i + 1) % vHull.size()];
                const Point2 foot = getFootPoint(query, a, b);
                const Point2& candidate = approxHasOn(a, b, foot) ? foot : b;
                if (distance2D(query, candidate) > nearest) continue;
                nearest = distance2D(query, candidate);
                expected = candidate.z();
            }
            ASSERT_TRUE(mesh.getHeight(query.x(), query.y(), height, nullptr, 1.0000001 * nearest));
            ASSERT_NEAR(height, expected, 1e-6);
            ASSERT_FALSE(mesh.getHeight(query.x(), query.y(), height, nullptr, 0.9999 * nearest));
        }
    });
}

TEST(Neighbourhood, AgreesWithTheListOfTriangles) {
    forEachMesh([](Taro_2D& mesh, Random&) {
        std::map<Point2*, std::map<Point2*, Triangle2*>> mEdges;  // source, target, triangle on the left
        for (Triangle2* pT : trianglesOf(mesh)) {
            for (int i = 0; i < 3; ++i) mEdges[pT->getCorner(i)][pT->getCorner(incIndexBy1(i))] = pT;
        }
        for (Point2* p : verticesOf(mesh)) {
            TriangleVector vExpected;
            std::set<Point2*> sNeighbours;
            for (Point2* q : verticesOf(mesh)) {
                if (p == q) continue;
                Triangle2 *pLeft = mEdges[p][q], *pRight = mEdges[q][p];
                ASSERT_EQ(mesh.getAdjacentTriangle(p, q), pLeft);
                ASSERT_EQ(mesh.getImpl()->isEdge(p, q), pLeft || pRight);
                if (pLeft) vExpected.push_back(pLeft);
                if (pLeft || pRight) sNeighbours.insert(q);
            }
            VertexVector vNeighbours;
            mesh.getIncidentVertices(p, vNeighbours);
            ASSERT_EQ(sorted(vNeighbours), VertexVector(sNeighbours.begin(), sNeighbours.end()));

            const TriangleVector vAround = trianglesAround(mesh, p);
            ASSERT_EQ(vAround.front(), p->getIncidentTriangle());
            ASSERT_EQ(sorted(vAround), sorted(vExpected));
            int numGaps = 0;  // one at the hull, where the order wraps around
            for (size_t k = 0; k < vAround.size(); ++k) {
                const Triangle2 *pT = vAround[k], *pNext = vAround[(k + 1) % vAround.size()];
                const int i = pT->getIntraTriangleIndex(p), iNext = pNext->getIntraTriangleIndex(p);
                if (pT->getCorner(incIndexBy2(i)) == pNext->getCorner(incIndexBy1(iNext))) continue;
                ++numGaps;
                ASSERT_EQ(pT->getOppositeTriangle(incIndexBy1(i)), nullptr);
            }
            ASSERT_LE(numGaps, 1);
            TriangleAroundVertexIterator it(p);
            for (size_t k = vAround.size(); k-- > 0;) ASSERT_EQ(*--it, vAround[k]);
            ASSERT_EQ(it, TriangleAroundVertexIterator(p));
            it.loop();
            ASSERT_EQ((*it)->getOppositeTriangle(incIndexBy2((*it)->getIntraTriangleIndex(p))) == nullptr,
                      sNeighbours.size() > vAround.size());
        }
    });
}

TEST(Neighbourhood, WrongVerticesAreRefused) {
    Square square;
    Point2 stranger(0.5, 0.5, 0.0);
    Point2* pVtx = square.vCorners[0];
    TriangleVector vTriangles;
    VertexVector vNeighbours;
    for (Point2* pWrong : {&stranger, static_cast<Point2*>(nullptr)}) {
        EXPECT_THROW(square.mesh.getIncidentTriangles(pWrong, vTriangles), TaroException);
        EXPECT_THROW(square.mesh.getIncidentVertices(pWrong, vNeighbours), TaroException);
        EXPECT_FALSE(square.mesh.getImpl()->isEdge(pWrong, pVtx));
        EXPECT_FALSE(square.mesh.getImpl()->isEdge(pVtx, pWrong));
    }
    EXPECT_EQ(square.mesh.getAdjacentTriangle(&stranger, pVtx), nullptr);
    const StdoutCapture capture;
    EXPECT_THROW(square.mesh.getAdjacentTriangle(nullptr, pVtx), TaroException);
    EXPECT_THROW(square.mesh.getAdjacentTriangle(pVtx, nullptr), TaroException);
    EXPECT_THROW(square.mesh.getAdjacentTriangle(pVtx, pVtx), TaroException);
    expectPrinted(capture, {"[ p0!=__null failed ]", "[ p1!=__null failed ]", "[ p0!=p1 failed ]"});
}

TEST(Hull, AgreesWithTheMonotoneChain) {
    forEachMesh([](Taro_2D& mesh, Random&) {
        ASSERT_EQ(getHull(mesh, true), monotoneChain(verticesOf(mesh), true));
        ASSERT_EQ(getHull(mesh, false), monotoneChain(verticesOf(mesh), false));
        ASSERT_TRUE(mesh.checkValidity(true, "random"));
        std::vector<std::pair<Triangle2*, int>> vEdges;
        mesh.getImpl()->getConvexHull(vEdges);
        ASSERT_EQ(vEdges.size(), getHull(mesh, true).size());
        for (const auto& [pT, i] : vEdges) ASSERT_EQ(pT->getOppositeTriangle(i), nullptr);
    });
}

TEST(Queries, BeforeTheFirstTriangleAnswerNothing) {
    Taro_2D mesh;
    for (int i = 0; i < 4; ++i) mesh.insert(Point2(i, 2.0 * i, 1.0));
    Point2* pVtx = mesh.getImpl()->getVertexPointer(Point2(1.0, 2.0, 0.0));
    ASSERT_NE(pVtx, nullptr);
    double height = 0.0;
    TriangleVector vTriangles;
    VertexVector vPoints;
    EXPECT_EQ(mesh.locate(*pVtx), nullptr);
    EXPECT_FALSE(mesh.getHeight(1.0, 2.0, height, nullptr, 9.0));
    EXPECT_FALSE(mesh.getImpl()->isEdge(pVtx, pVtx));
    EXPECT_THROW(mesh.getIncidentTriangles(pVtx, vTriangles), TaroException);
    EXPECT_EQ(mesh.getImpl()->getOneValidTriangle(), nullptr);
    EXPECT_EQ(mesh.numberOfTriangles(), 0u);
    EXPECT_TRUE(trianglesOf(mesh).empty());
    const StdoutCapture capture;
    mesh.getConvexHull(true, vPoints);
    EXPECT_TRUE(vPoints.empty());
    EXPECT_TRUE(mesh.checkValidity(true, "line"));
    mesh.statistics("line");
    expectPrinted(
        capture, {"Dt2::getConvexHull(), WARNING: is2D() is false, the triangulation is not full dimensional yet",
                  "not fulldimensional yet (empty or all points collinear), Returning true", "Number of triangles: 0"});
}

TEST(Queries, DoNotSeeRecycledTriangles) {
    Square square;
    Dt2& engine = *square.mesh.getImpl();
    const size_t numTriangles = square.mesh.numberOfTriangles();
    TriangleVector vFresh;
    engine.getFreshTriangles(2, vFresh);
    engine.storeRecycledT(vFresh);
    EXPECT_EQ(square.mesh.numberOfTriangles(), numTriangles);
    EXPECT_EQ(trianglesOf(square.mesh).size(), numTriangles);
    EXPECT_NE(engine.getOneValidTriangle()->getCorner(0), nullptr);
}

/// Damage to a mesh at an inner vertex and one of its triangles, and the message that must name it.
struct Damage {
    const char* message;
    std::function<void(Dt2& engine, Triangle2* pT, Point2* pInner)> inflict;
};

/// Six vertices on the unit circle, the first at (1, 0), and two inside.
Point2* makeRosette(Taro_2D& mesh) {
    for (int k = 0; k < 6; ++k) mesh.insert(Point2(std::cos(k), std::sin(k), 0.0));
    mesh.insert(Point2(-0.2, 0.1, 0.0));
    return mesh.insert(Point2(0.0, 0.0, 0.0));
}

TEST(Validity, FindsEachKindOfDamage) {
    static Point2 foreign(0.0, 0.1, 0.0);
    const Damage aDamages[] = {
        {"Less than three different corners", [](Dt2&, Triangle2* pT, Point2*) { pT->setCorner(1, nullptr); }},
        {"Corners are not counterclockwise", [](Dt2&, Triangle2*, Point2* pInner) { pInner->set(0.9, 0.9, 0.0); }},
        {"Inconsistent neighborships:",
         [](Dt2&, Triangle2* pT, Point2*) {
             for (int i = 0; i < 3; ++i) pT->setOppositeTriangle(i, nullptr);
         }},
        {"Neighbor found but inconsistent intra triangle indices:",
         [](Dt2&, Triangle2* pT, Point2* pInner) { pT->setCorner(pT->getIntraTriangleIndex(pInner), &foreign); }},
        {"Sphere inclusion test failed ",
         [](Dt2& engine, Triangle2* pT, Point2*) {
             int i = 0;
             while (!engine.canBeFlipped(pT, i)) ++i;
             engine.flip(pT, i);
         }},
        {"Vertex without incident triangle",
         [](Dt2&, Triangle2*, Point2* pInner) { pInner->setIncidentTriangle(nullptr); }},
        {"Edges without neighbor that are not on the hull",
         [](Dt2& engine, Triangle2*, Point2* pInner) {
             Point2* pOther = engine.getVertexPointer(Point2(-0.2, 0.1, 0.0));
             Triangle2* pT = engine.getAdjacentTriangle(pInner, pOther);
             Triangle2* pN = engine.getAdjacentTriangle(pOther, pInner);
             pT->setOppositeTriangle(pT->getIntraTriangleIndex(pN), nullptr);
             pN->setOppositeTriangle(pN->getIntraTriangleIndex(pT), nullptr);
         }},
        {"The hull is not convex",
         [](Dt2& engine, Triangle2*, Point2*) { engine.getVertexPointer(Point2(1.0, 0.0, 0.0))->set(0.3, 0.0, 0.0); }},
        {"Euler's formula does not hold", [](Dt2& engine, Triangle2* pT, Point2*) {
             engine.createTriangle(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2));
             for (int i = 0; i < 3; ++i) pT->getCorner(i)->setIncidentTriangle(pT);
         }}};
    for (const Damage& damage : aDamages) {
        SCOPED_TRACE(damage.message);
        Taro_2D mesh;
        Point2* pInner = makeRosette(mesh);
        ASSERT_TRUE(mesh.checkValidity(true, "intact"));
        damage.inflict(*mesh.getImpl(), pInner->getIncidentTriangle(), pInner);
        const bool bCircles = std::string(damage.message).find("Sphere") == 0;
        const StdoutCapture capture;
        EXPECT_FALSE(mesh.checkValidity(bCircles, "damaged"));
        expectPrinted(capture, {"\n* ConstraintSegments (alive): 0, contained: 0, missing: 0\n", damage.message,
                                "\ncheckValidity, bug, name=damaged"});
        EXPECT_TRUE(!bCircles || mesh.checkValidity(false, "all but the circles"));
    }
}

TEST(Queries, TheCheckCountsConstraintSegmentsInABrokenMeshToo) {
    // A side of the square is an edge from the start; its diagonal passes a vertex and waits.
    Taro_2D mesh;
    VertexVector vHandles;
    mesh.insert({{0, 0, 0}, {8, 0, 0}, {8, 8, 0}, {0, 8, 0}, {4, 4, 0}}, vHandles);
    mesh.getImpl()->getConstraintManager()->createConstraint({{vHandles[0], vHandles[1]}, {vHandles[0], vHandles[2]}},
                                                             CIS_CONSTRAINED_DELAUNAY, false);
    {
        const StdoutCapture capture;
        EXPECT_FALSE(mesh.checkValidity(true, "pending"));
        expectPrinted(capture, {"\n* ConstraintSegments (alive): 2, contained: 1, missing: 1\n",
                                "Not contained: ConstraintSegment2 label ", "\ncheckValidity, bug, name=pending"});
    }
    mesh.applyConstraintsAndZones();
    const std::string sound = "\n* ConstraintSegments (alive): 3, contained: 3, missing: 0\n";
    EXPECT_EQ(printedBy([&] { EXPECT_TRUE(mesh.checkValidity(true, "applied")); }), sound);
    mesh.setName("pit");
    EXPECT_EQ(printedBy([&] { EXPECT_TRUE(mesh.checkValidity(true, "applied")); }), "pit" + sound);
    for (Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; i < 3; ++i) pT->setOppositeTriangle(i, nullptr);
    }
    const StdoutCapture capture;
    EXPECT_FALSE(mesh.checkValidity(true, "without links"));
    expectPrinted(capture, {"pit" + sound, "Edges without neighbor"});
}

TEST(Queries, TheCheckPrintsTenFindingsAndCountsTheRest) {
    Taro_2D mesh;
    Random random(1);
    mesh.insert(generators[0].make(200, random));
    for (Triangle2* pT : trianglesOf(mesh)) pT->setCorner(1, pT->getCorner(2));
    const size_t numTriangles = mesh.numberOfTriangles(), numEntries = countEntries(".");
    const StdoutCapture capture;
    EXPECT_FALSE(mesh.checkValidity(true, "flat"));
    EXPECT_EQ(countOf("Less than three different corners\n", capture.text()), 10u);
    expectPrinted(capture, {"and " + std::to_string(numTriangles - 10) + " more\n", "checkValidity, bug, name=flat"});
    EXPECT_EQ(countEntries("."), numEntries) << "no pictures";
}

TEST(Queries, PrintStatisticsAndDrawings) {
    Taro_2D mesh;
    for (const auto& [x, y] : {std::pair{0.0, 0.0}, {2.0, 0.0}, {1.0, std::sqrt(3.0)}, {1.0, -0.6}}) {
        mesh.insert(Point2(x, y, 0.0));
    }
    mesh.setName("survey");
    const StdoutCapture capture;
    mesh.statistics("four points");
    mesh.show(static_cast<Visualizer2*>(nullptr));
    mesh.show("four.ps");
    expectPrinted(capture, {"survey\n\n\n********* MESH STATISTICS (four points) **********\n\n",
                            "Number of triangles: 2\n", "INTERIOR ANGLES", " 30 -  40 degrees:          2   33.33 %\n",
                            "110 - 120 degrees:          1   16.67 %\n", "Writing four.ps"});
}

}  // namespace
