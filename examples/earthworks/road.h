#pragma once

#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"

namespace earthworks {

/// A road that winds from the west to the east of a site, rising and falling evenly between places on the ground: a
/// level platform across, and beside it even slopes that go up or down until they meet the ground.
class Road {
  public:
    /// The slopes rise or fall by 1 over a horizontal run. Throws terrain::BadInput where the road leaves the ground.
    Road(const LUMO_TARO25D::Taro_2D& ground, const LUMO_TARO25D::Bbox2& box, double width, double run);

    /// Where the ground at a place will be, z being where it is.
    double gradedHeight(const LUMO_TARO25D::Point2& place) const;
    /// False for places far beside it.
    bool mayReach(const LUMO_TARO25D::Point2& place) const;
    /// The two edges of the platform, as far as they are on the ground.
    const std::vector<LUMO_TARO25D::Segment2>& edges() const { return vEdges_; }
    /// Places that tell the shape of platform and slopes: in rows across the road, as far as the slopes and the
    /// ground may reach.
    std::vector<LUMO_TARO25D::Point2> samples() const;

  private:
    struct Nearest {
        double distance, height;
    };
    void layAxis();
    void layEdges();
    /// Where the axis passes the ground, and the mean height of that along a grade. The way is counted eastwards.
    LUMO_TARO25D::Point2 onGround(double way) const;
    double meanHeight(double way) const;
    Nearest nearest(const LUMO_TARO25D::Point2& place) const;
    LUMO_TARO25D::Point2 beside(size_t station, double offset) const;

    const LUMO_TARO25D::Taro_2D& ground_;
    LUMO_TARO25D::Bbox2 box_;
    double length_, halfWidth_, run_;
    std::vector<LUMO_TARO25D::Point2> vAxis_;  // the stations, at even steps
    std::vector<LUMO_TARO25D::Segment2> vEdges_;
};

/// Fills an empty triangulation with the ground as it is after the road has been built: the same points and edges, and
/// those that the road needs.
void buildRoad(const LUMO_TARO25D::Taro_2D& ground, const std::vector<LUMO_TARO25D::Point2>& vPoints, const Road& road,
               LUMO_TARO25D::Taro_2D& after);

}  // namespace earthworks
