#include <nanobind/stl/pair.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/vector.h>

#include <algorithm>
#include <limits>

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

std::shared_ptr<const TriangleRows> ZoneHandle::getTriangles() const {
    const std::lock_guard lock(trianglesMutex_);
    if (!pTriangles_ || versionOfTriangles_ != pSurface_->getVersion()) {
        std::vector<Triangle2*> vTriangles;
        pZone_->getTriangles(vTriangles);
        pTriangles_ = std::make_shared<const TriangleRows>(vTriangles);
        versionOfTriangles_ = pSurface_->getVersion();
    }
    return pTriangles_;
}

namespace {

using Handle = std::shared_ptr<ZoneHandle>;

/// Creates a zone by a function that may change the surface.
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

/// Must be called once only, since the handle owns the zone.
Handle takeImported(const std::shared_ptr<Surface>& pSurface) {
    Zone2* pZone = nullptr;
    EngineCall call({{pSurface.get(), Guarded::WRITE}});
    call.run([&] {
        pZone = pSurface->getMesh().getImportedZone();
        if (pZone && pZone->getNumberOfTriangles() == pSurface->getMesh().numberOfTriangles()) pZone = nullptr;
    });
    return pZone ? std::make_shared<ZoneHandle>(pSurface, pZone) : nullptr;
}

/// The rows are those of the present triangles.
Handle createOfRows(const std::shared_ptr<Surface>& pSurface, const std::vector<size_t>& vRows) {
    return create(pSurface, "the zone has no triangles", [&] {
        std::vector<Triangle2*> vAll, vTriangles;
        pSurface->getMesh().getTrianglePointers(vAll);
        for (const size_t row : vRows) vTriangles.push_back(vAll.at(row));
        pSurface->noteChange();
        return pSurface->getMesh().createZone(vTriangles, false);
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

/// Whether one of the listed triangles contains a place, border included. pT contains the place.
bool isAtOneOf(const TriangleRows& triangles, const Taro_2D& mesh, const Triangle2* pT, const Point2& place) {
    if (!pT || triangles.getRow(pT) >= 0) return pT != nullptr;
    for (int i = 0; i < 3; ++i) {
        Point2* pCorner = pT->getCorner(i);
        const Point2* pNext = pT->getCorner((i + 1) % 3);
        if (triangles.getRow(pT->getOppositeTriangle((i + 2) % 3)) >= 0 &&
            mesh.getOrientation(*pCorner, *pNext, place) == ORIENTATION2_COLLINEAR)
            return true;
        if (pCorner->x() != place.x() || pCorner->y() != place.y()) continue;
        std::vector<Triangle2*> vAround;
        mesh.getIncidentTriangles(pCorner, vAround);
        return std::any_of(vAround.begin(), vAround.end(), [&](Triangle2* pA) { return triangles.getRow(pA) >= 0; });
    }
    return false;
}

/// Heights at places; NaN outside the zone.
Array<double> getHeights(const ZoneHandle& handle, const PlaceArray& places) {
    const double* aPlaces = places.data();
    const size_t num = places.shape(0);
    std::vector<double> vHeights(num);
    EngineCall call({{handle.getSurface().get(), Guarded::READ}});
    call.run([&] {
        const Taro_2D& mesh = handle.getSurface()->getMesh();
        const auto pTriangles = handle.getTriangles();
        mesh.getHeights(num, aPlaces, vHeights.data());
        for (size_t i = 0; i < num; ++i) {
            const Point2 place(aPlaces[2 * i], aPlaces[2 * i + 1], 0.0);
            if (!isAtOneOf(*pTriangles, mesh, mesh.locate(place), place))
                vHeights[i] = std::numeric_limits<double>::quiet_NaN();
        }
    });
    return toArray(std::move(vHeights));
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
        .def_static("of_rows", &createOfRows, nb::arg("surface"), nb::arg("rows"))
        .def_static("imported", &takeImported, nb::arg("surface"), "After an import; None if it covers everything.")
        .def_static("combine", &combine, nb::arg("first"), nb::arg("second"), nb::arg("operation"),
                    "Operation 0 is &, 1 is |, 2 is -, 3 is ^.")
        .def("areas", &getAreas, "In x-y, and in space.")
        .def("rows", &getRows, "The rows of its triangles.")
        .def("heights", &getHeights, nb::arg("places").noconvert(), "NaN outside the zone.")
        .def("border", &getBorder, "The border as segments, the zone on their left.");
}
