#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "mesh/Dt2.h"
#include "support/MinTree.h"
#include "support/capture.h"
#include "support/delaunay_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

/// Checks everything, the register included, against the points that should be there.
void check(const Taro_2D& mesh, const PointVector& vPoints) {
    ASSERT_TRUE(DelaunayOracle(mesh, vPoints).check());
    ASSERT_TRUE(mesh.getImpl()->getVertexVault().checkVault());
    if (mesh.is2D()) {
        ASSERT_TRUE(mesh.checkValidity(true, "removal"));
    }
}

/// The expected vertices of a mesh, kept in a plain list.
class Model {
  public:
    explicit Model(Taro_2D& mesh) : mesh_(mesh) {}

    size_t size() const { return mVertices_.size(); }

    void add(const Point2& point, Point2* pVtx) {
        const auto [it, bNew] = mVertices_.emplace(point, pVtx);
        if (!bNew) {
            ASSERT_EQ(it->second, pVtx);
        } else {
            ASSERT_TRUE(sLive_.insert(pVtx).second) << "a record in use was handed out again";
            ASSERT_TRUE(samePoint(*pVtx, point));
        }
    }

    void insertSome(const PointVector& vPoints) {
        VertexVector vHandles;
        if (vPoints.size() > 1) {
            mesh_.insert(vPoints, vHandles);
        } else {
            vHandles.push_back(mesh_.insert(vPoints[0]));
        }
        for (size_t i = 0; i < vPoints.size(); ++i) add(vPoints[i], vHandles[i]);
    }

    void removeAny(Random& random) {
        const auto it = std::next(mVertices_.begin(), static_cast<long>(random() % size()));
        mesh_.remove(it->second);
        EXPECT_EQ(it->second->getIncidentTriangle(), nullptr);
        sLive_.erase(it->second);
        mVertices_.erase(it);
    }

    void checkMesh() const {
        PointVector vPoints;
        for (const auto& entry : mVertices_) vPoints.push_back(entry.first);
        check(mesh_, vPoints);
    }

  private:
    Taro_2D& mesh_;
    std::map<Point2, Point2*> mVertices_;
    std::set<Point2*> sLive_;
};

TEST(MinTree, KnowsTheSmallestNumber) {
    Random random(1);
    MinTree tree;
    for (const size_t n : {1u, 2u, 3u, 8u, 37u, 5u}) {
        std::vector<double> vValues(n);
        for (double& value : vValues) value = integer(random, 0, 9);
        tree.build(n, [&](size_t i) { return vValues[i]; });
        for (int round = 0; round < 100; ++round) {
            const auto smallest = std::min_element(vValues.begin(), vValues.end());
            ASSERT_EQ(tree.getMin(), *smallest);
            ASSERT_EQ(tree.getPlaceOfMin(), static_cast<size_t>(smallest - vValues.begin()));
            const size_t i = random() % n;
            vValues[i] = integer(random, 0, 9);
            tree.set(i, vValues[i]);
        }
    }
}

TEST(Removal, OfInnerVerticesOfAnyDegree) {
    const auto ring = [](size_t k, double halfWidth, double halfHeight) {
        return makePoints(k, [=](double i) {
            const double angle = 2.0 * 3.141592653589793 * i / static_cast<double>(k);
            return std::pair(halfWidth * std::cos(angle), halfHeight * std::sin(angle));
        });
    };
    Random random(2);
    std::vector<PointVector> vRings{makePythagoreanCircle(random), makeGrid(2, -1, -1, 2, random)};
    for (const size_t k : {3u, 4u, 5u, 6u, 7u, 12u, 1000u}) vRings.push_back(ring(k, 1, 1));
    // A reflex ring: every second point is pulled in, and (with four points) the centre lies on a diagonal.
    for (const size_t k : {4u, 6u, 8u, 10u}) {
        vRings.push_back(ring(k, 1, 1));
        for (size_t i = 0; i < k; i += 2) vRings.back()[i].set(0.3 * vRings.back()[i].x(), vRings.back()[i].y(), 0);
    }
    for (PointVector vPoints : vRings) {
        SCOPED_TRACE(vPoints.size());
        Taro_2D mesh;
        mesh.insert(vPoints);
        Point2* pCentre = mesh.insert(Point2(0, 0, 1));
        const size_t k = degree(mesh, pCentre), numTriangles = mesh.numberOfTriangles();
        EXPECT_TRUE(k == vPoints.size() || vPoints.size() < 12);
        mesh.remove(pCentre);
        EXPECT_EQ(mesh.numberOfTriangles(), numTriangles - 2);
        check(mesh, vPoints);
    }
}

TEST(Removal, CostsLittleMoreThanTheDegree) {
    // Anything quadratic would take minutes. The corners of the box see long pieces of the ring, the centre
    // all of it.
    const size_t n = scaled(200000);
    Random random(3);
    for (const double height : {1.0, 0.5}) {
        PointVector vPoints = makePoints(n, [&](double) {
            const double angle = uniform(random, 0.0, 6.28);
            return std::pair(std::cos(angle), height * std::sin(angle));
        });
        Taro_2D mesh;
        mesh.insert(vPoints);
        for (const auto& [x, y] : {std::pair(0, 0), {-3, -3}, {3, -3}, {3, 3}, {-3, 3}}) mesh.insert(Point2(x, y, 0));
        size_t sumOfDegrees = 0;
        for (const auto& [x, y] : {std::pair(0, 0), {-3, -3}, {3, -3}, {3, 3}, {-3, 3}}) {
            Point2* pVtx = mesh.getImpl()->getVertexPointer(Point2(x, y, 0));
            sumOfDegrees += degree(mesh, pVtx);
            mesh.remove(pVtx);
        }
        EXPECT_GT(sumOfDegrees, n);
        EXPECT_TRUE(mesh.checkValidity(true, "ring"));
        EXPECT_EQ(mesh.numberOfPoints(), n);
    }
}

TEST(Removal, OfAWholeRegionLeavesSearchesFast) {
    // A quarter of the square: one long piece of the curve, which a search may not go through item by item.
    const size_t n = scaled(400000);
    Random random(4);
    PointVector vPoints =
        makePoints(n, [&](double) { return std::pair(uniform(random, 0, 1), uniform(random, 0, 1)); });
    vPoints.insert(vPoints.end(), {Point2(0, 0, 0), Point2(0, 1, 0), Point2(1, 0, 0), Point2(1, 1, 0)});
    Taro_2D mesh;
    VertexVector vHandles;
    mesh.insert(vPoints, vHandles);
    size_t numRemoved = 0, numFound = 0;
    for (size_t i = 0; i < n; ++i) {
        if (vPoints[i].x() > 0.5 || vPoints[i].y() > 0.5) continue;
        mesh.remove(vHandles[i]);
        ++numRemoved;
    }
    for (const Point2& p : vPoints) numFound += p.x() <= 0.5 && p.y() <= 0.5 && mesh.locate(p);
    EXPECT_EQ(numFound, numRemoved + 1);
    EXPECT_TRUE(mesh.checkValidity(true, "emptied region"));
}

class EveryPointSet : public testing::TestWithParam<Generator> {};

TEST_P(EveryPointSet, CanBeTakenDownToNothingAndBuiltUpAgain) {
    for (size_t seed = 0; seed < 1 + scaled(5); ++seed) {
        SCOPED_TRACE(testing::Message() << GetParam().name << ", seed " << seed);
        Random random(seed);
        PointVector vLeft = GetParam().make(50, random);
        std::sort(vLeft.begin(), vLeft.end());
        vLeft.erase(std::unique(vLeft.begin(), vLeft.end()), vLeft.end());
        std::shuffle(vLeft.begin(), vLeft.end(), random);
        Taro_2D mesh;
        VertexVector vHandles;
        mesh.insert(vLeft, vHandles);
        for (; !vLeft.empty(); vLeft.pop_back()) {
            check(mesh, vLeft);
            if (HasFailure()) return;
            mesh.remove(vHandles[vLeft.size() - 1]);
        }
        EXPECT_EQ(mesh.numberOfPoints(), 0u);
        EXPECT_FALSE(mesh.is2D());
        const PointVector vAgain = GetParam().make(20, random);
        for (const Point2& point : vAgain) mesh.insert(point);
        check(mesh, vAgain);
    }
}

INSTANTIATE_TEST_SUITE_P(Removal, EveryPointSet, testing::ValuesIn(generators),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Removal, MixedWithInsertions) {
    const struct {
        const char* name;
        double scale, origin;  // scale 0: an integer grid
    } aSettings[] = {{"unit square", 1, 0}, {"far away", 100, 4.5e6}, {"tiny", 1e-160, 0}, {"grid", 0, 0}};
    for (const auto& setting : aSettings) {
        SCOPED_TRACE(setting.name);
        Random random(5);
        const auto coordinate = [&] {
            if (setting.scale == 0.0) return integer(random, -7, 7);
            return setting.origin + setting.scale * uniform(random, -1, 1);
        };
        Taro_2D mesh;
        Model model(mesh);
        int customIndex = 0;
        size_t maxSize = 4, numUntilCheck = 0;
        bool bGrow = true;
        for (size_t k = 0, num = scaled(25000); k < num; ++k) {
            if (model.size() == 0) maxSize = 4 << (random() % 7);
            if (model.size() == 0 || model.size() >= maxSize) bGrow = model.size() == 0;
            if (model.size() == 0 || random() % 10 < (bGrow ? 7 : 3)) {
                PointVector vPoints(random() % 20 == 0 ? 10 : 1);
                for (Point2& point : vPoints) {
                    point.set(coordinate(), coordinate(), integer(random, 0, 9));
                    point.setCustomIndex(++customIndex);
                }
                model.insertSome(vPoints);
            } else {
                model.removeAny(random);
            }
            if (numUntilCheck-- == 0) {
                numUntilCheck = model.size();
                model.checkMesh();
            }
            if (HasFailure()) FAIL() << "operation " << k;
        }
    }
}

TEST(Removal, OfWhatIsNoVertexOnlyWarns) {
    const std::string head = "\033[0;93m      [Taro2D-Message] Dt2::remove(";
    const std::string noVertex = head + "), WARNING: vertex does not belong to the triangulation, return\033[m\n";
    for (const bool bCollinear : {false, true}) {
        Taro_2D mesh, other;
        PointVector vPoints{Point2(0, 0, 0), Point2(2, 0, 0), Point2(1, bCollinear ? 0 : 2, 0)};
        VertexVector vHandles;
        mesh.insert(vPoints, vHandles);
        Point2* pRemoved = mesh.insert(Point2(1, bCollinear ? 0 : 1, 0));
        if (bCollinear) pRemoved = mesh.insert(Point2(5, 0, 0));
        mesh.remove(pRemoved);
        Point2 free(0, 0, 0);
        other.insert(vPoints, vHandles);
        for (Point2* pVtx : {pRemoved, &free, vHandles[0]}) {
            const StdoutCapture capture;
            mesh.remove(pVtx);
            std::ostringstream text;
            text << *pVtx << "\n" << noVertex;
            EXPECT_EQ(capture.text(), text.str());
        }
        const StdoutCapture capture;
        mesh.remove(nullptr);
        EXPECT_EQ(capture.text(), head + "..), WARNING: pVtx==NULL, illegal, return.\033[m\n");
        check(mesh, vPoints);
        EXPECT_EQ(mesh.insert(Point2(7, 7, 7)), pRemoved) << "its record is not used again";
        EXPECT_THROW(mesh.getImpl()->remove_CHVersion(&free, true), TaroException);
    }
}

TEST(Removal, ThatCannotEndLeavesAPicture) {
    Taro_2D mesh;
    VertexVector vRing;
    mesh.insert({Point2(0, 0, 0), Point2(2, 0, 0), Point2(2, 2, 0), Point2(0, 2, 0)}, vRing);
    Point2* pCentre = mesh.insert(Point2(1, 1, 0));
    vRing[1]->set(0, 2, 0);  // turns the ring inside out: no flip is legal any more
    vRing[3]->set(2, 0, 0);
    mesh.setDev("removal_", 0, 0.0);
    const StdoutCapture capture;
    EXPECT_THROW(mesh.remove(pCentre), TaroException);
    mesh.setDev("", 0, 0.0);
    EXPECT_TRUE(contains(capture, "vUmbrellaT.size()=4\n"));
    EXPECT_TRUE(contains(capture, "Condition [ false failed ]"));
    EXPECT_TRUE(std::filesystem::exists("removal_watchDogFailed.ps"));
}

}  // namespace
