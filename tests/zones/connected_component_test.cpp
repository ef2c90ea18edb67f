#include <gtest/gtest.h>

#include <set>

#include "analysis/CutAndFillImpl.h"
#include "support/earthworks.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "zones/ConnectedComponent.h"

using namespace LUMO_TARO25D;
using namespace earthworks;

namespace {

Zone2* makeRing(Surface& surface, const PointVector& vOuter, const PointVector& vInner) {
    return zoneDifference(surface.inside(vOuter), surface.inside(vInner));
}

/// Whether the borders of the parts are single rings that meet no vertex twice; how many there are.
size_t checkParts(const TriangleVector& vTriangles) {
    std::vector<ConnectedComponent> vComponents, vParts;
    getConnectedComponents(vTriangles, vComponents);
    for (const ConnectedComponent& component : vComponents) component.splitIntoSimple(vParts);
    TriangleVector vAll;
    for (ConnectedComponent& part : vParts) {
        vAll.insert(vAll.end(), part.getTriangles().begin(), part.getTriangles().end());
        part.sortBorders();
        EXPECT_EQ(part.getSortedBorders().size(), 1u);
        std::set<Point2*> sVertices;
        for (const Edge2& edge : part.getSortedBorders()[0]) EXPECT_TRUE(sVertices.insert(edge.getSrc()).second);
    }
    EXPECT_EQ(std::set<Triangle2*>(vAll.begin(), vAll.end()),
              std::set<Triangle2*>(vTriangles.begin(), vTriangles.end()));
    EXPECT_EQ(vAll.size(), vTriangles.size());
    return vParts.size();
}

}  // namespace

TEST(ConnectedComponent, SplitsIntoSimpleOnes) {
    Random r(4);
    Surface surface(makeGrid(20, 0, 0, 1, r));
    EXPECT_EQ(checkParts(trianglesOf(surface.pZone)), 1u);
    EXPECT_EQ(checkParts(trianglesOf(surface.inside(makeStar(40, 10, 10, 9, r)))), 1u);
    EXPECT_EQ(checkParts(trianglesOf(makeRing(surface, makeRectangle(2, 2, 16, 16), makeRectangle(5, 5, 8, 8)))), 2u);
    for (const double share : {0.1, 0.5, 0.8, 0.95}) {
        checkParts(someOf(trianglesOf(surface.mesh), share, r));
    }
}
