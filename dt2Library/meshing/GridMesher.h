#pragma once

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "meshing/VertexHeights.h"
#include "support/stopping.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

class ConstraintSegment2;
class Dt2;
class MeshGenParams;
class Triangle2;
class Zone2;

/// Whether the parameters ask for a grid.
bool hasGrid(const MeshGenParams& params);

/// Seeds a zone with the points of a regular square grid, which refinement then completes along the border.
///
/// The lines of the grid are called stripes. An object serves one operation and owns nothing beyond it.
class GridMesher {
  public:
    explicit GridMesher(MeshGenParams* pParams);

    /// Inserts the grid points inside the zone, normalises the grid vector of the parameters and, with bChop, splits
    /// the constraint segments of the zone where stripes cross them. False, with an error and without any effect, for a
    /// grid that is too fine for the zone or has more vertices than the parameters allow.
    bool insertGridPoints(bool bChop);
    /// The number of grid vertices for which neither guide nor surface had a height.
    size_t getNumMissingHeights() const { return heights_.getNumMissing(); }

    /// Makes both families of stripes: along the grid vector, and orthogonal to it. False if one of them is refused.
    bool createGrid(std::vector<Segment2>& vStripes0, std::vector<Segment2>& vStripes1);
    /// Appends parallel stripes through the extent of the zone, centred: the margins at both ends are equal, and
    /// between a half and one spacing. None if the zone is narrower than a spacing. False, with an error, if there are
    /// too many.
    bool createStripes(const Vector2& direction, std::vector<Segment2>& vStripes);

  private:
    /// Parallel stripes, a spacing apart.
    struct Family {
        std::vector<Segment2> vStripes;
        Vector2 across;
    };
    /// The stripes [first, second).
    using Range = std::pair<size_t, size_t>;

    double getRank(const Family& family, const Point2& point) const;
    Range getCrossedStripes(const Family& family, const Point2& p, const Point2& q) const;

    void getGridPoints(std::vector<Point2>& vGridPoints);
    void getBorderCrossings(AddressSet& sZone, std::vector<std::pair<size_t, double>>& vCrossings) const;
    void getRow(size_t k, double begin, double end, AddressSet& sZone, std::vector<Point2>& vGridPoints);
    bool isSeed(const Point2& point, const AddressSet& sZone, Triangle2*& pT) const;

    std::vector<Point2*> insertNew(const std::vector<Point2>& vGridPoints);
    void avoidShortEdges(std::vector<Point2*>& vInserted, double minLength);

    std::vector<ConstraintSegment2*> getZoneSegments() const;
    void dropNonZoneSegments(AddressSet& sZone, std::vector<ConstraintSegment2*>& vCSegs) const;
    bool maySplit(ConstraintSegment2* pCSeg) const;
    std::vector<Point2> getChops(const ConstraintSegment2* pCSeg) const;
    void chopConstraints();
    void chopSegment(Point2* pFrom, Point2* pTo, const Point2* begin, const Point2* end);

    AddressSet getZoneTriangles() const;

    MeshGenParams* pParams_;
    Zone2* pZone_;
    Dt2* pDt2_;
    double gridLength_;
    VertexHeights heights_;
    CancelPoint<16> cancelPoint_;
    std::array<Family, 2> aFamilies_;  // along the grid vector, and orthogonal to it
};

}  // namespace LUMO_TARO25D
