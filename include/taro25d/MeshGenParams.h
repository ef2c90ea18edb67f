#pragma once

#include <cstddef>
#include <limits>
#include <set>

#include "taro25d/Vector2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class ConstraintSegment2;
class Taro_2D;
class Triangle2;
class Zone2;

/// The limits that mesh generation shall meet in one zone. Set the fields that matter and give it to
/// `Taro_2D::refineAdvanced`.
///
/// Lengths and areas are those in space, in the units of the coordinates; angles are in degrees. The largest finite
/// double, exactly, is no limit. Limits that vary from place to place come from a class derived from this one, which
/// overrides `getMaxTriangleArea` and `getMaxEdgeLength`.
///
/// A plain object of the client. Mesh generation reads it and does not keep it; the objects that its pointers refer
/// to must live as long as the call.
class TARO25D_API MeshGenParams {
  public:
    /// Default values for a zone, which must be of location ZL_INSIDE or ZL_BOUNDED: for any other there is a message
    /// on standard error, the grid vector is zero, and mesh generation will refuse the zone. Null gets no message here;
    /// mesh generation refuses it.
    explicit MeshGenParams(Zone2* pZone);
    /// Deletes the set of locked segments.
    virtual ~MeshGenParams();
    MeshGenParams(const MeshGenParams&) = delete;
    MeshGenParams& operator=(const MeshGenParams&) = delete;

    /// The largest area that a triangle may have where this one is. The triangle is one of the mesh: look at its
    /// corners, do not change anything. Answers that are NaN or not greater than 0 count as no limit.
    virtual double getMaxTriangleArea(Triangle2* pT);
    /// The greatest length that an edge of a triangle may have where this triangle is; answers as for the area.
    virtual double getMaxEdgeLength(Triangle2* pT);

    /// Protects a segment from being split; if it has been split before, protects its pieces. Null is ignored.
    void addLockedConstraint(ConstraintSegment2* pCSeg);

    /// Gives the heights of the new vertices inside the zone; null: the surface of the triangulation itself. Vertices
    /// that split a constraint segment lie on that segment in any case. Where the guide has no height, a new vertex
    /// takes the mean height of the triangle that it is inserted into; one warning at the end tells how many did.
    /// Lengths, areas and angles are then those on the guide, whatever the heights of the vertices are, so that a step
    /// between a segment and the guide is not refined on and on; where the guide has no height, those in x-y.
    Taro_2D* pHeightGuide = nullptr;
    /// A tolerance that belongs with the guide. Mesh generation does not read it.
    double maxHeightError = std::numeric_limits<double>::max();
    /// The zone to refine; not owned.
    Zone2* pZone;
    /// Triangles with a smaller angle are refined, unless their smallest angle in x-y is above 29.5 degrees. At most
    /// 30.
    double minAngleDegree = 20.0;
    /// Constraint segments shorter than twice this are not split. With 0, refinement goes on as far as numbers allow,
    /// which in narrow corners can mean very small triangles. With a height guide no new vertex inside the zone is
    /// nearer than this, in x-y, to another one when it is inserted: there may be cliffs in the guide.
    double minEdgeLength = 0.001;
    /// Triangles with a longer edge are refined.
    double maxEdgeLength = std::numeric_limits<double>::max();
    /// Triangles with a larger area are refined.
    double maxTriangleArea = std::numeric_limits<double>::max();
    /// Without it no constraint segment is split, and triangles that would need that stay as they are.
    bool bAllowConstraintSplitting = true;
    /// Triangles are refined whose area is more than this many times that of a neighbour; not greater than 0: no limit.
    /// Across a constraint segment with an adjacent area, the adjacent area replaces that of the neighbour. A factor
    /// above 0 and at most 1 is refused. One below 1.8 makes most meshes as fine as `growthMinArea` allows.
    double growthFactor = std::numeric_limits<double>::max();
    /// Neighbours with a smaller area do not count for the growth.
    double growthMinArea = 0.001;
    /// A further limit, for clients. Mesh generation does not read it.
    double aspectLimit = 10.0;
    /// How many vertices one call may insert; 0: 100 million. When the limits and the grid clearly need more, as is
    /// estimated from the area of the zone, the call is refused with an error that names the estimate, and nothing
    /// changes. A call that reaches the number nevertheless stops with a warning and leaves a valid mesh.
    size_t maxNumVertices = 0;
    /// The direction of the rows of the grid; 0: no grid. Mesh generation gives it the length 1 when it makes a grid.
    Vector2 gridVector;
    /// The spacing of the grid that is inserted before refinement; not greater than 0: no grid.
    double gridLength = 0.0;
    /// Whether the vertices of earlier refinements stay. Without the flag, this refinement may remove such vertices
    /// near the places where it splits constraint segments.
    bool bKeepExistingSteinerPoints = true;
    /// 0 or 1. With 1, each triangle that is refined gets a line on standard output and a picture in the working
    /// directory.
    int debugCommand = 0;
    /// The segments that must not be split; null until the first is added. Owned. Mesh generation adds the pieces of
    /// those that have been split before.
    std::set<ConstraintSegment2*>* pLockedConstraints = nullptr;
};

}  // namespace LUMO_TARO25D
