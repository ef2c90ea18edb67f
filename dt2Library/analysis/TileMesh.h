#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "mesh/Dt2.h"
#include "taro25d/Taro_2D.h"

namespace LUMO_TARO25D {

/// One tile of a triangulation too large for one machine: the tile's own points, and enough points of other tiles that
/// the stars of its own vertices (the triangles around them) equal those of the whole triangulation.
///
/// Points are (x, y, z) triples of finite numbers. Points of other tiles must lie outside the box of the tile's own
/// points.
class TileMesh {
  public:
    /// Inserts the tile's own points, no two of which coincide. They are numbered from 0.
    TileMesh(const double* aCoordinates, size_t num);

    /// Inserts points of other tiles.
    void insert(const double* aCoordinates, size_t num);
    /// Inserts those of the given points of other tiles that lie inside or on a circumcircle of a star to be certified,
    /// or beyond a hull edge of such a star. The others change none of these stars, whatever is inserted later.
    /// Requires is2D().
    void offer(const double* aCoordinates, size_t num);
    /// Marks the boxes (x and y of the lower corner, then of the upper corner) that may hold such points; conservative.
    /// Requires is2D().
    void findReached(const double* aBoxes, size_t num, std::vector<std::uint8_t>& vReached) const;

    /// Certifies further stars: those of the corners of all triangles that a vertex inserted at one of the places (x,
    /// y) would remove. Points refused by offer() before must be offered again. Returns whether there are new such
    /// stars. Requires is2D().
    bool watch(const double* aPlaces, size_t num);

    /// The triangles that the tile owns: those whose smallest corner (by x, then y) is one of its own points, as
    /// numbers of corners, counterclockwise from the smallest, in the order of the own points. Numbers after those of
    /// own points denote the points in vHalo: those of other tiles on the circumcircles of the stars, by x, then y.
    /// Must be called when no box holds missing points, as the last call. Makes the diagonals canonical.
    void getOwned(std::vector<double>& vHalo, std::vector<std::int32_t>& vTriangles);

    bool is2D() const { return mesh_.is2D(); }
    size_t numberOfPoints() const { return mesh_.numberOfPoints(); }
    Taro_2D& getMesh() { return mesh_; }

  private:
    /// A convex region that contains all places of points that can change a star: a disc, or the right side of a line
    /// through (x, y).
    struct Reach {
        double x, y;
        double radius;  // negative for a half-plane
        double normalX, normalY, slack;
        bool meets(const double* aBox) const;
    };
    using HullEdges = std::vector<std::pair<Triangle2*, int>>;

    bool isOwn(const Point2* pVtx) const { return pVtx->getCustomIndex() < numOwn_; }
    bool isWatched(const Point2* pVtx) const { return vWatched_[static_cast<size_t>(pVtx->getCustomIndex())]; }
    bool isWatched(const Triangle2* pT) const;
    void enter(Point2* pVtx);
    bool matters(const Point2& point);
    bool meetsStar(const Point2& point, GeomTest& geomTest);
    bool watchCavity(const Point2& place, GeomTest& geomTest);
    HullEdges findVisible(const Point2& point, Triangle2* pT, int edge, GeomTest& geomTest) const;
    static Reach getReach(const Triangle2* pT);
    static Reach getHalfPlane(const Point2& src, const Point2& trg, double bulge);
    void collectReaches(std::vector<Reach>& vReaches) const;
    void collectTies(const Triangle2* pT, std::vector<Point2*>& vHalo);
    void addOwned(Point2* pVtx, std::vector<std::int32_t>& vTriangles) const;

    Taro_2D mesh_;
    Dt2& dt2_;
    int numOwn_ = 0;
    Bbox2 ownBox_;
    std::vector<bool> vWatched_;  // by vertex number: whether its star is to be certified
    std::vector<std::pair<const Triangle2*, const Triangle2*>>
        vCavity_;  // a stack of triangles, each with the triangle it was reached from
};

}  // namespace LUMO_TARO25D
