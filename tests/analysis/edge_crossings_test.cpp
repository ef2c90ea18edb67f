#include "analysis/EdgeCrossings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

/// A mesh with its vertices and edges as lists.
struct Network {
    explicit Network(const PointVector& vGiven) {
        mesh.insert(vGiven);
        const TriangleVector vTriangles = trianglesOf(mesh);
        std::vector<Point2*> vVertices;
        getVertices(vTriangles, vVertices);
        std::map<const Point2*, std::uint32_t> mIndices;
        for (const Point2* pVtx : vVertices) {
            mIndices[pVtx] = static_cast<std::uint32_t>(vPoints.size());
            vPoints.emplace_back(pVtx->x(), pVtx->y(), pVtx->z());
        }
        forEachEdge(vTriangles, [&](const Triangle2* pT, int i) {
            vEdges.push_back({pT, i, pT->getOppositeTriangle(i) != nullptr, mIndices[pT->getCorner(incIndexBy1(i))],
                              mIndices[pT->getCorner(incIndexBy2(i))]});
        });
    }

    Taro_2D mesh;
    PointVector vPoints;
    std::vector<EdgeCrossings::Edge> vEdges;
};

using Pairs = std::set<std::pair<std::uint32_t, std::uint32_t>>;

/// Every inner edge against every other one, except those of the second network with both ends beyond the first one.
Pairs crossAll(const Network& first, const Network& second) {
    Pairs sPairs;
    const auto isBeyond = [&](const Point2& point) { return !first.mesh.locate(point); };
    for (std::uint32_t a = 0; a < first.vEdges.size(); ++a) {
        for (std::uint32_t b = 0; b < second.vEdges.size(); ++b) {
            const EdgeCrossings::Edge &e = first.vEdges[a], &f = second.vEdges[b];
            if (!e.bInner || !f.bInner) continue;
            const Point2 &p = first.vPoints[e.src], &q = first.vPoints[e.trg];
            const Point2 &r = second.vPoints[f.src], &s = second.vPoints[f.trg];
            const auto getSide = [](const Point2& u, const Point2& v, const Point2& w) {
                return (v.x() - u.x()) * (w.y() - u.y()) - (v.y() - u.y()) * (w.x() - u.x());
            };
            if (isBeyond(r) && isBeyond(s)) continue;
            if (getSide(p, q, r) * getSide(p, q, s) < 0 && getSide(r, s, p) * getSide(r, s, q) < 0)
                sPairs.emplace(a, b);
        }
    }
    return sPairs;
}

/// On both edges, with the height of either there, and in order along each.
void checkCrossings(const EdgeCrossings& crossings, const Network& first, const Network& second) {
    const Network* aNetworks[] = {&first, &second};
    for (const int k : {0, 1}) {
        const PointVector& vPoints = aNetworks[k]->vPoints;
        size_t numVisited = 0;
        crossings.forEachEdge(k, [&](const EdgeCrossings::Edge& edge, const std::vector<std::uint32_t>& vOnEdge) {
            const Point2 &src = vPoints[edge.src], &trg = vPoints[edge.trg];
            double reached = 0;
            for (const std::uint32_t i : vOnEdge) {
                const EdgeCrossings::Crossing& crossing = crossings.getCrossings()[i];
                EXPECT_LT(sqDistanceToSegment2D(crossing.getPlace(), src, trg), 1e-20);
                EXPECT_NEAR(crossing.aHeights[k],
                            getZOnSegment(src, trg, crossing.getPlace().x(), crossing.getPlace().y()), 1e-12);
                EXPECT_GT(distance2D(src, crossing.getPlace()), reached);
                reached = distance2D(src, crossing.getPlace());
            }
            numVisited += vOnEdge.size();
        });
        EXPECT_EQ(numVisited, crossings.getCrossings().size());
    }
}

}  // namespace

TEST(EdgeCrossings, AreThoseOfAllPairs) {
    Random r(7);
    for (const double share : {1.0, 0.5, 1.5}) {  // of the extent: equal, within, and around
        PointVector vFirst, vSecond;
        for (int i = 0; i < 60; ++i) {
            vFirst.emplace_back(uniform(r, -9, 9), uniform(r, -9, 9), uniform(r, 0, 1));
            vSecond.emplace_back(share * uniform(r, -9, 9), share * uniform(r, -9, 9), uniform(r, 0, 1));
        }
        const Network first(vFirst), second(vSecond);
        const EdgeCrossings crossings(*first.mesh.getImpl(), {first.vPoints, first.vEdges},
                                      {second.vPoints, second.vEdges});
        Pairs sFound;
        for (const EdgeCrossings::Crossing& crossing : crossings.getCrossings()) {
            sFound.emplace(crossing.aEdges[0], crossing.aEdges[1]);
        }
        EXPECT_GT(sFound.size(), 100u);
        EXPECT_EQ(sFound, crossAll(first, second));
        checkCrossings(crossings, first, second);
    }
}

TEST(EdgeCrossings, LeaveOutWhatIsNextToAnEndOrToEachOther) {
    // The middles of a lattice's diagonals, and points 1e-9 beside its lines.
    Random r(1);
    const Network lattice(makeGrid(4, 0, 0, 1, r));
    PointVector vBeside;
    for (const Point2& point : lattice.vPoints) vBeside.emplace_back(point.x() + uniform(r, 0, 1e-9), point.y(), 0);
    const Network beside(vBeside);
    const EdgeCrossings crossings(*lattice.mesh.getImpl(), {lattice.vPoints, lattice.vEdges},
                                  {beside.vPoints, beside.vEdges});
    for (const EdgeCrossings::Crossing& crossing : crossings.getCrossings()) {
        const double x = crossing.getPlace().x(),
                     y = crossing.getPlace().y();  // only diagonals cross each other elsewhere
        EXPECT_NEAR(x - std::floor(x), 0.5, 1e-8);
        EXPECT_NEAR(y - std::floor(y), 0.5, 1e-8);
    }
    checkCrossings(crossings, lattice, beside);
}
