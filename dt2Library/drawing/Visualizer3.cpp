// A scene is collected layer by layer and written on demand, in any of the formats and more than once. Objects that are
// null or not finite are left out, with one warning for each call. The vertices of a surface are numbered by address
// (VertexNumbers), so that triangles which share vertices share them in the file.
//
// Each writer is a function of its own file (SceneFile.h); writeScene runs it into a temporary file that replaces the
// old one only if it is complete.

#include "taro25d/Visualizer3.h"

#include <cmath>
#include <filesystem>

#include "drawing/Scene3.h"
#include "drawing/SceneFile.h"
#include "drawing/VertexNumbers.h"
#include "drawing/viewerScript.h"
#include "kernel/tools.h"
#include "support/diagnostics.h"
#include "taro25d/Label.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

namespace {

Xyz toXyz(const Point2& point) { return {point.x(), point.y(), point.z()}; }

bool isDrawable(const Triangle2* pT) {
    for (int i = 0; pT && i < 3; ++i) {
        if (!pT->getCorner(i) || !isFinite(*pT->getCorner(i))) return false;
    }
    return pT != nullptr;
}

void warnOfLeftOut(const char* location, size_t numLeftOut) {
    if (numLeftOut == 0) return;
    warning(location, std::to_string(numLeftOut) + " left out: null, or not all coordinates are finite");
}

void addSurfaceTo(Scene3& scene, const std::vector<Triangle2*>& vTriangles, const std::string& layer,
                  SceneSurface surface) {
    const MessageScope scope(&scene.progress);
    SceneTask task(scene.progress, "Collecting a surface", vTriangles.size());
    VertexNumbers numbers;
    size_t numLeftOut = 0;
    surface.vVertices.reserve(vTriangles.size() / 2 + 2);  // the usual number in a mesh
    surface.vTriangles.reserve(3 * vTriangles.size());
    task.forEach(vTriangles.size(), [&](size_t i) {
        if (!isDrawable(vTriangles[i])) {
            ++numLeftOut;
            return;
        }
        for (int k = 0; k < 3; ++k) {
            const Point2* const pVtx = vTriangles[i]->getCorner(k);
            surface.vTriangles.push_back(numbers.getNumber(pVtx));
            if (numbers.isNew()) surface.vVertices.push_back(toXyz(*pVtx));
        }
    });
    task.finish();
    warnOfLeftOut("Visualizer3::addSurface()", numLeftOut);
    if (surface.vTriangles.empty()) return;
    surface.layer = scene.getLayer(layer);
    scene.vSurfaces.push_back(std::move(surface));
}

}  // namespace

Visualizer3::Visualizer3(const std::string& title) : pScene_(std::make_unique<Scene3>()) { pScene_->title = title; }

Visualizer3::~Visualizer3() = default;

// --- collecting ---

void Visualizer3::addSurface(const std::vector<Triangle2*>& vTriangles, const std::string& layer, ColourRamp ramp) {
    if (ramp < CR_TERRAIN || ramp > CR_DIVERGING) {
        const MessageScope scope(&pScene_->progress);
        warning("Visualizer3::addSurface()", "unknown colour ramp");
        return;
    }
    addSurfaceTo(*pScene_, vTriangles, layer, {0, ramp, Color(), {}, {}});
}

void Visualizer3::addSurface(const std::vector<Triangle2*>& vTriangles, const std::string& layer, const Color& color) {
    addSurfaceTo(*pScene_, vTriangles, layer, {0, std::nullopt, color, {}, {}});
}

void Visualizer3::addSegments(const std::vector<Segment2>& vSegments, const std::string& layer, const Color& color) {
    const MessageScope scope(&pScene_->progress);
    SceneTask task(pScene_->progress, "Collecting lines", vSegments.size());
    LargeVector<Xyz> vEnds;
    vEnds.reserve(2 * vSegments.size());
    task.forEach(vSegments.size(), [&](size_t i) {
        const Segment2& segment = vSegments[i];
        if (!isFinite(segment)) return;
        vEnds.push_back(toXyz(segment.getSrc()));
        vEnds.push_back(toXyz(segment.getTrg()));
    });
    task.finish();
    warnOfLeftOut("Visualizer3::addSegments()", vSegments.size() - vEnds.size() / 2);
    if (vEnds.empty()) return;
    LargeVector<Xyz>& vAll = pScene_->getLines(pScene_->getLayer(layer), color).vEnds;
    vAll.insert(vAll.end(), vEnds.begin(), vEnds.end());
}

void Visualizer3::addLabel(const Label& label, const std::string& layer) {
    const MessageScope scope(&pScene_->progress);
    if (!isFinite(label.getPosition())) return warnOfLeftOut("Visualizer3::addLabel()", 1);
    pScene_->vLabels.push_back(
        {pScene_->getLayer(layer), toXyz(label.getPosition()), label.getText(), label.isMarked(), label.getSize()});
}

void Visualizer3::setVerticalExaggeration(double factor) {
    if (factor > 0.0 && std::isfinite(factor)) {
        pScene_->exaggeration = factor;
    } else {
        const MessageScope scope(&pScene_->progress);
        warning("Visualizer3::setVerticalExaggeration()", "the factor must be greater than 0, and finite");
    }
}

// --- writing ---

bool Visualizer3::writeObj(const std::string& filename) const {
    const char* const location = "Visualizer3::writeObj()";
    std::filesystem::path materials = filename;
    if (materials.extension() == ".obj") materials.replace_extension();
    materials += ".mtl";
    const auto writeMaterials = [&](SceneFile& file, SceneTask&) { writeObjMaterials(*pScene_, file); };
    const auto writeAll = [&](SceneFile& file, SceneTask& task) {
        LUMO_TARO25D::writeObj(*pScene_, materials.filename().string(), file, task);
    };
    // The OBJ file comes first: if it cannot be written, the file of materials stays as it was.
    return writeScene(*pScene_, filename, location, "Writing OBJ", writeAll) &&
           writeScene(*pScene_, materials.string(), location, "Writing materials", writeMaterials);
}

bool Visualizer3::writePly(const std::string& filename) const {
    const auto write = [&](SceneFile& file, SceneTask& task) { LUMO_TARO25D::writePly(*pScene_, file, task); };
    return writeScene(*pScene_, filename, "Visualizer3::writePly()", "Writing PLY", write);
}

bool Visualizer3::writeGlb(const std::string& filename) const {
    const auto write = [&](SceneFile& file, SceneTask& task) { LUMO_TARO25D::writeGlb(*pScene_, file, task); };
    return writeScene(*pScene_, filename, "Visualizer3::writeGlb()", "Writing GLB", write);
}

bool Visualizer3::writeGeomview(const std::string& filename) const {
    const auto write = [&](SceneFile& file, SceneTask& task) { LUMO_TARO25D::writeGeomview(*pScene_, file, task); };
    return writeScene(*pScene_, filename, "Visualizer3::writeGeomview()", "Writing for Geomview", write);
}

bool Visualizer3::writeWebScene(const std::string& filename) const {
    const char* const location = "Visualizer3::writeWebScene()";
    if (getViewerScript().empty()) {
        const MessageScope scope(&pScene_->progress);
        warning(location,
                "this library was built without the viewer: run `npm ci && npm run build` in web/, and build it again");
        return false;
    }
    const auto write = [&](SceneFile& file, SceneTask& task) { LUMO_TARO25D::writeWebScene(*pScene_, file, task); };
    return writeScene(*pScene_, filename, location, "Writing a page", write);
}

// --- cancelling and listeners ---

void Visualizer3::setCancelFlag(const std::atomic<bool>* pFlag) { pScene_->progress.setCancelFlag(pFlag); }

void Visualizer3::subscribe(MsgType type, MsgBase* pListener) { pScene_->progress.subscribe(type, pListener); }

void Visualizer3::unsubscribe(MsgType type, MsgBase* pListener) { pScene_->progress.unsubscribe(type, pListener); }

}  // namespace LUMO_TARO25D
