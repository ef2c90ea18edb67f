#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "mesh/Dt2.h"
#include "support/LargeVector.h"
#include "taro25d/ConstraintSegment2.h"

namespace LUMO_TARO25D {

/// Triangulates the rest of the convex hull of some faces: holes, bays, and the regions between parts. The triangles
/// are constrained Delaunay.
class PocketFiller {
  public:
    using Number = std::uint32_t;
    using DirectedEdge = std::pair<Number, Number>;

    /// Takes the places by number (not owned).
    explicit PocketFiller(const std::vector<Point2*>& vPlaces);

    /// Appends the corners of the triangles on the right of the border of the faces, which runs with the faces on its
    /// left. False if the border crosses itself, or touches itself elsewhere than at ends of its edges.
    bool fill(const std::vector<DirectedEdge>& vBorder, LargeVector<Number>& vCorners);
    /// The edges of the convex hull of the border, counterclockwise.
    std::vector<DirectedEdge> getHull() const;

  private:
    using VertexPairs = std::vector<std::pair<Point2*, Point2*>>;

    VertexPairs insertEnds(const std::vector<DirectedEdge>& vBorder);
    bool insertEdges(const VertexPairs& vBorder);
    void appendTriangles(const VertexPairs& vBorder, LargeVector<Number>& vCorners) const;

    const std::vector<Point2*>& vPlaces_;
    Dt2 mesh_;  // of the ends of the border; the custom index of a vertex is the number of its place
};

}  // namespace LUMO_TARO25D
