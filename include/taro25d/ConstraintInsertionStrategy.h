#pragma once

namespace LUMO_TARO25D {

/// How a constraint segment is forced into the triangulation. Most breaklines want CIS_CONSTRAINED_DELAUNAY, which adds
/// hardly any vertices; the conforming strategies keep all circumcircles empty.
enum ConstraintInsertionStrategy {
    /// Conforming Delaunay: midpoints are inserted until every piece is a Delaunay edge; a midpoint takes the height of
    /// the surface there.
    CIS_CONFORMING_SURFACE_Z = 0,
    /// Constrained Delaunay (Chew 1989): the segment becomes one edge, split only at vertices on it and where it
    /// crosses other constraint segments.
    CIS_CONSTRAINED_DELAUNAY = 1,
    /// Conforming Delaunay; a midpoint takes the mean height of the ends of the piece that it splits.
    CIS_CONFORMING_LINEAR_Z = 2
};

}  // namespace LUMO_TARO25D
