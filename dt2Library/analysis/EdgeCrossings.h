#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "kernel/GeomTest.h"
#include "support/RecordMap.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

class Dt2;

/// Crossings of the edges of two surfaces that are far enough from the ends of both edges and from each other that
/// rounding cannot change the topology. Crossings next to an end, and crossings with borders, are left out.
class EdgeCrossings {
  public:
    /// An edge from triangle i of a list to its neighbour, and its ends in the list of points.
    struct Edge {
        const Triangle2* pT;
        int i;
        bool bInner;  // both sides are in the list
        std::uint32_t src, trg;
    };
    struct Surface {
        const std::vector<Point2>& vPoints;
        const std::vector<Edge>& vEdges;
    };
    struct Crossing {
        Point2 getPlace() const { return Point2(x, y, 0.0); }

        double x, y;
        double aHeights[2];       // on the edge of either surface
        std::uint32_t aEdges[2];  // one of either surface
    };

    /// The edges of the first surface must be those of the mesh.
    EdgeCrossings(const Dt2& firstMesh, const Surface& first, const Surface& second);

    const std::vector<Crossing>& getCrossings() const { return vCrossings_; }
    /// The triangle of the first mesh in whose interior a point of the second surface lies; null if there is none.
    Triangle2* getTriangleAround(size_t point) const;
    /// The number of pieces into which the crossings divide the edges of a surface.
    size_t getNumberOfPieces(int ithSurface) const { return aSurfaces_[ithSurface].vEdges.size() + vCrossings_.size(); }
    /// Calls visit(edge, crossings) for each edge of a surface in order, with the numbers of its crossings from source
    /// to target.
    template <class VisitT>
    void forEachEdge(int ithSurface, const VisitT& visit) const {
        std::uint32_t k = 0;
        std::vector<std::uint32_t> vOnEdge;
        for (std::uint32_t e = 0; e < aSurfaces_[ithSurface].vEdges.size(); ++e) {
            vOnEdge.clear();
            for (; k < vCrossings_.size() && getCrossing(ithSurface, k).aEdges[ithSurface] == e; ++k) {
                vOnEdge.push_back(getNumber(ithSurface, k));
            }
            visit(aSurfaces_[ithSurface].vEdges[e], vOnEdge);
        }
    }

  private:
    void locateSecond();
    void numberEdgesOfFirst();
    bool passCorner(const Point2* q, Triangle2*& pT, int& i);
    bool enterFirstMesh(std::uint32_t from, const Point2* q, Triangle2*& pT, int& i);
    void follow(std::uint32_t e);
    void note(const Triangle2* pT, int i, std::uint32_t e);
    void keepApart(int ithSurface);
    void sortAlongFirst();
    /// The number of crossing k in the order of the edges of a surface. The list has the order of the second one.
    std::uint32_t getNumber(int ithSurface, std::uint32_t k) const { return ithSurface == 1 ? k : vOrder_[k]; }
    const Crossing& getCrossing(int ithSurface, std::uint32_t k) const { return vCrossings_[getNumber(ithSurface, k)]; }
    const Point2& getEnd(int ithSurface, std::uint32_t edge, bool bTrg) const;

    static constexpr std::uint32_t NO_EDGE = ~std::uint32_t(0);

    const Dt2& mesh_;
    const Surface aSurfaces_[2];
    GeomTest geomTest_;
    double clearance_ = 0.0;
    RecordMap<Triangle2, std::array<std::uint32_t, 3>> mEdges_;  // of the triangles of the first surface
    std::vector<std::pair<Triangle2*, int>> vLocations_;         // of the points of the second one
    std::vector<Crossing> vCrossings_;                           // by edge of the second surface and from its source on
    std::vector<std::uint32_t> vOrder_;  // the crossings, by edge of the first surface and from its source on
};

}  // namespace LUMO_TARO25D
