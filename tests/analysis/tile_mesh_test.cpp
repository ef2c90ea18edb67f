#include "analysis/TileMesh.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <vector>

#include "support/generators.h"
#include "support/mesh.h"

using namespace LUMO_TARO25D;

namespace {

using Faces = std::vector<std::vector<XY>>;
using Groups = std::vector<PointVector>;

std::vector<double> flatten(const PointVector& vPoints) {
    std::vector<double> v;
    for (const Point2& p : vPoints) v.insert(v.end(), {p.x(), p.y(), p.z()});
    return v;
}

PointVector makeLake(Random& random) {
    PointVector vPoints;
    while (vPoints.size() < 300) {
        const double x = uniform(random, 0, 1000), y = uniform(random, 0, 1000);
        if (std::hypot(x - 500, y - 500) > 400) vPoints.emplace_back(x, y, 0);
    }
    return vPoints;
}

std::vector<PointVector> makeInputs() {
    Random random(1);
    std::vector<PointVector> vInputs{makeGrid(16, 0, 0, 1, random), makeGrid(14, 500000, 5800000, 0.1, random),
                                     makeLake(random)};
    vInputs.push_back(makePoints(300, [&](double) { return XY(uniform(random, 0, 1), uniform(random, 0, 1)); }));
    vInputs.back().emplace_back(1e7, -3e6, 0);  // far from all others
    vInputs.push_back(makePoints(200, [](double i) { return XY(100 * std::cos(i), 100 * std::sin(i)); }));
    vInputs.push_back(makePoints(250, [&](double i) {  // lines of soundings, straight except for rounding
        return XY(std::floor(i / 50) * 300 + uniform(random, 0, 1e-9), std::fmod(i, 50) + uniform(random, 0, 1e-9));
    }));
    vInputs.push_back(makePoints(120, [](double i) { return XY(i, i); }));
    vInputs.back().emplace_back(30, 31, 0);
    PointVector vRing;  // all on one circle
    for (int x = -65; x <= 65; ++x)
        for (int y = -65; y <= 65; ++y)
            if (x * x + y * y == 65 * 65) vRing.emplace_back(x, y, 0);
    vInputs.push_back(vRing);
    vInputs.push_back(
        makePoints(200, [&](double) { return XY(uniform(random, 0, 1e-160), uniform(random, 0, 1e-160)); }));
    return vInputs;
}

/// Halves of halves, so that the boxes of the groups are apart.
void divide(PointVector vPoints, size_t most, bool bByX, Groups& groups) {
    std::sort(vPoints.begin(), vPoints.end(), [bByX](const Point2& p, const Point2& q) {
        return bByX ? p < q : p.y() < q.y() || (p.y() == q.y() && p.x() < q.x());
    });
    const auto isSame = [bByX](const Point2& p, const Point2& q) { return bByX ? p.x() == q.x() : p.y() == q.y(); };
    size_t middle = vPoints.size() / 2;
    while (middle < vPoints.size() && middle > 0 && isSame(vPoints[middle - 1], vPoints[middle])) ++middle;
    if (vPoints.size() <= most || middle == vPoints.size()) return groups.push_back(vPoints);
    divide(PointVector(vPoints.begin(), vPoints.begin() + static_cast<std::ptrdiff_t>(middle)), most, !bByX, groups);
    divide(PointVector(vPoints.begin() + static_cast<std::ptrdiff_t>(middle), vPoints.end()), most, !bByX, groups);
}

std::vector<double> boxOf(const PointVector& vPoints) {
    Bbox2 box;
    for (const Point2& p : vPoints) box.add(p);
    return {box.getMinX(), box.getMinY(), box.getMaxX(), box.getMaxY()};
}

/// A tile with all that it needs of the others, and how many points of these were looked at.
size_t complete(TileMesh& tile, const Groups& others) {
    size_t numRead = 0;
    std::set<size_t> sSeen;
    for (size_t k = 0; !tile.is2D() && k < others.size(); ++k) tile.insert(flatten(others[k]).data(), others[k].size());
    for (bool bReached = tile.is2D(); bReached;) {
        bReached = false;
        for (size_t k = 0; k < others.size(); ++k) {
            std::vector<std::uint8_t> vReached;
            tile.findReached(boxOf(others[k]).data(), 1, vReached);
            if (!vReached[0] || !sSeen.insert(k).second) continue;
            tile.offer(flatten(others[k]).data(), others[k].size());
            numRead += others[k].size();
            bReached = true;
        }
    }
    return numRead;
}

/// The triangles that a tile owns, each with sorted corners.
Faces ownedBy(TileMesh& tile, const PointVector& vOwn, PointVector& vAll) {
    std::vector<double> vHalo;
    std::vector<std::int32_t> vTriangles;
    tile.getOwned(vHalo, vTriangles);
    vAll = vOwn;
    for (size_t k = 0; k < vHalo.size(); k += 3) vAll.emplace_back(vHalo[k], vHalo[k + 1], vHalo[k + 2]);
    Faces faces;
    for (size_t k = 0; k < vTriangles.size(); k += 3) {
        faces.emplace_back();
        for (size_t i = k; i < k + 3; ++i) {
            const Point2& p = vAll[static_cast<size_t>(vTriangles[i])];
            faces.back().emplace_back(p.x(), p.y());
        }
        EXPECT_LT(static_cast<size_t>(vTriangles[k]), vOwn.size());
        EXPECT_LT(faces.back()[0], std::min(faces.back()[1], faces.back()[2]));
        std::sort(faces.back().begin(), faces.back().end());
    }
    return faces;
}

Faces canonicalFaces(const PointVector& vPoints) {
    Taro_2D mesh;
    mesh.insert(vPoints);
    mesh.canonicalizeDiagonals();
    return facesOf(mesh);
}

TEST(TileMesh, TilesTogetherAreTheWhole) {
    for (const PointVector& vPoints : makeInputs()) {
        const Faces whole = canonicalFaces(vPoints);
        for (const size_t most : {5, 40, 1000}) {
            Groups tiles;
            divide(vPoints, most, true, tiles);
            Faces together;
            for (size_t own = 0; own < tiles.size(); ++own) {
                Groups others = tiles;
                others.erase(others.begin() + static_cast<std::ptrdiff_t>(own));
                TileMesh tile(flatten(tiles[own]).data(), tiles[own].size());
                complete(tile, others);
                PointVector vAll;
                const Faces owned = ownedBy(tile, tiles[own], vAll);
                const Faces alone = canonicalFaces(vAll);
                for (const auto& face : owned) ASSERT_TRUE(std::binary_search(alone.begin(), alone.end(), face));
                together.insert(together.end(), owned.begin(), owned.end());
            }
            std::sort(together.begin(), together.end());
            ASSERT_EQ(together, whole) << vPoints.size() << " points, " << tiles.size() << " tiles";
        }
    }
}

/// The corners of the triangles whose circumcircles contain a place: its natural neighbours, by brute force.
std::set<XY> neighboursOf(const Taro_2D& mesh, const Point2& place) {
    GeomTest geomTest(1e4);
    std::set<XY> sFound;
    for (const Triangle2* pT : trianglesOf(mesh)) {
        if (geomTest.circleInc3state(pT, &place) == CINC2_OUTCIRCLE) continue;
        for (int i = 0; i < 3; ++i) sFound.emplace(pT->getCorner(i)->x(), pT->getCorner(i)->y());
    }
    return sFound;
}

TEST(TileMesh, WatchedPlacesHaveTheNaturalNeighboursOfTheWhole) {
    Random random(4);
    const PointVector vPoints = makeLake(random);
    Taro_2D whole;
    whole.insert(vPoints);
    Groups tiles;
    divide(vPoints, 20, true, tiles);
    size_t numNew = 0;
    for (size_t own = 0; own < tiles.size(); ++own) {
        Groups others = tiles;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(own));
        TileMesh tile(flatten(tiles[own]).data(), tiles[own].size());
        complete(tile, others);
        PointVector vPlaces;  // in the triangles around the tile's own points, some of them over the lake
        for (const Triangle2* pT : trianglesOf(whole)) {
            const double a = uniform(random, 0.1, 0.4), b = uniform(random, 0.1, 0.4), c = 1 - a - b;
            const Point2 &p = *pT->getCorner(0), &q = *pT->getCorner(1), &r = *pT->getCorner(2);
            const bool bOwn = std::any_of(tiles[own].begin(), tiles[own].end(),
                                          [&](const Point2& v) { return v == p || v == q || v == r; });
            if (bOwn) vPlaces.emplace_back(a * p.x() + b * q.x() + c * r.x(), a * p.y() + b * q.y() + c * r.y(), 0);
        }
        std::vector<double> vFlat;
        for (const Point2& place : vPlaces) vFlat.insert(vFlat.end(), {place.x(), place.y()});
        while (tile.watch(vFlat.data(), vPlaces.size())) {
            ++numNew;
            complete(tile, others);
        }
        for (const Point2& place : vPlaces)
            ASSERT_EQ(neighboursOf(whole, place), neighboursOf(tile.getMesh(), place)) << "tile " << own;
    }
    EXPECT_GT(numNew, tiles.size() / 2);
}

TEST(TileMesh, OnlyTheNeighbourhoodIsLookedAt) {
    Random random(2);
    const PointVector vPoints =
        makePoints(20000, [&](double) { return XY(uniform(random, 0, 1), uniform(random, 0, 1)); });
    Groups groups;
    divide(vPoints, 50, true, groups);
    const auto isInMiddle = [](const PointVector& vGroup) {
        const std::vector<double> box = boxOf(vGroup);
        return box[0] > 0.3 && box[2] < 0.7 && box[1] > 0.3 && box[3] < 0.7;
    };
    PointVector vOwn;
    Groups others;
    Bbox2 ownBox;
    for (const PointVector& vGroup : groups) {
        if (isInMiddle(vGroup)) vOwn.insert(vOwn.end(), vGroup.begin(), vGroup.end());
    }
    for (const Point2& p : vOwn) ownBox.add(p);
    for (const PointVector& vGroup : groups) {
        PointVector vOutside;
        for (const Point2& p : vGroup)
            if (!ownBox.isInBox(p)) vOutside.push_back(p);
        if (!vOutside.empty()) others.push_back(vOutside);
    }
    TileMesh tile(flatten(vOwn).data(), vOwn.size());
    for (const PointVector& vGroup : others) tile.offer(flatten({vGroup[0]}).data(), 1);
    const size_t numBefore = tile.numberOfPoints();
    EXPECT_LT(complete(tile, others), vPoints.size() / 2);
    EXPECT_LT(tile.numberOfPoints() - numBefore, 1500u);
    const size_t numPoints = tile.numberOfPoints();
    for (const PointVector& vGroup : others) tile.offer(flatten(vGroup).data(), vGroup.size());
    EXPECT_EQ(tile.numberOfPoints(), numPoints);
}

TEST(TileMesh, WithoutTrianglesNothingIsOwned) {
    const PointVector vOwn = {{0, 0, 0}, {1, 1, 0}};
    TileMesh tile(flatten(vOwn).data(), 2);
    tile.insert(flatten({{2, 2, 0}}).data(), 1);
    PointVector vAll;
    EXPECT_TRUE(ownedBy(tile, vOwn, vAll).empty());
    EXPECT_EQ(vAll.size(), 2u);
}

}  // namespace
