#pragma once

#include <functional>
#include <string>
#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Edge2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/ZoneLocation.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class ConstraintGraph2;
class Dt2;
class Visualizer2;
class Visualizer3;

/// A set of triangles of one triangulation, given by a rule: inside or outside constraint graphs, grown from seed
/// points, or combined from two other zones.
///
/// Every query finds the triangles again, so a zone stays valid while points and constraints are inserted. The rule
/// needs the constraints in the mesh: a query before `applyConstraintsAndZones` has established pending constraints
/// uses the edges that exist. Queries take time linear in the triangles of the zone, for a combined zone n log n; they
/// return nothing when the triangulation has no triangles. The order of the triangles depends on the rule and on the
/// mesh only; for a combined zone it is that of their addresses.
///
/// The triangulation owns the zone, until `deleteZone` or its own end.
class TARO25D_API Zone2 {
  public:
    /// Only the triangulation creates zones.
    TARO25D_HIDDEN Zone2(Dt2* pDt2, ZoneLocation zoneLoc, const std::vector<ConstraintGraph2*>& vGraphs = {},
                         const std::vector<Point2>& vSeeds = {});
    Zone2(const Zone2&) = delete;
    Zone2& operator=(const Zone2&) = delete;
    /// For the engine: the operands of a zone of a result location.
    TARO25D_HIDDEN void setOperands(Zone2* pFirst, Zone2* pSecond);
    /// For the engine: whether this zone is made from another one.
    TARO25D_HIDDEN bool hasOperand(const Zone2* pZone) const { return pFirst_ == pZone || pSecond_ == pZone; }

    /// The engine of the triangulation; an incomplete type for clients.
    Dt2* getDelaunayTriangulation() const { return pDt2_; }
    /// The rule that it was created with.
    ZoneLocation getZoneLocation() const { return zoneLoc_; }
    /// The number of graphs that bound the zone; 0 for ZL_GLOBAL and for results.
    size_t numberOfConstraintGraphs() const { return vGraphs_.size(); }
    /// Appends the graphs that bound the zone.
    void getConstraintGraphs(std::vector<ConstraintGraph2*>& vGraphs) const;
    /// The graph that bounds the zone; null if there is none, and null with a warning if there are several.
    ConstraintGraph2* getConstraintGraph() const;

    /// Appends the triangles, each once.
    void getTriangles(std::vector<Triangle2*>& vTriangles) const;
    /// The number of triangles; costs as much as getTriangles().
    size_t getNumberOfTriangles() const;
    /// The sum of the areas of the triangles in x-y.
    double getArea2D() const;
    /// The sum of the areas of the triangles in space.
    double getArea25D() const;
    /// Flips edges so that they follow valleys and ridges: as long as a flip lowers the sum of the angles between the
    /// normals at an edge and at the four edges around it by more than 1e-9 (Dyn, Levin and Rippa 1990). Edges with
    /// less than minAngleDegree between the normals stay, and so do those whose flip would change the height at the
    /// crossing of both diagonals by more than maxHeightChange; constraints and edges at the border of the zone never
    /// flip. Heights of vertices do not change. Flipped edges, and those that are not Delaunay because of them,
    /// become constraints of one graph. Limits that are negative or NaN get a warning, and nothing is flipped. O(n
    /// log n) for each pass over the edges; a few passes. May throw TaroCancelled, with all flips done or none.
    void optimizeValleysAndRidges(double minAngleDegree, double maxHeightChange);
    /// optimizeValleysAndRidges() with 5 degrees and no limit of the height.
    void slopeValleyRidgeOptimization();
    /// Rounds the heights of all vertices of the zone to multiples of a size, which is in the unit of z. A size that is
    /// not greater than 0 or not finite gets a warning and changes nothing.
    void unifyGrid(double size);

    /// Whether a triangle belongs to the zone; false for null. Costs as much as getTriangles().
    bool contains(const Triangle2* pT) const;
    /// Whether a place is in a triangle of the zone or on its border; heights do not matter. Costs as much as
    /// getTriangles().
    bool contains(const Point2& place) const;
    /// Appends the corners of the triangles, each once.
    void getVertices(std::vector<Point2*>& vVertices) const;
    /// Appends the edges that have a triangle of the zone on their left and none on their right: they run
    /// counterclockwise around the zone and clockwise around its holes. In no particular order.
    void getBorderEdges(std::vector<Edge2>& vBorderEdges) const;
    /// Another name of getBorderEdges.
    void getBoundaryEdges(std::vector<Edge2>& vBoundaryEdges) const;
    /// Appends the border edges as segments.
    void getBoundarySegments(std::vector<Segment2>& vBoundarySegments) const;
    /// The box of the corners; invalid for an empty zone.
    Bbox2 getBoundingBox() const;

    /// A zone with the same triangles that mesh generation accepts: a ZL_INSIDE zone itself; for any other, pending
    /// constraints are established, the border becomes a constraint graph, and a new ZL_BOUNDED zone within it is
    /// returned. This zone stays as it is. An empty zone gets a warning and null.
    Zone2* convertToBoundedZone();

    /// Prints a report: the number of triangles, areas, heights, edge lengths, and the distribution of interior angles.
    void statistics(const std::string& name) const;

    /// Draws the triangles into a PostScript file: over the whole triangulation with the first flag, and under those of
    /// their edges that are constraints with the second.
    void show(const std::string& filename, bool bWithTriangulation = true, bool bWithConstraints = true) const;
    /// Adds these objects to a drawing, which is not owned; null is ignored.
    void show(Visualizer2* pVisualizer, bool bWithTriangulation = true, bool bWithConstraints = true) const;

    /// Writes the triangles into a file of Geomview, white and half transparent ("1 1 1 0.5"). A zone without
    /// triangles, and a file that cannot be written, get a warning and false.
    bool showGeomview(const std::string& filename) const;
    /// Adds the triangles to the layer `zone` of a scene, which is not owned; null is ignored.
    void showGeomview(Visualizer3* pVisualizer) const;

  private:
    TARO25D_HIDDEN void initWorkspace(bool bInside, std::vector<Triangle2*>& vSeedTriangles) const;
    TARO25D_HIDDEN void bfsFromWorkspace(std::vector<Triangle2*>& vTriangles) const;
    TARO25D_HIDDEN void getTriangles_RESULT(std::vector<Triangle2*>& vTriangles) const;
    TARO25D_HIDDEN std::vector<const Zone2*> getOperandsFirst() const;
    TARO25D_HIDDEN std::vector<Triangle2*> getSorted() const;

    Dt2* pDt2_;
    ZoneLocation zoneLoc_;
    std::vector<ConstraintGraph2*> vGraphs_;
    std::vector<Point2> vSeeds_;                    // of ZL_GROW
    Zone2 *pFirst_ = nullptr, *pSecond_ = nullptr;  // of the results; not owned
};

/// @name Boolean combinations
/// A zone of the triangulation of the operands, which owns it. Each query combines the triangles that the operands have
/// at that moment; nothing is computed before. Results may be combined again; an operand cannot be deleted before the
/// result. Null, or zones of different triangulations, get an error and null. @{

/// The triangles of either zone.
TARO25D_API Zone2* zoneUnion(Zone2* pFirst, Zone2* pSecond);
/// The triangles of both zones.
TARO25D_API Zone2* zoneIntersection(Zone2* pFirst, Zone2* pSecond);
/// The triangles of the first zone that are not in the second one.
TARO25D_API Zone2* zoneDifference(Zone2* pFirst, Zone2* pSecond);
/// The triangles of exactly one of the zones.
TARO25D_API Zone2* zoneSymmetricDifference(Zone2* pFirst, Zone2* pSecond);
/// @}

/// peelOffIf for a predicate in a function object; an empty function object gets a warning and null.
TARO25D_API Zone2* peelOffBorder(Zone2* pZone, const std::function<bool(Triangle2*)>& predicate, bool bVerbose);

/// Removes triangles from the border of a zone: every triangle at the border for which the predicate, an object that
/// is called with a Triangle2*, answers true, then every such triangle at the border of the rest, until there is
/// none. The triangles that remain become a new zone of location ZL_GROW, whose border is a constraint; the old zone
/// stays as it is. Each triangle is asked at most once, so the answer must not depend on the others.
///
/// Returns null if the zone or the predicate is null or if nothing remains. With bVerbose it then warns, and it prints
/// the number of triangles and the areas before and after; without bVerbose it prints nothing.
template <class UserPredicateT>
Zone2* peelOffIf(Zone2* pZone, UserPredicateT* pPredicate, bool bVerbose = true) {
    if (!pPredicate) return peelOffBorder(pZone, nullptr, bVerbose);
    return peelOffBorder(
        pZone, [pPredicate](Triangle2* pT) { return static_cast<bool>((*pPredicate)(pT)); }, bVerbose);
}

}  // namespace LUMO_TARO25D
