#pragma once

#include <cstddef>

#include "mesh/MeshSlot.h"

namespace LUMO_TARO25D {

class Point2;

/// The interface through which the mesh reaches the manager of its constraints. The mesh itself knows which edges are
/// constraints, since it has the table of their records (ConstraintEdges); it changes none of them.
class ConstraintKeeper : public MeshSlot {
  public:
    /// Whether a constraint ends, or once ended, at a vertex. Such a vertex is not removed.
    virtual bool isConstraintVertex(const Point2* pVtx) const = 0;
    /// Splits the constraint edge between two vertices at a vertex that now lies on it.
    virtual void splitConstraintAt(Point2* p0, Point2* p1, Point2* pSplit) = 0;
    /// Notes that a constraint edge is not Delaunay; the mesh does not flip it.
    virtual void rememberEncroached(const Point2* p0, const Point2* p1) = 0;
    /// Notes that a client has inserted points at vertices, which therefore stay when the constraints that end there
    /// are removed. Null pointers are skipped.
    virtual void noteClientsPoints(Point2* const* aVertices, size_t num) = 0;
};

}  // namespace LUMO_TARO25D
