#pragma once

#include <vector>

#include "kernel/GeomTest.h"
#include "mesh/Dt2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Drapes segments over the surface of a mesh, one after the other. The mesh does not change.
///
/// Each segment is followed by exact tests from its start, or from its entry into the hull: across edges, through
/// vertices, along edges. The points found are in order along it; only their coordinates are rounded.
class Draper {
  public:
    /// Results are appended to vDraped. The magnitude is the largest absolute coordinate of the mesh and all segments.
    Draper(Dt2& dt2, double magnitude, std::vector<Segment2>& vDraped)
        : dt2_(dt2), progress_(dt2.getProgress()), geomTest_(magnitude), vDraped_(vDraped) {}

    /// Drapes a segment with finite ends.
    void drape(const Segment2& segment);

  private:
    /// The next step of the path: from a vertex, or across edge i of a triangle. The path has ended if both are null.
    struct Step {
        const Point2* pVtx = nullptr;
        Triangle2* pT = nullptr;
        int i = 0;
    };

    Step begin();
    Step leaveTriangle(Triangle2* pT, int onEdge);
    bool findExit(Triangle2* pT, Step& step);
    Step enterHull(Triangle2* pT, int i);
    Step goOnAcross(Triangle2* pT, int far);
    Step goOnFromVertex(const Point2* pVtx);
    Step cross(const Step& step);
    /// The side of the line on which a point lies.
    Orientation2 sideOf(const Point2* p) { return geomTest_.getOrientation2(&src_, &trg_, p); }
    /// Whether a point on the line is beyond the start, and beyond the end.
    bool isAhead(const Point2& p) const { return bForward_ ? src_ < p : p < src_; }
    bool isBeyond(const Point2& p) const { return bForward_ ? trg_ < p : p < trg_; }
    void reach(const Point2& place);
    void reachEndIn(const Triangle2* pT);

    const Dt2& dt2_;
    const Progress& progress_;
    GeomTest geomTest_;
    std::vector<Segment2>& vDraped_;

    // State of the current segment.
    Point2 src_, trg_, last_;
    bool bForward_ = true;  // the end of the segment is its larger point
    bool bOnSurface_ = false;
};

}  // namespace LUMO_TARO25D
