#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>

#include <limits>

#include "arrays.h"
#include "bindings.h"
#include "run.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/IsoContours.h"
#include "taro25d/compareSurfaces.h"
#include "taro25d/rasterize.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

/// Lines one after the other: all their points, and where each line begins.
struct Lines {
    std::vector<double> vCoordinates;
    std::vector<std::int64_t> vStarts{0};
    std::vector<std::int64_t> vLevels;  // the position of the level of each line

    void add(const Point2& point) { vCoordinates.insert(vCoordinates.end(), {point.x(), point.y(), point.z()}); }
    void end() { vStarts.push_back(static_cast<std::int64_t>(vCoordinates.size() / 3)); }
};

void addContours(const IsoContours& contours, double level, std::int64_t position, Lines& lines) {
    std::vector<std::vector<Segment2>> vvContours;
    contours.getContours(level, vvContours, false);
    for (const std::vector<Segment2>& vContour : vvContours) {
        const auto add = [&](const Point2& point) { lines.add(Point2(point.x(), point.y(), level)); };
        add(vContour.front().getSrc());
        for (const Segment2& segment : vContour) add(segment.getTrg());
        lines.end();
        lines.vLevels.push_back(position);
    }
}

void getTriangles(Surface& surface, const ZoneHandle* pHandle, std::vector<Triangle2*>& vTriangles) {
    if (pHandle)
        pHandle->get()->getTriangles(vTriangles);
    else
        surface.getMesh().getTrianglePointers(vTriangles);
}

using LineArrays = std::tuple<Array<double>, Array<std::int64_t>, Array<std::int64_t>>;

LineArrays getContours(Surface& surface, const ZoneHandle* pHandle, const std::vector<double>& vLevels) {
    Lines lines;
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        lines = Lines();
        std::vector<Triangle2*> vTriangles;
        getTriangles(surface, pHandle, vTriangles);
        const IsoContours contours(vTriangles);
        for (size_t i = 0; i < vLevels.size(); ++i)
            addContours(contours, vLevels[i], static_cast<std::int64_t>(i), lines);
    });
    return LineArrays(toTable(std::move(lines.vCoordinates), 3), toArray(std::move(lines.vStarts)),
                      toArray(std::move(lines.vLevels)));
}

struct Component {
    int type;
    double volume, area;
    std::vector<double> vBorder;
};

void getComponents(const CutAndFill& cutAndFill, std::vector<Component>& vComponents) {
    for (size_t i = 0; i < cutAndFill.getNumberOfComponents(); ++i) {
        const CAF_Component* pComponent = cutAndFill.getComponent(i);
        Component component{pComponent->getCAFType(), pComponent->getVolume(), pComponent->getArea2D(), {}};
        std::vector<Segment2> vBorder;
        pComponent->getBorder(vBorder);
        for (const Segment2& segment : vBorder)
            for (const Point2& end : {segment.getSrc(), segment.getTrg()})
                component.vBorder.insert(component.vBorder.end(), {end.x(), end.y()});
        vComponents.push_back(std::move(component));
    }
}

/// Both surfaces for reading, each once, with their zones of everything in place.
EngineCall::Uses useBoth(Surface& before, Surface& after) {
    prepareAll(before);
    prepareAll(after);
    EngineCall::Uses uses{{&before, Guarded::READ}};
    if (&after != &before) uses.emplace_back(&after, Guarded::READ);
    return uses;
}

/// Type, volume, area and border.
using ComponentTuple = std::tuple<int, double, double, Array<double>>;

std::vector<ComponentTuple> compareFully(Surface& before, const ZoneHandle* pBefore, Surface& after,
                                         const ZoneHandle* pAfter, double threshold, nb::object progress) {
    std::vector<Component> vComponents;
    EngineCall call(useBoth(before, after), std::move(progress));
    call.run([&] {
        vComponents.clear();
        CutAndFill cutAndFill(getZoneOrAll(before, pBefore), getZoneOrAll(after, pAfter), threshold);
        cutAndFill.subscribe(MT_PROGRESS, &before);
        cutAndFill.go();
        getComponents(cutAndFill, vComponents);
    });
    std::vector<ComponentTuple> vResult;
    for (Component& component : vComponents) {
        const size_t num = component.vBorder.size() / 4;
        vResult.emplace_back(component.type, component.volume, component.area,
                             toArray(std::move(component.vBorder), {num, 2, 2}));
    }
    return vResult;
}

using Totals = std::tuple<double, double, double, double, double>;

Totals compare(Surface& before, const ZoneHandle* pBefore, Surface& after, const ZoneHandle* pAfter, double threshold,
               nb::object progress) {
    SurfaceDifference totals;
    EngineCall call(useBoth(before, after), std::move(progress));
    call.run(
        [&] { totals = compareSurfaces(getZoneOrAll(before, pBefore), getZoneOrAll(after, pAfter), threshold, 0); });
    return {totals.cutVolume, totals.fillVolume, totals.cutArea, totals.fillArea, totals.unchangedArea};
}

Array<double> makeRaster(Surface& surface, const ZoneHandle* pHandle, const RasterFrame& frame, int kind,
                         nb::object progress) {
    prepareAll(surface);
    std::vector<double> vCells(frame.numRows * frame.numColumns, std::numeric_limits<double>::quiet_NaN());
    EngineCall call({{&surface, Guarded::READ}}, std::move(progress));
    call.run([&] {
        const Zone2* pZone = getZoneOrAll(surface, pHandle);
        if (pZone && !rasterize(pZone, frame, static_cast<RasterKind>(kind), vCells.data(), 0))
            throw Refused("the raster cannot be made");
    });
    return toArray(std::move(vCells), {frame.numRows, frame.numColumns});
}

}  // namespace

void bindAnalysis(nb::module_& module) {
    module.def("contours", &getContours, nb::arg("surface"), nb::arg("zone").none(), nb::arg("levels"),
               "Points of all lines, where each begins, and the position of its level.");
    module.def("components", &compareFully, nb::arg("before"), nb::arg("zone_before").none(), nb::arg("after"),
               nb::arg("zone_after").none(), nb::arg("threshold"), nb::arg("progress").none(),
               "Type, volume, area and border segments of each component of cut and fill.");
    module.def("compare", &compare, nb::arg("before"), nb::arg("zone_before").none(), nb::arg("after"),
               nb::arg("zone_after").none(), nb::arg("threshold"), nb::arg("progress").none(),
               "Volumes of cut and fill, areas of both, unchanged area.");
    nb::class_<RasterFrame>(module, "RasterFrame")
        .def(
            "__init__",
            [](RasterFrame* pFrame, double minX, double maxY, double cellWidth, double cellHeight, size_t numColumns,
               size_t numRows) { new (pFrame) RasterFrame{minX, maxY, cellWidth, cellHeight, numColumns, numRows}; },
            nb::arg("min_x"), nb::arg("max_y"), nb::arg("cell_width"), nb::arg("cell_height"), nb::arg("columns"),
            nb::arg("rows"));
    module.def("rasterize", &makeRaster, nb::arg("surface"), nb::arg("zone").none(), nb::arg("frame"), nb::arg("kind"),
               nb::arg("progress").none(), "Rows from the north.");
}
