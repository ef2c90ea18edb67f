#include <nanobind/stl/pair.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "bindings.h"
#include "run.h"
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

/// What load and restore need beside the file.
std::pair<std::vector<size_t>, std::int64_t> getState(Surface& surface) {
    std::pair<std::vector<size_t>, std::int64_t> state;
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] {
        surface.number();
        state = {surface.getPositions(), surface.getNextId()};
    });
    return state;
}

void writeGlb(Surface& surface, const ZoneHandle* pHandle, const std::string& path, const std::string& title) {
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        std::vector<Triangle2*> vTriangles;
        if (pHandle)
            pHandle->get()->getTriangles(vTriangles);
        else
            surface.getMesh().getTrianglePointers(vTriangles);
        Visualizer3 scene(title);
        scene.addSurface(vTriangles, "surface", CR_TERRAIN);
        if (!scene.writeGlb(path)) throw Refused("the file cannot be written");
    });
}

}  // namespace

void bindFiles(nb::module_& module) {
    module.def("save", &save, nb::arg("surface"), nb::arg("path"), nb::arg("text"));
    module.def("load", &load, nb::arg("surface"), nb::arg("path"), nb::arg("progress").none(), "Gives the text.");
    module.def("restore", &restore, nb::arg("surface"), nb::arg("positions"), nb::arg("next_id"));
    module.def("state", &getState, nb::arg("surface"),
               "The arguments of restore for a surface that is loaded from a file.");
    module.def("write_glb", &writeGlb, nb::arg("surface"), nb::arg("zone").none(), nb::arg("path"), nb::arg("title"));
}
