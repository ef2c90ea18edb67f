// Calls cancelled at one of their cancellation points: what clients hold then is still there.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/generators.h"
#include "support/mesh.h"
#include "support/stopping.h"
#include "taro25d/HeightConflict.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

/// Runs a call on a mesh and cancels it at a cancellation point (1: the first). Returns whether it was cancelled.
bool cancelAt(size_t moment, Taro_2D& mesh, const std::function<void()>& run) {
    std::atomic<bool> bFlag{false};
    mesh.setCancelFlag(&bFlag);
    size_t numCancelPoints = 0;
    setCancelPointObserver([&] { bFlag = bFlag || ++numCancelPoints == moment; });
    bool bCancelled = false;
    try {
        run();
    } catch (const TaroCancelled&) {
        bCancelled = true;
    }
    setCancelPointObserver(nullptr);
    mesh.setCancelFlag(nullptr);
    return bCancelled;
}

TEST(CancelledEdit, FirstPointOffALineLeavesTheLine) {
    const Point2 top(1000.5, 50, 0);
    size_t numCancelled = 0, moment = 1;
    for (bool bCancelled = true; bCancelled; moment += 1 + moment / 8) {
        Taro_2D mesh;
        std::vector<Point2> vLine;
        for (int i = 0; i < 2000; ++i) vLine.emplace_back(i, 0, 0);
        mesh.insert(vLine);
        bCancelled = cancelAt(moment, mesh, [&] { mesh.insert(top); });
        numCancelled += bCancelled;
        EXPECT_EQ(mesh.is2D(), !bCancelled) << moment;
        EXPECT_EQ(mesh.numberOfPoints(), bCancelled ? 2000u : 2001u) << moment;
        mesh.insert(top);
        EXPECT_EQ(mesh.numberOfTriangles(), 1999u) << moment;
        ASSERT_TRUE(mesh.checkValidity(true, "again")) << moment;
    }
    EXPECT_GT(numCancelled, 5u);
}

TEST(CancelledEdit, RemovalFromALineIsDoneOrNot) {
    for (const bool bOffTheLine : {false, true}) {  // whether the vertex that makes triangles goes, or one of the line
        for (size_t moment = 1; moment < 40; ++moment) {
            Taro_2D mesh;
            std::vector<Point2> vLine;
            for (int i = 0; i < 2000; ++i) vLine.emplace_back(i, 0, 0);
            std::vector<Point2*> vHandles;
            mesh.insert(vLine, vHandles);
            Point2* pTop = mesh.insert(Point2(1000.5, 50, 0));
            mesh.remove(vHandles[5]);
            if (!bOffTheLine) mesh.remove(pTop);
            const size_t numBefore = mesh.numberOfPoints();
            const auto run = [&] { mesh.remove(bOffTheLine ? pTop : vHandles[700]); };
            if (cancelAt(moment, mesh, run)) {
                ASSERT_EQ(mesh.numberOfPoints(), numBefore) << moment;
                run();
            }
            ASSERT_EQ(verticesOf(mesh).size(), numBefore - 1) << moment;
            mesh.insert(Point2(3, 7, 1));
            ASSERT_TRUE(mesh.is2D() && mesh.checkValidity(true, "")) << moment;
            EXPECT_EQ(mesh.numberOfTriangles(), numBefore - 2) << moment;
        }
    }
}

TEST(CancelledEdit, MoveKeepsTheVertex) {
    size_t numCancelled = 0;
    for (const double far : {10.0, 1e9}) {
        bool bCancelled = true;
        for (size_t moment = 1; bCancelled; ++moment) {
            Random random(1);
            Taro_2D mesh;
            std::vector<Point2> vPoints;
            for (int i = 0; i < 3000; ++i) vPoints.emplace_back(uniform(random, 0, 100), uniform(random, 0, 100), i);
            std::vector<Point2*> vHandles;
            mesh.insert(vPoints, vHandles);
            const Point2 target(far, far + 3, 1);
            bCancelled = cancelAt(moment, mesh, [&] { mesh.moveVertex(vHandles[7], target); });
            numCancelled += bCancelled;
            EXPECT_EQ(mesh.numberOfPoints(), 3000u);
            EXPECT_TRUE(samePoint(*vHandles[7], bCancelled ? vPoints[7] : target));
            EXPECT_TRUE(mesh.checkValidity(true, "cancelled"));
            ASSERT_TRUE(mesh.moveVertex(vHandles[7], target)) << moment;
        }
    }
    EXPECT_GE(numCancelled, 3u);
}

TEST(CancelledLoad, KeepsZonesWithoutVertices) {
    const char* const filename = "cancelled_edits_test.taro";
    Taro_2D source;
    for (int i = 0; i < 3000; ++i) source.insert(Point2(i % 57, i % 61 + 0.001 * i, 0));
    ASSERT_TRUE(source.save(filename));
    const PointVector vCorners{Point2(0, 0, 0), Point2(4, 0, 0), Point2(0, 4, 0)};
    for (const size_t moment : {1, 60, 150}) {
        Taro_2D mesh;
        std::vector<Point2*> vHandles;
        mesh.insert(vCorners, vHandles);
        Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
        for (Point2* pVtx : vHandles) mesh.remove(pVtx);
        ASSERT_TRUE(cancelAt(moment, mesh, [&] { mesh.load(filename); })) << moment;
        EXPECT_EQ(mesh.numberOfPoints(), 0u) << moment;
        mesh.insert(vCorners);
        EXPECT_EQ(mesh.numberOfTriangles(), 1u) << moment;
        EXPECT_TRUE(mesh.deleteZone(pZone)) << moment;
    }
}

/// Everything that a client can see of a mesh, pointers included.
struct State {
    explicit State(const Taro_2D& mesh)
        : name(mesh.getName()), vVertices(verticesOf(mesh)), vTriangles(trianglesOf(mesh)) {
        for (const Point2* pVtx : vVertices) vNumbers.insert(vNumbers.end(), {pVtx->x(), pVtx->y(), pVtx->z()});
        for (Point2* pVtx : vVertices) vNumbers.push_back(mesh.isConstraint(pVtx));
        for (const Triangle2* pT : vTriangles) {
            for (int i = 0; i < 3; ++i) vLinks.insert(vLinks.end(), {pT->getCorner(i), pT->getOppositeTriangle(i)});
        }
        std::vector<ConstraintGraph2*> vGraphs;
        mesh.getConstraintGraphs(vGraphs);
        CSegVector vCSegs;
        mesh.getAliveConstraintSegments(vCSegs);
        for (const ConstraintGraph2* pGraph : vGraphs) {
            vLinks.push_back(pGraph);
            pGraph->getAliveConstraintChain(vCSegs);
        }
        vLinks.insert(vLinks.end(), vCSegs.begin(), vCSegs.end());
        std::vector<HeightConflict> vConflicts;
        mesh.getHeightConflicts(0.0, vConflicts);
        for (const auto& [pVtx, zKept, zOther] : vConflicts)
            vNumbers.insert(vNumbers.end(), {pVtx->x(), zKept, zOther});
    }
    bool operator==(const State& other) const {
        return name == other.name && vVertices == other.vVertices && vTriangles == other.vTriangles &&
               vLinks == other.vLinks && vNumbers == other.vNumbers;
    }

    std::string name;
    VertexVector vVertices;
    TriangleVector vTriangles;
    std::vector<const void*> vLinks;
    std::vector<double> vNumbers;
};

/// A grid, on which many choices are free, with constraints that the segments of a file cross, and a vertex of the
/// file.
void makeBusyMesh(Taro_2D& mesh, HeightRule rule) {
    for (int i = 0; i < 400; ++i) mesh.insert(Point2(5 * (i % 20), 5 * (i / 20), 1));
    mesh.setHeightRule(rule);
    mesh.createConstraint({Segment2(Point2(1, 2, 3), Point2(93, 97, 8))}, CIS_CONSTRAINED_DELAUNAY)->setName("old");
    mesh.createConstraint({Segment2(Point2(3, 90, 0), Point2(97, 11, 9))}, CIS_CONFORMING_LINEAR_Z, true);
    mesh.insert(Point2(50, 50, 7));
    mesh.setName("before");
}

TEST(CancelledLoad, ChangesNothingInAMeshWithConstraintsAndRules) {
    Taro_2D source;
    Random random(4);
    for (int i = 0; i < 1500; ++i) source.insert(Point2(uniform(random, -9, 109), uniform(random, -9, 109), i));
    source.insert(Point2(50, 50, 70));
    std::vector<Segment2> vSegments;
    for (int i = 1; i < 20; ++i) vSegments.emplace_back(Point2(i, 5 * i + 1, 7), Point2(100 - i, 5 * i + 2, 3));
    source.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
    const char* const aFiles[] = {"cancelled_edits_test.301", "cancelled_edits_test.302"};
    ASSERT_TRUE(source.save(aFiles[0]) && source.saveAll(aFiles[1]));
    size_t numCancelled = 0;
    for (const char* const filename : aFiles) {
        for (const HeightRule rule : {HR_FIRST, HR_MEAN}) {
            Taro_2D whole, mesh;
            makeBusyMesh(whole, rule);
            makeBusyMesh(mesh, rule);
            ASSERT_TRUE(whole.load(filename));
            const State before(mesh);
            bool bCancelled = true;
            for (size_t moment = 1; bCancelled; moment += 1 + moment / 10) {
                bCancelled = cancelAt(moment, mesh, [&] { mesh.load(filename); });
                numCancelled += bCancelled;
                ASSERT_TRUE(!bCancelled || State(mesh) == before) << filename << " " << moment;
                ASSERT_TRUE(mesh.checkValidity(true, "")) << filename << " " << moment;
            }
            EXPECT_TRUE(facesOf(mesh) == facesOf(whole));
            EXPECT_EQ(State(mesh).vNumbers, State(whole).vNumbers);
        }
    }
    EXPECT_GT(numCancelled, 100u);
}

std::vector<Segment2> makeLattice() {
    std::vector<Segment2> vLattice;
    for (int i = 0; i < 10; ++i) {
        vLattice.emplace_back(Point2(3, 2 + 9 * i, 1), Point2(96, 5 + 9 * i, 5));
        vLattice.emplace_back(Point2(5 + 9 * i, 1, 3), Point2(7 + 9 * i, 97, 9));
    }
    return vLattice;
}

/// The creation of a constraint in a mesh of its own, by coordinates or by vertices.
struct Creation {
    Creation(bool bVertices, ConstraintInsertionStrategy cis) : bVertices(bVertices), cis(cis) {
        Random random(2);
        for (int i = 0; i < 2000; ++i) vPoints.emplace_back(uniform(random, 0, 100), uniform(random, 0, 100), i);
        mesh.insert(vPoints, vHandles);
    }
    ConstraintGraph2* run() {
        if (!bVertices) return mesh.createConstraint(makeLattice(), cis);
        std::vector<std::pair<Point2*, Point2*>> vPairs;
        for (size_t i = 0; i < 200; i += 2) vPairs.emplace_back(vHandles[i], vHandles[i + 1]);
        return mesh.createConstraint_vertices(vPairs, cis);
    }
    size_t countGraphs() const {
        std::vector<ConstraintGraph2*> vGraphs;
        mesh.getConstraintGraphs(vGraphs);
        return vGraphs.size();
    }

    bool bVertices;
    ConstraintInsertionStrategy cis;
    PointVector vPoints;
    Taro_2D mesh;
    VertexVector vHandles;
};

TEST(CancelledConstraint, IsThereOnceAfterApplyOrTheSameCallAndGoesForGood) {
    size_t numCancelled = 0;
    for (const bool bVertices : {false, true}) {
        for (const ConstraintInsertionStrategy cis : {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_LINEAR_Z}) {
            Creation whole(bVertices, cis);
            whole.run();
            const auto vExpected = facesOf(whole.mesh);
            bool bCancelled = true;
            for (size_t moment = 1; bCancelled; moment += 1 + moment / 3) {
                Creation applied(bVertices, cis), repeated(bVertices, cis);
                bCancelled = cancelAt(moment, applied.mesh, [&] { applied.run(); });
                numCancelled += bCancelled;
                applied.mesh.applyConstraintsAndZones();
                EXPECT_EQ(applied.countGraphs(), 1u) << moment;
                EXPECT_TRUE(facesOf(applied.mesh) == vExpected) << moment;

                cancelAt(moment, repeated.mesh, [&] { repeated.run(); });
                ConstraintGraph2* pGraph = bCancelled ? repeated.run()
                                                      : collect<std::vector<ConstraintGraph2*>>(
                                                            [&](auto& v) { repeated.mesh.getConstraintGraphs(v); })[0];
                EXPECT_EQ(repeated.countGraphs(), 1u) << moment;
                EXPECT_TRUE(facesOf(repeated.mesh) == vExpected) << moment;
                EXPECT_TRUE(repeated.mesh.removeConstraint(pGraph, true));
                repeated.mesh.applyConstraintsAndZones();
                EXPECT_EQ(repeated.countGraphs(), 0u) << moment;
                EXPECT_EQ(repeated.mesh.numberOfPoints(), repeated.vPoints.size()) << moment;
                ASSERT_FALSE(HasFailure());
            }
        }
    }
    EXPECT_GT(numCancelled, 30u);
}

TEST(CancelledConstraint, HoldsItsVertices) {
    Creation creation(true, CIS_CONSTRAINED_DELAUNAY);
    ASSERT_TRUE(cancelAt(1, creation.mesh, [&] { creation.run(); }));
    ASSERT_EQ(creation.countGraphs(), 0u);
    creation.mesh.remove(creation.vHandles[3]);
    EXPECT_FALSE(creation.mesh.moveVertex(creation.vHandles[4], Point2(7, 7, 7)));
    EXPECT_EQ(creation.mesh.numberOfPoints(), 2000u);
    const auto pCopy = creation.mesh.clone();
    for (Taro_2D* pMesh : {&creation.mesh, pCopy.get()}) {
        pMesh->applyConstraintsAndZones();
        EXPECT_TRUE(pMesh->checkValidity(true, ""));
        EXPECT_EQ(collect<std::vector<ConstraintGraph2*>>([&](auto& v) { pMesh->getConstraintGraphs(v); }).size(), 1u);
    }
}

TEST(CancelledRemoval, OfConstraintsWithVerticesIsCompletedByTheNextCall) {
    size_t numGone = 0;
    bool bCancelled = true;
    for (size_t moment = 1; bCancelled; moment += 1 + moment / 8) {
        Creation creation(false, CIS_CONSTRAINED_DELAUNAY);
        const auto vBefore = facesOf(creation.mesh);
        ConstraintGraph2* pGraph = creation.run();
        bCancelled = cancelAt(moment, creation.mesh, [&] { creation.mesh.removeConstraint(pGraph, true); });
        EXPECT_TRUE(creation.mesh.checkValidity(true, "")) << moment;
        const Point2 found = *creation.mesh.getNearestVertex(Point2(3, 2, 0));
        const bool bClientsPoint = bCancelled && creation.countGraphs() == 0 && samePoint(found, Point2(3, 2, 1));
        if (bClientsPoint) creation.mesh.insert(found);  // from now on it is not only the constraint's
        numGone += bCancelled && creation.countGraphs() == 0;
        const auto pCopy = creation.mesh.clone();
        if (creation.countGraphs() > 0) {
            creation.mesh.removeConstraint(pGraph, true);
        } else {
            creation.mesh.applyConstraintsAndZones();
            pCopy->applyConstraintsAndZones();
            EXPECT_TRUE(facesOf(*pCopy) == facesOf(creation.mesh)) << moment;
        }
        EXPECT_TRUE(bClientsPoint || facesOf(creation.mesh) == vBefore) << moment;
        ASSERT_EQ(creation.mesh.numberOfPoints(), 2000u + bClientsPoint) << moment;
    }
    EXPECT_GT(numGone, 5u);
}

TEST(CancelledRemoval, LeavesSegmentsThatPointsMayDivideAndZonesMayUse) {
    std::vector<Segment2> vSegments;
    for (int i = 0; i < 100; ++i) {
        const int x = 10 * (i % 10) + 1, y = 10 * (i / 10) + 1;
        vSegments.emplace_back(Point2(x, y, 0), Point2(x, y + 6, 0));
    }
    size_t numGone = 0;
    bool bCancelled = true;
    for (size_t moment = 1; bCancelled; moment += 1 + moment / 12) {
        Creation creation(false, CIS_CONFORMING_LINEAR_Z);
        Taro_2D& mesh = creation.mesh;
        ConstraintGraph2* pGraph = mesh.createConstraint(vSegments, CIS_CONFORMING_LINEAR_Z);
        bCancelled = cancelAt(moment, mesh, [&] { mesh.removeConstraint(pGraph, true); });
        if (!bCancelled || creation.countGraphs() > 0) continue;
        ++numGone;
        const size_t numTriangles = trianglesOf(mesh).size() / 2;
        TriangleVector vHalf = trianglesOf(mesh);
        vHalf.resize(numTriangles);
        ASSERT_NE(mesh.createZone(vHalf), nullptr) << moment;
        for (const Segment2& segment : vSegments) {
            mesh.insert(Point2(segment.getSrc().x(), segment.getSrc().y() + 3.3, 0));
        }
        EXPECT_TRUE(mesh.checkValidity(true, "divided")) << moment;
        const auto pCopy = mesh.clone();
        mesh.applyConstraintsAndZones();
        pCopy->applyConstraintsAndZones();
        EXPECT_TRUE(mesh.checkValidity(true, "completed") && facesOf(mesh) == facesOf(*pCopy)) << moment;
        std::vector<ConstraintGraph2*> vGraphs;
        mesh.getConstraintGraphs(vGraphs);
        std::set<ConstraintSegment2*> sPieces;
        for (const ConstraintGraph2* pZoneGraph : vGraphs) {
            const CSegVector vPieces = piecesOf(pZoneGraph);
            sPieces.insert(vPieces.begin(), vPieces.end());
        }
        const CSegVector vAlive = aliveSegmentsOf(mesh);
        ASSERT_EQ(sPieces, std::set<ConstraintSegment2*>(vAlive.begin(), vAlive.end())) << moment;
    }
    EXPECT_GT(numGone, 20u);
}

TEST(CancelledConstraint, LeavesNothingThatAZoneOrAPointMeets) {
    for (size_t moment = 1; moment < 60; moment += 2) {
        Creation creation(false, CIS_CONSTRAINED_DELAUNAY);
        Taro_2D& mesh = creation.mesh;
        const TriangleVector vTriangles = trianglesOf(mesh);
        std::vector<Segment2> vEdges;  // of every second triangle, so that they are edges already
        for (size_t i = 0; i < vTriangles.size(); i += 2) {
            vEdges.emplace_back(*vTriangles[i]->getCorner(0), *vTriangles[i]->getCorner(1));
        }
        ASSERT_TRUE(cancelAt(moment, mesh, [&] { mesh.createConstraint(vEdges, CIS_CONSTRAINED_DELAUNAY); }));
        if (moment % 4 == 1) {
            for (const Segment2& edge : vEdges) mesh.insert(centerWithShift(edge.getSrc(), edge.getTrg()));
        }
        Random random(moment);
        EXPECT_NE(mesh.createZone(someOf(trianglesOf(mesh), 0.5, random)), nullptr) << moment;
        ASSERT_TRUE(mesh.checkValidity(true, "cancelled")) << moment;
        mesh.applyConstraintsAndZones();
        ASSERT_TRUE(mesh.checkValidity(true, "completed")) << moment;
    }
}

}  // namespace
