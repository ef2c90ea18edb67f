// A vertex is moved by removing it and inserting it again. The vault reuses the record that was recycled last, so that
// the vertex keeps its address.

#include "mesh/vertexMove.h"

#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/diagnostics.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

bool refuse(const char* reason) {
    warning("Taro_2D::moveVertex()", reason);
    return false;
}

/// A vertex from which the search for the new place starts; null if there is none.
const Point2* getNeighbour(const Dt2& mesh, const Point2* pVtx) {
    if (!mesh.is2D()) return nullptr;
    const Triangle2* pT = pVtx->getIncidentTriangle();
    return pT->getCorner(incIndexBy1(indexOfVertex(pT, pVtx)));
}

}  // namespace

bool moveVertex(Dt2& mesh, Point2* pVtx, const Point2& target) {
    if (!pVtx || mesh.getVertexVault().getIdxOfActiveVtx(pVtx) == VertexVault::NOT_FOUND)
        return refuse("the pointer is no vertex of this triangulation, nothing is moved");
    if (!isFinite(target)) return refuse("non-finite coordinates, nothing is moved");
    if (mesh.isConstraintVertex(pVtx)) return refuse("a vertex of a constraint stays where it is");
    if (*pVtx == target) {
        pVtx->set(target.x(), target.y(), target.z());
        return true;
    }
    if (mesh.getVertexPointer(target)) return refuse("there is another vertex at that place, nothing is moved");
    Point2 moved(target.x(), target.y(), target.z());
    moved.setCustomIndex(pVtx->getCustomIndex());
    const Point2* pNeighbour = getNeighbour(mesh, pVtx);
    throwIfStopped();
    mesh.getVertexVault().enlargeBoxForPoint(target);  // may sort all vertices, and be cancelled
    const NoStopScope noStop;
    mesh.remove(pVtx);
    mesh.startSearchAt(pNeighbour);
    const Point2* pMoved = mesh.insert(moved);
    TARO_ASSERT(pMoved == pVtx);
    return true;
}

}  // namespace LUMO_TARO25D
