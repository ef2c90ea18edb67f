#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Dt2.h"
#include "support/capture.h"
#include "support/delaunay_oracle.h"
#include "support/generators.h"
#include "taro25d/TaroException.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

using Handles = std::vector<Point2*>;

void insertSingly(Taro_2D& mesh, const PointVector& vPoints, Handles& vHandles) {
    for (const Point2& point : vPoints) vHandles.push_back(mesh.insert(point));
}

void insertBulk(Taro_2D& mesh, const PointVector& vPoints, Handles& vHandles) {
    Handles vReplaced(3, nullptr);
    mesh.insert(vPoints, vReplaced);
    vHandles.insert(vHandles.end(), vReplaced.begin(), vReplaced.end());
}

void insertArray(Taro_2D& mesh, const PointVector& vPoints, Handles& vHandles) {
    std::vector<double> vCoordinates;
    for (const Point2& p : vPoints) vCoordinates.insert(vCoordinates.end(), {p.x(), p.y(), p.z()});
    Handles vMade(vPoints.size());
    mesh.insert(static_cast<int>(vPoints.size()), vCoordinates.data(), vMade.data());
    for (size_t i = 0; i < vMade.size(); ++i) {
        if (vMade[i]) vMade[i]->setCustomIndex(vPoints[i].getCustomIndex());
    }
    vHandles.insert(vHandles.end(), vMade.begin(), vMade.end());
}

using Insert = void (*)(Taro_2D&, const PointVector&, Handles&);

/// A way to bring points in: the parts follow each other, each with an equal share of the points.
struct Way {
    const char* name;
    std::vector<Insert> vParts;
};

const Way ways[] = {{"singly", {insertSingly}},
                    {"in bulk", {insertBulk}},
                    {"in bulk, in two halves", {insertBulk, insertBulk}},
                    {"mixed", {insertSingly, insertBulk, insertSingly, insertBulk, insertBulk}}};

void insertIn(const Way& way, const PointVector& vPoints, Taro_2D& mesh, Handles& vHandles) {
    const size_t numParts = way.vParts.size(), n = vPoints.size();
    for (size_t k = 0; k < numParts; ++k) {
        const PointVector vPart(vPoints.begin() + n * k / numParts, vPoints.begin() + n * (k + 1) / numParts);
        way.vParts[k](mesh, vPart, vHandles);
    }
}

/// Inserts the points in each way and lets the oracle judge.
void checkAllWays(const PointVector& vPoints) {
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        Taro_2D mesh;
        Handles vHandles;
        insertIn(way, vPoints, mesh, vHandles);
        const DelaunayOracle oracle(mesh, vPoints);
        ASSERT_TRUE(oracle.check());
        ASSERT_TRUE(oracle.checkHandles(vHandles));
        if (mesh.is2D()) {
            ASSERT_TRUE(mesh.checkValidity(true, way.name));
        }
    }
}

void checkBulk(const PointVector& vPoints) {
    Taro_2D mesh;
    mesh.insert(vPoints);
    ASSERT_TRUE(DelaunayOracle(mesh, vPoints).check());
}

/// Triangles and vertices in their order, by coordinates.
std::string describe(const Taro_2D& mesh) {
    std::ostringstream text;
    text << std::hexfloat;
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) text << pT->getCorner(i)->x() << " " << pT->getCorner(i)->y() << ", ";
    }
    Handles vVertices;
    mesh.getVertexPointers(vVertices);
    for (const Point2* pVtx : vVertices) text << "\n" << pVtx->getCustomIndex();
    return text.str();
}

/// Turned by a number of right angles and moved.
PointVector transformed(PointVector vPoints, int numTurns, double dx, double dy) {
    for (Point2& p : vPoints) {
        for (int i = 0; i < numTurns; ++i) p.set(-p.y(), p.x(), p.z());
        p.set(p.x() + dx, p.y() + dy, p.z());
    }
    return vPoints;
}

/// The corners of a quadrilateral in every order: does the diagonal end at the corner inserted last?
std::vector<bool> diagonalsEndAtLast(PointVector vCorners) {
    std::vector<bool> vResult;
    std::sort(vCorners.begin(), vCorners.end());
    do {
        Taro_2D mesh;
        Handles vHandles;
        insertSingly(mesh, vCorners, vHandles);
        EXPECT_EQ(mesh.numberOfTriangles(), 2u);
        Handles vNeighbours;
        mesh.getIncidentVertices(vHandles.back(), vNeighbours);
        vResult.push_back(vNeighbours.size() == 3);
    } while (std::next_permutation(vCorners.begin(), vCorners.end()));
    return vResult;
}

size_t degree(const Taro_2D& mesh, Point2* pVtx) {
    std::vector<Triangle2*> vTriangles;
    mesh.getIncidentTriangles(pVtx, vTriangles);
    return vTriangles.size();
}

/// Points from a file of binary triples; empty where there is none.
PointVector readPoints(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::uint64_t n = 0;
    file.read(reinterpret_cast<char*>(&n), sizeof(n));
    PointVector vPoints;
    for (double xyz[3]; n > 0 && file.read(reinterpret_cast<char*>(xyz), sizeof(xyz)); --n) {
        vPoints.emplace_back(xyz[0], xyz[1], xyz[2]);
    }
    return vPoints;
}

PointVector readCorpusFile(const std::filesystem::path& path) {
    PointVector vPoints;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        line = line.substr(0, line.find('#'));
        char* next = line.data();
        double xyz[3];
        int num = 0;
        for (char* end = next; num < 3 && (xyz[num] = std::strtod(next, &end), end != next); next = end)
            ++num;
        EXPECT_TRUE(num == 0 || num == 3) << path << ": " << line;
        if (num == 3) vPoints.emplace_back(xyz[0], xyz[1], xyz[2]);
    }
    for (size_t i = 0; i < vPoints.size(); ++i) vPoints[i].setCustomIndex(static_cast<int>(i));
    return vPoints;
}

class EveryGenerator : public testing::TestWithParam<Generator> {};

TEST_P(EveryGenerator, GivesADelaunayTriangulation) {
    for (const size_t n : {7u, 40u, 400u}) {
        for (int seed = 0; seed < (n < 400 ? 8 : 1); ++seed) {
            SCOPED_TRACE(testing::Message() << GetParam().name << ", n " << n << ", seed " << seed);
            Random random(seed);
            checkAllWays(GetParam().make(n, random));
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(EveryGenerator, DependsOnTheInputAlone) {
    Random random(1);
    const PointVector vPoints = GetParam().make(300, random);
    for (const Way& way : ways) {
        std::vector<std::unique_ptr<char[]>> vNoise;
        std::string first;
        for (int run = 0; run < 3; ++run) {
            Taro_2D mesh(1 + 50 * run);  // blocks of other sizes, at other addresses
            for (int i = 0; i < 200; ++i)
                vNoise.push_back(std::make_unique<char[]>(size_t(integer(random, 1, 5000))));
            for (int i = 0; i < 100; ++i) vNoise.erase(vNoise.begin() + long(random() % vNoise.size()));
            Handles vHandles;
            insertIn(way, vPoints, mesh, vHandles);
            if (run == 0) first = describe(mesh);
            ASSERT_EQ(describe(mesh), first) << way.name;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Insertion, EveryGenerator, testing::ValuesIn(generators),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Insertion, OfTheCorpus) {
    size_t numFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TARO25D_CORPUS_DIR)) {
        if (entry.path().extension() != ".txt") continue;
        SCOPED_TRACE(entry.path().filename());
        const PointVector vPoints = readCorpusFile(entry.path());
        ASSERT_FALSE(vPoints.empty());
        ++numFiles;
        PointVector vShuffled = vPoints;
        Random random(1);
        checkAllWays(vPoints);
        for (int i = 0; i < 5; ++i) {
            std::shuffle(vShuffled.begin(), vShuffled.end(), random);
            checkAllWays(vShuffled);
        }
        for (int numTurns = 1; numTurns < 4; ++numTurns) checkAllWays(transformed(vPoints, numTurns, 0, 0));
        checkAllWays(transformed(vPoints, 0, 4.5e5, 5.2e6));
    }
    EXPECT_GT(numFiles, 0u) << "no corpus in " << TARO25D_CORPUS_DIR;
}

TEST(Insertion, OfRealData) {
    if (std::string(TARO25D_SHARED_DATA_DIR).empty()) GTEST_SKIP() << "the folder of shared data is absent";
    const struct {
        const char* name;
        size_t numPoints, numTriangles;  // 0: not known from elsewhere
    } aFiles[] = {{"delaunator_robustness1", 79, 141},
                  {"delaunator_robustness2", 968, 1924},
                  {"delaunator_ukraine", 867, 1711},
                  {"landslide_pre10m", 9638, 0}};
    for (const auto& file : aFiles) {
        SCOPED_TRACE(file.name);
        const PointVector vPoints = readPoints(std::filesystem::path(TARO25D_SHARED_DATA_DIR) / "points" /
                                               (std::string(file.name) + ".xyzb"));
        ASSERT_FALSE(vPoints.empty());
        Taro_2D mesh;
        mesh.insert(vPoints);
        EXPECT_EQ(mesh.numberOfPoints(), file.numPoints);
        if (file.numTriangles > 0) {
            EXPECT_EQ(mesh.numberOfTriangles(), file.numTriangles);
        }
        checkAllWays(vPoints);
    }
}

TEST(Insertion, OfLargeSets) {
    Random random(7);
    const size_t side = static_cast<size_t>(std::sqrt(static_cast<double>(scaled(1000000))));
    Taro_2D mesh;
    mesh.insert(makeGrid(side, 0, 0, 1, random));
    EXPECT_EQ(mesh.numberOfTriangles(), 2 * (side - 1) * (side - 1));
    EXPECT_TRUE(mesh.checkValidity(true, "grid"));
    for (const Generator& generator : generators) {
        SCOPED_TRACE(generator.name);
        checkBulk(generator.make(scaled(6000), random));
    }
}

TEST(Insertion, OfThePointsBeforeTheFirstTriangle) {
    for (const Way& way : ways) {
        SCOPED_TRACE(way.name);
        Taro_2D mesh;
        Handles vHandles;
        PointVector vAll;
        const PointVector aSteps[] = {{Point2(0, 0, 1)},
                                      {Point2(0, 0, 2), Point2(0, 0, 3)},
                                      {Point2(1, 1, 0)},
                                      {Point2(2, 2, 0), Point2(1, 1, 4), Point2(-7, -7, 0)}};
        for (const PointVector& vStep : aSteps) {
            insertIn(way, vStep, mesh, vHandles);
            vAll.insert(vAll.end(), vStep.begin(), vStep.end());
            EXPECT_TRUE(DelaunayOracle(mesh, vAll).check());
        }
        EXPECT_EQ(mesh.numberOfPoints(), 4u);
        EXPECT_FALSE(mesh.is2D());
        insertIn(way, {Point2(0, 1, 0)}, mesh, vHandles);
        EXPECT_EQ(mesh.numberOfPoints(), 5u);
        EXPECT_EQ(mesh.numberOfTriangles(), 3u);
    }
}

TEST(Insertion, OfALongCollinearRunAndThenAPointOffTheLine) {
    const size_t n = scaled(10000);
    Random random(3);
    std::vector<double> vPositions(n);
    for (size_t i = 0; i < n; ++i) vPositions[i] = static_cast<double>(i);
    std::shuffle(vPositions.begin(), vPositions.end(), random);
    const std::pair<double, double> aDirections[] = {{1, 0}, {0, 1}, {1, 1}, {-3, 7}};
    for (const auto& [dx, dy] : aDirections) {
        for (const Way& way : {ways[0], ways[1]}) {
            SCOPED_TRACE(testing::Message() << dx << " " << dy << " " << way.name);
            PointVector vPoints;
            for (const double i : vPositions) vPoints.emplace_back(i * dx, i * dy, 0.0);
            Taro_2D mesh;
            Handles vHandles;
            insertIn(way, vPoints, mesh, vHandles);
            EXPECT_FALSE(mesh.is2D());
            vPoints.emplace_back(0.4 * double(n) * dx + 1e-3 * dy, 0.4 * double(n) * dy - 1e-3 * dx, 0.0);
            vHandles.push_back(mesh.insert(vPoints.back()));
            EXPECT_EQ(mesh.numberOfTriangles(), n - 1);
            EXPECT_EQ(degree(mesh, vHandles.back()), n - 1);
            EXPECT_TRUE(DelaunayOracle(mesh, vPoints).check());
        }
    }
}

TEST(Insertion, RefusesPointsThatAreNotFinite) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const PointVector vBad{Point2(nan, 0, 0), Point2(0, -inf, 0), Point2(0, 0, inf), Point2(0, 0, nan)};
    const std::string single = "Dt2::insert(), WARNING: non-finite coordinates, point refused\033[m\n";
    const std::string bulk =
        "Dt2::insertVector(), WARNING: non-finite coordinates, points refused: 4\033[m\n";
    const std::pair<Insert, std::string> aCases[] = {
        {insertSingly, single + "@" + single + "@" + single + "@" + single},
        {insertBulk, bulk},
        {insertArray, bulk}};
    for (auto [insert, text] : aCases) {
        const std::string head = "\033[0;93m      [Taro2D-Message] ";
        for (size_t at; (at = text.find('@')) != std::string::npos;) text.replace(at, 1, head);
        Taro_2D mesh;
        PointVector vAll = vBad;
        Handles vHandles;
        for (const bool bWithGoodOnes : {false, true}) {
            if (bWithGoodOnes) {
                vAll.insert(vAll.begin() + 1, Point2(0, 0, 5));
                vAll.insert(vAll.begin() + 3, {Point2(4, 0, 0), Point2(0, 1, 0), Point2(0, 0, 6)});
            }
            vHandles.clear();
            const StdoutCapture capture;
            insert(mesh, vAll, vHandles);
            EXPECT_EQ(capture.text(), head + text);
            EXPECT_EQ(mesh.is2D(), bWithGoodOnes);
            EXPECT_TRUE(DelaunayOracle(mesh, vAll).check());
            EXPECT_TRUE(DelaunayOracle(mesh, vAll).checkHandles(vHandles));
        }
    }
}

TEST(Insertion, OfNothingDoesNothing) {
    Taro_2D mesh(0);
    Point2 vertex;
    Point2* pUntouched = &vertex;
    Handles vHandles{pUntouched};
    mesh.insert(PointVector());
    mesh.insert(PointVector(), vHandles);
    EXPECT_TRUE(vHandles.empty()) << "handles are replaced";
    mesh.insert(0, nullptr, nullptr);
    mesh.insert(-1, nullptr, &pUntouched);
    EXPECT_EQ(pUntouched, &vertex);
    EXPECT_EQ(mesh.numberOfPoints(), 0u);
}

TEST(Insertion, OfADuplicateGivesTheVertexThatWasThereFirst) {
    Random random(5);
    const PointVector vPoints = makeGrid(9, 0, 0, 1, random);
    for (const Insert insert : {insertSingly, insertBulk, insertArray}) {
        Taro_2D mesh;
        Handles vFirst, vAgain;
        PointVector vTwice;
        for (const Point2& p : vPoints) {
            vTwice.push_back(p);
            vTwice.emplace_back(p.x(), p.y(), -1.0);
        }
        insert(mesh, vTwice, vFirst);
        for (size_t i = 0; i < vTwice.size(); i += 2) {
            EXPECT_EQ(vFirst[i], vFirst[i + 1]);
            EXPECT_EQ(vFirst[i]->z(), vTwice[i].z());
        }
        insert(mesh, vTwice, vAgain);
        EXPECT_EQ(vFirst, vAgain);
        EXPECT_EQ(mesh.numberOfPoints(), 81u);
        EXPECT_TRUE(mesh.getImpl()->getVertexVault().checkVault());
    }
}

TEST(Insertion, DiagonalOfARectangleEndsAtTheCornerInsertedLast) {
    const std::vector<bool> vAlways(24, true), vNever(24, false);
    for (const double width : {1.0, 0.25, 3e5}) {
        for (const double x : {0.0, 4.5e5, -1e12}) {
            EXPECT_EQ(diagonalsEndAtLast({Point2(x, 2, 0), Point2(x + width, 2, 0), Point2(x, 3, 0),
                                          Point2(x + width, 3, 0)}),
                      vAlways)
                << width << " at " << x;
        }
    }
    // Cocircular, but no axis-parallel rectangle.
    EXPECT_EQ(diagonalsEndAtLast({Point2(5, 0, 0), Point2(0, 5, 0), Point2(-5, 0, 0), Point2(0, -5, 0)}),
              vNever);
    EXPECT_EQ(diagonalsEndAtLast({Point2(3, 4, 0), Point2(-4, 3, 0), Point2(-3, -4, 0), Point2(4, -3, 0)}),
              vNever);
    EXPECT_EQ(diagonalsEndAtLast({Point2(5, 0, 0), Point2(3, 4, 0), Point2(-3, 4, 0), Point2(0, -5, 0)}),
              vNever);
}

TEST(Insertion, OnAnEdgeSplitsIt) {
    const PointVector vRhombus{Point2(-2, 0, 0), Point2(2, 0, 0), Point2(0, 3, 0), Point2(0, -3, 0)};
    const struct {
        Point2 point;
        size_t degree, numTriangles;
    } aCases[] = {{Point2(0.5, 0, 0), 4, 4}, {Point2(1, 1.5, 0), 2, 3}};  // an inner edge, a hull edge
    for (const auto& c : aCases) {
        Taro_2D mesh;
        mesh.insert(vRhombus);
        EXPECT_EQ(degree(mesh, mesh.insert(c.point)), c.degree);
        EXPECT_EQ(mesh.numberOfTriangles(), c.numTriangles);
    }
}

TEST(Insertion, TwoTriangulationsLiveInTwoThreads) {
    std::string aTexts[4];
    const auto run = [&aTexts](size_t slot) {
        Random random(slot % 2);
        const PointVector vPoints = generators[slot % 2 == 0 ? 3 : 4].make(1500, random);
        Taro_2D mesh;
        Handles vHandles;
        insertIn(ways[3], vPoints, mesh, vHandles);
        aTexts[slot] = describe(mesh);
    };
    run(0);
    run(1);
    std::thread first(run, 2), second(run, 3);
    first.join();
    second.join();
    EXPECT_EQ(aTexts[0], aTexts[2]);
    EXPECT_EQ(aTexts[1], aTexts[3]);
}

TEST(Flip, KeepsTheConventionAndIsUndoneByFlips) {
    Random random(11);
    for (const char* name : {"Uniform", "Grid", "NearlyOnDiagonal"}) {
        const auto* pGenerator =
            std::find_if(std::begin(generators), std::end(generators),
                         [&](const Generator& g) { return g.name == std::string(name); });
        const PointVector vPoints = pGenerator->make(150, random);
        Taro_2D mesh;
        mesh.insert(vPoints);
        Dt2& engine = *mesh.getImpl();
        std::vector<Triangle2*> vTriangles;
        mesh.getTrianglePointers(vTriangles);
        for (size_t k = 0; k < 3 * vTriangles.size(); ++k) {
            Triangle2* pT = vTriangles[k / 3];
            const int i = static_cast<int>(k % 3);
            Point2 *a = pT->getCorner(i), *b = pT->getCorner((i + 1) % 3), *c = pT->getCorner((i + 2) % 3);
            Triangle2* pN = pT->getOppositeTriangle(i);
            Point2* d = pN ? pN->getCorner(pN->getIntraTriangleIndex(pT)) : nullptr;
            const bool bConvex = d && exactOrientation(*a, *d, *b) < 0 && exactOrientation(*a, *d, *c) > 0;
            ASSERT_EQ(engine.canBeFlipped(pT, i), bConvex);
            if (!bConvex) continue;
            ASSERT_EQ(engine.flip(pT, i), pN);
            const Triangle2 expectedT(a, b, d), expectedN(a, d, c);
            for (int j = 0; j < 3; ++j) {
                ASSERT_EQ(pT->getCorner(j), expectedT.getCorner(j));
                ASSERT_EQ(pN->getCorner(j), expectedN.getCorner(j));
            }
            ASSERT_EQ(b->getIncidentTriangle(), pT);
            for (const Point2* p : {a, c, d}) ASSERT_EQ(p->getIncidentTriangle(), pN);
            engine.bfsFlipIncident(k % 2 ? a : b);  // both have a triangle at the new edge, if not the edge
            ASSERT_TRUE(DelaunayOracle(mesh, vPoints).check());
        }
    }
}

}  // namespace
