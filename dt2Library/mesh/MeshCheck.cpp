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
#include "kernel/flatSets.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "taro25d/ConstraintSegment2.h"

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

/// Prints what a check finds wrong: the first findings in full, of the others their number.
class Dt2::Findings {
  public:
    explicit Findings(Note& report) : report_(report) {}
    template <class... Parts>
    void add(const Parts&... parts) {
        if (++num_ <= MAX_PRINTED) (report_.getStream() << ... << parts) << "\n";
    }
    /// The same with one or two triangles.
    void addTriangles(const char* message, const Triangle2* pT, const Triangle2* pN = nullptr) {
        add(message);
        if (num_ > MAX_PRINTED) return;
        print(report_.getStream(), *pT);
        if (pN) print(report_.getStream(), *pN);
    }
    size_t getNumber() const { return num_; }
    Note& getReport() { return report_; }
    void printRest() {
        if (num_ > MAX_PRINTED) report_ << "and " << num_ - MAX_PRINTED << " more\n";
    }

  private:
    static constexpr size_t MAX_PRINTED = 10;
    Note& report_;
    size_t num_ = 0;
};

bool Dt2::checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const {
    if (!is2D()) {
        warning("Dt2::checkValidity()", "not fulldimensional yet (empty or all points collinear), Returning true");
        return true;
    }
    std::vector<Triangle2*> vTriangles;
    getTrianglePointers(vTriangles);
    Note report("Dt2::checkValidity()");
    report << name_;
    Findings findings(report);
    checkConstraints(vTriangles, findings);
    const size_t numBefore = findings.getNumber();
    const auto isSound = [&] { return findings.getNumber() == numBefore; };
    for (const Triangle2* pT : vTriangles) checkTriangle(pT, findings);
    if (isSound()) checkVertices(findings);
    if (isSound()) checkHull(vTriangles, findings);
    if (isSound() && bCheckEmptyCircleProperty) {
        for (const Triangle2* pT : vTriangles) checkEmptyCircle(pT, findings);
        warnOfEncroachedPieces();
    }
    findings.printRest();
    if (findings.getNumber() == 0) return true;
    report << "\ncheckValidity, bug, name=" << name << "\n";
    return false;
}

void Dt2::checkTriangle(const Triangle2* pT, Findings& findings) const {
    if (!hasThreeCorners(*pT)) return findings.addTriangles("Less than three different corners", pT);
    if (geomTest_.getOrientation2(pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)) != ORIENTATION2_CCW) {
        return findings.addTriangles("Corners are not counterclockwise", pT);
    }
    for (int i = 0; i < 3; ++i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        if (!pN) continue;
        if (!hasLink(*pN, pT)) {
            findings.addTriangles("Inconsistent neighborships:", pT, pN);
        } else if (!isSharedEdge(*pT, i, *pN)) {
            findings.addTriangles("Neighbor found but inconsistent intra triangle indices:", pT, pN);
        }
    }
}

void Dt2::checkEmptyCircle(const Triangle2* pT, Findings& findings) const {
    for (int i = 0; i < 3; ++i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        // The test is symmetric, so one side of each edge is enough.
        if (!pN || std::less<>()(pN, pT) || isConstraint(pT, i)) continue;
        const Point2* pFar = pN->getCorner(pN->getIntraTriangleIndex(pT));
        if (geomTest_.circleInc3state(pT, pFar) == CINC2_INCIRCLE) {
            findings.addTriangles("Sphere inclusion test failed ", pT, pN);
        }
    }
}

void Dt2::checkVertices(Findings& findings) const {
    std::vector<Point2*> vVertices;
    getVertexPointers(vVertices);
    for (const Point2* pVtx : vVertices) {
        const Triangle2* pT = pVtx->getIncidentTriangle();
        if (!pT || !pT->hasVertex(pVtx)) findings.add("Vertex without incident triangle: ", *pVtx);
    }
}

void Dt2::checkHull(const std::vector<Triangle2*>& vTriangles, Findings& findings) const {
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
    if (!bConvex) findings.add("The hull is not convex");
    if (numOpenEdges != numHullEdges) findings.add("Edges without neighbor that are not on the hull");
    if (vTriangles.size() + numHullEdges + 2 != 2 * numberOfPoints()) {
        findings.add("Euler's formula does not hold: ", numberOfPoints(), " vertices, ", vTriangles.size(),
                     " triangles, ", numHullEdges, " hull edges");
    }
}

/// Every alive constraint segment must be an edge of some triangle.
void Dt2::checkConstraints(const std::vector<Triangle2*>& vTriangles, Findings& findings) const {
    AddressSet sContained;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3 && hasThreeCorners(*pT); ++i) {
            if (!isConstraint(pT, i)) continue;
            sContained.insert(getAliveConstraintSegment(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i))));
        }
    }
    std::vector<ConstraintSegment2*> vAlive, vMissing;
    getAliveConstraintSegments(vAlive);
    std::copy_if(vAlive.begin(), vAlive.end(), std::back_inserter(vMissing),
                 [&sContained](const ConstraintSegment2* pCSeg) { return !sContained.contains(pCSeg); });
    findings.getReport() << "\n* ConstraintSegments (alive): " << vAlive.size()
                         << ", contained: " << vAlive.size() - vMissing.size() << ", missing: " << vMissing.size()
                         << "\n";
    for (const ConstraintSegment2* pCSeg : vMissing) findings.add("Not contained: ", *pCSeg);
}

/// Points that came after the last call that establishes segments may have taken the property away, so this is no failure.
void Dt2::warnOfEncroachedPieces() const {
    std::vector<ConstraintSegment2*> vAlive;
    getAliveConstraintSegments(vAlive);
    const auto numEncroached = std::count_if(vAlive.begin(), vAlive.end(), [this](const ConstraintSegment2* pCSeg) {
        return pCSeg->getCIS() != CIS_CONSTRAINED_DELAUNAY && isEncroached(pCSeg);
    });
    if (numEncroached == 0) return;
    warning("Dt2::checkValidity()",
            "pieces of conforming segments that are not Delaunay: " + std::to_string(numEncroached));
}

void Dt2::statistics(const std::string& name) const {
    std::vector<Triangle2*> vTriangles;
    getTrianglePointers(vTriangles);
    Note report("Dt2::statistics()");
    report << name_ << "\n\n\n********* MESH STATISTICS (" << name << ") **********\n\n"
           << "Number of triangles: " << vTriangles.size() << "\n\n";
    printAngles(report.getStream(), analyzeAngles(vTriangles));
}

}  // namespace LUMO_TARO25D
