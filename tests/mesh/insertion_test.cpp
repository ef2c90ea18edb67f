#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "mesh/Dt2.h"
#include "mesh/coarseToFine.h"
#include "support/capture.h"
#include "support/delaunay_oracle.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

void insertSingly(Taro_2D& mesh, const PointVector& vPoints, VertexVector& vHandles) {
    for (const Point2& point : vPoints) vHandles.push_back(mesh.insert(point));
}

void insertBulk(Taro_2D& mesh, const PointVector& vPoints, VertexVector& vHandles) {
    VertexVector vReplaced(3, nullptr);
    mesh.insert(vPoints, vReplaced);
    vHandles.insert(vHandles.end(), vReplaced.begin(), vReplaced.end());
}

void insertArray(Taro_2D& mesh, const PointVector& vPoints, VertexVector& vHandles) {
    std::vector<double> vCoordinates;
    for (const Point2& p : vPoints) vCoordinates.insert(vCoordinates.end(), {p.x(), p.y(), p.z()});
    vHandles.resize(vHandles.size() + vPoints.size());
    mesh.insert(static_cast<int>(vPoints.size()), vCoordinates.data(), &*vHandles.end() - vPoints.size());
}

using Insert = void (*)(Taro_2D&, const PointVector&, VertexVector&);

/// A sequence of insertion calls, each with an equal share of the points.
struct Method {
    const char* name;
    std::vector<Insert> vParts;
};

const Method methods[] = {{"singly", {insertSingly}},
                          {"in bulk", {insertBulk}},
                          {"in two halves", {insertBulk, insertBulk}},
                          {"mixed", {insertSingly, insertArray, insertSingly, insertBulk, insertBulk}}};

void insertIn(const Method& method, const PointVector& vPoints, Taro_2D& mesh, VertexVector& vHandles) {
    const size_t numParts = method.vParts.size(), n = vPoints.size();
    for (size_t k = 0; k < numParts; ++k) {
        const auto begin = vPoints.begin() + n * k / numParts, end = vPoints.begin() + n * (k + 1) / numParts;
        method.vParts[k](mesh, PointVector(begin, end), vHandles);
    }
}

void checkAllMethods(const PointVector& vPoints) {
    for (const Method& method : methods) {
        SCOPED_TRACE(method.name);
        Taro_2D mesh;
        VertexVector vHandles;
        insertIn(method, vPoints, mesh, vHandles);
        const DelaunayOracle oracle(mesh, vPoints);
        ASSERT_TRUE(oracle.check());
        ASSERT_TRUE(oracle.checkHandles(vHandles));
        ASSERT_TRUE(!mesh.is2D() || mesh.checkValidity(true, method.name));
    }
}

void checkAfterEachPoint(const PointVector& vPoints) {
    Taro_2D mesh;
    PointVector vSoFar;
    for (const Point2& point : vPoints) {
        vSoFar.push_back(point);
        mesh.insert(point);
        ASSERT_TRUE(DelaunayOracle(mesh, vSoFar).check());
    }
}

/// Turned by a number of right angles and moved.
PointVector transformed(PointVector vPoints, int numTurns, double dx, double dy) {
    for (Point2& p : vPoints) {
        for (int i = 0; i < numTurns; ++i) p.set(-p.y(), p.x(), p.z());
        p.set(p.x() + dx, p.y() + dy, p.z());
    }
    return vPoints;
}

/// Triangles and vertices in their order, by coordinates.
std::string describe(const Taro_2D& mesh) {
    std::ostringstream text;
    text << std::hexfloat;
    for (const Triangle2* pT : trianglesOf(mesh)) {
        for (int i = 0; i < 3; ++i) text << pT->getCorner(i)->x() << " " << pT->getCorner(i)->y() << ", ";
    }
    for (const Point2* pVtx : verticesOf(mesh)) text << "\n" << pVtx->z();
    return text.str();
}

/// The number of the 24 insertion orders of a quadrilateral's corners whose diagonal ends at the corner inserted last.
int numDiagonalsAtLastCorner(PointVector vCorners) {
    int num = 0;
    std::sort(vCorners.begin(), vCorners.end());
    do {
        Taro_2D mesh;
        VertexVector vHandles;
        insertSingly(mesh, vCorners, vHandles);
        EXPECT_EQ(mesh.numberOfTriangles(), 2u);
        num += degree(mesh, vHandles.back()) == 2;
    } while (std::next_permutation(vCorners.begin(), vCorners.end()));
    return num;
}

/// Lines of "x y z" in any notation of strtod, with comments after #.
PointVector readCorpusFile(const std::filesystem::path& path) {
    PointVector vPoints;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string x, y, z;
        if (!(words >> x)) continue;
        EXPECT_TRUE(words >> y >> z) << path << ": " << line;
        vPoints.emplace_back(std::stod(x), std::stod(y), std::stod(z));
    }
    return vPoints;
}

class EveryGenerator : public testing::TestWithParam<Generator> {};

TEST(CoarseToFine, VisitsEachIndexOnceAndStartsAtVisitedOnes) {
    for (const size_t n : {0u, 1u, 2u, 4u, 63u, 64u, 65u, 256u, 257u, 1025u, 16384u, 16385u, 70001u}) {
        std::vector<int> vVisits(n, 0);
        coarseToFine(
            n, [&](size_t i) { EXPECT_EQ(vVisits.at(i), 1) << n; }, [&](size_t i) { ++vVisits.at(i); });
        EXPECT_EQ(std::count(vVisits.begin(), vVisits.end(), 1), static_cast<std::ptrdiff_t>(n));
    }
}

TEST_P(EveryGenerator, GivesADelaunayTriangulation) {
    for (size_t seed = 0; seed < 3 + scaled(14) && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        checkAllMethods(GetParam().make(seed == 0 ? 300 : seed % 2 ? 7 : 40, random));
    }
}

TEST_P(EveryGenerator, GivesTheSameTrianglesInTheSameOrderAgain) {
    Random random(1);
    const PointVector vPoints = GetParam().make(200, random);
    for (const Method& method : methods) {
        std::vector<std::unique_ptr<char[]>> vNoise;
        std::string first;
        for (const unsigned numExpected : {3u, 70u, 1000u}) {  // blocks of other sizes, at other addresses
            Taro_2D mesh(numExpected);
            for (int i = 0; i < 200; ++i) vNoise.push_back(std::make_unique<char[]>(size_t(integer(random, 1, 5000))));
            for (int i = 0; i < 100; ++i) vNoise.erase(vNoise.begin() + long(integer(random, 0, 99)));
            VertexVector vHandles;
            insertIn(method, vPoints, mesh, vHandles);
            if (first.empty()) first = describe(mesh);
            ASSERT_EQ(describe(mesh), first) << method.name;
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
        checkAfterEachPoint(vPoints);
        checkAllMethods(vPoints);
        for (int i = 0; i < 5; ++i) {
            std::shuffle(vShuffled.begin(), vShuffled.end(), random);
            checkAllMethods(vShuffled);
        }
        for (int numTurns = 1; numTurns < 4; ++numTurns) checkAllMethods(transformed(vPoints, numTurns, 0, 0));
        checkAllMethods(transformed(vPoints, 0, 4.5e5, 5.2e6));
    }
    EXPECT_GT(numFiles, 0u) << "no corpus in " << TARO25D_CORPUS_DIR;
}

TEST(Insertion, OfRealData) {
    if (!hasDataFolder()) GTEST_SKIP() << "without TARO25D_DATA_DIR";
    const struct {
        const char* name;
        size_t numPoints, numTriangles;
    } aFiles[] = {{"delaunator_robustness1", 79, 141},
                  {"delaunator_robustness2", 968, 1924},
                  {"delaunator_ukraine", 867, 1711},
                  {"landslide_pre10m", 9638, 2 * 78 * 121}};
    for (const auto& file : aFiles) {
        SCOPED_TRACE(file.name);
        const PointVector vPoints = readRealPoints(file.name);
        Taro_2D mesh;
        mesh.insert(vPoints);
        EXPECT_EQ(mesh.numberOfPoints(), file.numPoints);
        EXPECT_EQ(mesh.numberOfTriangles(), file.numTriangles);
        checkAllMethods(vPoints);
    }
}

TEST(Insertion, OfALargeGrid) {
    const size_t side = static_cast<size_t>(std::sqrt(static_cast<double>(scaled(1000000))));
    Random random(1);
    Taro_2D mesh;
    mesh.insert(makeGrid(side, -3, 7, 1, random));
    EXPECT_EQ(mesh.numberOfTriangles(), 2 * (side - 1) * (side - 1));
    EXPECT_TRUE(mesh.checkValidity(true, "grid"));
}

TEST(Insertion, OfALongCollinearRunAndThenAPointOffTheLine) {
    const double n = double(scaled(10000));
    Random random(3);
    for (const auto& [dx, dy] : {XY(1, 0), XY(0, 1), XY(1, 1), XY(-3, 7)}) {
        for (const Method& method : {methods[0], methods[1]}) {
            SCOPED_TRACE(testing::Message() << dx << " " << dy << " " << method.name);
            PointVector vPoints = makePoints(size_t(n), [dx = dx, dy = dy](double i) { return XY(i * dx, i * dy); });
            std::shuffle(vPoints.begin(), vPoints.end(), random);
            Taro_2D mesh;
            VertexVector vHandles;
            insertIn(method, vPoints, mesh, vHandles);
            EXPECT_FALSE(mesh.is2D());
            vPoints.emplace_back(0.4 * n * dx + 1e-3 * dy, 0.4 * n * dy - 1e-3 * dx, 0.0);
            Point2* pApex = mesh.insert(vPoints.back());
            EXPECT_EQ(degree(mesh, pApex), mesh.numberOfTriangles());
            EXPECT_TRUE(DelaunayOracle(mesh, vPoints).check());
        }
    }
}

/// A line grows beside one point, whose triangles lie between the hull edges of every insertion.
TEST(Insertion, BesideAVertexOfTheHullWithManyTriangles) {
    const int numPoints =
        static_cast<int>(std::max<size_t>(scaled(400000), 40000));  // hours where a turn costs the degree
    for (const bool bCurved : {false, true}) {
        const double bend = bCurved ? 1.0 / numPoints / numPoints : 0.0;
        Taro_2D mesh;
        mesh.insert(Point2(0, 1, 0));
        for (int i = 0; i < numPoints; ++i) {
            mesh.insert(Point2(i, bend * i * i, 0));
        }
        EXPECT_EQ(mesh.numberOfTriangles(), static_cast<size_t>(numPoints - 1));
        EXPECT_TRUE(mesh.checkValidity(true, ""));
    }
}

TEST(Insertion, BesideAHubThatIsRemovedAndComesAgain) {
    Random random(1);
    const Point2 hub(0, 1, 0);
    for (int round = 0; round < 20; ++round) {
        Taro_2D mesh;
        mesh.insert(hub);
        for (int i = 0; i < 400; ++i) {
            const double x = integer(random, -200, 200);
            mesh.insert(Point2(x, round % 2 ? 0 : -1e-4 * x * x, 0));
            if (i % 40 != 39) continue;
            if (round % 3) {
                mesh.remove(mesh.getImpl()->getVertexPointer(hub));
                mesh.insert(hub);
            } else {
                const VertexVector vVertices = verticesOf(mesh);
                mesh.remove(vVertices[random() % vVertices.size()]);
            }
            ASSERT_TRUE(mesh.checkValidity(true, "")) << "round " << round << ", step " << i;
        }
    }
}

TEST(Insertion, RefusesPointsThatAreNotFinite) {
    const PointVector vBad{Point2(NOT_A_NUMBER, 0, 0), Point2(0, -INF, 0), Point2(0, 0, INF),
                           Point2(0, 0, NOT_A_NUMBER)};
    const PointVector vSome{vBad[0],         Point2(0, 0, 5), vBad[1], Point2(4, 0, 0),
                            Point2(0, 1, 0), Point2(0, 0, 6), vBad[2], vBad[3]};
    const std::string head = "\033[0;93m      [Taro2D-Message] Dt2::insert";
    const std::string single = head + "(), WARNING: non-finite coordinates, point refused\033[m\n";
    const std::string bulk = head + "Vector(), WARNING: non-finite coordinates, points refused: 4\033[m\n";
    const std::pair<Insert, std::string> aCases[] = {
        {insertSingly, single + single + single + single}, {insertBulk, bulk}, {insertArray, bulk}};
    for (const auto& [insert, text] : aCases) {
        Taro_2D mesh;
        for (const PointVector& vPoints : {vBad, vSome}) {
            VertexVector vHandles;
            const StdoutCapture capture;
            insert(mesh, vPoints, vHandles);
            EXPECT_EQ(capture.text(), text);
            EXPECT_TRUE(DelaunayOracle(mesh, vPoints).check());
            EXPECT_TRUE(DelaunayOracle(mesh, vPoints).checkHandles(vHandles));
        }
    }
}

TEST(Insertion, OfNothingDoesNothing) {
    Taro_2D mesh(0);
    Point2 other;
    Point2* pUntouched = &other;
    VertexVector vHandles{pUntouched};
    mesh.insert(PointVector());
    mesh.insert(PointVector(), vHandles);
    EXPECT_TRUE(vHandles.empty()) << "handles are replaced";
    mesh.insert(0, nullptr, nullptr);
    mesh.insert(-1, nullptr, &pUntouched);
    EXPECT_EQ(pUntouched, &other);
    const std::string text = printedBy([&] { mesh.insert(1, nullptr, &pUntouched); });
    EXPECT_TRUE(contains(text, "Taro_2D::insert(..), WARNING: aCoordinates==NULL, nothing inserted"));
    EXPECT_EQ(pUntouched, nullptr);
    EXPECT_EQ(mesh.numberOfPoints(), 0u);
}

TEST(Insertion, DiagonalOfARectangleEndsAtTheCornerInsertedLast) {
    for (const double width : {1.0, 0.25, 3e5}) {
        for (const double x : {0.0, 4.5e5, -1e12}) {
            const PointVector vRectangle{Point2(x, 2, 0), Point2(x + width, 2, 0), Point2(x, 3, 0),
                                         Point2(x + width, 3, 0)};
            EXPECT_EQ(numDiagonalsAtLastCorner(vRectangle), 24) << width << " at " << x;
        }
    }
    // Cocircular, but no axis-parallel rectangles.
    for (const double x : {4, 5}) {
        const double y = std::sqrt(25 - x * x);
        const PointVector vTurned{Point2(x, y, 0), Point2(-y, x, 0), Point2(-x, -y, 0), Point2(y, -x, 0)};
        EXPECT_EQ(numDiagonalsAtLastCorner(vTurned), 0);
    }
    EXPECT_EQ(numDiagonalsAtLastCorner({Point2(5, 0, 0), Point2(3, 4, 0), Point2(-3, 4, 0), Point2(0, -5, 0)}), 0);
}

TEST(Insertion, OnAnEdgeSplitsIt) {
    const struct {
        Point2 point;
        size_t degree, numTriangles;
    } aCases[] = {{Point2(0.5, 0, 0), 4, 4}, {Point2(1, 1.5, 0), 2, 3}};  // an inner edge, a hull edge
    for (const auto& c : aCases) {
        Taro_2D mesh;
        mesh.insert({Point2(-2, 0, 0), Point2(2, 0, 0), Point2(0, 3, 0), Point2(0, -3, 0)});
        EXPECT_EQ(degree(mesh, mesh.insert(c.point)), c.degree);
        EXPECT_EQ(mesh.numberOfTriangles(), c.numTriangles);
    }
}

TEST(Insertion, InTwoThreadsAtOnceIsThatOfOneThread) {
    std::string aTexts[4];
    const auto run = [&aTexts](size_t slot) {
        Random random(slot % 2);
        Taro_2D mesh;
        VertexVector vHandles;
        insertIn(methods[3], generators[2 + slot % 2].make(1500, random), mesh, vHandles);
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

TEST(Flip, FollowsTheConventionAndIsUndoneByLawsonFlips) {
    Random random(11);
    for (const Generator& generator : generators) {
        const PointVector vPoints = generator.make(20, random);
        Taro_2D mesh;
        mesh.insert(vPoints);
        Dt2& engine = *mesh.getImpl();
        const TriangleVector vTriangles = trianglesOf(mesh);
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
            engine.bfsFlipIncident(k % 2 ? a : b);
            ASSERT_TRUE(DelaunayOracle(mesh, vPoints).check());
        }
    }
}

}  // namespace
