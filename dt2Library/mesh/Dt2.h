#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mesh/BulkInserter.h"
#include "mesh/HullHubs.h"
#include "mesh/MeshSlot.h"
#include "mesh/TriangleMesh.h"
#include "mesh/VertexRemover.h"
#include "support/Progress.h"
#include "taro25d/Bbox2.h"
#include "taro25d/ConstraintInsertionStrategy.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"
#include "taro25d/ZoneLocation.h"
#include "vertices/VertexVault.h"

namespace LUMO_TARO25D {

class ConstraintGraph2;
class ConstraintMgr;
class ConstraintSegment2;
class Edge2;
class InnerVtxMgr;
class MeshGenParams;
class Segment2;
class Visualizer2;
class Zone2;

/// The engine: one triangulation with everything it owns. This declaration is the table of contents of the Dt2*.cpp
/// files, each of which defines one block of members. Members of higher floors forward to the classes that do the work
/// and document it; the constraints and zones that they return belong to the engine.
///
/// Two phases. As long as all vertices are collinear they are only in the vault, and there are no triangles. From the
/// first vertex off the line on, every operation leaves a valid triangulation: corners counterclockwise, links mutual,
/// every edge Delaunay or a constraint. The calls that change triangles are inherited (TriangleMesh.h).
class Dt2 : public TriangleMesh {
  public:
    // ---- Dt2.cpp: life and insertion ------------------------------------------------------------------------------

    explicit Dt2(unsigned numExpectedVertices);
    ~Dt2();

    /// Another engine with equal mesh, constraints and settings, but without zones, listeners and cancel flag.
    std::unique_ptr<Dt2> clone() const;

    int setNumCPU(int n);
    int getNumCPU() const { return numCPU_; }
    /// Sets one thread for each hardware thread.
    void enableMT() { setNumCPU(0); }
    /// For tests: on several threads, every batch of 1000 vertices is inserted in chunks, also where that is slower.
    void preferChunks() { bPrefersChunks_ = true; }
    bool prefersChunks() const { return bPrefersChunks_; }
    void setName(const std::string& name) { name_ = name; }
    /// Takes over the clients' settings of another mesh, listeners and cancel flag included.
    void takeSettings(const Dt2& other);
    const std::string& getName() const { return name_; }
    void setDev(const std::string& text, int number, double value);
    /// The prefix of the names of diagnostic files.
    static std::string getFilenamePrefix();
    Progress& getProgress() { return progress_; }
    const Progress& getProgress() const { return progress_; }
    VertexVault& getVertexVault() { return vertexVault_; }
    const VertexVault& getVertexVault() const { return vertexVault_; }
    HeightBook& getHeightBook() { return vertexVault_.getHeightBook(); }
    InnerVtxMgr& getInnerVtxMgr() const { return *pInnerVtxMgr_; }

    Point2* insert(const Point2& point);
    void insertVector(const std::vector<Point2>& vPoints);
    void insertVector(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandlesOut);
    /// Bulk insertion; aHandles is null or has one place for each point. Appends the new vertices, unless pNewVertices
    /// is null.
    void insertBulk(const PointSource& source, Point2** aHandles, std::vector<Point2*>* pNewVertices = nullptr,
                    const char* phase = "insert vertices");
    /// Inserts the vertices of a range of vault items that are not in the mesh yet.
    void triangulateRec(BulkInserter::ItemIterator begin, BulkInserter::ItemIterator end, Triangle2* pStartT);
    /// Leaves the collinear phase if three vertices are not collinear; the first numPreExistingVtx vault items are
    /// inserted first.
    bool createFullDimTriangle(size_t numPreExistingVtx);
    /// Inserts a vertex that is already in the vault, starting the search at the hint. Returns a triangle at the
    /// vertex; if another vertex has its position, notes the duplicate in the vault and returns a triangle at that
    /// vertex.
    Triangle2* insertVertex(Point2*& pVtx, Triangle2* pHint);
    /// Makes the next single insertion start its search at a nearby vertex.
    void startSearchAt(const Point2* pVtx) { pLastVtx_ = pVtx; }
    /// Forgets records that only make searches shorter.
    void forgetShortcuts() { pLastVtx_ = nullptr, hullHubs_ = HullHubs(); }

    /// The object of class T that a higher floor keeps for this mesh: getSlot makes it on first use, findSlot returns
    /// null if there is none.
    template <class T>
    T& getSlot() {
        return slots_.get<T>(this);
    }
    template <class T>
    T* findSlot() const {
        return slots_.find<T>();
    }

    /// Whether there are no vertices, and no objects such as graphs and zones: nothing to which a client has pointers.
    bool isEmpty() const { return numberOfPoints() == 0 && slots_.areEmpty(); }

    // ---- VertexRemover.cpp: removal of vertices -------------------------------------------------------------------

    void remove(Point2* pVtx) { remover_.remove(pVtx); }
    void remove_CHVersion(Point2* pVtx, bool bRestoreDelaunay) { remover_.removeHullVertex(pVtx, bRestoreDelaunay); }
    VertexRemover& getVertexRemover() { return remover_; }

    // ---- Dt2_locate.cpp: location, heights, neighbourhoods, the hull ----------------------------------------------

    /// locateConflictTriangle of walk.h.
    int locateConflictTriangle(const Point2* p, Triangle2*& pT, int& idx) const;
    Triangle2* locate(const Point2& point) const;
    bool getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance) const;
    bool getNearbyHeight(double x, double y, double& height, double tolerance) const;
    /// The largest absolute x or y of a point and all vertices.
    double getMagnitudeWith(const Point2& point) const;
    /// Walks to any point with finite x and y; results as locateConflictTriangle. The predicates must cover the point.
    int walkTo(const Point2& point, Triangle2*& pT, GeomTest& geomTest) const;

    Triangle2* getAdjacentTriangle(Point2* p0, Point2* p1) const;
    bool isEdge(Point2* p0, Point2* p1) const;
    void getIncidentVertices(Point2* pVtx, std::vector<Point2*>& vIncidentVertices) const;
    /// The vertices of the hull, counterclockwise.
    void getConvexHull(bool bAllVertices, std::vector<Point2*>& vConvexHullPoints) const;
    /// The hull edges as (triangle, edge index), counterclockwise.
    void getConvexHull(std::vector<std::pair<Triangle2*, int>>& vHullEdges) const;
    /// Appends the triangles whose interior the segment from p to q crosses, in order from p. Both are vertices.
    void getCZ(const Point2* p, const Point2* q, std::vector<Triangle2*>& vTriangles) const;

    /// A live triangle; null when there are none.
    Triangle2* getOneValidTriangle() const { return vertexVault_.getOneValidTriangle(); }
    size_t numberOfPoints() const { return vertexVault_.computeNumberOfPoints(); }
    /// The number of vertices, those of a running bulk insertion included; O(1).
    size_t getApproxNumPoints() const { return vertexVault_.getSize(); }
    void getVertexPointers(std::vector<Point2*>& vVertices) const { vertexVault_.getVertexPointers(vVertices); }
    /// The vertex with the x and y of a point; null if there is none.
    Point2* getVertexPointer(const Point2& point) const;
    bool is2D() const { return vertexVault_.isFullDimensional(); }
    Bbox2 computeBoundingBox() const { return vertexVault_.computeBoundingBox(); }
    void statistics(const std::string& name) const;

    // ---- constraints/Dt2_constraints.cpp: constraints, drawing, the check, the file -------------------------------

    ConstraintGraph2* createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                       bool bOrientedSegments);
    ConstraintGraph2* createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis);
    void applyConstraintsAndZones();
    ConstraintMgr* getConstraintManager();
    ConstraintSegment2* getAliveConstraintSegment(const Point2* p0, const Point2* p1) const;
    void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    void newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg);
    void insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg);
    void killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg);
    void show(const std::string& filename, bool bWithConstraints) const;
    void show(Visualizer2* pVisualizer, bool bWithConstraints) const;
    bool checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const;
    bool save(const char* filename) const;
    bool load(const char* filename);
    void internalDebug(int topic, int detail, const std::string& text);

    // ---- zones/Dt2_zones.cpp: zones (ZoneMgr) and cuts (SurfaceCutter, CookieCutter) ------------------------------

    Zone2* createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose = true);
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose = true);
    Zone2* createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, const Point2& seed, bool bVerbose = true);
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                      bool bVerbose = true);
    Zone2* createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose = true);
    Zone2* createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose = true);
    bool deleteZone(Zone2* pZone);
    void growZoneArea(const std::vector<ConstraintGraph2*>& vGraphs, const std::vector<Point2>& vSeeds,
                      std::vector<Triangle2*>& vTriangles) const;
    void CUTT_cutTriangles(const std::vector<Segment2>& vSegments, bool bConstraints);
    Zone2* createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose);
    static bool isSimplePolygon(const std::vector<Segment2>& vSegments);

    // ---- meshing/Dt2_meshing.cpp: refinement of zones (Refiner) ---------------------------------------------------

    void refineClassic(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength,
                       bool bAllowConstraintSplitting);
    void refineAdvanced(MeshGenParams* pParams);
    bool checkZoneQuality(Zone2* pZone, double minAngleDegree, const std::string& name);

  private:
    Point2* insertWhileCollinear(const Point2& point);
    Triangle2* getStartTriangle(const Point2& point, unsigned key) const;
    Triangle2* noteDuplicate(Point2*& pVtx, Triangle2* pT);
    Triangle2* insertVertexCH(Point2* v, Triangle2* pT, int idx);
    void fanFromHullPatch(Point2* v);

    VertexVault vertexVault_;
    const Point2* pLastVtx_ = nullptr;  // the last vertex inserted singly
    std::vector<std::pair<Triangle2*, int>> vHullPatch_;
    HullHubs hullHubs_;
    VertexRemover remover_{*this};
    std::unique_ptr<InnerVtxMgr> pInnerVtxMgr_;
    int numCPU_ = 1;
    bool bPrefersChunks_ = false;
    std::string name_;
    Progress progress_;
    MeshSlots slots_;  // objects of higher floors
};

}  // namespace LUMO_TARO25D
