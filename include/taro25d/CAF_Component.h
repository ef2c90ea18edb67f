#pragma once

#include <vector>

#include "taro25d/CAFType.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class HeightMap;

/// A connected piece of ground that was uniformly lowered, raised or left as it was. It belongs to the CutAndFill
/// object that found it, and dies with it.
class TARO25D_API CAF_Component {
  public:
    /// Only CutAndFill creates components.
    TARO25D_HIDDEN CAF_Component(std::vector<Triangle2*> vTriangles, const HeightMap& heights, int label);
    CAF_Component(const CAF_Component&) = delete;
    CAF_Component& operator=(const CAF_Component&) = delete;

    /// Appends the triangles, which belong to the combined triangulation: they are connected over edges, and z of
    /// a corner is the height before minus the height after.
    void getTriangles(std::vector<Triangle2*>& vTriangles) const;
    /// Appends the border: closed chains, one after the other, in which the target of a segment is the source of the
    /// next. The component is on their left, so the outer chain runs counterclockwise and those around holes clockwise.
    /// Linear.
    void getBorder(std::vector<Segment2>& vSegments) const;
    /// How the ground changed: CT_NO_CHANGE also where it was moved by less than 0.0001 everywhere.
    CAFType getCAFType() const { return caftype_; }
    /// The volume between the two surfaces, in cubic units of the coordinates: never negative, and 0 for CT_NO_CHANGE.
    double getVolume() const { return volume_; }
    /// The area of the triangles in x-y, in square units of the coordinates. Linear.
    double getArea2D() const;
    /// The largest vertical distance between the two surfaces, in the unit of the heights: never negative, and 0 for
    /// CT_NO_CHANGE. Linear.
    double getMaxHeightDifference() const;
    /// The position in the list of components.
    int getLabel() const { return label_; }

  private:
    TARO25D_HIDDEN void init(const HeightMap& heights);
    TARO25D_HIDDEN void setVolume(const HeightMap& heights);

    std::vector<Triangle2*> vTriangles_;
    CAFType caftype_ = CT_NO_CHANGE;
    double volume_;
    int label_;
};

}  // namespace LUMO_TARO25D
