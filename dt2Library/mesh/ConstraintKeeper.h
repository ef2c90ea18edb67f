#pragma once

#include "mesh/MeshSlot.h"

namespace LUMO_TARO25D {

class Point2;

/// What the mesh asks and tells whoever keeps its constraints. That an edge is a constraint is known to the mesh itself
/// (ConstraintEdges); to whom the edge belongs is not.
class ConstraintKeeper : public MeshSlot {
  public:
    /// Whether a constraint ends at a vertex or did so once. Such a vertex is not removed.
    virtual bool isConstraintVertex(const Point2* pVtx) const = 0;
    /// Takes note that a vertex stands on the constraint edge between two others now, which must be split there.
    virtual void splitConstraintAt(Point2* p0, Point2* p1, Point2* pSplit) = 0;
    /// Takes note that a constraint edge is not Delaunay. It is not flipped.
    virtual void rememberEncroached(const Point2* p0, const Point2* p1) = 0;
    /// Takes note that a client has inserted a point at a vertex, which therefore outlives the constraints that end there.
    virtual void noteClientsPoint(const Point2* pVtx) = 0;
};

}  // namespace LUMO_TARO25D
