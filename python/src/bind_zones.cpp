#include <nanobind/stl/pair.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/vector.h>

#include "arrays.h"
#include "bindings.h"
#include "run.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

Zone2* getZoneOrAll(Surface& surface, const ZoneHandle* pHandle) { return pHandle ? pHandle->get() : surface.getAll(); }

void prepareAll(Surface& surface) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.runShort([&] { surface.getAll(); });
}

namespace {

using Handle = std::shared_ptr<ZoneHandle>;

/// Creates a zone by a rule that changes the surface or adds to what it owns.
Handle create(const std::shared_ptr<Surface>& pSurface, const char* reason, const std::function<Zone2*()>& rule) {
    Zone2* pZone = nullptr;
    EngineCall call({{pSurface.get(), Guarded::WRITE}});
    call.run([&] {
        pSurface->sweep();
        pZone = rule();
        if (!pZone) throw Refused(reason);
    });
    return std::make_shared<ZoneHandle>(pSurface, pZone);
}

Handle createGlobal(const std::shared_ptr<Surface>& pSurface) {
    return create(pSurface, "there are no triangles",
                  [&] { return pSurface->getMesh().createZone(nullptr, ZL_GLOBAL, true); });
}

Handle createOfBreaklines(const std::shared_ptr<Surface>& pSurface, const std::vector<size_t>& vNumbers, bool bInside) {
    return create(pSurface, "the breaklines enclose nothing", [&] {
        std::vector<ConstraintGraph2*> vGraphs;
        for (const size_t number : vNumbers) vGraphs.push_back(pSurface->getBreakline(number));
        return pSurface->getMesh().createZone(vGraphs, bInside ? ZL_INSIDE : ZL_OUTSIDE, true);
    });
}

Handle createOfPolygon(const std::shared_ptr<Surface>& pSurface, const SegmentArray& segments) {
    const std::vector<Segment2> vSides = toSegments(segments.data(), segments.shape(0));
    return create(pSurface, "the polygon has no part of the surface inside", [&] {
        pSurface->noteChange();
        Zone2* pZone = pSurface->getMesh().createZone_cookieCutter(vSides, true);
        pSurface->number();
        return pZone;
    });
}

/// The four set operations, in the order of Python's & | - ^.
Handle combine(const Handle& pFirst, const Handle& pSecond, int operation) {
    using Operation = Zone2* (*)(Zone2*, Zone2*);
    constexpr Operation A_OPERATIONS[] = {zoneIntersection, zoneUnion, zoneDifference, zoneSymmetricDifference};
    const Handle pResult = create(pFirst->getSurface(), "the zones are of different triangulations",
                                  [&] { return A_OPERATIONS[operation](pFirst->get(), pSecond->get()); });
    pResult->setOperands(pFirst, pSecond);
    return pResult;
}

std::pair<double, double> getAreas(const ZoneHandle& handle) {
    double area2D = 0.0, area25D = 0.0;
    EngineCall call({{handle.getSurface().get(), Guarded::READ}});
    call.run([&] {
        area2D = handle.get()->getArea2D();
        area25D = handle.get()->getArea25D();
    });
    return {area2D, area25D};
}

Array<std::int32_t> getRows(const ZoneHandle& handle) {
    std::vector<std::int32_t> vRows;
    EngineCall call({{handle.getSurface().get(), Guarded::READ}});
    call.run([&] {
        std::vector<Triangle2*> vTriangles;
        handle.get()->getTriangles(vTriangles);
        vRows = handle.getSurface()->getRows(vTriangles);
    });
    return toArray(std::move(vRows));
}

Array<double> getBorder(const ZoneHandle& handle) {
    std::vector<double> vCoordinates;
    EngineCall call({{handle.getSurface().get(), Guarded::READ}});
    call.run([&] {
        vCoordinates.clear();
        std::vector<Segment2> vSegments;
        handle.get()->getBoundarySegments(vSegments);
        for (const Segment2& segment : vSegments)
            for (const Point2& end : {segment.getSrc(), segment.getTrg()})
                vCoordinates.insert(vCoordinates.end(), {end.x(), end.y(), end.z()});
    });
    const size_t num = vCoordinates.size() / 6;
    return toArray(std::move(vCoordinates), {num, 2, 3});
}

}  // namespace

void bindZones(nb::module_& module) {
    nb::class_<ZoneHandle>(module, "Zone")
        .def_static("all", &createGlobal, nb::arg("surface"))
        .def_static("of_breaklines", &createOfBreaklines, nb::arg("surface"), nb::arg("numbers"), nb::arg("inside"))
        .def_static("of_polygon", &createOfPolygon, nb::arg("surface"), nb::arg("segments").noconvert())
        .def_static("combine", &combine, nb::arg("first"), nb::arg("second"), nb::arg("operation"),
                    "Operation 0 is &, 1 is |, 2 is -, 3 is ^.")
        .def("areas", &getAreas, "In x-y, and in space.")
        .def("rows", &getRows, "The rows of its triangles.")
        .def("border", &getBorder, "The border as segments, the zone on their left.");
}
