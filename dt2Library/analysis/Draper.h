#pragma once

#include <vector>

#include "kernel/GeomTest.h"
#include "mesh/Dt2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Lays segments on the surface of a mesh, one after the other. Changes nothing.
///
/// Each segment is followed by exact tests from its beginning, or from where it enters the hull: across edges, through
/// vertices, along edges. Points on it come in order; only their places are rounded.
class Draper {
  public:
    /// Appends to the list. The magnitude is the largest coordinate of the mesh and all segments.
    Draper(Dt2& dt2, double magnitude, std::vector<Segment2>& vDraped)
        : dt2_(dt2), progress_(dt2.getProgress()), geomTest_(magnitude), vDraped_(vDraped) {}

    /// A segment with finite ends.
    void drape(const Segment2& segment);

  private:
    /// Where the line goes on: from a vertex, or across edge i of a triangle; or nowhere, if both are null.
    struct Way {
        const Point2* pVtx = nullptr;
        Triangle2* pT = nullptr;
        int i = 0;
    };

    Way begin();
    Way leaveTriangle(Triangle2* pT, int onEdge);
    bool findExit(Triangle2* pT, Way& way);
    Way enterHull(Triangle2* pT, int i);
    Way goOnAcross(Triangle2* pT, int far);
    Way goOnFromVertex(const Point2* pVtx);
    Way cross(const Way& way);
    /// The side of the line on which a point lies.
    Orientation2 sideOf(const Point2* p) { return geomTest_.getOrientation2(&src_, &trg_, p); }
    /// Whether a point on the line is ahead of its beginning, and whether it is behind its end.
    bool isAhead(const Point2& p) const { return bForward_ ? src_ < p : p < src_; }
    bool isBeyond(const Point2& p) const { return bForward_ ? trg_ < p : p < trg_; }
    void reach(const Point2& place);
    void reachEndIn(const Triangle2* pT);

    const Dt2& dt2_;
    const Progress& progress_;
    GeomTest geomTest_;
    std::vector<Segment2>& vDraped_;

    // Of the segment that is being followed.
    Point2 src_, trg_, last_;
    bool bForward_ = true;  // its end is the larger one
    bool bOnSurface_ = false;
};

}  // namespace LUMO_TARO25D
