#include <nanobind/stl/pair.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include <array>
#include <cstdio>

#include "bindings.h"
#include "drawing/rampColors.h"
#include "drawing/viewerScript.h"
#include "run.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Visualizer3.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

void save(Surface& surface, const std::string& path, const std::string& text) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] { surface.save(path, text); });
}

std::string load(Surface& surface, const std::string& path, nb::object progress) {
    std::string text;
    EngineCall call({{&surface, Guarded::WRITE}}, std::move(progress));
    call.run([&] { text = surface.load(path); });
    return text;
}

void restore(Surface& surface, const std::vector<size_t>& vPositions, std::int64_t nextId) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] { surface.restore(vPositions, nextId); });
}

/// The arguments of restore that a file does not contain.
std::pair<std::vector<size_t>, std::int64_t> getState(Surface& surface) {
    std::pair<std::vector<size_t>, std::int64_t> state;
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] {
        surface.number();
        state = {surface.getPositions(), surface.getNextId()};
    });
    return state;
}

void addBreaklines(const Surface& surface, Visualizer3& scene) {
    std::vector<Segment2> vEdges;
    for (const size_t number : surface.getBreaklines()) {
        std::vector<ConstraintSegment2*> vPieces;
        surface.getBreakline(number)->getAliveConstraintChain(vPieces);
        for (const ConstraintSegment2* pPiece : vPieces) vEdges.emplace_back(*pPiece->getSrc(), *pPiece->getTrg());
    }
    if (!vEdges.empty()) scene.addSegments(vEdges, "breaklines", Color(0.1, 0.1, 0.1));
}

/// Given a zone, writes only the zone, without breaklines.
void writeScene(Surface& surface, const ZoneHandle* pHandle, const std::string& path, const std::string& title,
                bool bPage) {
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        Visualizer3 scene(title);
        scene.setCancelFlag(surface.getCancelFlag());
        std::vector<Triangle2*> vTriangles;
        if (pHandle)
            pHandle->get()->getTriangles(vTriangles);
        else
            surface.getMesh().getTrianglePointers(vTriangles);
        scene.addSurface(vTriangles, "surface", CR_TERRAIN);
        if (!pHandle) addBreaklines(surface, scene);
        if (!(bPage ? scene.writeWebScene(path) : scene.writeGlb(path))) throw Refused("the file cannot be written");
    });
}

/// Places from 0 to 1 with colours as style sheets have them.
std::vector<std::pair<double, std::string>> getTerrainColors() {
    std::vector<std::pair<double, std::string>> vColors;
    for (const RampStop& stop : getStops(CR_TERRAIN)) {
        std::array<char, 8> aText;
        std::snprintf(aText.data(), aText.size(), "#%02x%02x%02x", stop.color.r, stop.color.g, stop.color.b);
        vColors.emplace_back(stop.place, aText.data());
    }
    return vColors;
}

}  // namespace

void bindFiles(nb::module_& module) {
    module.def("save", &save, nb::arg("surface"), nb::arg("path"), nb::arg("text"));
    module.def("load", &load, nb::arg("surface"), nb::arg("path"), nb::arg("progress").none(), "Gives the text.");
    module.def("restore", &restore, nb::arg("surface"), nb::arg("positions"), nb::arg("next_id"));
    module.def("state", &getState, nb::arg("surface"),
               "The arguments of restore for a surface that is loaded from a file.");
    module.def("write_scene", &writeScene, nb::arg("surface"), nb::arg("zone").none(), nb::arg("path"),
               nb::arg("title"), nb::arg("page"), "A page for a browser, or binary glTF.");
    module.def(
        "viewer_script", [] { return std::string(getViewerScript()); }, "The script of pages; empty if there is none.");
    module.def("terrain_colors", &getTerrainColors, "Places from 0 to 1 with their colours.");
}
