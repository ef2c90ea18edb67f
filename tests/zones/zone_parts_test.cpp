#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/zones.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "zones/ConnectedComponent.h"

using namespace LUMO_TARO25D;
using namespace zones;

namespace {

// ---------------------------------------------------------------------------------------------------------------------
// Zones from triangles

TEST(Zone, FromTrianglesCoversExactlyThese) {
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Taro_2D mesh;
        Random r(seed);
        // Grids have corner contacts with collinear borders.
        mesh.insert(seed % 2 ? makeGrid(8, 0, 0, 10, r) : makeScattered(64, 0, 0, 70, 70, r));
        TriangleVector vChosen = someOf(trianglesOf(mesh), 0.032 * static_cast<double>(seed), r);
        if (vChosen.empty()) continue;
        const TriangleSet sChosen(vChosen.begin(), vChosen.end());
        vChosen.insert(vChosen.end(), {nullptr, vChosen[0], vChosen.back()});
        Zone2* pZone = mesh.createZone(vChosen);
        EXPECT_EQ(pZone->getZoneLocation(), ZL_GROW);
        EXPECT_EQ(setOf(pZone), sChosen);
        Zone2* pBounded = pZone->convertToBoundedZone();
        EXPECT_EQ(pBounded->getZoneLocation(), ZL_BOUNDED);
        EXPECT_EQ(setOf(pBounded), sChosen);
        const double area = pZone->getArea2D();
        mesh.insert(makeScattered(50, 0, 0, 70, 70, r));
        EXPECT_EQ(setOf(pBounded), setOf(pZone));
        EXPECT_NEAR(pBounded->getArea2D(), area, 1e-9 * area);
        EXPECT_GT(pZone->getNumberOfTriangles(), sChosen.size());
    }
}

TEST(Zone, FromStrangeTrianglesIsRefused) {
    Square mesh(10), other(10);
    EXPECT_EQ(mesh.createZone(joined(trianglesOf(mesh), {trianglesOf(other)[0]}), false), nullptr);
    EXPECT_EQ(mesh.createZone(TriangleVector{nullptr}, false), nullptr);
    // Records of removed triangles.
    Point2* pVtx = mesh.insert(Point2(40, 40, 0));
    const TriangleVector vAround = trianglesAround(mesh, pVtx);
    mesh.remove(pVtx);
    EXPECT_EQ(mesh.createZone(vAround, false), nullptr);
    const auto isGone = [](const Triangle2* pT) { return !pT->getCorner(0); };
    for (Triangle2* pT : {*std::find_if(vAround.begin(), vAround.end(), isGone), static_cast<Triangle2*>(nullptr)}) {
        EXPECT_EQ(mesh.createZone(std::vector<Edge2>{Edge2(pT, 0)}, ZL_BOUNDED, false), nullptr);
    }
    for (const int noIndex : {-1, 3, 1000}) {
        const std::vector<Edge2> vEdges{Edge2(trianglesOf(mesh)[0], noIndex)};
        EXPECT_EQ(mesh.createZone(vEdges, ZL_BOUNDED, false), nullptr);
    }
    EXPECT_TRUE(aliveSegmentsOf(mesh).empty());
}

TEST(Zone, ThinTrianglesHaveNoStartPoint) {
    Taro_2D mesh;
    const double up = std::nextafter(1.0, 2.0);
    mesh.insert({{0, 0, 0}, {1, up, 0}, {1, 1, 0}, {9, 0, 0}});
    TriangleVector vThin = trianglesOf(mesh);
    vThin.erase(std::remove_if(vThin.begin(), vThin.end(), [](Triangle2* pT) { return pT->getArea2D() > 1e-3; }),
                vThin.end());
    ASSERT_EQ(vThin.size(), 2u);
    const StdoutCapture capture;
    EXPECT_EQ(mesh.createZone(vThin), nullptr);
    EXPECT_TRUE(contains(capture, "no start point"));
}

TEST(Zone, ConvertsToABoundedOne) {
    Square mesh(100);
    ConstraintGraph2* pGraph = addPolygon(mesh, makeRectangle(20, 20, 80, 80));
    Zone2* pInside = mesh.createZone(pGraph, ZL_INSIDE);
    EXPECT_EQ(pInside->convertToBoundedZone(), pInside);
    Zone2* pOutside = mesh.createZone(pGraph, ZL_OUTSIDE);
    Zone2* pBounded = pOutside->convertToBoundedZone();
    EXPECT_EQ(setOf(pBounded), setOf(pOutside));
    EXPECT_EQ(pOutside->getZoneLocation(), ZL_OUTSIDE);
    const StdoutCapture capture;
    EXPECT_EQ(zoneDifference(pInside, pInside)->convertToBoundedZone(), nullptr);
    EXPECT_TRUE(contains(capture, "Zone2::convertToBoundedZone(), WARNING: No triangles available, returning NULL"));
}

TEST(Zone, PeelsOffTheBorder) {
    Square mesh(0);
    mesh.insert(makeStar(40, 50, 50, 45, mesh.random));
    Zone2* pAll = mesh.createZone(nullptr, ZL_GLOBAL);
    struct IsCorner {
        size_t numCalls = 0;
        bool operator()(const Triangle2* pT) {
            ++numCalls;
            for (int i = 0; i < 3; ++i) {
                const Point2& p = *pT->getCorner(i);
                if ((p.x() == 0 || p.x() == 100) && (p.y() == 0 || p.y() == 100)) return true;
            }
            return false;
        }
    } isCorner;
    const StdoutCapture capture;
    Zone2* pPeeled = peelOffIf(pAll, &isCorner);
    IsCorner slow;
    EXPECT_EQ(setOf(pPeeled), selected(mesh, [&](const Triangle2* pT) { return !slow(pT); }));
    EXPECT_LE(isCorner.numCalls, mesh.numberOfTriangles());
    EXPECT_TRUE(contains(capture, "\nZone2::peelOffIf(), original Zone: numT="));
    EXPECT_TRUE(contains(capture, "Output Zone: numT="));
    // Triangles inside stay, as peeling does not reach them.
    const auto isSmall = [](const Triangle2* pT) { return pT->getArea2D() < 20; };
    EXPECT_EQ(setOf(peelOffIf(pAll, &isSmall, false)), allOf(mesh)) << "none at the border";
    const auto always = [](Triangle2*) { return true; };
    for (const bool bVerbose : {false, true}) {
        const StdoutCapture refusals;
        EXPECT_EQ(peelOffIf(pAll, &always, bVerbose), nullptr);
        EXPECT_EQ(peelOffIf(static_cast<Zone2*>(nullptr), &always, bVerbose), nullptr);
        EXPECT_EQ(peelOffIf(pAll, static_cast<IsCorner*>(nullptr), bVerbose), nullptr);
        EXPECT_EQ(countOf("Zone2::peelOffIf(), WARNING: ", refusals.text()), bVerbose ? 3u : 0u);
        EXPECT_EQ(refusals.text().empty(), !bVerbose);
    }
    Zone2* pOutside = mesh.createZone(std::vector<ConstraintGraph2*>(), ZL_GROW, Point2(500, 500, 0));
    for (const bool bVerbose : {false, true}) {
        EXPECT_EQ(printedBy([&] { peelOffIf(pOutside, &always, bVerbose); }).empty(), !bVerbose) << "no seed";
    }
}

// ---------------------------------------------------------------------------------------------------------------------
// Borders, components, reports

TEST(Zone, BordersRunAroundTheZone) {
    Square mesh(200);
    Zone2 *pOuter = mesh.createZone(addPolygon(mesh, makeRectangle(10, 10, 90, 90)), ZL_INSIDE),
          *pInner = mesh.createZone(addPolygon(mesh, makeRectangle(40, 40, 60, 60)), ZL_INSIDE),
          *pRing = zoneDifference(pOuter, pInner);
    std::vector<Edge2> vEdges, vBoundary;
    SegmentVector vSegments;
    pRing->getBorderEdges(vEdges);
    pRing->getBoundaryEdges(vBoundary);
    pRing->getBoundarySegments(vSegments);
    const TriangleSet sRing = setOf(pRing);
    double twiceArea = 0;
    for (const Edge2& edge : vEdges) {
        EXPECT_EQ(sRing.count(edge.getTriangle()), 1u);
        EXPECT_EQ(sRing.count(edge.getTriangle()->getOppositeTriangle(edge.getIndex())), 0u);
        twiceArea += edge.getSrc()->x() * edge.getTrg()->y() - edge.getTrg()->x() * edge.getSrc()->y();
    }
    EXPECT_NEAR(twiceArea / 2, 6000, 1e-6);
    EXPECT_EQ(vEdges.size(), vBoundary.size());
    ASSERT_EQ(vEdges.size(), vSegments.size());
    EXPECT_EQ(vSegments[0].getSrc(), *vEdges[0].getSrc());
    const Bbox2 box = pRing->getBoundingBox();
    EXPECT_EQ(box.getMinX(), 10);
    EXPECT_EQ(box.getMaxY(), 90);
    VertexVector vVertices;
    pRing->getVertices(vVertices);
    EXPECT_EQ(std::set<Point2*>(vVertices.begin(), vVertices.end()).size(), vVertices.size());
    // Euler's formula for a ring.
    EXPECT_EQ(2 * vVertices.size(), sRing.size() + vEdges.size());

    std::vector<ConnectedComponent> vComponents;
    getConnectedComponents(trianglesOf(pRing), vComponents);
    ASSERT_EQ(vComponents.size(), 1u);
    vComponents[0].sortBorders();
    EXPECT_EQ(vComponents[0].getSize(), sRing.size());
    EXPECT_EQ(vComponents[0].getSortedBorders().size(), 2u);
}

TEST(Zone, ComponentsPartitionTheTriangles) {
    Random r(11);
    Taro_2D mesh;
    mesh.insert(makeGrid(15, 0, 0, 1, r));
    for (int share = 1; share < 10; ++share) {
        const TriangleVector vChosen = someOf(trianglesOf(mesh), 0.1 * share, r);
        std::vector<ConnectedComponent> vComponents;
        getConnectedComponents(vChosen, vComponents);
        std::map<const Triangle2*, size_t> mComponent;
        size_t numBorderEdges = 0;
        for (size_t k = 0; k < vComponents.size(); ++k) {
            for (const Triangle2* pT : vComponents[k].getTriangles()) EXPECT_TRUE(mComponent.emplace(pT, k).second);
        }
        EXPECT_EQ(mComponent.size(), vChosen.size());
        for (const auto& [pT, k] : mComponent) {
            for (int i = 0; i < 3; ++i) {
                const auto it = mComponent.find(pT->getOppositeTriangle(i));
                if (it == mComponent.end()) {
                    ++numBorderEdges;
                } else {
                    EXPECT_EQ(it->second, k);
                }
            }
        }
        for (ConnectedComponent& component : vComponents) {
            component.sortBorders();
            for (const ConnectedComponent::Ring& ring : component.getSortedBorders()) {
                numBorderEdges -= ring.size();
                for (size_t i = 0; i < ring.size(); ++i) {
                    EXPECT_EQ(ring[i].getTrg(), ring[(i + 1) % ring.size()].getSrc());
                }
            }
        }
        EXPECT_EQ(numBorderEdges, 0u) << "every border edge is in one ring";
    }
}

TEST(Zone, StatisticsTellWhatASurveyorAsks) {
    Taro_2D mesh;
    mesh.insert({{0, 0, 10}, {30, 0, 10}, {0, 40, 10}});
    std::string text;
    {
        const StdoutCapture capture;
        mesh.createZone(nullptr, ZL_GLOBAL)->statistics("garden");
        text = capture.text();
    }
    for (const char* pExpected : {"(garden)", "Number of triangles: 1\n", "INTERIOR ANGLES\n", "Area 2D:     600.000\n",
                                  "Area 2.5D:   600.000\n", " 30 -  40 degrees:          1   33.33 %\n",
                                  "Height                   10.000         10.000         10.000\n",
                                  "Edge length 2D           30.000         50.000         40.000\n"}) {
        EXPECT_TRUE(contains(text, pExpected)) << pExpected;
    }
    const StdoutCapture capture;
    Zone2* pAll = mesh.createZone(nullptr, ZL_GLOBAL);
    zoneDifference(pAll, pAll)->statistics("nothing");
    EXPECT_TRUE(contains(capture, "Number of triangles: 0\n"));
}

TEST(Zone, OrderDoesNotDependOnAddresses) {
    std::vector<PointVector> vCenters;
    std::vector<std::unique_ptr<char[]>> vPadding;
    for (int run = 0; run < 3; ++run) {
        vPadding.push_back(std::make_unique<char[]>(static_cast<size_t>(1 + 4000 * run * run)));
        Square mesh(500, 7);
        ConstraintGraph2* pGraph = addPolygon(mesh, makeStar(12, 50, 50, 45, mesh.random));
        PointVector vCurrent;
        for (const Zone2* pZone : {mesh.createZone(pGraph, ZL_INSIDE), mesh.createZone(pGraph, ZL_OUTSIDE),
                                   mesh.createZone(pGraph, ZL_GROW, Point2(50, 50, 0))}) {
            for (const Triangle2* pT : trianglesOf(pZone)) vCurrent.push_back(pT->getBarycenter());
        }
        vCenters.push_back(vCurrent);
    }
    EXPECT_EQ(vCenters[0], vCenters[1]);
    EXPECT_EQ(vCenters[0], vCenters[2]);
}

}  // namespace
