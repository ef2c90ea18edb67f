#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <numeric>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/exact.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

PointVector cornersOf(const TriangleVector& vTriangles) {
    PointVector vCorners;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) vCorners.push_back(*pT->getCorner(i));
    }
    return vCorners;
}

/// The faces in random order, each from a random corner in a random direction.
PointVector shuffled(const PointVector& vCorners, Random& r) {
    std::vector<size_t> vOrder(vCorners.size() / 3);
    std::iota(vOrder.begin(), vOrder.end(), size_t(0));
    std::shuffle(vOrder.begin(), vOrder.end(), r);
    PointVector vShuffled;
    for (const size_t f : vOrder) {
        const size_t first = r() % 3, step = 1 + r() % 2;
        for (size_t k = 0; k < 3; ++k) vShuffled.push_back(vCorners[3 * f + (first + k * step) % 3]);
    }
    return vShuffled;
}

/// Faces by their corners, as snapshot() gives them.
std::vector<Corners> facesOf(const PointVector& vCorners) {
    PointVector v = vCorners;
    std::vector<Triangle2> vFaces;
    for (size_t i = 0; i < v.size(); i += 3) vFaces.emplace_back(&v[i], &v[i + 1], &v[i + 2]);
    TriangleVector vPointers;
    for (Triangle2& face : vFaces) vPointers.push_back(&face);
    return snapshot(vPointers);
}

/// The zone holds exactly the faces, and the mesh has the fewest constraints that keep them.
void expectImported(const Taro_2D& mesh, const PointVector& vCorners, bool bAllConstraints) {
    const Zone2* pZone = mesh.getImportedZone();
    ASSERT_NE(pZone, nullptr);
    const TriangleVector vFaces = trianglesOf(pZone);
    ASSERT_TRUE(snapshot(vFaces) == facesOf(vCorners));
    ASSERT_TRUE(ConstraintOracle(mesh).check());
    std::set<XY> sPlaces;
    for (const Point2& corner : vCorners) sPlaces.insert(xyOf(corner));
    EXPECT_EQ(mesh.numberOfPoints(), sPlaces.size()) << "no vertex is new";
    const std::set<const Triangle2*> sFaces(vFaces.begin(), vFaces.end());
    for (Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; i < 3; ++i) {
            const Triangle2* pN = pT->getOppositeTriangle(i);
            const bool bFace = sFaces.count(pT) > 0, bFaceBeyond = sFaces.count(pN) > 0;
            const bool bBorder = bFace != bFaceBeyond;
            const bool bKept = bFace && bFaceBeyond && (bAllConstraints || !isLocallyDelaunay(*pT, i));
            ASSERT_EQ(mesh.isConstraint(pT, i), bBorder || bKept);
        }
    }
}

void makeConstrained(Taro_2D& mesh, const PointVector& vPoints, int numLines, Random& r) {
    mesh.insert(vPoints);
    const Bbox2 box = mesh.computeBoundingBox();
    const auto place = [&] {
        return Point2(uniform(r, box.getMinX(), box.getMaxX()), uniform(r, box.getMinY(), box.getMaxY()), 1);
    };
    for (int i = 0; i < numLines; ++i) mesh.createConstraint({Segment2(place(), place())}, CIS_CONSTRAINED_DELAUNAY);
}

TEST(ImportTriangles, GivesBackWholeMeshesAndParts) {
    Random random(1);
    const auto check = [&random](const Taro_2D& mesh) {
        for (const double share : {1.0, 0.9, 0.5, 0.05}) {
            const PointVector vCorners = shuffled(cornersOf(someOf(trianglesOf(mesh), share, random)), random);
            if (vCorners.empty()) continue;
            Taro_2D imported;
            imported.setNumCPU(static_cast<int>(random() % 2) + 1);
            PointVector vGiven = vCorners;
            ASSERT_TRUE(imported.importTriangles(vGiven, random() % 2, share == 0.9));
            expectImported(imported, vCorners, share == 0.9);
            EXPECT_TRUE(share < 1.0 || snapshot(trianglesOf(imported)) == snapshot(trianglesOf(mesh)));
        }
    };
    for (const Generator& generator : generators) {
        SCOPED_TRACE(generator.name);
        Taro_2D mesh;
        mesh.insert(generator.make(200, random));
        check(mesh);
    }
    for (int round = 0; round < 5; ++round) {
        Taro_2D mesh;
        makeConstrained(mesh, makeScattered(300, 0, 0, 100, 100, random, 9), 20, random);
        check(mesh);
    }
    Taro_2D terrain;
    makeConstrained(terrain, readTerrain(200, 200, 3), 5, random);
    check(terrain);
}

TEST(ImportTriangles, KeepsTheFirstCustomIndexAndTheSettings) {
    PointVector vCorners{{0, 0, 1}, {4, 0, 2}, {0, 4, 3}, {0, 4, 3}, {4, 0, 2}, {4, 4, 4}};
    for (int i = 0; i < 6; ++i) vCorners[static_cast<size_t>(i)].setCustomIndex(i);
    const PointVector vBefore = vCorners;
    Taro_2D mesh;
    Recorder recorder;
    mesh.setName("faces");
    mesh.setHeightRule(HR_MAX);
    mesh.subscribe(MT_WARNING, &recorder);
    EXPECT_EQ(mesh.getImportedZone(), nullptr);
    ASSERT_TRUE(mesh.importTriangles(vCorners, false, false));
    EXPECT_TRUE(std::equal(vCorners.begin(), vCorners.end(), vBefore.begin(), samePoint));
    std::set<int> sIndices;
    for (const Point2* pVtx : verticesOf(mesh)) sIndices.insert(pVtx->getCustomIndex());
    EXPECT_EQ(sIndices, (std::set<int>{0, 1, 2, 5}));
    EXPECT_EQ(mesh.getName(), "faces");
    EXPECT_EQ(mesh.insert(Point2(4, 4, 9))->z(), 9.0) << "the rule holds";
    StdoutCapture capture;
    EXPECT_EQ(mesh.insert(Point2(NOT_A_NUMBER, 0, 0)), nullptr);
    EXPECT_EQ(recorder.vMessages.size(), 1u) << "the listener is there";
}

TEST(ImportTriangles, TheZoneStaysWhatItIsWhileTheMeshChanges) {
    Random random(3);
    Taro_2D source, mesh;
    source.insert(makeScattered(400, 0, 0, 100, 100, random, 9));
    PointVector vCorners = cornersOf(someOf(trianglesOf(source), 0.8, random));
    ASSERT_TRUE(mesh.importTriangles(vCorners, false, false));
    Zone2* pZone = mesh.getImportedZone();
    const double area = pZone->getArea2D();
    mesh.insert(makeScattered(1000, -50, -50, 150, 150, random, 9));
    EXPECT_NEAR(pZone->getArea2D(), area, 1e-9);
    mesh.refine(pZone, 20, 0.5, 10, true);
    EXPECT_NEAR(pZone->getArea2D(), area, 1e-9);
    EXPECT_EQ(mesh.clone()->getImportedZone(), nullptr) << "clones have no zones";
    mesh.applyConstraintsAndZones();
    EXPECT_TRUE(ConstraintOracle(mesh).check());
    EXPECT_TRUE(mesh.deleteZone(pZone));
    EXPECT_EQ(mesh.getImportedZone(), nullptr);
}

TEST(ImportTriangles, RefusesWrongCalls) {
    const PointVector vFace{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    Taro_2D empty, withPoint, withGraph, withZone;
    withPoint.insert(Point2(5, 5, 0));
    Point2* pVtx = withGraph.insert(Point2(7, 7, 0));
    withGraph.createConstraint({makeSegment(7, 7, 7, 7)}, CIS_CONSTRAINED_DELAUNAY);
    withGraph.remove(pVtx);
    withZone.insert(vFace);
    Zone2* pZone = withZone.createZone(nullptr, ZL_GLOBAL);
    for (Point2* pCorner : verticesOf(withZone)) withZone.remove(pCorner);
    const std::pair<Taro_2D*, PointVector> aWrong[] = {
        {&empty, {}}, {&empty, {{0, 0, 0}, {1, 0, 0}}}, {&withPoint, vFace}, {&withGraph, vFace}, {&withZone, vFace}};
    for (const auto& [pMesh, vCorners] : aWrong) {
        const size_t numBefore = pMesh->numberOfPoints();
        PointVector vGiven = vCorners;
        StdoutCapture capture;
        EXPECT_FALSE(pMesh->importTriangles(vGiven, true, false));
        EXPECT_TRUE(contains(capture, "Taro_2D::importTriangles(), WARNING: the"));
        EXPECT_EQ(pMesh->numberOfPoints(), numBefore);
        EXPECT_EQ(pMesh->getImportedZone(), nullptr);
    }
    EXPECT_TRUE(withZone.deleteZone(pZone)) << "it is still there";
    PointVector vGiven = vFace;
    EXPECT_TRUE(empty.importTriangles(vGiven, false, false));
    StdoutCapture capture;
    EXPECT_FALSE(empty.importTriangles(vGiven, false, false)) << "not empty any more";
}

// ---------------------------------------------------------------------------------------------------------------------
// Damaged faces, judged by common points of all pairs in rational numbers

using Place = std::pair<mpq_class, mpq_class>;

class RepairOracle {
  public:
    explicit RepairOracle(const PointVector& vCorners) {
        for (size_t i = 0; i < vCorners.size(); i += 3) {
            if (fits(&vCorners[i])) vChosen.insert(vChosen.end(), &vCorners[i], &vCorners[i] + 3);
        }
    }
    PointVector vChosen;

  private:
    bool fits(const Point2* pFace) const {
        for (int i = 0; i < 3; ++i) {
            if (!std::isfinite(pFace[i].x() + pFace[i].y() + pFace[i].z())) return false;
        }
        if (exactOrientation(pFace[0], pFace[1], pFace[2]) == 0) return false;
        for (size_t k = 0; k < vChosen.size(); k += 3) {
            if (!doFit(pFace, &vChosen[k])) return false;
        }
        return true;
    }

    /// All points that two closed triangles have in common lie between these: corners of one in the other, and
    /// crossings of edges. They fit if these are common corners, two of them at most.
    static bool doFit(const Point2* pA, const Point2* pB) {
        std::set<Place> sCommon, sCorners;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                if (pA[i] == pB[j]) {
                    if (pA[i].z() != pB[j].z()) return false;
                    sCorners.emplace(pA[i].x(), pA[i].y());
                }
                addCrossing(pA[i], pA[(i + 1) % 3], pB[j], pB[(j + 1) % 3], sCommon);
            }
            if (isIn(pA[i], pB)) sCommon.emplace(pA[i].x(), pA[i].y());
            if (isIn(pB[i], pA)) sCommon.emplace(pB[i].x(), pB[i].y());
        }
        return sCommon == sCorners && sCommon.size() < 3;
    }

    static bool isIn(const Point2& p, const Point2* pFace) {
        const int a = exactOrientation(pFace[0], pFace[1], p), b = exactOrientation(pFace[1], pFace[2], p),
                  c = exactOrientation(pFace[2], pFace[0], p);
        return (a >= 0 && b >= 0 && c >= 0) || (a <= 0 && b <= 0 && c <= 0);
    }

    static void addCrossing(const Point2& p, const Point2& q, const Point2& r, const Point2& s,
                            std::set<Place>& sCommon) {
        const mpq_class left = exactOrientationDeterminant(r, s, p), right = exactOrientationDeterminant(r, s, q);
        if (sgn(left) * sgn(right) >= 0 || exactOrientation(p, q, r) * exactOrientation(p, q, s) >= 0) return;
        const mpq_class t = left / (left - right);
        sCommon.emplace(p.x() + t * (mpq_class(q.x()) - mpq_class(p.x())),
                        p.y() + t * (mpq_class(q.y()) - mpq_class(p.y())));
    }
};

/// Imports with and without repair, and compares with the oracle.
void expectRepaired(const PointVector& vCorners) {
    const RepairOracle oracle(vCorners);
    const size_t numLeftOut = (vCorners.size() - oracle.vChosen.size()) / 3;
    PointVector vGiven = vCorners;
    Taro_2D strict, repaired;
    StdoutCapture capture;
    ASSERT_EQ(strict.importTriangles(vGiven, false, false), numLeftOut == 0);
    const std::string count = std::to_string(numLeftOut) + " of " + std::to_string(vCorners.size() / 3) + " faces";
    if (numLeftOut == 0) return expectImported(strict, vCorners, false);
    EXPECT_EQ(strict.numberOfPoints(), 0u);
    EXPECT_TRUE(contains(capture, "WARNING: nothing is imported because of " + count));
    ASSERT_EQ(repaired.importTriangles(vGiven, true, false), !oracle.vChosen.empty());
    if (oracle.vChosen.empty()) return;
    EXPECT_TRUE(contains(capture, "WARNING: left out are " + count));
    expectImported(repaired, oracle.vChosen, false);
}

TEST(ImportTriangles, RepairsSoupsOnAGrid) {
    for (size_t seed = 0; seed < scaled(800); ++seed) {
        Random random(seed);
        const int size = static_cast<int>(integer(random, 2, 7)), maxHeight = random() % 4 == 0 ? 1 : 0;
        PointVector vCorners;
        for (size_t i = 0, n = 3 * static_cast<size_t>(integer(random, 1, 12)); i < n; ++i)
            vCorners.emplace_back(integer(random, 0, size), integer(random, 0, size), integer(random, 0, maxHeight));
        expectRepaired(vCorners);
        if (testing::Test::HasFailure()) FAIL() << "seed " << seed;
    }
}

/// Damages a face as other programs do.
void damage(PointVector& vCorners, Random& r) {
    const size_t f = 3 * (r() % (vCorners.size() / 3));
    Point2 a = vCorners[f], b = vCorners[f + 1], c = vCorners[f + 2];
    const Point2 middle((a.x() + b.x()) / 2, (a.y() + b.y()) / 2, (a.z() + b.z()) / 2);
    const auto add = [&](const Point2& p, const Point2& q, const Point2& s) {
        vCorners.insert(vCorners.begin() + static_cast<std::ptrdiff_t>(3 * (r() % (vCorners.size() / 3))), {p, q, s});
    };
    switch (r() % 8) {
        case 0:  // T-junction
            vCorners[f + 1] = middle;
            return add(middle, b, c);
        case 1:
            return add(c, b, a);
        case 2:  // at another height
            vCorners[f].set(a.x(), a.y(), a.z() + 1);
            return;
        case 3:
            return add(a, middle, b);
        case 4:  // overlaps other faces
            return add(vCorners[3 * (r() % (vCorners.size() / 3))], b, c);
        case 5:
            return add(a, b, Point2(std::nextafter(middle.x(), 1e9), middle.y(), 0));
        case 6:  // single precision
            for (size_t k = f; k < f + 3; ++k)
                vCorners[k].set(static_cast<float>(vCorners[k].x()), static_cast<float>(vCorners[k].y()),
                                vCorners[k].z());
            return;
        default:
            vCorners[f].set(r() % 2 ? INF : NOT_A_NUMBER, a.y(), a.z());
    }
}

TEST(ImportTriangles, RepairsDamagedMeshes) {
    for (size_t seed = 0; seed < scaled(60); ++seed) {
        Random random(seed);
        Taro_2D mesh;
        makeConstrained(mesh, makeScattered(20, 1000, 2000, 1010, 2010, random, 3), 2, random);
        PointVector vCorners = shuffled(cornersOf(someOf(trianglesOf(mesh), 0.9, random)), random);
        for (size_t i = random() % 6; i > 0; --i) damage(vCorners, random);
        expectRepaired(vCorners);
        if (testing::Test::HasFailure()) FAIL() << "seed " << seed;
    }
}

TEST(ImportTriangles, TellsWhatIsWrong) {
    PointVector vCorners{{0, 0, 0},
                         {8, 0, 0},
                         {0, 8, 0},
                         /* no area */ {1, 1, 0},
                         {2, 2, 0},
                         {3, 3, 0},
                         /* height */ {0, 0, 1},
                         {-8, 0, 0},
                         {0, -8, 0},
                         /* overlap */ {1, 1, 0},
                         {9, 9, 0},
                         {1, 2, 0},
                         /* T-junction */ {4, 4, 0},
                         {8, 8, 0},
                         {0, 8, 0},
                         /* fits */ {0, 0, 0},
                         {0, -8, 0},
                         {-8, 0, 0}};
    Taro_2D mesh;
    StdoutCapture capture;
    ASSERT_TRUE(mesh.importTriangles(vCorners, true, false));
    EXPECT_TRUE(
        contains(capture,
                 "Taro_2D::importTriangles(), WARNING: left out are 4 of 6 faces (1 without area or finite "
                 "coordinates, 1 with another height at a corner, 1 overlapping others, 1 touching others apart "
                 "from common edges and corners; the first is number 1)"));
    EXPECT_NEAR(mesh.getImportedZone()->getArea2D(), 64.0, 1e-12);
}

TEST(ImportTriangles, CanBeStoppedAndReportsProgress) {
    Random random(5);
    Taro_2D source;
    source.insert(makeScattered(scaled(30000), 0, 0, 100, 100, random, 9));
    PointVector vCorners = shuffled(cornersOf(trianglesOf(source)), random);
    vCorners.insert(vCorners.end(), {Point2(1, 1, 0), Point2(70, 40, 0), Point2(30, 80, 0)});
    Recorder recorder;
    Taro_2D mesh;
    mesh.subscribe(MT_PROGRESS, &recorder);
    StdoutCapture capture;
    ASSERT_TRUE(mesh.importTriangles(vCorners, true, false));
    ASSERT_GT(recorder.vValues.size(), 10u);
    for (size_t i = 0; i + 1 < recorder.vValues.size(); ++i) {
        const bool bSamePhase = recorder.vMessages[i] == recorder.vMessages[i + 1];
        EXPECT_TRUE(bSamePhase ? recorder.vValues[i] <= recorder.vValues[i + 1] : recorder.vValues[i] == 1.0);
    }
    EXPECT_EQ(recorder.vValues.back(), 1.0);
    const size_t numReports = recorder.vValues.size();
    for (size_t k = 1; k < numReports; k += 1 + numReports / 20) {
        Taro_2D stopped;
        std::atomic<bool> bStop{false};
        Recorder stopper;
        stopper.hook = [&] { bStop = stopper.vValues.size() >= k; };
        stopped.subscribe(MT_PROGRESS, &stopper);
        stopped.getImpl()->getProgress().setCancelFlag(&bStop);
        try {
            EXPECT_TRUE(stopped.importTriangles(vCorners, true, false)) << "past the last cancellation point";
        } catch (const TaroCancelled&) {
            EXPECT_EQ(stopped.numberOfPoints(), 0u);
            bStop = false;
            stopper.hook = nullptr;
            EXPECT_TRUE(stopped.importTriangles(vCorners, true, false)) << "the import may be run again";
        }
        EXPECT_EQ(snapshot(trianglesOf(stopped)), snapshot(trianglesOf(mesh)));
    }
}

}  // namespace
