#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "taro25d/Color.h"
#include "taro25d/ConstraintInsertionStrategy.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Dt2;
class GeomTest;
class Visualizer2;

/// The constraint segments that one call of `createConstraint` inserted: a breakline, a boundary, or a closed polygon
/// that can bound a zone.
///
/// The triangulation owns the graph and the segments; both live until it is destroyed or Taro_2D::removeConstraint()
/// ends them. Segments that form one closed, simple chain make a polygon, which runs counterclockwise whatever
/// direction the client gave. When a segment is split later, its pieces keep its direction. Queries that append take
/// O(n) for n pieces.
class TARO25D_API ConstraintGraph2 {
  public:
    /// Two vertices in the order of their addresses.
    using VertexPair = std::pair<Point2*, Point2*>;

    /// Only the triangulation creates graphs. The segments in input order; a graph that is no polygon has no direction.
    TARO25D_HIDDEN ConstraintGraph2(Dt2* pDt2, const std::vector<ConstraintSegment2*>& vCSegs,
                                    ConstraintInsertionStrategy cis);
    /// A graph with a direction: mPPReverse tells for the ends of each segment, smaller pointer first, whether the
    /// graph runs from the larger to the smaller one.
    TARO25D_HIDDEN ConstraintGraph2(Dt2* pDt2, const std::vector<ConstraintSegment2*>& vCSegs,
                                    const std::map<VertexPair, bool>& mPPReverse, ConstraintInsertionStrategy cis);
    /// The copy of a graph in the copy of its triangulation; the segments do not know of it yet.
    TARO25D_HIDDEN ConstraintGraph2(Dt2* pDt2, const ConstraintGraph2& other,
                                    const PointerMap<ConstraintSegment2*>& mSegments);
    /// Only the triangulation destroys graphs.
    TARO25D_HIDDEN ~ConstraintGraph2();
    ConstraintGraph2(const ConstraintGraph2&) = delete;
    ConstraintGraph2& operator=(const ConstraintGraph2&) = delete;

    /// A label for clients; empty at first, and the same one may be given to several graphs.
    void setName(const std::string& name) { name_ = name; }
    /// The label.
    const std::string& getName() const { return name_; }

    /// The engine of the triangulation; an incomplete type for clients.
    Dt2* getDt2() const { return pDt2_; }
    /// The strategy that createConstraint was called with.
    ConstraintInsertionStrategy getInsertionStrategy() const { return cis_; }
    /// True if the segments form one closed chain that passes each of its vertices once. Whether sides cross is not
    /// tested.
    bool isPolygon() const { return bPolygon_; }
    /// True if the graph has a direction: polygons, and graphs created with oriented segments.
    bool isOriented() const { return bOriented_; }

    /// Whether a segment is alive and belongs to the graph; false for null. O(1).
    bool isConstraint(ConstraintSegment2* pCSeg) const;
    /// Whether two vertices, in any order, are the ends of an alive segment of the graph; false for null. O(1).
    bool isConstraint(Point2* p0, Point2* p1) const;
    /// Whether the graph runs from the target to the source of a segment. A segment that the graph does not know, or
    /// null, fails with TaroException.
    bool isReverse(ConstraintSegment2* pCSeg) const;

    /// The two children of a dead segment, in the direction of the graph. An alive segment gets a warning and leaves
    /// the arguments alone; a dead one that the graph does not know, or null, fails with TaroException.
    void getDirectChildren(ConstraintSegment2* pParent, ConstraintSegment2*& pChild0,
                           ConstraintSegment2*& pChild1) const;
    /// Appends the alive pieces of the segments, in the order of getOriginalConstraintSegments(); those of one
    /// segment from its source to its target, or from its target to its source where isReverse(). For a polygon this
    /// is one closed chain.
    void getAliveConstraintChain(std::vector<ConstraintSegment2*>& vAliveCSegs) const;
    /// Appends the segments as they were created, in chain order for a polygon, otherwise in input order.
    void getOriginalConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    /// Appends the alive pieces of all segments, which are those of getAliveConstraintChain(); directions do not affect
    /// their order.
    void getChildConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const;
    /// Appends the vertices of a polygon, those at splits included, counterclockwise, each once; nothing for a graph
    /// that is no polygon.
    void getPolygonVertices(std::vector<Point2*>& vVertices) const;

    /// For the engine: whether the graph runs from target to source, for each of its original segments in order. Needed
    /// where one of them comes in both directions.
    TARO25D_HIDDEN void setPasses(const std::vector<bool>& vReverse);
    /// For the engine: appends the ends of the alive pieces, in the order and direction in which the graph passes
    /// them. A piece comes as often as it is passed.
    TARO25D_HIDDEN void getDirectedPieces(std::vector<std::pair<Point2*, Point2*>>& vPieces) const;

    /// For the engine: tells the graph that one of its segments was split; bUpdateManager is true for the first owner
    /// only.
    void updateSplittedConstraintSegment(ConstraintSegment2* pParentCSeg, bool bUpdateManager);
    /// For the library's developers: whether the graph knows a direction of the segment.
    bool dbg_hasDirection(const ConstraintSegment2* pCSeg) const;

    /// Draws the alive pieces, in red, into a PostScript file.
    void show(const std::string& filename) const;
    /// Adds the alive pieces to a drawing, which is not owned; null is ignored.
    void show(Visualizer2* pVisualizer, const Color& color) const;

  private:
    /// Segments with whether they are reversed.
    using Directions = std::vector<std::pair<ConstraintSegment2*, bool>>;

    template <class IsReverse>
    TARO25D_HIDDEN void takeSegments(const std::vector<ConstraintSegment2*>& vCSegs, const IsReverse& isReverse);
    TARO25D_HIDDEN void makeForgotten(std::vector<ConstraintSegment2*> vCSegs) const;
    TARO25D_HIDDEN std::vector<ConstraintSegment2*> init(const std::vector<ConstraintSegment2*>& vCSegs);
    TARO25D_HIDDEN bool checkAndSortPolygon(const std::vector<ConstraintSegment2*>& vCSegs);
    TARO25D_HIDDEN bool checkAndSortPolygonSub(const std::vector<ConstraintSegment2*>& vCSegs,
                                               Directions& vChain) const;
    TARO25D_HIDDEN void enterDirections(const Directions& vDirections);
    TARO25D_HIDDEN void setDirectionsRecursive(ConstraintSegment2* pCSeg);
    TARO25D_HIDDEN static void getChildrenFrom(const Point2* pSrc, ConstraintSegment2* pParent,
                                               ConstraintSegment2*& pChild0, ConstraintSegment2*& pChild1);
    TARO25D_HIDDEN Point2* getOrientedSrc(const ConstraintSegment2* pCSeg) const;

    Dt2* pDt2_;
    GeomTest* pGeomTest_;
    ConstraintInsertionStrategy cis_;
    std::vector<ConstraintSegment2*> vCSegParents_;
    bool bPolygon_ = false;
    std::vector<bool> vPasses_;  // the directions of the original segments, if one occurs in both
    bool bOriented_ = false;
    std::string name_;
};

}  // namespace LUMO_TARO25D
