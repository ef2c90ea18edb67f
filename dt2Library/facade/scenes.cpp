// Scenes of a triangulation and of its zones, and files with them.
//
// Each call builds a visualizer, adds the triangles as one surface (a page also gets the constraint edges as lines),
// and writes the file. The visualizer belongs to the drawing floor and knows no triangulation; its messages are
// forwarded to the listeners of the triangulation, whose cancel flag also ends it.

#include "mesh/Dt2.h"
#include "support/PointerMap.h"
#include "support/diagnostics.h"
#include "taro25d/Edge2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Visualizer3.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

namespace {

/// Forwards the messages of a visualizer to the listeners of a triangulation.
class Forward : public MsgBase {
  public:
    explicit Forward(Progress& progress) : progress_(progress) {}
    void update(MsgType type, const std::string& message, double value) override {
        progress_.broadcast(type, message, value);
    }

  private:
    Progress& progress_;
};

/// A visualizer for the duration of one call, with the cancel flag and the listeners of the triangulation.
class SceneOfCall {
  public:
    SceneOfCall(Dt2* pDt2, const std::string& title)
        : scope_(&pDt2->getProgress()), forward_(pDt2->getProgress()), visualizer_(title) {
        visualizer_.setCancelFlag(pDt2->getProgress().getCancelFlag());
        for (const MsgType type : {MT_PROGRESS, MT_WARNING}) visualizer_.subscribe(type, &forward_);
    }
    Visualizer3* operator->() { return &visualizer_; }

  private:
    MessageScope scope_;
    Forward forward_;
    Visualizer3 visualizer_;
};

/// The triangles of a zone, or all triangles if pZone is null. Warns if there are none.
std::vector<Triangle2*> getDrawnTriangles(const Dt2* pDt2, const Zone2* pZone, const char* location) {
    std::vector<Triangle2*> vTriangles;
    if (pZone) {
        pZone->getTriangles(vTriangles);
    } else {
        pDt2->getTrianglePointers(vTriangles);
    }
    if (vTriangles.empty()) warning(location, "there are no triangles");
    return vTriangles;
}

bool isOwnZone(const Dt2* pDt2, const Zone2* pZone, const char* location) {
    if (pZone && pZone->getDelaunayTriangulation() == pDt2) return true;
    warning(location, "the zone is null or of another triangulation");
    return false;
}

bool writeObjOf(Dt2* pDt2, const Zone2* pZone, const std::string& filename) {
    SceneOfCall scene(pDt2, pDt2->getName());
    const std::vector<Triangle2*> vTriangles = getDrawnTriangles(pDt2, pZone, "Taro_2D::writeObj()");
    if (vTriangles.empty()) return false;
    scene->addSurface(vTriangles, "surface", CR_TERRAIN);
    return scene->writeObj(filename);
}

/// The constraint edges of the triangles, each once.
std::vector<Segment2> getBreaklines(const Taro_2D& mesh, const std::vector<Triangle2*>& vTriangles) {
    std::vector<Segment2> vSegments;
    PointerMap<bool> mSeen;
    for (Triangle2* pT : vTriangles) {
        mSeen.add(pT, true);
        for (int i = 0; i < 3; ++i) {
            const Triangle2* const pOpposite = pT->getOppositeTriangle(i);
            if (!mesh.isConstraint(pT, i) || (pOpposite && mSeen.find(pOpposite))) continue;
            const Edge2 edge(pT, i);
            vSegments.emplace_back(*edge.getSrc(), *edge.getTrg());
        }
    }
    return vSegments;
}

bool writeWebSceneOf(const Taro_2D& mesh, const Zone2* pZone, const char* filename) {
    const char* const location = "Taro_2D::writeWebScene()";
    SceneOfCall scene(mesh.getImpl(), mesh.getName().empty() ? "Surface" : mesh.getName());
    const std::vector<Triangle2*> vTriangles = getDrawnTriangles(mesh.getImpl(), pZone, location);
    if (!filename) warning(location, "the name of the file is null");
    if (vTriangles.empty() || !filename) return false;
    scene->addSurface(vTriangles, "surface", CR_TERRAIN);
    scene->addSegments(getBreaklines(mesh, vTriangles), "breaklines", Color(0.1, 0.25, 0.75));
    return scene->writeWebScene(filename);
}

bool writeGeomviewOf(Dt2* pDt2, const Zone2* pZone, const std::string& filename, const char* location) {
    SceneOfCall scene(pDt2, pDt2->getName());
    const std::vector<Triangle2*> vTriangles = getDrawnTriangles(pDt2, pZone, location);
    if (vTriangles.empty()) return false;
    scene->addSurface(vTriangles, "surface", Color(CWHITE));
    return scene->writeGeomview(filename);
}

}  // namespace

bool Taro_2D::writeObj(const std::string& filename) const { return writeObjOf(pDt2_.get(), nullptr, filename); }

bool Taro_2D::writeObj(const std::string& filename, Zone2* pZone) const {
    const MessageScope scope(&pDt2_->getProgress());
    return isOwnZone(pDt2_.get(), pZone, "Taro_2D::writeObj()") && writeObjOf(pDt2_.get(), pZone, filename);
}

bool Taro_2D::writeWebScene(const char* filename) const { return writeWebSceneOf(*this, nullptr, filename); }

bool Taro_2D::writeWebScene(const char* filename, Zone2* pZone) const {
    const MessageScope scope(&pDt2_->getProgress());
    return isOwnZone(pDt2_.get(), pZone, "Taro_2D::writeWebScene()") && writeWebSceneOf(*this, pZone, filename);
}

bool Taro_2D::showGeomview(const std::string& filename) const {
    return writeGeomviewOf(pDt2_.get(), nullptr, filename, "Taro_2D::showGeomview()");
}

void Taro_2D::showGeomview(Visualizer3* pVisualizer) const {
    if (!pVisualizer) return;
    const MessageScope scope(&pDt2_->getProgress());
    const std::vector<Triangle2*> vTriangles = getDrawnTriangles(pDt2_.get(), nullptr, "Taro_2D::showGeomview()");
    pVisualizer->addSurface(vTriangles, "surface", Color(CWHITE));
}

bool Zone2::showGeomview(const std::string& filename) const {
    return writeGeomviewOf(pDt2_, this, filename, "Zone2::showGeomview()");
}

void Zone2::showGeomview(Visualizer3* pVisualizer) const {
    if (!pVisualizer) return;
    const MessageScope scope(&pDt2_->getProgress());
    pVisualizer->addSurface(getDrawnTriangles(pDt2_, this, "Zone2::showGeomview()"), "zone", Color(CWHITE));
}

}  // namespace LUMO_TARO25D
