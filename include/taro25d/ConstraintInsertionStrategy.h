#pragma once

namespace LUMO_TARO25D {

/// How a constraint segment is forced into the triangulation. Most breaklines want CIS_CONSTRAINED_DELAUNAY, which
/// adds hardly any vertices; with the conforming strategies alone no vertex lies inside the circumcircle of any
/// triangle, as long as applyConstraintsAndZones() is called after the insertion of points.
enum ConstraintInsertionStrategy {
    /// Conforming Delaunay: midpoints are inserted until every piece is a Delaunay edge; a midpoint takes the height
    /// of the surface there. After eight halvings a piece at a vertex that it shares with others at a small angle is
    /// split at a power of two from there, which ends (Ruppert 1995).
    CIS_CONFORMING_SURFACE_Z = 0,
    /// Constrained Delaunay (Chew 1989): the segment becomes one edge, split only at vertices on it and where it
    /// crosses other constraint segments.
    CIS_CONSTRAINED_DELAUNAY = 1,
    /// Conforming Delaunay; a midpoint takes the mean height of the ends of the piece that it splits.
    CIS_CONFORMING_LINEAR_Z = 2
};

}  // namespace LUMO_TARO25D
