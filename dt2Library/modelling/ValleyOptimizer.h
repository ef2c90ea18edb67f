#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "kernel/flatSets.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Flips edges of some triangles so that edges follow valleys and ridges (Zone2::optimizeValleysAndRidges).
class ValleyOptimizer {
  public:
    /// The triangles are those of a zone; edges between them may be flipped.
    ValleyOptimizer(Dt2& mesh, const std::vector<Triangle2*>& vTriangles, double minAngleDegree,
                    double maxHeightChange);

    /// Flips until no flip lowers the cost, then makes constraints, in one graph, of the flipped edges and of the edges
    /// that are not Delaunay. A cancelled call makes the mesh Delaunay again.
    void run();

  private:
    /// An edge between two triangles of the zone, by one of them.
    struct Side {
        Triangle2* pT;
        int i;
    };

    bool flipOnce(bool bMayLevel);
    /// Flips an edge if that lowers the cost; only if bMayLevel is set where it makes level triangles.
    bool tryFlip(Triangle2* pT, int i, bool bMayLevel);
    /// The sum of the angles at the diagonal b-c of the quadrilateral a, b, d, c, or at a-d if it were flipped, and at
    /// its four sides.
    double getCost(const Triangle2* pT, int i, bool bFlipped) const;
    bool changesHeightTooMuch(const Point2& a, const Point2& b, const Point2& c, const Point2& d) const;
    std::vector<Side> getEdges() const;
    void keepEdges();
    /// Makes edges that are no constraints Delaunay.
    void takeBack();

    Dt2& mesh_;
    std::vector<Triangle2*> vTriangles_;
    AddressSet sTriangles_;
    double minAngle_;  // in radians
    double maxHeightChange_;
    EdgeSet sFlipped_;
    AddressSet sTouched_;               // triangles that flips have changed
    std::vector<Triangle2*> vTouched_;  // in the order of their first flips
};

}  // namespace LUMO_TARO25D
