#pragma once

#include <cstddef>
#include <vector>

#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "mesh/ConstraintEdges.h"
#include "support/SimplePool.h"
#include "support/lists.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class ConstraintKeeper;

/// The triangles of a mesh, which of their edges are constraints, and how operations change them.
///
/// Operations (removal, insertion of segments, cuts, refinement) are clients of the mesh and change it by these calls alone,
/// and by the links between triangles (kernel/links.h). Each leaves links mutual and corners counterclockwise. Triangles
/// whose edges may not be Delaunay are noted; none is noted any more when an operation ends. CrossedRegion replaces a whole
/// region.
class TriangleMesh {
  public:
    TriangleMesh(const TriangleMesh&) = delete;
    TriangleMesh& operator=(const TriangleMesh&) = delete;

    // ---- Records ----------------------------------------------------------------------------------------------------

    /// Takes a record for a new triangle, which is that of its corners from now on, and has no neighbours.
    Triangle2* createTriangle(Point2* p0, Point2* p1, Point2* p2);
    /// Replaces the content of a list by n records without corners.
    void getFreshTriangles(size_t n, std::vector<Triangle2*>& vFreshTriangles);
    RecordSupply<Triangle2> takeTriangleRecords(size_t n) { return {trianglePool_, vRecycledTriangles_, n}; }
    /// Gives records back, which nothing links to any more.
    void storeRecycledT(const std::vector<Triangle2*>& vTriangles);
    /// Makes room for n more triangles, on several threads.
    void expectTriangles(size_t n, int numThreads);

    size_t numberOfTriangles() const;
    void getTrianglePointers(std::vector<Triangle2*>& vTriangles) const;
    /// The records of all triangles; dead ones have no corners.
    const SimplePool<Triangle2>& getTrianglePool() const { return trianglePool_; }
    /// Calls f for every triangle, in the order of their records. Dead records have no corners.
    template <class F>
    void forEachTriangle(const F& f) const {
        trianglePool_.forEach([&f](Triangle2* pT) {
            if (pT->getCorner(0)) f(pT);
        });
    }
    void getIncidentTriangles(Point2* pVtx, std::vector<Triangle2*>& vIncidentT) const;
    GeomTest& getGeomTest() const { return geomTest_; }

    // ---- Splits -----------------------------------------------------------------------------------------------------

    /// Splits a triangle into three at a new vertex inside it. This and the next two note the new triangles, whose corner 0
    /// the vertex is.
    void initVCheckT13(Triangle2* pT, Point2* v);
    /// Splits the two triangles at edge idx into four at a new vertex on it, and a constraint there into two.
    void initVCheckT24(Triangle2* pT, Point2* v, int idx);
    /// The same for an edge of the hull.
    void splitHullEdge(Point2* v, Triangle2* pT, int idx);
    /// Splits edge i at a vertex if it is a constraint, while the triangles are still as they were.
    void splitConstraintOn(const Triangle2* pT, int i, Point2* v);

    // ---- Flips ------------------------------------------------------------------------------------------------------

    /// Flips edge i of pT without any test; pT and the returned triangle both keep the corner i of pT as corner 0.
    Triangle2* flip(Triangle2* pT, int i);
    /// True if edge i is no constraint edge, has a neighbour, and the quadrilateral is strictly convex.
    bool canBeFlipped(const Triangle2* pT, int i) const {
        return !isConstraint(pT, i) && pT->getOppositeTriangle(i) && isStrictlyConvex(pT, i);
    }
    /// Whether the triangles on both sides of edge i make a strictly convex quadrilateral. There is a neighbour.
    bool isStrictlyConvex(const Triangle2* pT, int i) const;

    // ---- Making the mesh Delaunay -----------------------------------------------------------------------------------

    /// Notes a triangle for flips.
    void noteForFlips(Triangle2* pT) { vFlipStack_.push_back(pT); }
    /// The triangle that was noted last, which is forgotten; null if there is none.
    Triangle2* takeNoted();
    void forgetFlips() { vFlipStack_.clear(); }
    /// Whether edge i, which is not Delaunay, stays because it is a constraint. A conforming one is remembered.
    bool isFixed(const Triangle2* pT, int i) {
        if (!isConstraint(pT, i)) return false;
        rememberEncroached(pT, i);
        return true;
    }
    /// Flips edge i of a triangle if it is neither Delaunay nor a constraint, and notes both triangles.
    bool flipUnlessDelaunay(Triangle2* pT, int i);
    /// Flips the edges of the noted triangles, and of those that this makes, until all are Delaunay or constraints (Lawson
    /// 1977).
    void flipUntilDelaunay();
    /// The same from the triangles around a vertex.
    void bfsFlipIncident(Point2* pVtx);
    /// The last step of inserting a vertex, which is corner 0 of all noted triangles: flips until all around it is Delaunay,
    /// and takes constraints next to it through it.
    void settle(Point2* v) {
        legalize(v);
        if (hasConstraints() && !bExactConstraints_) bendConstraintsTo(v);
    }
    /// Until the scope ends, constraints pass vertices that are next to them (nearness.h) without being split there.
    [[nodiscard]] FlagScope takeConstraintsExactly() { return FlagScope(bExactConstraints_); }
    bool takesConstraintsExactly() const { return bExactConstraints_; }

    // ---- Constraint edges -------------------------------------------------------------------------------------------

    /// Whether an edge is a constraint is known to the mesh; to whom it belongs, to the keeper.
    ConstraintEdges& getConstraintEdges() { return constraintEdges_; }
    /// Who keeps the constraints; null as long as there have been none.
    ConstraintKeeper* getConstraintKeeper() const { return pConstraintKeeper_; }
    void setConstraintKeeper(ConstraintKeeper* pKeeper) { pConstraintKeeper_ = pKeeper; }
    bool hasConstraints() const { return constraintEdges_.isInUse(); }
    bool isConstraint(const Point2* p0, const Point2* p1) const { return constraintEdges_.contains(p0, p1); }
    bool isConstraint(const Triangle2* pT, int i) const {
        return isConstraint(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)));
    }
    bool isConstraintVertex(const Point2* pVtx) const;

  protected:
    explicit TriangleMesh(unsigned numExpectedVertices);
    ~TriangleMesh() = default;

  private:
    void legalize(const Point2* v);
    void bendConstraintsTo(Point2* v);
    void rememberEncroached(const Triangle2* pT, int i);
    Triangle2* newTriangleRecord();

    mutable GeomTest geomTest_;           // mutable: it holds scratch numbers
    SimplePool<Triangle2> trianglePool_;  // also the list of all triangles; dead ones have no corners
    std::vector<Triangle2*> vRecycledTriangles_;
    std::vector<Triangle2*> vFlipStack_;
    ConstraintEdges constraintEdges_;
    ConstraintKeeper* pConstraintKeeper_ = nullptr;  // null before there are constraints
    bool bExactConstraints_ = false;
};

}  // namespace LUMO_TARO25D
