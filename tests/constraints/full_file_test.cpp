#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/constraint_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

using Piece = std::pair<XY, XY>;

/// The state of a triangulation and its graphs, as clients see it.
struct Image {
    std::map<XY, std::pair<double, int>> mVertices;
    std::vector<std::vector<XY>> vFaces;
    struct Graph {
        std::string name;
        int strategy;
        bool bOriented, bPolygon;
        std::vector<Piece> vPieces;
        bool operator==(const Graph& o) const {
            return name == o.name && strategy == o.strategy && bOriented == o.bOriented && bPolygon == o.bPolygon &&
                   vPieces == o.vPieces;
        }
    };
    std::vector<Graph> vGraphs;
    std::string name;

    explicit Image(const Taro_2D& mesh) : name(mesh.getName()) {
        for (const Point2* p : verticesOf(mesh)) mVertices[xyOf(*p)] = {p->z(), p->getCustomIndex()};
        vFaces = facesOf(mesh);
        std::vector<ConstraintGraph2*> vAll;
        mesh.getConstraintGraphs(vAll);
        for (const ConstraintGraph2* p : vAll) {
            Graph graph{p->getName(), p->getInsertionStrategy(), p->isOriented(), p->isPolygon(), {}};
            std::vector<ConstraintSegment2*> vCSegs;
            p->getAliveConstraintChain(vCSegs);
            for (ConstraintSegment2* pCSeg : vCSegs) {
                Piece piece(xyOf(*pCSeg->getSrc()), xyOf(*pCSeg->getTrg()));
                if (!graph.bOriented ? piece.second < piece.first : p->isReverse(pCSeg))
                    std::swap(piece.first, piece.second);
                graph.vPieces.push_back(piece);
            }
            std::sort(graph.vPieces.begin(), graph.vPieces.end());
            vGraphs.push_back(graph);
        }
    }
    bool operator==(const Image& o) const {
        return mVertices == o.mVertices && vFaces == o.vFaces && vGraphs == o.vGraphs && name == o.name;
    }
};

void fill(Taro_2D& mesh, unsigned seed) {
    Random random(seed);
    const auto coordinate = [&random] { return uniform(random, 0, 100); };
    PointVector vPoints;
    for (int i = 0; i < 200; ++i) {
        vPoints.emplace_back(coordinate(), coordinate(), coordinate());
        vPoints.back().setCustomIndex(i);
    }
    mesh.insert(vPoints);
    for (int i = 0; i < 8; ++i) {
        SegmentVector vSegments;
        for (int k = 0; k < 3; ++k)
            vSegments.push_back(makeSegment(coordinate(), coordinate(), coordinate(), coordinate()));
        const auto cis = static_cast<ConstraintInsertionStrategy>(i % 3);
        if (i == 4) vSegments = makeSides(makeRectangle(20, 30, 60, 80));
        ConstraintGraph2* pGraph = mesh.createConstraint(vSegments, cis, i % 2);
        if (i != 5) pGraph->setName("graph " + std::to_string(i));
    }
    for (int i = 0; i < 50; ++i)
        mesh.insert(Point2(coordinate(), coordinate(), 7));  // pieces that are not Delaunay any more
    mesh.setName("all of it");
}

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(FullFile, GivesTheSameGraphsAgain) {
    const std::string path = "full.taro";
    for (unsigned seed = 0; seed < 10; ++seed) {
        Taro_2D mesh, loaded;
        fill(mesh, seed);
        ASSERT_TRUE(mesh.saveAll(path.c_str()));
        ASSERT_TRUE(loaded.load(path.c_str()));
        EXPECT_TRUE(Image(mesh) == Image(loaded)) << seed;
        EXPECT_TRUE(ConstraintOracle(loaded).check());
        Taro_2D simple;
        ASSERT_TRUE(mesh.save(path.c_str()));
        ASSERT_TRUE(simple.load(path.c_str()));
        EXPECT_EQ(Image(simple).vFaces, Image(loaded).vFaces);
    }
}

TEST(FullFile, OfNothingAndOfALine) {
    const std::string path = "full.taro";
    Taro_2D mesh;
    for (int i = 0; i < 3; ++i) {
        Taro_2D loaded;
        ASSERT_TRUE(mesh.saveAll(path.c_str()));
        ASSERT_TRUE(loaded.load(path.c_str()));
        EXPECT_TRUE(Image(mesh) == Image(loaded));
        mesh.createConstraint({makeSegment(i, 0, i + 1, 0)}, CIS_CONSTRAINED_DELAUNAY, true);
    }
    StdoutCapture capture;
    EXPECT_FALSE(mesh.saveAll("/nowhere/at/all"));
    EXPECT_TRUE(contains(capture, "/nowhere/at/all can't be written"));
}

TEST(FullFile, DamageIsRefusedAndChangesNothing) {
    const std::string path = "full.taro";
    Taro_2D mesh;
    fill(mesh, 1);
    ASSERT_TRUE(mesh.saveAll(path.c_str()));
    const std::string whole = bytesOf(path);
    Random random(8);
    for (int i = 0; i < 400; ++i) {
        std::string text = whole;
        if (i < 200) {
            text.resize(random() % whole.size());
            if (text.size() < 4) continue;
        } else {
            const size_t begin = i % 2 ? 0 : whole.size() - 9000;
            for (int k = 0; k < 4; ++k) text[4 + (begin + random()) % (text.size() - 4)] = static_cast<char>(random());
        }
        std::ofstream(path, std::ios::binary) << text;
        Taro_2D loaded;
        StdoutCapture capture;
        const bool bLoaded = loaded.load(path.c_str());
        if (i < 200) {
            EXPECT_FALSE(bLoaded) << i;
        }
        if (!bLoaded) {
            EXPECT_TRUE(contains(capture, " is damaged or cut short") && loaded.numberOfPoints() == 0);
            continue;
        }
        EXPECT_TRUE(loaded.checkValidity(true, "")) << i;
    }
}

}  // namespace
