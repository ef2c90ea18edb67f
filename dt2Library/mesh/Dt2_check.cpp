// Consistency of the whole structure, and statistics.
//
// The check rests on what the engine stores, not on the functions that it checks: each triangle by itself
// (corners, orientation), each pair of neighbours (mutual links over the same two corners), each vertex (a
// live incident triangle). Only when all of these hold is it safe to rotate around vertices, which the walk
// along the hull does. The hull must be one convex ring that holds every edge without a neighbour; together
// with Euler's formula, which counts the vertices in, nothing can then overlap or be missing. In such a mesh
// circles must be empty across all edges but constraints, and every alive constraint segment must be an edge.
// O(n), with exact tests where filters fail.

#include "mesh/Dt2.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <sstream>

#include "kernel/angles.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "taro25d/Circle2.h"
#include "taro25d/Color.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Visualizer2.h"

namespace LUMO_TARO25D {

namespace {

bool hasThreeCorners(const Triangle2& triangle) {
    const Point2 *p0 = triangle.getCorner(0), *p1 = triangle.getCorner(1), *p2 = triangle.getCorner(2);
    return p0 && p1 && p2 && p0 != p1 && p1 != p2 && p2 != p0;
}

bool hasLink(const Triangle2& triangle, const Triangle2* pN) {
    return triangle.getOppositeTriangle(0) == pN || triangle.getOppositeTriangle(1) == pN ||
           triangle.getOppositeTriangle(2) == pN;
}

/// True if edge i of the triangle and the edge under which its neighbour links back are the same two corners.
bool isSharedEdge(const Triangle2& triangle, int i, const Triangle2& neighbour) {
    const int j = neighbour.getIntraTriangleIndex(&triangle);
    return neighbour.getCorner(incIndexBy1(j)) == triangle.getCorner(incIndexBy2(i)) &&
           neighbour.getCorner(incIndexBy2(j)) == triangle.getCorner(incIndexBy1(i)) && neighbour.getCorner(j) &&
           neighbour.getCorner(j) != triangle.getCorner(i);
}

/// Broken triangles have no areas to print.
void print(const Triangle2& triangle) {
    if (hasThreeCorners(triangle)) {
        std::cout << triangle;
        return;
    }
    std::cout << "Triangle(" << static_cast<const void*>(&triangle) << ")";
    for (int i = 0; i < 3; ++i) std::cout << ", " << static_cast<const void*>(triangle.getCorner(i));
    std::cout << "\n";
}

/// Reports one or two triangles; always false.
bool fail(const char* message, const Triangle2* pT, const Triangle2* pN = nullptr) {
    std::cout << message << "\n";
    print(*pT);
    if (pN) print(*pN);
    return false;
}

}  // namespace

bool Dt2::checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const {
    if (!is2D()) {
        warning("Dt2::checkValidity()", "not fulldimensional yet (empty or all points collinear), Returning true");
        return true;
    }
    std::vector<Triangle2*> vTriangles, vFailed;
    getTrianglePointers(vTriangles);
    for (Triangle2* pT : vTriangles) {
        if (!checkTriangle(pT)) vFailed.push_back(pT);
    }
    bool bOk = vFailed.empty() && checkVertices() && checkHull(vTriangles);
    if (bOk) {
        for (Triangle2* pT : vTriangles) {
            if (bCheckEmptyCircleProperty && !checkEmptyCircle(pT)) vFailed.push_back(pT);
        }
        bOk = checkConstraints() && vFailed.empty();
    }
    if (bOk) return true;
    std::cout << "\ncheckValidity, bug, name=" << name << std::endl;
    showFailures(vFailed);
    return false;
}

bool Dt2::checkTriangle(const Triangle2* pT) const {
    if (!hasThreeCorners(*pT)) return fail("Less than three different corners", pT);
    if (geomTest_.getOrientation2(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)) != ORIENTATION2_CCW) {
        return fail("Corners are not counterclockwise", pT);
    }
    bool bOk = true;
    for (int i = 0; i < 3; ++i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        if (!pN) continue;
        if (!hasLink(*pN, pT)) {
            bOk = fail("Inconsistent neighborships:", pT, pN);
        } else if (!isSharedEdge(*pT, i, *pN)) {
            bOk = fail("Neighbor found but inconsistent intra triangle indices:", pT, pN);
        }
    }
    return bOk;
}

bool Dt2::checkEmptyCircle(const Triangle2* pT) const {
    bool bOk = true;
    for (int i = 0; i < 3; ++i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        // The test is symmetric, so one side of each edge is enough.
        if (!pN || std::less<>()(pN, pT) || isConstraint(pT, i)) continue;
        const Point2* pFar = pN->getCorner(pN->getIntraTriangleIndex(pT));
        if (geomTest_.circleInc3state(pT, pFar) == CINC2_INCIRCLE) bOk = fail("Sphere inclusion test failed ", pT, pN);
    }
    return bOk;
}

bool Dt2::checkVertices() const {
    std::vector<Point2*> vVertices;
    getVertexPointers(vVertices);
    bool bOk = true;
    for (const Point2* pVtx : vVertices) {
        const Triangle2* pT = pVtx->getIncidentTriangle();
        if (pT && pT->hasVertex(pVtx)) continue;
        std::cout << "Vertex without incident triangle: " << *pVtx << "\n";
        bOk = false;
    }
    return bOk;
}

bool Dt2::checkHull(const std::vector<Triangle2*>& vTriangles) const {
    std::vector<std::pair<Triangle2*, int>> vHullEdges;
    getConvexHull(vHullEdges);
    size_t numOpenEdges = 0;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) numOpenEdges += pT->getOppositeTriangle(i) == nullptr;
    }
    const size_t numHullEdges = vHullEdges.size();
    bool bConvex = true;
    for (size_t k = 0; k < numHullEdges; ++k) {
        const auto& [pT, i] = vHullEdges[k];
        const auto& [pNext, j] = vHullEdges[(k + 1) % numHullEdges];
        bConvex = bConvex && geomTest_.getOrientation2(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)),
                                                       pNext->getCorner(incIndexBy2(j))) != ORIENTATION2_CW;
    }
    if (!bConvex) std::cout << "The hull is not convex\n";
    if (numOpenEdges != numHullEdges) std::cout << "Edges without neighbor that are not on the hull\n";
    const bool bEuler = vTriangles.size() + numHullEdges + 2 == 2 * numberOfPoints();
    if (!bEuler) {
        std::cout << "Euler's formula does not hold: " << numberOfPoints() << " vertices, " << vTriangles.size()
                  << " triangles, " << numHullEdges << " hull edges\n";
    }
    return bConvex && numOpenEdges == numHullEdges && bEuler;
}

/// Every alive constraint segment must be an edge.
bool Dt2::checkConstraints() const {
    std::vector<ConstraintSegment2*> vAlive, vContained, vMissing;
    getAliveConstraintSegments(vAlive);
    std::partition_copy(vAlive.begin(), vAlive.end(), std::back_inserter(vContained), std::back_inserter(vMissing),
                        [this](const ConstraintSegment2* pCSeg) { return isEdge(pCSeg->getSrc(), pCSeg->getTrg()); });
    std::cout << "\n* ConstraintSegments (alive): " << vAlive.size() << ", contained: " << vContained.size()
              << ", missing: " << vMissing.size() << "\n";
    if (vMissing.empty()) return true;
    for (const ConstraintSegment2* pCSeg : vMissing) std::cout << "Not contained: " << *pCSeg << "\n";
    Visualizer2 picture(getFilenamePrefix() + "checkValidityConstraints.ps");
    picture.addObject(vContained, Color(CGREEN));
    picture.addObject(vMissing, Color(CRED));
    picture.writeFile();
    return false;
}

void Dt2::showFailures(const std::vector<Triangle2*>& vFailed) const {
    const std::string prefix = getFilenamePrefix() + "checkValidityFailed";
    Visualizer2 overview(prefix + ".ps");
    show(&overview, true);
    overview.addObject(vFailed, Color(CRED, 0.05, true));
    overview.writeFile();
    // A circle may be much larger than the whole triangulation, and failures may be tiny in it: hence a second picture.
    Visualizer2 circles(prefix + "_circles.ps");
    circles.addObject(vFailed, Color(CRED, 0.05, true));
    for (const Triangle2* pT : vFailed) {
        if (!hasThreeCorners(*pT)) continue;
        bool bAccurate;
        const Point2 center = pT->getDual(bAccurate);
        circles.addObject(Circle2(center, sqDistance2D(center, *pT->getCorner(0))), Color(CBLUE));
    }
    circles.writeFile();
}

void Dt2::statistics(const std::string& name) const {
    std::vector<Triangle2*> vTriangles;
    getTrianglePointers(vTriangles);
    std::ostringstream out;
    out << "\n\n\n********* MESH STATISTICS (" << name << ") **********\n\n"
        << "Number of triangles: " << vTriangles.size() << "\n\n";
    printAngles(out, analyzeAngles(vTriangles));
    std::cout << out.str() << std::flush;
}

}  // namespace LUMO_TARO25D
