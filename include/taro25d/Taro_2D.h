#pragma once

#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/ConstraintInsertionStrategy.h"
#include "taro25d/HeightConflict.h"
#include "taro25d/HeightRule.h"
#include "taro25d/MsgBase.h"
#include "taro25d/MsgType.h"
#include "taro25d/Orientation2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"
#include "taro25d/ZoneLocation.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class AcceptExperimentalFeature;
class Circle2;
class ConstraintGraph2;
class ConstraintSegment2;
class Dt2;
class Edge2;
class MeshGenParams;
class Segment2;
class Visualizer2;
class Visualizer3;
class Zone2;
struct IndexedMesh;

/// A 2.5-D Delaunay triangulation: points (x, y, z) triangulated by x and y, with the heights carried along.
///
/// Coordinates may be in any unit; x, y and z must share it wherever lengths, areas or angles in space are asked
/// for. Angles are in degrees.
///
/// One object is one triangulation. It owns every vertex and triangle it hands out. Vertices stay where they are until
/// they are removed or the triangulation is destroyed; a triangle may get other corners, or go, with every change of
/// the mesh. Any finite double is a legal coordinate: all decisions are exact. A coordinate that is NaN or infinite is
/// refused with a warning.
///
/// As long as all points are collinear (or there are fewer than three) there are vertices but no triangles:
/// `is2D()` is false and queries answer null, false or nothing. The first point off the line triangulates
/// everything at once.
///
/// Vertices are inserted one after the other along a Hilbert curve, found by a walk (Devillers, Pion and Teillaud 2002)
/// and made Delaunay by flips (Lawson 1977). Where four vertices lie on one circle, either diagonal is right.
///
/// One thread at a time may change an object, and no other may use it meanwhile; const functions may be called from
/// several threads at once. Wrong calls print a warning on standard output, or give it to the handler of
/// `setMessageHandler`, change nothing and return null or false. TaroException is thrown where a function says so, and
/// where an internal condition fails. If there is no memory for the records of vertices and triangles, the process ends
/// after a line that says so; with a handler set, and for all other memory, std::bad_alloc is thrown.
class TARO25D_API Taro_2D {
  public:
    /// @name Construction, threads and naming
    /// @{

    /// An empty triangulation. The expected number of vertices sizes the first memory blocks; any number works.
    explicit Taro_2D(unsigned numExpectedVertices = 3);
    /// Destroys everything that it owns: vertices, triangles, constraints, graphs and zones.
    ~Taro_2D();
    Taro_2D(const Taro_2D&) = delete;
    Taro_2D& operator=(const Taro_2D&) = delete;

    /// Creates the engine with one thread. The constructor has done so; calling it again discards everything
    /// that the triangulation holds, listeners included, and starts anew.
    void initTaro(unsigned numExpectedVertices);

    /// Another triangulation with the same vertices (custom indices too), triangles, constraint segments and graphs,
    /// name, number of threads, height rule and noted conflicts; all lists have the same order. It has no zones, no
    /// listeners and no cancel flag, and either one may be changed or destroyed without the other. Records are copied,
    /// not inserted again: a fraction of the time of insertion. Linear. May throw TaroCancelled.
    std::unique_ptr<Taro_2D> clone() const;

    /// The number of threads for bulk insertion and getHeights(): n > 0 sets n, n < 0 sets 1, n == 0 the number of
    /// hardware threads. Returns the number now in force.
    int setNumCPU(int n);
    /// Sets one thread for each hardware thread, as setNumCPU(0) does. Returns that number.
    int enableMultithreading();

    /// A label, which stands in front of the reports of checkValidity and statistics.
    void setName(const std::string& name);
    /// The label; empty at first.
    const std::string& getName() const;

    /// The engine; an incomplete type for clients.
    Dt2* getImpl() const;
    /// For the library's developers: prints internal state or writes it to files. No behaviour for clients.
    void internal(int topic, int detail, std::string text);
    /// For the library's developers: the text becomes the prefix of the names of the diagnostic files of all
    /// triangulations in the process. Must not be called while another thread uses a triangulation.
    void setDev(const std::string& text, int number, double value);

    /// @}
    /// @name Insertion
    /// @{

    /// Inserts one point. Returns the new vertex, or the existing vertex with the same x and y (the new
    /// height and custom index are dropped). A coordinate that is NaN or infinite gives a warning and null.
    /// O(log n) expected.
    Point2* insert(const Point2& point);
    /// Inserts many points at once, much faster than one by one. Non-finite points are skipped with one warning. With
    /// setNumCPU above 1, several threads insert batches of 40,000 vertices and more that are at least three times as
    /// large as the mesh, as long as there are no constraints. Vertices, heights and handles are the same for any
    /// number of threads; the triangles are the same in every run and for any number above 1, and those of one thread
    /// differ from them only in the diagonals between points on one circle. Linear expected time for points that are
    /// spread over the plane.
    void insert(const std::vector<Point2>& vPoints);
    /// Inserts many points; vHandles is replaced by one vertex for each point, in input order: for a
    /// duplicate the vertex at that position (among equal positions of one call the first stays), null for a
    /// non-finite point.
    void insert(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandles);
    /// Inserts numPoints points given as consecutive (x, y, z) triples; aHandles receives numPoints vertices in input
    /// order, as above, unless it is null. Neither array is kept. A number that is not positive inserts nothing, and so
    /// do null coordinates, with a warning.
    void insert(int numPoints, double* aCoordinates, Point2** aHandles);

    /// Triangulates the points in a temporary triangulation with this one's number of threads and returns the
    /// wall time in seconds. Neither this triangulation nor the list changes.
    double measureTrianguluationTime(std::vector<Point2>& vPoints);

    /// Imports triangles, three corners for each, in either orientation, into an empty triangulation. Those that meet
    /// only in common edges and corners come in exactly as they are. Corners with equal x and y become one vertex,
    /// which has the custom index of the first of them. Edges that are not Delaunay become constraints, and so do the
    /// edges of the border; with bConstraints, all edges of the triangles do. The rest of their convex hull is
    /// triangulated too, without new vertices; getImportedZone() holds the given triangles alone.
    ///
    /// A triangle is faulty if it has no area or a coordinate that is not finite. Two triangles contradict each other
    /// if they overlap, if a corner of one lies inside an edge of the other, and if they have different heights at a
    /// common place. With bRepair, faulty triangles and the later of two that contradict each other are left out, and
    /// one warning tells how many, and why. Without bRepair, and if no triangle is left, everything is refused with
    /// such a warning. A triangulation that is not empty (one with a graph or a zone is not), and a number of corners
    /// that is 0 or no multiple of 3, are refused with a warning too. A refusal changes nothing. Returns whether
    /// triangles were imported. The list is not changed. Expected time O(n log n), 2 to 3 times that of inserting the
    /// vertices; a few times more where triangles are left out. May throw TaroCancelled, and changes nothing then.
    bool importTriangles(std::vector<Point2>& vCorners, bool bRepair, bool bConstraints);
    /// The zone of the triangles that were imported; null where there were none and after deleteZone().
    Zone2* getImportedZone() const;

    /// Sets the rule for the height of a vertex where several heights meet from now on: those of points and ends of
    /// segments at a vertex, of segments that go through a vertex, and of segments that cross. HR_FIRST at first. A
    /// value that is no rule gets a warning and changes nothing.
    void setHeightRule(HeightRule rule);
    /// Appends all pairs of heights that met and differed by more than a tolerance, in chronological order, whatever
    /// the rule was; not those of removed vertices. None for a tolerance that is NaN.
    void getHeightConflicts(double tolerance, std::vector<HeightConflict>& vConflicts) const;

    /// @}
    /// @name Removal
    /// @{

    /// Removes a vertex; the triangulation of the others stays Delaunay, and its border their convex hull.
    /// The pointer and pointers to the triangles around the vertex are invalid afterwards: the records are used
    /// again for the next vertices and triangles. When all vertices that are left are collinear there are no
    /// triangles any more, and insertion starts from there. Null, a vertex of a constraint, and a pointer
    /// that is no vertex of this triangulation (a vertex removed before, for one) get a warning and change
    /// nothing. O(k log k) for a vertex with k neighbours; before is2D(), O(n).
    void remove(Point2* pVtx);

    /// Moves a vertex to another place and height. It keeps its record, so that pointers to it stay valid, and its
    /// custom index; the mesh is Delaunay afterwards. The vertex may go anywhere, also beyond the hull. False, with a
    /// warning and without effect, for null, a pointer that is no vertex of this triangulation, a vertex of a
    /// constraint, a place with a coordinate that is NaN or infinite, and a place where another vertex stands. Costs
    /// a removal and an insertion.
    bool moveVertex(Point2* pVtx, const Point2& target);

    /// Where four or more vertices lie on one circle, chooses the diagonals between them by coordinates alone: they
    /// meet at the vertex with the smallest x, then y. Equal vertices and constraints then give equal triangles,
    /// whatever the order of insertion, the number of threads, and the rest of the mesh outside the circle. Later
    /// insertions and removals may choose other diagonals. One exact test for each edge (the idea: Dyken and Floater
    /// 2006). May throw TaroCancelled, with a valid mesh.
    void canonicalizeDiagonals();

    /// @}
    /// @name Queries
    /// @{

    /// The triangle that contains the point, inside or on its boundary; null outside the convex hull, for a
    /// non-finite point, and before is2D(). O(log n) expected; queries in spatial order are several times
    /// faster than random ones.
    Triangle2* locate(const Point2& point) const;

    /// The height of the surface at (x, y). Returns false where there is none. pApproxT, when given, is taken
    /// as the triangle without any test that it contains (x, y). Outside the hull, a tolerance greater than 0
    /// takes the height of the nearest point of the hull within that distance. For a point beside a given triangle, or
    /// one without area, there may be no sound height: then `height` gets the middle of the corner heights, and the
    /// result is false.
    bool getHeight(double x, double y, double& height, Triangle2* pApproxT = nullptr, double tolerance = 0.0) const;

    /// The heights at many places, given as num pairs (x, y), on the threads of setNumCPU(): aHeights receives for each
    /// the height of getHeight(), or NaN where there is no surface. Returns how many places are on the surface. The
    /// arrays are not kept, and null ones give a warning and 0. Places in spatial order are several times faster than
    /// random ones.
    size_t getHeights(size_t num, const double* aXY, double* aHeights) const;

    /// The vertex nearest to a place in x-y, decided exactly; of several the smallest by x, then y. Null for a place
    /// that is not finite, and where there is no vertex. O(log n) expected; before is2D(), O(n).
    Point2* getNearestVertex(const Point2& place) const;
    /// Appends the vertices in a box, border included; an invalid box holds none. Linear in the number of triangles
    /// that meet the box; before is2D(), O(n).
    void getVerticesInBox(const Bbox2& box, std::vector<Point2*>& vVertices) const;
    /// Appends the vertices in a circle or on it, decided exactly. A circle whose centre is not finite or whose squared
    /// radius is negative or NaN holds none. Linear in the number of triangles that meet the circle; before is2D(),
    /// O(n).
    void getVerticesInCircle(const Circle2& circle, std::vector<Point2*>& vVertices) const;
    /// Appends the triangles that share at least one point with a box, decided exactly. Linear in their number.
    void getTrianglesInBox(const Bbox2& box, std::vector<Triangle2*>& vTriangles) const;

    /// The triangle that has the directed edge p0 -> p1 on its counterclockwise boundary; null if there is
    /// none. Null or equal vertices fail with TaroException. Linear in the number of triangles around p0.
    Triangle2* getAdjacentTriangle(Point2* p0, Point2* p1) const;
    /// Appends the triangles around a vertex in counterclockwise order; at the hull, from any of them. A vertex without
    /// triangles, and null, fail with TaroException. Linear in their number.
    void getIncidentTriangles(Point2* pVtx, std::vector<Triangle2*>& vIncidentT) const;
    /// Appends the neighbours of a vertex, each once, in no particular order. A vertex without triangles
    /// fails with TaroException. O(k log k) for k neighbours.
    void getIncidentVertices(Point2* pVtx, std::vector<Point2*>& vIncidentVertices) const;
    /// Appends all triangles. Equal calls on one thread give an equal order. Linear.
    void getTrianglePointers(std::vector<Triangle2*>& vTriangles) const;
    /// Appends all vertices. Equal calls give an equal order. Linear.
    void getVertexPointers(std::vector<Point2*>& vVertices) const;
    /// Appends the vertices of the convex hull, counterclockwise, each once. With bAllVertices false those on a
    /// straight piece between two others are left out. Before is2D() it warns and appends nothing. Linear in the number
    /// of all vertices.
    void getConvexHull(bool bAllVertices, std::vector<Point2*>& vConvexHullPoints) const;

    /// The mesh as arrays of numbers, which replace those of the argument: without a zone all vertices in the order
    /// of getVertexPointers() and all triangles in that of getTrianglePointers(); with one, its triangles and their
    /// corners, in that order too. Before is2D() there are vertices only. A zone of another triangulation gets a
    /// warning, and the arrays stay as they are. After TaroCancelled the arrays are empty. Linear.
    void getIndexedMesh(IndexedMesh& mesh, const Zone2* pZone = nullptr) const;

    /// The number of vertices. Constant time.
    size_t numberOfPoints() const;
    /// The number of triangles; 0 before is2D(). Constant time.
    size_t numberOfTriangles() const;
    /// True once there are triangles, that is three vertices that are not collinear.
    bool is2D() const;
    /// The box of all vertices; invalid when there are none. Linear.
    Bbox2 computeBoundingBox() const;

    /// Checks the whole structure: different corners, mutual links, alive constraint segments that are edges, and with
    /// bCheckEmptyCircleProperty by exact tests that no vertex lies inside the circumcircle of a triangle across an
    /// edge that is no constraint. Pieces of conforming segments that are not Delaunay, as happens after points were
    /// inserted, are no fault; a warning tells their number. Prints, after the label of setName, how many alive
    /// constraint segments there are and how many of them are missing; then, where something is wrong, the first ten
    /// findings, how many more there are, and the given name. O(n). True when all is well, and, with a warning, before
    /// is2D().
    bool checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const;
    /// Prints, after the label of setName, the number of triangles and the distribution of their interior angles.
    void statistics(const std::string& name) const;

    /// The exact orientation of three points. Independent of the triangulation; may be called from any
    /// thread. A null pointer cannot occur; non-finite coordinates fail with TaroException.
    Orientation2 getOrientation(const Point2& p0, const Point2& p1, const Point2& p2) const;

    /// @}
    /// @name Constraints
    /// @{

    /// Forces segments (breaklines, boundaries) into the mesh: their end points are inserted, and every piece of them
    /// becomes an edge that no later operation flips. A segment is split at vertices that lie on it and where it
    /// crosses other constraints, and again whenever a vertex is inserted on it; a crossing gets the height of the
    /// older constraint, that of an earlier call or of an earlier place in the list. With bOrientedSegments the graph
    /// keeps the direction of each segment; segments that form one closed, simple chain make a polygon, which runs
    /// counterclockwise with or without the flag.
    ///
    /// Returns a graph that the triangulation owns. Before is2D() segments are only recorded, until
    /// applyConstraintsAndZones(). An empty list, an end point that is not finite, and an unknown strategy get a
    /// warning or an error and null, and nothing is inserted; a segment of length zero gets a warning and only its
    /// point stays. A crossing nearer than 1e-6 to an end of a segment takes place at that end. Where doubles are too
    /// coarse for all crossings, pieces are given up with a warning. Halving conforming segments also ends with a
    /// warning, after 1000 halvings and 100 for each segment, or two for each triangle that it crosses; the pieces are
    /// edges then, but may not be Delaunay. O(k log k) for a segment that crosses k triangles.
    ConstraintGraph2* createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                       bool bOrientedSegments = false);
    /// createConstraint() between vertices of this triangulation: no ends have to be inserted or searched. Null with a
    /// warning, and without effect, where a pointer is null or no vertex of this triangulation.
    ConstraintGraph2* createConstraint_vertices(const std::vector<std::pair<Point2*, Point2*>>& vVertexPairs,
                                                ConstraintInsertionStrategy cis, bool bOrientedSegments = false);
    /// Removes a constraint: pieces that no other graph owns become ordinary edges, and the mesh is Delaunay there
    /// again. With bRemoveVertices, vertices that were inserted only for this constraint are removed too: ends,
    /// crossings and midpoints at which no other constraint ends and where no client has inserted a point. The pointers
    /// to the graph, to its pieces without another owner and to removed vertices are invalid afterwards. Creating the
    /// segments again makes a new constraint. False, with a warning and without effect, for null, for a graph that does
    /// not (or no longer) belong to this triangulation, and for a graph that a zone uses. O(k log k) for k pieces.
    bool removeConstraint(ConstraintGraph2* pGraph, bool bRemoveVertices = false);
    /// Appends all graphs in the order of their creation: those of createConstraint(), and those made by zones, cuts
    /// and load().
    void getConstraintGraphs(std::vector<ConstraintGraph2*>& vGraphs) const;
    /// Establishes the segments that were created before the triangulation was two-dimensional, or met new vertices
    /// while removal had made it one-dimensional again, and splits pieces of conforming segments that are not
    /// Delaunay any more because of points inserted since. A warning, and nothing else, before is2D(). O(n log n) for
    /// n segments.
    void applyConstraintsAndZones();

    /// Whether edge i of a triangle is a constraint; false for null and for an i that is no edge. Constant expected
    /// time.
    bool isConstraint(Triangle2* pT, int i) const;
    /// Whether there is an alive constraint segment between two vertices, in any order; false for null. Constant
    /// expected time.
    bool isConstraint(Point2* p0, Point2* p1) const;
    /// Whether a vertex is or was the end of a constraint segment that has not been removed. Constant expected time.
    bool isConstraint(Point2* pVtx) const;
    /// The alive constraint segment between two vertices, in any order; null if there is none. Constant expected
    /// time.
    ConstraintSegment2* getConstraintSegment(Point2* p0, Point2* p1) const;
    /// Appends the alive constraint segments, which are edges of the mesh, in the order of their addresses.
    /// O(n log n).
    void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    /// Appends all constraint segments, those that were split included, in the order of their addresses. Time as for
    /// the alive segments.
    void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;

    /// @}
    /// @name Zones
    /// Sets of triangles, given by rules. The triangulation owns each zone until deleteZone() or its own end. When
    /// nothing can be created, the result is null, with warnings unless bVerbose is false: before is2D(), for a graph
    /// that is null or of another triangulation, for a graph without a direction where one is needed, and for a
    /// location that the call is not for.
    /// @{

    /// A zone inside (ZL_INSIDE, ZL_BOUNDED) or outside (ZL_OUTSIDE) a graph that has a direction, or of all triangles
    /// (ZL_GLOBAL, graph null). Inside is where the winding number of the graph's rings is not 0, whatever their
    /// direction; rings that cross themselves get the warning "the polygon crosses itself" if bVerbose. A graph that
    /// makes no rings has its inside on its left. Any other location gives an empty zone, since it lacks seeds or
    /// operands. For a value that is no location, each query of the zone reports an error.
    Zone2* createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose = true);
    /// A zone inside or outside several graphs (ZL_INSIDE or ZL_OUTSIDE only). The zone starts along all of them on
    /// that side and ends at all of them, so of two nested rings ZL_INSIDE gives everything inside the outer one; the
    /// ring between them is a zoneDifference.
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose = true);
    /// A zone inside or outside several graphs, given in braces.
    Zone2* createZone(std::initializer_list<ConstraintGraph2*> graphs, ZoneLocation zoneLoc, bool bVerbose = true) {
        return createZone(std::vector<ConstraintGraph2*>(graphs), zoneLoc, bVerbose);
    }
    /// A zone of all triangles reached from a seed point without crossing the graph (ZL_GROW only). A seed on an edge
    /// belongs to either side; a seed outside the hull gives an empty zone, with a warning at each query.
    Zone2* createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, const Point2& seed, bool bVerbose = true);
    /// A zone that grows from a seed point up to several graphs; with an empty list it grows over everything.
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                      bool bVerbose = true);
    /// A zone bounded by edges: inside them where they make rings, otherwise on their left (ZL_BOUNDED only).
    /// They become constraints; only their coordinates count, so they may come from another triangulation.
    /// An edge without a triangle gives null.
    Zone2* createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose = true);
    /// Exactly these triangles, as a zone of location ZL_GROW; the border becomes a constraint. Null and repeated
    /// pointers are ignored; a pointer that is no triangle of this triangulation gives null. A part in which all
    /// triangles are too thin to hold a start point is left out with a warning, and beside a constraint triangles
    /// thinner than rounding may be on the other side. O(n), n being the number of all triangles.
    Zone2* createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose = true);

    /// Cuts the surface along a polygon, as cutTriangles() does, and returns the area inside as a zone of location
    /// ZL_BOUNDED. The segments, in any order and direction, must be the sides of one polygon that does not meet
    /// itself; their heights do not count. Outside the hull there is no surface: the zone is then the part that is on
    /// it. Segments that form no simple polygon change nothing and give null. A polygon that has no part of the
    /// surface inside gives null as well, but where it touches the surface it may have been cut. Warnings are printed
    /// if bVerbose is true.
    Zone2* createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose = true);

    /// The surface without the long triangles along its border, which bridge bays of the points: triangles are removed
    /// across border edges that are longer than the limit in x-y, from the convex hull inward, until no such edge is
    /// left. Constraints stop the removal. The remaining triangles are a zone of location ZL_GROW, and its border
    /// becomes a constraint, which stops later calls too. Null, with a warning if bVerbose, for a limit that is NaN or
    /// not above 0, and if no triangle remains. O(n).
    Zone2* createZone_trimmed(double maxEdgeLength, bool bVerbose = true);

    /// A zone with its holes: the triangles of a zone, and those of each part outside it that does not reach the hull
    /// and whose border is at most maxPerimeter long in x-y. No vertices are inserted, so heights inside a hole follow
    /// from those on its border, and the diagonals make the difference: edges between triangles of the hole are flipped
    /// as long as a flip lowers the sum of the angles between the normals at all edges of these triangles, border
    /// included (Dyn, Levin and Rippa 1990), so that the surface bends little there. Flipped edges become constraints
    /// of one graph; constraints do not flip, and vertices inside a hole keep their heights. The zone is of location
    /// ZL_GROW, and its border becomes a constraint. Null, with a warning, for a zone that is not of this triangulation
    /// or has no triangles, and a perimeter that is negative or NaN. Linear in the number of all triangles, and O(k log
    /// k) for k triangles in holes in each of a few passes. May throw TaroCancelled, with all flips done or none.
    Zone2* fillHoles(Zone2* pZone, double maxPerimeter);

    /// Deletes a zone; triangles and constraints stay. False, with a warning, for a zone that does not belong to the
    /// triangulation and for an operand of another zone, which must be deleted first.
    bool deleteZone(Zone2* pZone);

    /// @}
    /// @name Cutting
    /// @{

    /// Divides the triangles along segments without changing the surface: every new vertex, ends of segments included,
    /// has the height of the surface there, to rounding. Pieces that are no edges of a Delaunay triangulation
    /// afterwards become constraints of one graph. With bConstraints, all pieces of the segments become constraints, so
    /// that they stay edges whatever is inserted later; without it, Delaunay pieces do not. Segments may touch, cross
    /// and run along edges; parts outside the hull are left out. Warns and changes nothing before is2D() and for
    /// coordinates that are not finite. O(log n), and constant time for each triangle that a segment crosses.
    void cutTriangles(const std::vector<Segment2>& vSegments, bool bConstraints = true);
    /// Divides the triangles along the segment between two points.
    void cutTriangles(const Point2& src, const Point2& trg, bool bConstraints = true);

    /// Drapes segments over the surface without changing it: appends them with the heights of the surface, in their
    /// order and direction, divided where they cross an edge or pass a vertex. Parts outside the hull are left out, and
    /// so are segments without a length in x-y. The heights of the segments do not count. Warns and appends nothing
    /// before is2D() and for coordinates that are not finite. O(log n), and constant time for each triangle that a
    /// segment crosses.
    void drape(const std::vector<Segment2>& vSegments, std::vector<Segment2>& vDraped) const;

    /// @}
    /// @name Mesh generation
    /// @{

    /// Refines a zone of location ZL_INSIDE or ZL_BOUNDED (convertToBoundedZone() makes such a zone of any other):
    /// inserts vertices, at circumcentres of bad triangles and in the middle of constraint segments that obstruct
    /// them, until the angles of its triangles are at least minAngleDegree (at most 30) and their edges at most
    /// maxEdgeLength long, all measured in space. New vertices lie on the surface as it is then. Segments shorter than
    /// twice minEdgeLength, and with the last flag false all segments, are not split.
    ///
    /// Some bad triangles cannot be mended and stay: those between two constraints that meet at a smaller angle,
    /// those whose circumcentre is behind a segment that may not be split or behind the hull, and those as small as
    /// numbers allow. Triangles with planar angles above 29.5 degrees are good enough in any case. There are at most
    /// 50 passes.
    ///
    /// Outside the zone nothing changes except the triangles at border segments that are split. The result does not
    /// depend on memory addresses. Triangles of the zone become invalid; vertices and the zone stay. A null zone and a
    /// larger angle get a message on standard error, other wrong calls (refineAdvanced()) an error; nothing changes
    /// then. O(log n) for each new vertex, with memory linear in the number of triangles; reports progress to listeners
    /// of MT_PROGRESS.
    void refine(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength,
                bool bAllowConstraintSplitting);
    /// Refines with all parameters. These are refused with an error that names them, and without effect: a maximum
    /// that is NaN or not greater than 0; an angle, a minimum length, a growth factor or a grid length that is NaN; a
    /// growth factor in (0, 1]; a grid whose direction is not finite; limits that need more vertices than the
    /// parameters allow; a zone of another triangulation or location; a null pointer.
    void refineAdvanced(MeshGenParams* pParams);
    /// Measures a zone against an angle limit and, if it was the last zone to be refined, against the other limits of
    /// that refinement, which are taken from the fields of its parameters. Prints under the given name how many
    /// triangles miss each limit, and how many of these could not be improved for each of several reasons. True if
    /// every triangle that misses a limit has such a reason; false, with a warning, for null and a zone of another
    /// triangulation. O(n).
    bool checkZoneQuality(Zone2* pZone, double minAngleDegree, const std::string& name,
                          const AcceptExperimentalFeature& accept);

    /// @}
    /// @name File
    /// @{

    /// Writes all vertices and alive constraint segments to a binary file. A regular file is replaced only when
    /// everything has been written, unless the folder takes no other file or cannot keep owner and mode: then it is
    /// overwritten in place. Returns false, after a line on standard output, if writing fails or a vertex has a height
    /// that is not finite. Numbers are in the byte order of the machine, so other machines need that byte order too.
    /// Linear.
    bool save(const char* filename) const;
    /// Writes a binary file (type 302) that also keeps the custom indices, the names of the triangulation and its
    /// graphs, and each graph with its strategy, its direction and the pieces of its segments. Zones are not kept.
    /// Otherwise as save().
    bool saveAll(const char* filename) const;
    /// Inserts the content of a file: from a file of save(), the vertices, and the segments as constraints of strategy
    /// CIS_CONSTRAINED_DELAUNAY; from a file of saveAll(), the vertices and the graphs. Points may repeat (the first
    /// stays), segments may cross, and their ends need not be among the points. Returns false, with a line on standard
    /// output and nothing changed, if the file cannot be read, has another type, a length that does not follow from its
    /// counts, or a number that is not finite.
    bool load(const char* filename);

    /// @}
    /// @name Output and messages
    /// @{

    /// Draws all triangles into a PostScript file, with bWithConstraints the alive constraint segments on top.
    void show(const std::string& filename, bool bWithConstraints = true) const;
    /// Adds the triangles, and with bWithConstraints the alive constraint segments, to a drawing, which is not owned;
    /// null is ignored.
    void show(Visualizer2* pVisualizer, bool bWithConstraints = true) const;

    /// Writes all triangles into a Wavefront OBJ file, coloured by height, with its materials beside it (see
    /// Visualizer3). Before is2D(), and where a file cannot be written, there is a warning and false. Linear.
    bool writeObj(const std::string& filename) const;
    /// Writes the triangles of a zone into such a file; a zone that is null or of another triangulation gets a warning
    /// and false.
    bool writeObj(const std::string& filename, Zone2* pZone) const;
    /// Writes a page that shows the surface in a browser: all triangles in the layer `surface`, coloured by height, and
    /// the alive constraint segments in the layer `breaklines` (see Visualizer3). Before is2D(), for null, and where
    /// the file cannot be written, there is a warning and false. Linear.
    bool writeWebScene(const char* filename) const;
    /// Writes such a page of the triangles of a zone and their constraint edges; a zone that is null or of another
    /// triangulation gets a warning and false.
    bool writeWebScene(const char* filename, Zone2* pZone) const;
    /// Writes all triangles into a file of Geomview, white and half transparent ("1 1 1 0.5"). Before is2D(), and
    /// where the file cannot be written, there is a warning and false. Linear.
    bool showGeomview(const std::string& filename) const;
    /// Adds all triangles to the layer `surface` of a scene, which is not owned; null is ignored.
    void showGeomview(Visualizer3* pVisualizer) const;

    /// Adds a listener for one type of messages, unless exactly that pair is already present. It is not owned
    /// and is called from the thread that calls the triangulation.
    void subscribe(MsgType type, MsgBase* pListener);
    /// Removes a listener; nothing happens when it is not subscribed.
    void unsubscribe(MsgType type, MsgBase* pListener);

    /// Sets the flag (not owned) that cancels long calls; null, the initial value, for none. Any thread may set the
    /// flag at any time. A running call tests it at least every 50 ms and throws TaroCancelled once it is set; an
    /// exception of a listener or of the message handler is kept until that test and then ends the call too. The mesh
    /// is valid afterwards, and the next call continues: inserted points stay, segments that are no edges yet become
    /// edges with `applyConstraintsAndZones()`, a refinement keeps its vertices, and a file that was being loaded
    /// leaves nothing behind. Functions of zones, and free functions, obey the flags of the triangulations of their
    /// zones.
    void setCancelFlag(const std::atomic<bool>* pFlag);

    /// @}

  private:
    std::unique_ptr<Dt2> pDt2_;
};

/// @name Deprecated
/// Point-cloud reconstruction has moved to a separate library. These print a notice that says so and do nothing else.
/// @{

/// Prints the notice.
TARO25D_API void reconstruct(const std::vector<Point2>& vPoints);
/// Prints the notice.
TARO25D_API void reconstruct(const std::vector<Point2>& vPoints, const std::string& outFilename);
/// Prints the notice.
TARO25D_API void reconstruct(const std::string& inFilename, const std::string& outFilename);
/// @}

}  // namespace LUMO_TARO25D
