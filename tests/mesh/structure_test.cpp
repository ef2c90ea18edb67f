#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <map>
#include <set>
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
#include "support/query_meshes.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/TriangleAroundVertexIterator.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using namespace query_meshes;

namespace {

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
