// Consistency of a mesh.
//
// The check reads the stored records and does not trust the functions under test. It checks each triangle (corners,
// orientation), each pair of neighbours (mutual links over the same two corners), each vertex (a live incident
// triangle). Only if all of these hold is it safe to turn around vertices, as the walk along the hull does. The hull
// must be one convex ring that contains every edge without a neighbour; then, by Euler's formula, triangles neither
// overlap nor are missing. In such a mesh the circumcircles must be empty across all edges except constraints. O(n),
// with exact tests where filters fail.

#include "mesh/MeshCheck.h"

#include <functional>
#include <ostream>
#include <utility>

#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

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

/// Prints a triangle; of a broken one, which has no area, only the addresses of the corners.
void print(std::ostream& stream, const Triangle2& triangle) {
    if (hasThreeCorners(triangle)) {
        stream << triangle;
        return;
    }
    stream << "Triangle(" << static_cast<const void*>(&triangle) << ")";
    for (int i = 0; i < 3; ++i) stream << ", " << static_cast<const void*>(triangle.getCorner(i));
    stream << "\n";
}

}  // namespace

bool hasThreeCorners(const Triangle2& triangle) {
    const Point2 *p0 = triangle.getCorner(0), *p1 = triangle.getCorner(1), *p2 = triangle.getCorner(2);
    return p0 && p1 && p2 && p0 != p1 && p1 != p2 && p2 != p0;
}

MeshCheck::MeshCheck(const Dt2& mesh, Note& report) : mesh_(mesh), geomTest_(mesh.getMagnitude()), report_(report) {
    mesh.getTrianglePointers(vTriangles_);
}

void MeshCheck::addTriangles(const char* message, const Triangle2* pT, const Triangle2* pN) {
    add(message);
    if (numFindings_ > MAX_PRINTED) return;
    print(report_.getStream(), *pT);
    if (pN) print(report_.getStream(), *pN);
}

void MeshCheck::printRest() {
    if (numFindings_ > MAX_PRINTED) report_ << "and " << numFindings_ - MAX_PRINTED << " more\n";
}

void MeshCheck::checkStructure() {
    const size_t numBefore = numFindings_;
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles_) {
        cancelPoint.pass();
        checkTriangle(pT);
    }
    if (numFindings_ == numBefore) checkVertices();
    if (numFindings_ == numBefore) checkHull();
}

void MeshCheck::checkEmptyCircles() {
    CancelPoint<> cancelPoint;
    for (const Triangle2* pT : vTriangles_) {
        cancelPoint.pass();
        checkEmptyCircle(pT);
    }
}

void MeshCheck::checkTriangle(const Triangle2* pT) {
    if (!hasThreeCorners(*pT)) return addTriangles("Less than three different corners", pT);
    if (geomTest_.getOrientation2(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)) != ORIENTATION2_CCW) {
        return addTriangles("Corners are not counterclockwise", pT);
    }
    for (int i = 0; i < 3; ++i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        if (!pN) continue;
        if (!hasLink(*pN, pT)) {
            addTriangles("Inconsistent neighborships:", pT, pN);
        } else if (!isSharedEdge(*pT, i, *pN)) {
            addTriangles("Neighbor found but inconsistent intra triangle indices:", pT, pN);
        }
    }
}

void MeshCheck::checkEmptyCircle(const Triangle2* pT) {
    for (int i = 0; i < 3; ++i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        // The test is symmetric, so one side of each edge is enough.
        if (!pN || std::less<>()(pN, pT) || mesh_.isConstraint(pT, i)) continue;
        const Point2* pFar = pN->getCorner(pN->getIntraTriangleIndex(pT));
        if (geomTest_.circleInc3state(pT, pFar) == CINC2_INCIRCLE) {
            addTriangles("Sphere inclusion test failed ", pT, pN);
        }
    }
}

void MeshCheck::checkVertices() {
    std::vector<Point2*> vVertices;
    mesh_.getVertexPointers(vVertices);
    CancelPoint<> cancelPoint;
    for (const Point2* pVtx : vVertices) {
        cancelPoint.pass();
        const Triangle2* pT = pVtx->getIncidentTriangle();
        if (!pT || !pT->hasVertex(pVtx)) add("Vertex without incident triangle: ", *pVtx);
    }
}

void MeshCheck::checkHull() {
    std::vector<std::pair<Triangle2*, int>> vHullEdges;
    mesh_.getConvexHull(vHullEdges);
    size_t numOpenEdges = 0;
    throwIfStopped();
    for (const Triangle2* pT : vTriangles_) {
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
    if (!bConvex) add("The hull is not convex");
    if (numOpenEdges != numHullEdges) add("Edges without neighbor that are not on the hull");
    if (vTriangles_.size() + numHullEdges + 2 != 2 * mesh_.numberOfPoints()) {
        add("Euler's formula does not hold: ", mesh_.numberOfPoints(), " vertices, ", vTriangles_.size(),
            " triangles, ", numHullEdges, " hull edges");
    }
}

}  // namespace LUMO_TARO25D
