#pragma once

#include <vector>

#include "mesh/Dt2.h"
#include "taro25d/Segment2.h"
#include "zones/SurfaceCutter.h"

namespace LUMO_TARO25D {

class Zone2;

/// Cuts the surface along a simple polygon and makes a zone of the triangles inside. An object serves one polygon.
class CookieCutter {
  public:
    explicit CookieCutter(Dt2& mesh) : mesh_(mesh), cutter_(mesh) {}

    /// Returns the zone, which the mesh owns. Null, with a warning if bVerbose, if the mesh has no triangles, the
    /// segments are no simple polygon, or no part of the surface is inside.
    Zone2* cutOutZone(const std::vector<Segment2>& vSegments, bool bVerbose);

  private:
    void closeGap(Point2* pVtx, const Point2& outside, AddressSet& sMarked, EdgeSet& sBlocked) const;
    bool getInside(std::vector<Triangle2*>& vTriangles) const;

    Dt2& mesh_;
    SurfaceCutter cutter_;
};

}  // namespace LUMO_TARO25D
