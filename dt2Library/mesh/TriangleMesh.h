#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "kernel/GeomTest.h"
#include "kernel/tools.h"
#include "mesh/ConstraintEdges.h"
#include "support/RecordCopies.h"
#include "support/SimplePool.h"
#include "support/lists.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class ConstraintKeeper;

/// The triangles of a mesh, their constraint edges, and the calls by which operations change them.
///
/// Operations (removal, insertion of segments, cuts, refinement) are clients of the mesh and change it only by these
/// calls and by the functions of kernel/links.h. Each leaves links mutual and corners counterclockwise. Triangles whose
/// edges may not be Delaunay are noted; at the end of an operation none is. CrossedRegion replaces a whole region.
class TriangleMesh {
  public:
    TriangleMesh(const TriangleMesh&) = delete;
    TriangleMesh& operator=(const TriangleMesh&) = delete;

    // ---- Records ----------------------------------------------------------------------------------------------------

    /// Makes a triangle without neighbours; it becomes the incident triangle of its corners.
    Triangle2* createTriangle(Point2* p0, Point2* p1, Point2* p2);
    /// Replaces the content of a list by n records without corners.
    void getFreshTriangles(size_t n, std::vector<Triangle2*>& vFreshTriangles);
    RecordSupply<Triangle2> takeTriangleRecords(size_t n) { return {trianglePool_, vRecycledTriangles_, n}; }
    /// Recycles records to which nothing links any more.
    void storeRecycledT(const std::vector<Triangle2*>& vTriangles);
    /// Drops all triangles; the caller sets the incident triangles of the vertices to null.
    void dropAllTriangles() { trianglePool_.takeBack(0), vRecycledTriangles_.clear(), vFlipStack_.clear(); }
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
    GeomTest& getGeomTest() { return geomTest_; }
    /// The largest coordinate magnitude of all vertices, which bounds the predicates' errors. Queries may run on
    /// several threads, so each makes predicates of its own with this bound.
    double getMagnitude() const { return geomTest_.getMaxAbsCoord(); }

    /// Makes a record for each record of another mesh; this mesh must have none.
    RecordCopies<Triangle2> layOutLike(const TriangleMesh& other, int numThreads) {
        return RecordCopies<Triangle2>(other.trianglePool_, trianglePool_, numThreads);
    }
    /// Copies the other mesh, with each vertex and triangle replaced by its copy, but without its table of constraint
    /// edges.
    void copyFrom(const TriangleMesh& other, const RecordCopies<Point2>& vertices,
                  const RecordCopies<Triangle2>& triangles);
    /// A function that gives the triangles and the table of constraint edges their present state again, once.
    std::function<void()> rememberState();

    // ---- Splits -----------------------------------------------------------------------------------------------------

    /// Splits a triangle into three at a new vertex inside it (T13: one triangle becomes three). All three functions
    /// for splits note the new triangles, of which the vertex is corner 0.
    void initVCheckT13(Triangle2* pT, Point2* v);
    /// Splits the two triangles at edge idx into four (T24) at a new vertex on it, and a constraint there into two.
    void initVCheckT24(Triangle2* pT, Point2* v, int idx);
    /// Splits the triangle at hull edge idx into two at a new vertex on it, and a constraint there into two.
    void splitHullEdge(Point2* v, Triangle2* pT, int idx);
    /// If edge i is a constraint, tells its keeper to split it at v; called before the triangles change.
    void splitConstraintOn(const Triangle2* pT, int i, Point2* v);

    // ---- Flips ------------------------------------------------------------------------------------------------------

    /// Flips edge i of pT without any test; pT and the returned triangle both keep the corner i of pT as corner 0.
    Triangle2* flip(Triangle2* pT, int i);
    /// True if edge i is no constraint edge, has a neighbour, and the quadrilateral is strictly convex.
    bool canBeFlipped(const Triangle2* pT, int i) {
        return !isConstraint(pT, i) && pT->getOppositeTriangle(i) && isStrictlyConvex(pT, i);
    }
    /// Whether the triangles on both sides of edge i form a strictly convex quadrilateral; requires a neighbour.
    bool isStrictlyConvex(const Triangle2* pT, int i);

    // ---- Making the mesh Delaunay -----------------------------------------------------------------------------------

    /// Notes a triangle for flips.
    void noteForFlips(Triangle2* pT) { vFlipStack_.push_back(pT); }
    /// Removes and returns the triangle that was noted last; null if there is none.
    Triangle2* takeNoted();
    void forgetFlips() { vFlipStack_.clear(); }
    /// Whether edge i, which is not Delaunay, must stay because it is a constraint; a conforming constraint is then
    /// noted as encroached.
    bool isFixed(const Triangle2* pT, int i) {
        if (!isConstraint(pT, i)) return false;
        rememberEncroached(pT, i);
        return true;
    }
    /// Flips edge i of a triangle if it is neither Delaunay nor a constraint, and notes both triangles. Returns whether
    /// it did.
    bool flipUnlessDelaunay(Triangle2* pT, int i);
    /// Flips edges, starting from the noted triangles, until all are Delaunay or constraints (Lawson 1977).
    void flipUntilDelaunay();
    /// Notes the triangles around a vertex and calls flipUntilDelaunay.
    void bfsFlipIncident(Point2* pVtx);
    /// The last step of inserting a vertex, which is corner 0 of all noted triangles: flips until all edges around it
    /// are Delaunay or constraints, and bends constraints that are next to it (isBeside) so that they go through it.
    void settle(Point2* v) {
        legalize(v);
        if (hasConstraints() && !bExactConstraints_) bendConstraintsTo(v);
    }
    /// Until the scope ends, constraints are not bent to vertices next to them (nearness.h).
    [[nodiscard]] FlagScope takeConstraintsExactly() { return FlagScope(bExactConstraints_); }
    bool takesConstraintsExactly() const { return bExactConstraints_; }

    // ---- Constraint edges -------------------------------------------------------------------------------------------

    /// The segments by their ends; the keeper makes and changes them.
    ConstraintEdges& getConstraintEdges() { return constraintEdges_; }
    /// The manager of the constraints; null until there is one.
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

    GeomTest geomTest_;
    SimplePool<Triangle2> trianglePool_;  // also the list of all triangles; dead ones have no corners
    std::vector<Triangle2*> vRecycledTriangles_;
    std::vector<Triangle2*> vFlipStack_;
    ConstraintEdges constraintEdges_;
    ConstraintKeeper* pConstraintKeeper_ = nullptr;  // null before there are constraints
    bool bExactConstraints_ = false;
};

}  // namespace LUMO_TARO25D
