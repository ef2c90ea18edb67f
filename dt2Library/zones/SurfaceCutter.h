#pragma once

#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "mesh/Dt2.h"
#include "support/stopping.h"
#include "taro25d/Edge2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Vector2.h"
#include "zones/CutEdges.h"

namespace LUMO_TARO25D {

/// Cuts the triangles of a mesh along segments, so that the surface keeps its shape. An object serves one cut.
class SurfaceCutter {
  public:
    /// The vertex at which a segment leaves the hull, and the end of the segment outside.
    using OpenEnd = std::pair<Point2*, Point2>;

    explicit SurfaceCutter(Dt2& mesh) : mesh_(mesh) {}

    /// Cuts along the parts of finite segments that are on the surface; the mesh must have triangles. Edges that are
    /// not Delaunay become constraints, and with bPieces all pieces do, after an exception too.
    void cut(const std::vector<Segment2>& vSegments, bool bPieces);

    /// Whether an end of a segment is outside the hull.
    bool hasLeftHull() const { return bOutside_; }
    const std::vector<OpenEnd>& getOpenEnds() const { return vOpenEnds_; }
    const CutEdges& getEdges() const { return edges_; }

  private:
    /// Edges inside a former triangle are Delaunay afterwards; others may not be until fixEdges.
    void cutSegments(const std::vector<Segment2>& vSegments);
    void fixEdges(bool bPieces);
    void bendEdgesTo(Point2* pVtx);
    Point2* insertAt(Triangle2* pT, int i, const Point2& point);
    Point2* insert(const Point2& place);
    Point2* enter(const Point2& outside, const Point2& trg);
    Point2* insertNearHull(const Edge2& edge, const Point2& src, const Point2& trg);
    bool isSplitSound(const Triangle2* pT, int i, const Point2& point) const;
    Point2* divide(Triangle2* pT, int i, const Point2& crossing, const Vector2& direction);
    Point2* cross(Point2* pVtx, const Point2& trg, Triangle2* pT, int i);
    void cutTowards(Point2* pVtx, Point2* pTrg);
    void flipDiagonals(Point2* pVtx);
    /// Notes the new edge that the flip of an edge of pT has made.
    void addFlipped(const Triangle2* pT);
    void touch(Point2* pVtx) {
        if (sTouched_.insert(pVtx)) vTouched_.push_back(pVtx);
    }
    void getChangedTriangles(std::vector<Triangle2*>& vTriangles) const;

    Dt2& mesh_;
    CancelPoint<16> cancelPoint_;
    CutEdges edges_;
    bool bOutside_ = false;
    std::vector<OpenEnd> vOpenEnds_;
    AddressSet sTouched_;
    std::vector<Point2*> vTouched_;  // every triangle that was changed has one of these as a corner
};

/// Cuts the triangles along segments; a mesh without triangles and coordinates that are not finite are refused with a
/// warning.
void cutTriangles(Dt2& mesh, const std::vector<Segment2>& vSegments, bool bConstraints);

}  // namespace LUMO_TARO25D
