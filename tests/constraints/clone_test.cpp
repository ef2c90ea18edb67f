#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/IndexedMesh.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

using Segment = std::tuple<size_t, size_t, bool, std::uint32_t, std::uint32_t, int, size_t, double>;
using Graph = std::tuple<std::string, int, bool, bool, std::vector<Segment>, std::vector<Segment>>;

/// The answers of a triangulation's queries, with vertex numbers in place of addresses.
class Description {
  public:
    explicit Description(const Taro_2D& mesh) : name(mesh.getName()) {
        mesh.getIndexedMesh(exported);
        for (const Point2* pVtx : exported.vVertices) {
            mNumbers.emplace(pVtx, mNumbers.size());
            vIndices.push_back(pVtx->getCustomIndex());
        }
        vFaces = snapshot(trianglesOf(mesh));
        std::vector<HeightConflict> vFound;
        mesh.getHeightConflicts(0, vFound);
        for (const HeightConflict& c : vFound) vConflicts.emplace_back(mNumbers.at(c.pVtx), c.zKept, c.zOther);
    }

    std::vector<Segment> numbersOf(const CSegVector& vCSegs) const {
        std::vector<Segment> v;
        for (const ConstraintSegment2* p : vCSegs)
            v.emplace_back(mNumbers.at(p->getSrc()), mNumbers.at(p->getTrg()), p->isAlive(), p->getAge().call,
                           p->getAge().place, p->getCIS(), p->getNumberOfOwners(), p->getAdjacentArea());
        return v;
    }
    /// In all orders that clients see, or without those that addresses decide.
    std::vector<Graph> graphsOf(const Taro_2D& mesh, bool bWithOrder) const {
        std::vector<Graph> v;
        std::vector<ConstraintGraph2*> vGraphs;
        mesh.getConstraintGraphs(vGraphs);
        for (const ConstraintGraph2* p : vGraphs) {
            v.emplace_back(p->getName(), p->getInsertionStrategy(), p->isPolygon(), p->isOriented(),
                           numbersOf(originalsOf(p)), numbersOf(piecesOf(p)));
            if (bWithOrder) continue;
            std::vector<Segment>&vOriginals = std::get<4>(v.back()), &vPieces = std::get<5>(v.back());
            turn(*p, originalsOf(p), vOriginals);
            turn(*p, piecesOf(p), vPieces);
            std::sort(vPieces.begin(), vPieces.end());
        }
        return v;
    }

    /// Ends in the direction of the graph, if it has one.
    static void turn(const ConstraintGraph2& graph, const CSegVector& vCSegs, std::vector<Segment>& vNumbers) {
        for (size_t i = 0; i < vCSegs.size(); ++i) {
            size_t &src = std::get<0>(vNumbers[i]), &trg = std::get<1>(vNumbers[i]);
            if (graph.isOriented() ? graph.isReverse(vCSegs[i]) : src > trg) std::swap(src, trg);
        }
    }

    IndexedMesh exported;
    std::map<const Point2*, size_t> mNumbers;
    std::vector<int> vIndices;
    std::vector<Corners> vFaces;
    std::vector<std::tuple<size_t, double, double>> vConflicts;
    std::string name;
};

CSegVector allSegmentsOf(const Taro_2D& mesh) {
    return collect<CSegVector>([&](auto& v) { mesh.getAliveAndDeadConstraintSegments(v); });
}

/// Equality up to orders that depend on the addresses of records.
void expectEqual(const Description& a, const Description& b) {
    EXPECT_TRUE(a.exported.vCoordinates == b.exported.vCoordinates);
    EXPECT_TRUE(a.vFaces == b.vFaces);
    EXPECT_TRUE(a.vIndices == b.vIndices);
    EXPECT_TRUE(a.vConflicts == b.vConflicts);
    EXPECT_EQ(a.name, b.name);
}

/// The copy is equal, its lists have the same order, and it shares no record.
void expectCopy(const Taro_2D& mesh, const Taro_2D& copy) {
    const Description a(mesh), b(copy);
    expectEqual(a, b);
    EXPECT_TRUE(a.exported.vTriangles == b.exported.vTriangles);
    EXPECT_TRUE(a.exported.vNeighbours == b.exported.vNeighbours);
    EXPECT_TRUE(a.exported.vConstraints == b.exported.vConstraints);
    EXPECT_TRUE(a.numbersOf(allSegmentsOf(mesh)) == b.numbersOf(allSegmentsOf(copy)));
    EXPECT_TRUE(a.graphsOf(mesh, true) == b.graphsOf(copy, true));
    EXPECT_EQ(copy.is2D(), mesh.is2D());
    for (const Point2* pVtx : verticesOf(copy)) ASSERT_EQ(a.mNumbers.count(pVtx), 0u);
    EXPECT_TRUE(!copy.is2D() || copy.checkValidity(true, "copy"));
}

/// Edits chosen by vertex numbers, so that equal triangulations get equal edits.
void edit(Taro_2D& mesh, Random& r) {
    const VertexVector vVertices = verticesOf(mesh);
    Point2* pVtx = vVertices[r() % vVertices.size()];
    const double x0 = uniform(r, 0, 100), y0 = uniform(r, 0, 100), x1 = uniform(r, 0, 100), y1 = uniform(r, 0, 100);
    std::vector<ConstraintGraph2*> vGraphs;
    mesh.getConstraintGraphs(vGraphs);
    switch (r() % 8) {
        case 0:
            mesh.insert(makeScattered(r() % 2 ? 300 : 3, -9, -9, 109, 109, r, 9));
            break;
        case 1:
            mesh.insert(Point2(pVtx->x(), pVtx->y(), y0));
            break;
        case 2:
        case 3:
            if (!mesh.isConstraint(pVtx)) mesh.remove(pVtx);
            break;
        case 4:
            if (!mesh.isConstraint(pVtx)) mesh.moveVertex(pVtx, Point2(x0, y0, 5));
            break;
        case 5:
            mesh.createConstraint({makeSegment(x0, y0, x1, y1, 3, 4), makeSegment(x1, y1, x0, y1)},
                                  r() % 2 ? CIS_CONSTRAINED_DELAUNAY : CIS_CONFORMING_LINEAR_Z, r() % 2);
            break;
        case 6:
            mesh.applyConstraintsAndZones();
            break;
        default:
            if (vGraphs.size() > 4) mesh.removeConstraint(vGraphs[r() % vGraphs.size()], r() % 2);
    }
}

/// A mesh with a history: removed vertices, split and removed constraints, conflicts, a vertex list that is not sorted.
void makeUsed(Taro_2D& mesh, unsigned seed) {
    Random random(seed);
    mesh.setHeightRule(HR_MEAN);
    mesh.setName("used");
    mesh.insert(makeScattered(400, 0, 0, 100, 100, random, 9));
    mesh.createConstraint(makeSides(makeRectangle(20, 20, 70, 70)), CIS_CONFORMING_SURFACE_Z)->setName("square");
    for (int i = 0; i < 150; ++i) edit(mesh, random);
    int number = 0;
    for (Point2* pVtx : verticesOf(mesh)) pVtx->setCustomIndex(++number);
    for (ConstraintSegment2* pCSeg : allSegmentsOf(mesh)) pCSeg->setAdjacentArea(pCSeg->getSrc()->x());
}

TEST(Clone, IsTheSameWithRecordsOfItsOwn) {
    Taro_2D mesh;
    expectCopy(mesh, *mesh.clone());
    for (const Point2& p : {Point2(1, 1, 5), Point2(3, 3, 5), Point2(2, 2, 5), Point2(2, 2, 6), Point2(0, 7, 1)}) {
        mesh.insert(p);
        expectCopy(mesh, *mesh.clone());
    }
    for (const Generator& generator : generators) {
        SCOPED_TRACE(generator.name);
        Random random(3);
        Taro_2D nasty;
        nasty.insert(generator.make(300, random));
        expectCopy(nasty, *nasty.clone());
        const VertexVector vVertices = verticesOf(nasty);
        for (size_t i = 0; i < vVertices.size(); i += 2) nasty.remove(vVertices[i]);
        expectCopy(nasty, *nasty.clone());
    }
    for (unsigned seed = 1; seed < 6; ++seed) {
        SCOPED_TRACE(seed);
        Taro_2D used;
        makeUsed(used, seed);
        const auto pCopy = used.clone();
        expectCopy(used, *pCopy);
        expectCopy(*pCopy, *pCopy->clone());
    }
}

TEST(Clone, KeepsAllOrdersOverManyBlocksOfMemory) {
    // Blocks come at descending addresses, too, when they are large.
    for (const int numCPU : {1, 2}) {
        Taro_2D mesh;
        mesh.setNumCPU(numCPU);
        for (unsigned seed = 0; seed < 6; ++seed) mesh.insert(makeUniform(scaled(5000) << seed, seed));
        Random random(1);
        for (const Point2* pVtx : verticesOf(mesh)) {
            if (random() % 50 > 0) continue;
            mesh.createConstraint({makeSegment(pVtx->x(), pVtx->y(), pVtx->x() + 0.001, pVtx->y())},
                                  CIS_CONSTRAINED_DELAUNAY);
        }
        expectCopy(mesh, *mesh.clone());
    }
}

TEST(Clone, GoesOnAsItsOriginalWould) {
    for (unsigned seed = 1; seed < 9; ++seed) {
        SCOPED_TRACE(seed);
        auto pMesh = std::make_unique<Taro_2D>();
        makeUsed(*pMesh, seed);
        const auto pCopy = pMesh->clone();
        const Description before(*pCopy);
        Random random(seed + 100), sameRandom(seed + 100);
        for (int i = 0; i < 60; ++i) edit(*pMesh, random);
        const Description edited(*pMesh);
        const auto vGraphs = edited.graphsOf(*pMesh, false);
        pMesh.reset();
        expectEqual(before, Description(*pCopy));
        for (int i = 0; i < 60; ++i) edit(*pCopy, sameRandom);
        const Description ofCopy(*pCopy);
        expectEqual(edited, ofCopy);
        EXPECT_TRUE(vGraphs == ofCopy.graphsOf(*pCopy, false));
        EXPECT_TRUE(pCopy->checkValidity(false, "edited"));
    }
}

TEST(Clone, IsRefinedAsItsOriginalWouldBe) {
    Random random(7);
    Taro_2D mesh;
    mesh.insert(makeScattered(60, 0, 0, 100, 100, random, 5));
    mesh.createConstraint(makeSides(makeRectangle(10, 10, 80, 80)), CIS_CONSTRAINED_DELAUNAY);
    const auto refine = [](Taro_2D& it, double maxEdgeLength) {
        std::vector<ConstraintGraph2*> vGraphs;
        it.getConstraintGraphs(vGraphs);
        it.refine(it.createZone(vGraphs[0], ZL_INSIDE), 25, 0.1, maxEdgeLength, true);
    };
    refine(mesh, 20);
    const auto pCopy = mesh.clone();  // it knows which vertices refinement may take out again
    refine(mesh, 7);
    refine(*pCopy, 7);
    const Description refined(mesh), ofCopy(*pCopy);
    expectEqual(refined, ofCopy);
    EXPECT_TRUE(refined.graphsOf(mesh, false) == ofCopy.graphsOf(*pCopy, false));
}

TEST(Clone, HasNoZonesListenersOrFlag) {
    Taro_2D mesh;
    Recorder recorder;
    mesh.subscribe(MT_PROGRESS, &recorder);
    mesh.insert(makeUniform(1000, 1));
    ConstraintGraph2* pGraph =
        mesh.createConstraint(makeSides(makeRectangle(-0.5, -0.5, 1, 1)), CIS_CONSTRAINED_DELAUNAY);
    Zone2* pZone = mesh.createZone(pGraph, ZL_INSIDE);
    const auto pCopy = mesh.clone();
    recorder.vMessages.clear();
    pCopy->insert(makeUniform(1000, 2));
    EXPECT_TRUE(recorder.vMessages.empty());
    std::vector<ConstraintGraph2*> vGraphs;
    pCopy->getConstraintGraphs(vGraphs);
    ASSERT_EQ(vGraphs.size(), 1u);
    StdoutCapture capture;
    EXPECT_FALSE(pCopy->deleteZone(pZone));
    EXPECT_FALSE(pCopy->removeConstraint(pGraph)) << "the graph is the original's";
    EXPECT_TRUE(pCopy->removeConstraint(vGraphs[0])) << "no zone of the copy is made of it";
    EXPECT_FALSE(mesh.removeConstraint(pGraph));
    EXPECT_NEAR(pZone->getArea2D(), 2.25, 1e-12);
}

TEST(Clone, KeepsSegmentsThatWaitForTriangles) {
    Taro_2D mesh;
    mesh.createConstraint({makeSegment(0, 0, 9, 0), makeSegment(9, 0, 20, 0)}, CIS_CONSTRAINED_DELAUNAY);
    const auto pCopy = mesh.clone();
    for (Taro_2D* p : {&mesh, pCopy.get()}) {
        p->insert(Point2(3, 4, 0));
        p->applyConstraintsAndZones();
    }
    expectCopy(mesh, *pCopy);
    EXPECT_EQ(aliveSegmentsOf(*pCopy).size(), 2u);
}

}  // namespace
