// The members of Taro_2D for zones and cuts. They forward to ZoneMgr, SurfaceCutter, CookieCutter and the functions of
// this folder.

#include "taro25d/Taro_2D.h"

#include "constraints/ConstraintMgr.h"
#include "mesh/EngineCall.h"
#include "mesh/MeshExporter.h"
#include "taro25d/Edge2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Zone2.h"
#include "zones/ZoneMgr.h"
#include "zones/trimZone.h"

namespace LUMO_TARO25D {

namespace {

template <class... Arguments>
Zone2* makeZone(const std::unique_ptr<Dt2>& pDt2, bool bVerbose, const Arguments&... arguments) {
    const MessageScope scope(&pDt2->getProgress());
    Zone2* pZone = pDt2->createZone(arguments..., bVerbose);
    if (!pZone && bVerbose) warning("Taro_2D::createZone(..)", "No zone created, returning NULL (bVerbose==true)");
    return pZone;
}

}  // namespace

Zone2* Taro_2D::createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, pGraph, zoneLoc);
}

Zone2* Taro_2D::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vGraphs, zoneLoc);
}

Zone2* Taro_2D::createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, const Point2& seed, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, pGraph, zoneLoc, seed);
}

Zone2* Taro_2D::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                           bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vGraphs, zoneLoc, seed);
}

Zone2* Taro_2D::createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vEdges, zoneLoc);
}

Zone2* Taro_2D::createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vTriangles);
}

Zone2* Taro_2D::createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose) {
    return call(pDt2_)->createZone_cookieCutter(vSegments, bVerbose);
}

Zone2* Taro_2D::createZone_trimmed(double maxEdgeLength, bool bVerbose) {
    const MessageScope scope(&pDt2_->getProgress());
    const QuietScope quiet(bVerbose);
    return trimZone(*pDt2_, maxEdgeLength);
}

bool Taro_2D::removeConstraint(ConstraintGraph2* pGraph, bool bRemoveVertices) {
    const MessageScope scope(&pDt2_->getProgress());
    ConstraintMgr* pManager = pDt2_->findSlot<ConstraintMgr>();
    const ZoneMgr* pZoneMgr = pDt2_->findSlot<ZoneMgr>();
    const char* reason = !pManager || !pManager->hasGraph(pGraph)  ? "the graph is none of this triangulation"
                         : pZoneMgr && pZoneMgr->hasZoneOf(pGraph) ? "the graph is part of a zone"
                                                                   : nullptr;
    if (reason) {
        warning("Taro_2D::removeConstraint()", std::string(reason) + ", nothing is removed");
        return false;
    }
    pManager->getRemover().remove(pGraph, bRemoveVertices);
    return true;
}

void Taro_2D::getIndexedMesh(IndexedMesh& mesh, const Zone2* pZone) const {
    const MessageScope scope(&pDt2_->getProgress());
    if (pZone && pZone->getDelaunayTriangulation() != pDt2_.get()) {
        warning("Taro_2D::getIndexedMesh(..)", "the zone is none of this triangulation");
        return;
    }
    try {
        MeshExporter exporter(*pDt2_);
        if (!pZone) return exporter.exportAll(mesh);
        std::vector<Triangle2*> vTriangles;
        pZone->getTriangles(vTriangles);
        exporter.exportSome(vTriangles, mesh);
    } catch (...) {
        mesh = IndexedMesh();
        throw;
    }
}

bool Taro_2D::deleteZone(Zone2* pZone) { return call(pDt2_)->deleteZone(pZone); }

void Taro_2D::cutTriangles(const std::vector<Segment2>& vSegments, bool bConstraints) {
    call(pDt2_)->CUTT_cutTriangles(vSegments, bConstraints);
}

void Taro_2D::cutTriangles(const Point2& src, const Point2& trg, bool bConstraints) {
    cutTriangles({Segment2(src, trg)}, bConstraints);
}

}  // namespace LUMO_TARO25D
