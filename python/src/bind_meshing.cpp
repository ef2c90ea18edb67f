#include <nanobind/stl/shared_ptr.h>

#include "bindings.h"
#include "run.h"
#include "taro25d/MeshGenParams.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

/// The limits of a refinement, as attributes.
struct Refinement {
    double minAngle = 0, minEdge = 0, maxEdge = 0, maxArea = 0, growth = 0, grid = 0, gridX = 0, gridY = 0;
    bool bSplit = true;
    size_t maxVertices = 0;
};

void setLimits(MeshGenParams& params, const Refinement& limits) {
    params.minAngleDegree = limits.minAngle;
    params.minEdgeLength = limits.minEdge;
    params.maxEdgeLength = limits.maxEdge;
    params.maxTriangleArea = limits.maxArea;
    params.growthFactor = limits.growth;
    params.gridLength = limits.grid;
    if (limits.gridX != 0 || limits.gridY != 0) params.gridVector = Vector2(limits.gridX, limits.gridY, 0);
    params.bAllowConstraintSplitting = limits.bSplit;
    params.maxNumVertices = limits.maxVertices;
}

/// Wrong limits change nothing: the library reports an error, which the call turns into an exception (run.h).
void refine(Surface& surface, const ZoneHandle* pHandle, Surface* pGuide, const Refinement& limits,
            nb::object progress) {
    EngineCall::Uses uses{{&surface, Guarded::WRITE}};
    if (pGuide && pGuide != &surface) uses.emplace_back(pGuide, Guarded::READ);
    EngineCall call(std::move(uses), std::move(progress));
    call.run([&] {
        surface.sweep();
        surface.noteChange();
        Zone2* pZone = getZoneOrAll(surface, pHandle);
        if (!pZone) throw Refused("there are no triangles");
        Zone2* pBounded = pZone->convertToBoundedZone();
        if (!pBounded) throw Refused("the zone has no triangles");
        try {
            MeshGenParams params(pBounded);
            setLimits(params, limits);
            if (pGuide) params.pHeightGuide = &pGuide->getMesh();
            surface.getMesh().refineAdvanced(&params);
        } catch (...) {
            surface.number();
            if (pBounded != pZone) surface.discard(pBounded);
            throw;
        }
        surface.number();
        if (pBounded != pZone) surface.discard(pBounded);
    });
}

}  // namespace

void bindMeshing(nb::module_& module) {
    nb::class_<Refinement>(module, "Refinement")
        .def(nb::init<>())
        .def_rw("min_angle", &Refinement::minAngle)
        .def_rw("min_edge", &Refinement::minEdge)
        .def_rw("max_edge", &Refinement::maxEdge)
        .def_rw("max_area", &Refinement::maxArea)
        .def_rw("growth", &Refinement::growth)
        .def_rw("grid", &Refinement::grid)
        .def_rw("grid_x", &Refinement::gridX)
        .def_rw("grid_y", &Refinement::gridY)
        .def_rw("split", &Refinement::bSplit)
        .def_rw("max_vertices", &Refinement::maxVertices);
    module.def("refine", &refine, nb::arg("surface"), nb::arg("zone").none(), nb::arg("guide").none(),
               nb::arg("limits"), nb::arg("progress").none());
}
