#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

PointVector makeGround(size_t n, unsigned seed) {
    Random random(seed);
    PointVector vPoints;
    for (size_t i = 0; i < n; ++i)
        vPoints.emplace_back(uniform(random, 0, 100), uniform(random, 0, 100), uniform(random, 0, 9));
    return vPoints;
}

TEST(RemoveConstraint, GivesTheMeshOfBefore) {
    for (const ConstraintInsertionStrategy cis :
         {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_LINEAR_Z, CIS_CONFORMING_SURFACE_Z}) {
        Taro_2D mesh;
        mesh.insert(makeGround(500, 1));
        const auto vBefore = facesOf(mesh);
        Random random(2);
        std::vector<ConstraintGraph2*> vGraphs;
        for (int i = 0; i < 12; ++i) {
            SegmentVector vSegments;
            for (int k = 0; k < 4; ++k)
                vSegments.push_back(makeSegment(uniform(random, 0, 100), uniform(random, 0, 100),
                                                uniform(random, 0, 100), uniform(random, 0, 100), 50, 60));
            vGraphs.push_back(mesh.createConstraint(vSegments, cis, i % 2));
        }
        std::shuffle(vGraphs.begin(), vGraphs.end(), random);
        while (!vGraphs.empty()) {
            ASSERT_TRUE(mesh.removeConstraint(vGraphs.back(), true));
            vGraphs.pop_back();
            ASSERT_TRUE(ConstraintOracle(mesh).check()) << vGraphs.size() << " left";
            std::vector<ConstraintGraph2*> vLeft;
            mesh.getConstraintGraphs(vLeft);
            EXPECT_EQ(vLeft.size(), vGraphs.size());
            for (const ConstraintGraph2* pGraph : vGraphs) ASSERT_TRUE(ConstraintOracle::checkGraph(*pGraph, 1e-5));
        }
        EXPECT_EQ(facesOf(mesh), vBefore) << cis;
        EXPECT_TRUE(mesh.checkValidity(true, ""));
        for (Point2* pVtx : verticesOf(mesh)) EXPECT_FALSE(mesh.isConstraint(pVtx));
    }
}

TEST(RemoveConstraint, KeepsWhatOthersNeed) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(0, 0, 100, 100));
    Point2* pClients = mesh.insert(Point2(10, 50, 3));
    ConstraintGraph2* pFirst = mesh.createConstraint({makeSegment(10, 50, 90, 50)}, CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2* pAcross = mesh.createConstraint({makeSegment(50, 10, 50, 90)}, CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2* pSame = mesh.createConstraint({makeSegment(50, 50, 90, 50)}, CIS_CONSTRAINED_DELAUNAY);
    const auto vertexAt = [&mesh](double x, double y) -> Point2* {
        for (Point2* pVtx : verticesOf(mesh))
            if (xyOf(*pVtx) == XY(x, y)) return pVtx;
        return nullptr;
    };
    ASSERT_TRUE(mesh.removeConstraint(pFirst, true));
    EXPECT_FALSE(mesh.isConstraint(pClients)) << "no segment ends here any more";
    EXPECT_EQ(vertexAt(10, 50), pClients) << "a client's point stays";
    EXPECT_FALSE(mesh.isConstraint(pClients, vertexAt(50, 50)));
    EXPECT_TRUE(mesh.isConstraint(vertexAt(50, 50), vertexAt(90, 50))) << "another graph owns this piece";
    ASSERT_TRUE(mesh.removeConstraint(pSame, true));
    EXPECT_EQ(vertexAt(90, 50), nullptr);
    EXPECT_NE(vertexAt(50, 50), nullptr) << "the other segment is split here";
    Point2* pEnd = vertexAt(50, 90);
    EXPECT_EQ(mesh.insert(Point2(50, 90, 0)), pEnd);
    ASSERT_TRUE(mesh.removeConstraint(pAcross, true));
    EXPECT_EQ(vertexAt(50, 90), pEnd) << "it has become a client's point";
    EXPECT_EQ(mesh.numberOfPoints(), 6u);
    ConstraintGraph2* pAgain = mesh.createConstraint({makeSegment(10, 50, 90, 50)}, CIS_CONFORMING_LINEAR_Z);
    std::vector<ConstraintSegment2*> vCSegs;
    mesh.getAliveAndDeadConstraintSegments(vCSegs);
    for (const ConstraintSegment2* pCSeg : vCSegs) EXPECT_EQ(pCSeg->getCIS(), CIS_CONFORMING_LINEAR_Z);
    EXPECT_TRUE(mesh.removeConstraint(pAgain));
    EXPECT_NE(vertexAt(90, 50), nullptr) << "vertices stay without the flag";
    EXPECT_TRUE(mesh.checkValidity(true, ""));
}

TEST(RemoveConstraint, RefusesStrangersAndPartsOfZones) {
    Taro_2D mesh, other;
    for (Taro_2D* pMesh : {&mesh, &other}) pMesh->insert(makeRectangle(0, 0, 9, 9));
    const SegmentVector vSquare = makeSides(makeRectangle(2, 2, 5, 5));
    ConstraintGraph2* pGraph = mesh.createConstraint(vSquare, CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2* pOther = other.createConstraint(vSquare, CIS_CONSTRAINED_DELAUNAY);
    Zone2* pZone = mesh.createZone(pGraph, ZL_INSIDE);
    for (ConstraintGraph2* pWrong : {static_cast<ConstraintGraph2*>(nullptr), pOther, pGraph}) {
        StdoutCapture capture;
        EXPECT_FALSE(mesh.removeConstraint(pWrong));
        EXPECT_TRUE(contains(capture, "Taro_2D::removeConstraint(), WARNING: the graph is "));
    }
    EXPECT_DOUBLE_EQ(pZone->getArea2D(), 9.0);
    EXPECT_TRUE(mesh.deleteZone(pZone));
    EXPECT_TRUE(mesh.removeConstraint(pGraph));
    StdoutCapture capture;
    EXPECT_FALSE(mesh.removeConstraint(pGraph)) << "it is gone";
}

TEST(RemoveConstraint, BeforeThereAreTriangles) {
    Taro_2D mesh;
    ConstraintGraph2* pGraph = mesh.createConstraint({makeSegment(0, 0, 4, 0)}, CIS_CONSTRAINED_DELAUNAY);
    EXPECT_TRUE(mesh.removeConstraint(pGraph, true));
    EXPECT_EQ(mesh.numberOfPoints(), 0u);
}

TEST(MoveVertex, KeepsTheRecordAndTheMeshDelaunay) {
    Random random(5);
    Taro_2D mesh;
    PointVector vPoints = makeGround(200, 3);
    std::vector<Point2*> vHandles;
    mesh.insert(vPoints, vHandles);
    for (size_t i = 0; i < vHandles.size(); ++i) vHandles[i]->setCustomIndex(static_cast<int>(i));
    for (int round = 0; round < 500; ++round) {
        const size_t i = random() % vHandles.size();
        const double far = round % 10 == 0 ? 1000 : 0;
        const Point2 target(uniform(random, -far, 100 + far), uniform(random, -far, 100 + far), round);
        ASSERT_TRUE(mesh.moveVertex(vHandles[i], target));
        EXPECT_TRUE(samePoint(*vHandles[i], target));
        EXPECT_EQ(vHandles[i]->getCustomIndex(), static_cast<int>(i));
        vPoints[i] = target;
    }
    EXPECT_EQ(mesh.numberOfPoints(), vPoints.size());
    EXPECT_TRUE(mesh.checkValidity(true, ""));
    Taro_2D expected;
    expected.insert(vPoints);
    EXPECT_EQ(facesOf(mesh), facesOf(expected));
}

TEST(MoveVertex, WithoutTrianglesBeforeOrAfterwards) {
    Taro_2D mesh;
    std::vector<Point2*> vHandles;
    mesh.insert({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 5, 0}}, vHandles);
    EXPECT_TRUE(mesh.moveVertex(vHandles[3], Point2(3, 0, 0)));
    EXPECT_FALSE(mesh.is2D());
    EXPECT_TRUE(mesh.moveVertex(vHandles[0], Point2(7, 0, 0)));
    EXPECT_TRUE(mesh.moveVertex(vHandles[1], Point2(2, 2, 0)));
    EXPECT_TRUE(mesh.is2D());
    EXPECT_EQ(mesh.numberOfPoints(), 4u);
    EXPECT_TRUE(mesh.checkValidity(true, ""));
}

TEST(MoveVertex, RefusesWrongCalls) {
    Taro_2D mesh, other;
    std::vector<Point2*> vHandles;
    mesh.insert(makeRectangle(0, 0, 9, 9), vHandles);
    Point2* pStranger = other.insert(Point2(1, 1, 0));
    const ConstraintGraph2* pGraph = mesh.createConstraint({makeSegment(3, 3, 6, 6)}, CIS_CONSTRAINED_DELAUNAY);
    std::vector<ConstraintSegment2*> vCSegs;
    pGraph->getOriginalConstraintSegments(vCSegs);
    const std::pair<Point2*, Point2> aWrong[] = {{nullptr, Point2(1, 1, 0)},
                                                 {pStranger, Point2(2, 2, 0)},
                                                 {vCSegs[0]->getSrc(), Point2(4, 3, 0)},
                                                 {vHandles[0], Point2(NOT_A_NUMBER, 1, 0)},
                                                 {vHandles[0], Point2(9, 9, 1)}};
    const auto vBefore = facesOf(mesh);
    for (const auto& [pVtx, target] : aWrong) {
        StdoutCapture capture;
        EXPECT_FALSE(mesh.moveVertex(pVtx, target));
        EXPECT_TRUE(contains(capture, "Taro_2D::moveVertex(), WARNING: "));
    }
    EXPECT_EQ(facesOf(mesh), vBefore);
    EXPECT_TRUE(mesh.moveVertex(vHandles[0], Point2(0, 0, 7)));
    EXPECT_EQ(vHandles[0]->z(), 7.0);
}

/// Random edits, some of which are undone.
class Editor {
  public:
    explicit Editor(unsigned seed) : random_(seed) {
        for (int i = 0; i < 40; ++i) insert();
    }

    void doAnything() {
        const int kind = static_cast<int>(random_() % 10);
        if (kind < 3) insert();
        if (kind == 3 || kind == 4) remove();
        if (kind == 5 || kind == 6) move();
        if (kind == 7) addBreakline();
        if (kind > 7 && !vLines_.empty()) removeBreakline();
    }
    const Taro_2D& getMesh() const { return mesh_; }
    /// The triangles of a new triangulation of the current points and breaklines.
    std::vector<std::vector<XY>> facesFromScratch() const {
        Taro_2D fresh;
        PointVector vPoints;
        for (const Point2* pVtx : vFree_) vPoints.push_back(*pVtx);
        fresh.insert(vPoints);
        for (const Line& line : vLines_) fresh.createConstraint({line.segment}, CIS_CONSTRAINED_DELAUNAY);
        return facesOf(fresh);
    }
    size_t numberOfLines() const { return vLines_.size(); }

  private:
    struct Line {
        Segment2 segment;
        ConstraintGraph2* pGraph;
    };

    Point2 makePlace() { return Point2(uniform(random_, 0, 100), uniform(random_, 0, 100), uniform(random_, 0, 9)); }
    void insert() { vFree_.push_back(mesh_.insert(makePlace())); }
    void remove() {
        if (vFree_.size() < 20) return;
        const size_t i = random_() % vFree_.size();
        mesh_.remove(vFree_[i]);
        vFree_.erase(vFree_.begin() + static_cast<std::ptrdiff_t>(i));
    }
    void move() { EXPECT_TRUE(mesh_.moveVertex(vFree_[random_() % vFree_.size()], makePlace())); }
    /// Lines do not cross: each has a strip of its own.
    void addBreakline() {
        const double y = static_cast<double>(random_() % 50) * 2 + 0.5;
        const Point2 from(uniform(random_, 0, 100), y, 1), to(uniform(random_, 0, 100), y + uniform(random_, 0, 1), 2);
        const auto isThere = [y](const Line& line) { return std::abs(line.segment.getSrc().y() - y) < 1; };
        if (std::any_of(vLines_.begin(), vLines_.end(), isThere)) return;
        const Segment2 segment(from, to);
        vLines_.push_back({segment, mesh_.createConstraint({segment}, CIS_CONSTRAINED_DELAUNAY)});
    }
    void removeBreakline() {
        const size_t i = random_() % vLines_.size();
        EXPECT_TRUE(mesh_.removeConstraint(vLines_[i].pGraph, true));
        vLines_.erase(vLines_.begin() + static_cast<std::ptrdiff_t>(i));
    }

    Random random_;
    Taro_2D mesh_;
    std::vector<Point2*> vFree_;
    std::vector<Line> vLines_;
};

TEST(Editing, EndsInTheMeshThatBuildingFromScratchGives) {
    const int numEdits = static_cast<int>(std::max<size_t>(scaled(10000), 1000));
    Editor editor(7);
    size_t maxLines = 0;
    for (int i = 1; i <= numEdits; ++i) {
        editor.doAnything();
        maxLines = std::max(maxLines, editor.numberOfLines());
        if (i % 500) continue;
        ASSERT_TRUE(ConstraintOracle(editor.getMesh()).check()) << i;
        ASSERT_EQ(facesOf(editor.getMesh()), editor.facesFromScratch()) << i;
    }
    EXPECT_GT(maxLines, 4u);
}

TEST(CreateConstraintOfVertices, IsThatOfTheirPlaces) {
    Random random(9);
    const PointVector vPoints = makeGround(300, 4);
    for (const bool bOriented : {false, true}) {
        Taro_2D mesh, expected;
        std::vector<Point2*> vHandles;
        mesh.insert(vPoints, vHandles);
        expected.insert(vPoints);
        std::vector<std::pair<Point2*, Point2*>> vPairs;
        SegmentVector vSegments;
        for (int i = 0; i < 20; ++i) {
            const size_t a = random() % 300, b = (a + 1 + random() % 299) % 300;
            vPairs.emplace_back(vHandles[a], vHandles[b]);
            vSegments.emplace_back(vPoints[a], vPoints[b]);
        }
        ConstraintGraph2* pGraph = mesh.createConstraint_vertices(vPairs, CIS_CONSTRAINED_DELAUNAY, bOriented);
        ASSERT_NE(pGraph, nullptr);
        EXPECT_EQ(pGraph->isOriented(), bOriented);
        expected.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, bOriented);
        EXPECT_EQ(facesOf(mesh), facesOf(expected));
        pGraph->setName("wall");
        std::vector<ConstraintGraph2*> vGraphs;
        mesh.getConstraintGraphs(vGraphs);
        ASSERT_EQ(vGraphs, std::vector<ConstraintGraph2*>{pGraph});
        EXPECT_EQ(vGraphs[0]->getName(), "wall");
        StdoutCapture capture;
        EXPECT_EQ(mesh.createConstraint_vertices({{vHandles[0], nullptr}}, CIS_CONSTRAINED_DELAUNAY), nullptr);
        EXPECT_EQ(mesh.createConstraint_vertices({}, CIS_CONSTRAINED_DELAUNAY), nullptr);
        Point2* pStranger = verticesOf(expected)[0];
        EXPECT_EQ(mesh.createConstraint_vertices({{vHandles[0], pStranger}}, CIS_CONSTRAINED_DELAUNAY), nullptr);
    }
}

}  // namespace
