#pragma once

#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

class ConstraintSegment2;
class Dt2;
class MeshGenParams;
class SegmentChecker;
class Triangle2;
class Zone2;

/// Seeds a zone with the points of a regular square grid, which refinement then completes along the border.
///
/// The lines of the grid are called stripes. An object serves one operation and owns nothing beyond it.
class GridMesher {
  public:
    explicit GridMesher(MeshGenParams* pParams);

    /// Inserts the grid points inside the zone, gives the grid vector of the parameters the length 1, and with bChop splits
    /// the constraint segments of the zone where stripes cross them. Less than four grid points are not inserted.
    void insertGridPoints(bool bChop);

    /// Both families of stripes: along the grid vector, and orthogonal to it.
    void createGrid(std::vector<Segment2>& vStripes0, std::vector<Segment2>& vStripes1);
    /// Appends parallel stripes through the extent of the zone, centred: the margins at both ends are equal, and between a
    /// half and one spacing. None where the zone is narrower than a spacing.
    void createStripes(const Vector2& direction, std::vector<Segment2>& vStripes);

  private:
    void getGridPoints(std::vector<Point2>& vGridPoints, std::vector<Segment2>& vSegments);
    bool isSeed(const Point2& point, AddressSet& sZone, Triangle2*& pT) const;
    std::vector<Point2*> insertNew(const std::vector<Point2>& vGridPoints);
    void avoidShortEdges(std::vector<Point2*>& vInserted, double minLength);
    void chopConstraints(std::vector<Segment2>& vStripes);
    void chopSegment(const SegmentChecker* pChecker, ConstraintSegment2* pCSeg, double minLength);
    void dropNonZoneSegments(AddressSet& sZone, std::vector<ConstraintSegment2*>& vCSegs) const;
    AddressSet getZoneTriangles() const;
    bool maySplit(ConstraintSegment2* pCSeg) const;

    MeshGenParams* pParams_;
    Zone2* pZone_;
    Dt2* pDt2_;
    double gridLength_;
    Point2 first_, last_;  // the extreme points of the zone across the stripes
};

}  // namespace LUMO_TARO25D
