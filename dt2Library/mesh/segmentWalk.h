#pragma once

#include <vector>

#include "kernel/GeomTest.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

// Following a straight line from a vertex through the triangles of a mesh. The predicates must cover both of its ends.

/// Finds where the line from a vertex p to any point q leaves the triangles around p: across edge i of pT, or along an
/// edge to the returned vertex. pT is null if it does not, since q lies outside the hull.
Point2* leaveVertex(GeomTest& geomTest, const Point2* p, const Point2* q, Triangle2*& pT, int& i);
/// leaveVertex for two vertices of the mesh, where the line always leaves p. If p has many triangles they are not
/// tested one by one; then the cost is that of following the line from q.
Point2* leaveTowardsVertex(GeomTest& geomTest, const Point2* p, const Point2* q, Triangle2*& pT, int& i);
/// Follows the line from p to q across edge i of pT. Returns the side of the line on which the far corner of the next
/// triangle lies; i becomes the next edge that the line crosses, or the index of the far corner if that is on the line.
Orientation2 crossEdge(GeomTest& geomTest, const Point2* p, const Point2* q, Triangle2*& pT, int& i);
/// Appends the triangles whose interior the segment from p to q crosses, in order from p. Both are vertices of the
/// mesh.
void getCrossedTriangles(GeomTest& geomTest, const Point2* p, const Point2* q, std::vector<Triangle2*>& vTriangles);

}  // namespace LUMO_TARO25D
