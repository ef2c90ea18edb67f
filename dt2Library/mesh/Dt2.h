#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "mesh/BulkInserter.h"
#include "mesh/ConstraintEdges.h"
#include "mesh/HullHubs.h"
#include "mesh/MeshSlot.h"
#include "mesh/VertexRemover.h"
#include "support/Progress.h"
#include "support/SimplePool.h"
#include "support/lists.h"
#include "taro25d/Bbox2.h"
#include "taro25d/ConstraintInsertionStrategy.h"
#include "taro25d/MsgBase.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"
#include "taro25d/ZoneLocation.h"
#include "vertices/VertexVault.h"

namespace LUMO_TARO25D {

class ConstraintGraph2;
class ConstraintKeeper;
class ConstraintMgr;
class ConstraintSegment2;
class Edge2;
class InnerVtxMgr;
class MeshGenParams;
class Segment2;
class Visualizer2;
class Zone2;

/// The engine: one triangulation with everything it owns. This declaration is the table of contents of the
/// Dt2*.cpp files, each of which defines one block of members.
///
/// Two phases. As long as all vertices are collinear they stand in the vault alone and there are no
/// triangles. From the first vertex off the line on, every operation leaves a valid triangulation: corners
/// counterclockwise, links mutual, every edge Delaunay or a constraint.
class Dt2 {
  public:
    // ---- Dt2.cpp: life and insertion ------------------------------------------------------------------------------

    explicit Dt2(unsigned numExpectedVertices);
    ~Dt2();
    Dt2(const Dt2&) = delete;
    Dt2& operator=(const Dt2&) = delete;

    int setNumCPU(int n);
    int getNumCPU() const { return numCPU_; }
    /// As many threads as the hardware has.
    void enableMT() { setNumCPU(0); }
    /// For tests: on several threads, every batch of 1000 vertices is inserted in chunks, also where that is slower.
    void preferChunks() { bPrefersChunks_ = true; }
    bool prefersChunks() const { return bPrefersChunks_; }
    void setName(const std::string& name) { name_ = name; }
    const std::string& getName() const { return name_; }
    void internalDebug(int topic, int detail, const std::string& text);
    void setDev(const std::string& text, int number, double value);
    /// The prefix of the names of diagnostic files.
    static std::string getFilenamePrefix();
    Progress& getProgress() { return progress_; }

    Point2* insert(const Point2& point);
    void insertVector(const std::vector<Point2>& vPoints);
    void insertVector(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandlesOut);
    /// Bulk insertion; aHandles is null or has one place for each point. Appends the new vertices, unless pNewVertices is
    /// null.
    void insertBulk(const PointSource& source, Point2** aHandles, std::vector<Point2*>* pNewVertices = nullptr);
    /// Who keeps the constraints; null as long as there have been none.
    ConstraintKeeper* getConstraintKeeper() const { return pConstraintKeeper_; }

    /// Inserts a vertex that is already in the vault, starting the search at the hint. Returns a triangle
    /// incident to the vertex, or, when its position is taken (noted in the vault), one incident to the
    /// vertex that stands there.
    Triangle2* insertVertex(Point2*& pVtx, Triangle2* pHint);
    /// Walks from pT to the triangle that p hits. Returns -1 with pT containing p strictly (idx -1) or on its
    /// inner edge idx; 0 to 2 with p outside the hull across that edge of pT, or on that hull edge; 4 with p
    /// equal to a corner. Visibility walk with the edge of entry left out (Devillers, Pion, Teillaud 2002).
    int locateConflictTriangle(const Point2* p, Triangle2*& pT, int& idx) const;
    static constexpr int CODE_INSIDE = -1, CODE_DUPLICATE = 4;

    /// Inserts the vertices of a range of vault items that are not in the mesh yet.
    void triangulateRec(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end, Triangle2* pStartT);
    /// Leaves the collinear phase if it can; the first numPreExistingVtx vault items are inserted first.
    bool createFullDimTriangle(size_t numPreExistingVtx);

    /// Collects hull edges that v sees strictly, in order away from hull edge idx of pT: clockwise along the
    /// hull (Left, seen from v) or counterclockwise (Right); that edge itself is not tested and not included.
    static void determineHullPatchLeft(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int idx,
                                       const Point2* v, GeomTest& geomTest);
    static void determineHullPatchRight(std::vector<std::pair<Triangle2*, int>>& vPatch, Triangle2* pT, int idx,
                                        const Point2* v, GeomTest& geomTest);
    GeomTest& getGeomTest() const { return geomTest_; }
    VertexVault& getVertexVault() { return vertexVault_; }
    const VertexVault& getVertexVault() const { return vertexVault_; }
    HeightBook& getHeightBook() { return vertexVault_.getHeightBook(); }
    InnerVtxMgr& getInnerVtxMgr() { return *pInnerVtxMgr_; }

    /// What a higher floor keeps for this mesh as an object of class T, made on first use; or null where there is none yet.
    template <class T>
    T& getSlot() {
        return slots_.get<T>(this);
    }
    template <class T>
    T* findSlot() const {
        return slots_.find<T>();
    }

    // ---- Dt2.cpp: what operations change a mesh with --------------------------------------------------------------
    //
    // Operations (removal, insertion of segments, cuts, refinement) are clients of the mesh and change it by these calls
    // alone, and by the links between triangles (kernel/links.h). Each leaves links mutual and corners counterclockwise.
    // Triangles whose edges may not be Delaunay are noted; none is noted any more when an operation ends.

    /// Takes a record for a new triangle, which is that of its corners from now on, and has no neighbours.
    Triangle2* createTriangle(Point2* p0, Point2* p1, Point2* p2);
    /// Replaces the content of a list by n records without corners.
    void getFreshTriangles(size_t n, std::vector<Triangle2*>& vFreshTriangles);
    RecordSupply<Triangle2> takeTriangleRecords(size_t n) { return {trianglePool_, vRecycledTriangles_, n}; }
    /// Gives records back, which nothing links to any more.
    void storeRecycledT(const std::vector<Triangle2*>& vTriangles);
    /// Makes room for n more triangles.
    void expectTriangles(size_t n);

    /// Splits a triangle into three at a new vertex inside it. This and the next two note the new triangles, whose corner 0
    /// the vertex is.
    void initVCheckT13(Triangle2* pT, Point2* v);
    /// Splits the two triangles at edge idx into four at a new vertex on it, and a constraint there into two.
    void initVCheckT24(Triangle2* pT, Point2* v, int idx);
    /// The same for an edge of the hull.
    void splitHullEdge(Point2* v, Triangle2* pT, int idx);
    /// Splits edge i at a vertex if it is a constraint, while the triangles are still as they were.
    void splitConstraintOn(const Triangle2* pT, int i, Point2* v);

    /// Flips edge i of pT without any test; pT and the returned triangle both keep the corner i of pT as corner 0.
    Triangle2* flip(Triangle2* pT, int i);
    /// True if edge i is no constraint edge, has a neighbour, and the quadrilateral is strictly convex.
    bool canBeFlipped(const Triangle2* pT, int i) const {
        return !isConstraint(pT, i) && pT->getOppositeTriangle(i) && isStrictlyConvex(pT, i);
    }
    /// Whether the triangles on both sides of edge i make a strictly convex quadrilateral. There is a neighbour.
    bool isStrictlyConvex(const Triangle2* pT, int i) const;

    /// Notes a triangle for flips.
    void noteForFlips(Triangle2* pT) { vFlipStack_.push_back(pT); }
    /// The triangle that was noted last, which is forgotten; null if there is none.
    Triangle2* takeNoted();
    /// Forgets the noted triangles.
    void forgetFlips() { vFlipStack_.clear(); }
    /// The last step of inserting a vertex, which is corner 0 of all noted triangles: flips until all around it is Delaunay,
    /// and takes constraints next to it through it.
    void settle(Point2* v) {
        legalize(v);
        if (hasConstraints() && !bExactConstraints_) bendConstraintsTo(v);
    }
    /// Flips edge i of a triangle if it is neither Delaunay nor a constraint, and notes both triangles.
    bool flipUnlessDelaunay(Triangle2* pT, int i);
    /// Flips the edges of the noted triangles, and of those that this makes, until all are Delaunay or constraints (Lawson
    /// 1977).
    void flipUntilDelaunay();
    /// The same from the triangles around a vertex.
    void bfsFlipIncident(Point2* pVtx);
    /// Until the scope ends, constraints pass vertices that are next to them (nearness.h) without being split there.
    [[nodiscard]] FlagScope takeConstraintsExactly() { return FlagScope(bExactConstraints_); }
    bool takesConstraintsExactly() const { return bExactConstraints_; }
    /// Lets the next single insertion start its search at a vertex, which is near.
    void startSearchAt(const Point2* pVtx) { pLastVtx_ = pVtx; }

    // ---- Dt2_locate.cpp: location, heights, neighbourhoods, the hull, drawing -------------------------------------

    Triangle2* locate(const Point2& point) const;
    bool getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance) const;
    bool getNearbyHeight(double x, double y, double& height, double tolerance) const;

    /// The magnitude of a point and all vertices.
    double getMagnitudeWith(const Point2& point) const;
    /// Walks to any point with finite x and y, with the result of locateConflictTriangle. The predicates hold for it.
    int walkTo(const Point2& point, Triangle2*& pT, GeomTest& geomTest) const;

    Triangle2* getAdjacentTriangle(Point2* p0, Point2* p1) const;
    bool isEdge(Point2* p0, Point2* p1) const;
    void getIncidentTriangles(Point2* pVtx, std::vector<Triangle2*>& vIncidentT) const;
    void getIncidentVertices(Point2* pVtx, std::vector<Point2*>& vIncidentVertices) const;
    /// The vertices of the hull, counterclockwise.
    void getConvexHull(bool bAllVertices, std::vector<Point2*>& vConvexHullPoints) const;
    /// The hull edges as (triangle, edge index), counterclockwise.
    void getConvexHull(std::vector<std::pair<Triangle2*, int>>& vHullEdges) const;

    size_t numberOfTriangles() const;
    void getTrianglePointers(std::vector<Triangle2*>& vTriangles) const;
    /// Calls f for every triangle, in the order of their records.
    template <class F>
    void forEachTriangle(const F& f) const {
        trianglePool_.forEach([&f](Triangle2* pT) {
            if (pT->getCorner(0)) f(pT);
        });
    }
    /// A live triangle; null when there are none.
    Triangle2* getOneValidTriangle() const { return vertexVault_.getOneValidTriangle(); }
    size_t numberOfPoints() const { return vertexVault_.computeNumberOfPoints(); }
    void getVertexPointers(std::vector<Point2*>& vVertices) const { vertexVault_.getVertexPointers(vVertices); }
    /// The vertex with the x and y of a point; null if there is none.
    Point2* getVertexPointer(const Point2& point) const;
    bool is2D() const { return vertexVault_.isFullDimensional(); }
    Bbox2 computeBoundingBox() const { return vertexVault_.computeBoundingBox(); }

    void show(const std::string& filename, bool bWithConstraints) const;
    void show(Visualizer2* pVisualizer, bool bWithConstraints) const;

    // ---- VertexRemover.cpp: removal of vertices -------------------------------------------------------------------

    /// Takes a vertex out; null, a vertex of a constraint and a stranger only get a warning. O(k log k) for k
    /// neighbours.
    void remove(Point2* pVtx) { pVertexRemover_->remove(pVtx); }
    void remove_CHVersion(Point2* pVtx, bool bRestoreDelaunay) {
        pVertexRemover_->removeHullVertex(pVtx, bRestoreDelaunay);
    }
    void takeOutHullVertex(Point2* pVtx, bool bRestoreDelaunay) {
        pVertexRemover_->takeOutHullVertex(pVtx, bRestoreDelaunay);
    }
    Triangle2* flipForRemove(Point2* pVtx, Triangle2* t) { return pVertexRemover_->flipForRemove(pVtx, t); }

    // ---- Dt2_constraints.cpp: constraint segments in the mesh ------------------------------------------------------

    /// Inserts the ends of the segments, establishes what can be established, and returns the graph, which the engine
    /// owns; null with a warning for an empty list and for coordinates that are not finite.
    ConstraintGraph2* createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                       bool bOrientedSegments);
    /// The same for edges of the mesh.
    ConstraintGraph2* createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis);
    /// Establishes all segments that wait for it.
    void applyConstraintsAndZones();

    bool hasConstraints() const { return constraintEdges_.isInUse(); }
    /// Whether edge i of a triangle is a constraint.
    bool isConstraint(const Triangle2* pT, int i) const {
        return isConstraint(pT->getCorner(incIndexBy1(i)), pT->getCorner(incIndexBy2(i)));
    }
    bool isConstraint(const Point2* p0, const Point2* p1) const { return constraintEdges_.contains(p0, p1); }
    bool isConstraintVertex(const Point2* pVtx) const;
    /// Whether edge i, which is not Delaunay, stays because it is a constraint. A conforming one is remembered.
    bool isFixed(const Triangle2* pT, int i) {
        if (!isConstraint(pT, i)) return false;
        rememberEncroached(pT, i);
        return true;
    }
    ConstraintEdges& getConstraintEdges() { return constraintEdges_; }
    void setConstraintKeeper(ConstraintKeeper* pKeeper) { pConstraintKeeper_ = pKeeper; }
    ConstraintSegment2* getAliveConstraintSegment(const Point2* p0, const Point2* p1) const;
    void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    ConstraintMgr* getConstraintManager();
    InnerVtxMgr* getInnerVtxManager() const { return pInnerVtxMgr_.get(); }
    /// The number of vertices, those of a running bulk insertion included; O(1).
    size_t getApproxNumPoints() const { return vertexVault_.getSize(); }

    /// Appends the triangles whose interior the segment from p to q crosses, in order from p. Both are vertices.
    void getCZ(const Point2* p, const Point2* q, std::vector<Triangle2*>& vTriangles) const;
    /// Forces an alive segment of strategy CIS_CONSTRAINED_DELAUNAY into the mesh, splitting it and what it crosses.
    void newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg);
    /// Splits a segment of a conforming strategy, or finds that it is an edge; the pieces have to follow.
    void insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg);
    /// Kills a segment and makes the mesh Delaunay where its edge was.
    void killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg);

    // ---- Dt2_zones.cpp: zones and cuts (zones/ZoneMgr.h, zones/SurfaceCutter.h) -------------------------------------

    // Each form makes a zone that the engine owns, or returns null, with a warning if it may: before there are triangles,
    // for a graph that is missing, strange or has no direction, and for a location that the form does not make.

    /// Inside or outside a graph; without a graph, of location ZL_GLOBAL or a result, whose operands are set later.
    Zone2* createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose = true);
    /// Inside or outside several graphs.
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose = true);
    /// Grown from a seed.
    Zone2* createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, const Point2& seed, bool bVerbose = true);
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                      bool bVerbose = true);
    /// Bounded by edges of the mesh, on their left.
    Zone2* createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose = true);
    /// Of exactly these triangles.
    Zone2* createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose = true);
    /// False, with a warning, for a zone that the engine does not hold and for an operand of another one.
    bool deleteZone(Zone2* pZone);

    /// Appends the triangles that are reached from those at the seeds without crossing pieces of the graphs, each once.
    void growZoneArea(const std::vector<ConstraintGraph2*>& vGraphs, const std::vector<Point2>& vSeeds,
                      std::vector<Triangle2*>& vTriangles) const;
    /// Cuts the triangles along segments, so that the surface keeps its shape.
    void CUTT_cutTriangles(const std::vector<Segment2>& vSegments, bool bConstraints);
    /// Cuts along a simple polygon and makes a zone of what is inside.
    Zone2* createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose);
    /// Whether the segments, in any order and direction, are the sides of one polygon that does not meet itself.
    static bool isSimplePolygon(const std::vector<Segment2>& vSegments);

    // ---- Dt2_meshing.cpp: refinement of zones (meshing/Refiner.h) -------------------------------------------------

    /// Refines a zone with these limits and the default values of all others.
    void refineClassic(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength,
                       bool bAllowConstraintSplitting);
    /// Inserts vertices into a zone until every triangle meets the limits or cannot be mended.
    void refineAdvanced(MeshGenParams* pParams);
    /// Prints how many triangles of a zone miss each limit, and why; true if there is an excuse for every one. The limits
    /// are the given one, and those of the last refinement if it was of this zone.
    bool checkZoneQuality(Zone2* pZone, double minAngleDegree, const std::string& name);

    // ---- Dt2_file.cpp: the triangulation file ---------------------------------------------------------------------

    bool save(const char* filename) const;
    bool load(const char* filename);

    // ---- Dt2_check.cpp: consistency and statistics ----------------------------------------------------------------

    /// Checks that alive constraint segments are edges, corners, links, incident triangles and the hull; where all these
    /// but the first are sound, with the flag, that all other edges are Delaunay. Reports what is wrong.
    bool checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const;
    void statistics(const std::string& name) const;

  private:
    // ---- Dt2.cpp --------------------------------------------------------------------------------------------------

    Point2* insertWhileCollinear(const Point2& point);
    Triangle2* getStartTriangle(const Point2& point) const;

    /// locateConflictTriangle with predicates that hold for the point.
    static int walk(const Point2* p, Triangle2*& pT, int& idx, GeomTest& geomTest);
    static int locateCoplanarExtension(const Point2* p, Triangle2*& pT, int idx, GeomTest& geomTest);
    Triangle2* triangulateCoplanarOrDuplicate(Point2*& pVtx, Triangle2* pT, int code);
    Triangle2* insertVertexCH(Point2* v, Triangle2* pT, int idx);
    void fanFromHullPatch(Point2* v);
    void legalize(const Point2* v);
    void bendConstraintsTo(Point2* v);
    void rememberEncroached(const Triangle2* pT, int i);
    Triangle2* newTriangleRecord();

    // ---- Dt2_locate.cpp -------------------------------------------------------------------------------------------

    void getLeftmostHullEdge(Triangle2*& pStartT, int& startEdge) const;
    void dropCollinear(std::vector<Point2*>& vRing) const;

    // ---- State ----------------------------------------------------------------------------------------------------

    mutable GeomTest geomTest_;           // mutable: it holds scratch numbers
    SimplePool<Triangle2> trianglePool_;  // also the list of all triangles; dead ones have no corners
    VertexVault vertexVault_;
    std::vector<Triangle2*> vRecycledTriangles_;
    const Point2* pLastVtx_ = nullptr;    // the last one inserted singly
    std::vector<Triangle2*> vFlipStack_;  // empty between operations
    std::vector<std::pair<Triangle2*, int>> vHullPatch_;
    HullHubs hullHubs_;
    std::unique_ptr<VertexRemover> pVertexRemover_;
    std::unique_ptr<InnerVtxMgr> pInnerVtxMgr_;
    ConstraintEdges constraintEdges_;
    ConstraintKeeper* pConstraintKeeper_ = nullptr;  // null before there are constraints
    bool bExactConstraints_ = false;  // while what is next to a constraint stays beside it (see isBeside)
    int numCPU_ = 1;
    bool bPrefersChunks_ = false;
    std::string name_;
    Progress progress_;
    MeshSlots slots_;  // what higher floors keep here
};

}  // namespace LUMO_TARO25D
