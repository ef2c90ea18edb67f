#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>

#include <limits>

#include "arrays.h"
#include "bindings.h"
#include "run.h"
#include "taro25d/ContourBand.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/IsoContours.h"
#include "taro25d/compareSurfaces.h"
#include "taro25d/rasterize.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

/// Several lines: the points of all, and the index at which each line begins.
struct Lines {
    std::vector<double> vCoordinates;
    std::vector<std::int64_t> vStarts{0};
    std::vector<std::int64_t> vLevels;  // the position of the level of each line

    void add(const Point2& point) { vCoordinates.insert(vCoordinates.end(), {point.x(), point.y(), point.z()}); }
    void end() { vStarts.push_back(static_cast<std::int64_t>(vCoordinates.size() / 3)); }
};

/// At the height of a vertex a contour is computed a few rounding errors higher; its points still get the level as z.
void addContour(const std::vector<Segment2>& vContour, double level, std::int64_t position, Lines& lines) {
    const auto add = [&](const Point2& point) { lines.add(Point2(point.x(), point.y(), level)); };
    add(vContour.front().getSrc());
    for (const Segment2& segment : vContour) add(segment.getTrg());
    lines.end();
    lines.vLevels.push_back(position);
}

void getTriangles(Surface& surface, const ZoneHandle* pHandle, std::vector<Triangle2*>& vTriangles) {
    if (pHandle)
        pHandle->get()->getTriangles(vTriangles);
    else
        surface.getMesh().getTrianglePointers(vTriangles);
}

void prepare(IsoContours& contours, Surface& surface) {
    contours.setNumCPU(0);
    contours.setCancelFlag(surface.getCancelFlag());
    contours.subscribe(MT_PROGRESS, &surface);
}

using LineArrays = std::tuple<Array<double>, Array<std::int64_t>, Array<std::int64_t>>;

LineArrays getContours(Surface& surface, const ZoneHandle* pHandle, const std::vector<double>& vLevels,
                       nb::object progress) {
    Lines lines;
    EngineCall call({{&surface, Guarded::READ}}, std::move(progress));
    call.run([&] {
        lines = Lines();
        std::vector<Triangle2*> vTriangles;
        getTriangles(surface, pHandle, vTriangles);
        IsoContours contours(vTriangles);
        prepare(contours, surface);
        std::vector<std::vector<std::vector<Segment2>>> vvvContours;
        contours.getContours(vLevels, vvvContours, false);
        for (size_t i = 0; i < vvvContours.size(); ++i)
            for (const std::vector<Segment2>& vContour : vvvContours[i])
                addContour(vContour, vLevels[i], static_cast<std::int64_t>(i), lines);
    });
    return LineArrays(toTable(std::move(lines.vCoordinates), 3), toArray(std::move(lines.vStarts)),
                      toArray(std::move(lines.vLevels)));
}

/// Low, high, the points of all rings, and the index at which each ring begins.
using BandTuple = std::tuple<double, double, Array<double>, Array<std::int64_t>>;

std::vector<BandTuple> getBands(Surface& surface, const ZoneHandle* pHandle, const std::vector<double>& vLevels,
                                nb::object progress) {
    std::vector<ContourBand> vBands;
    EngineCall call({{&surface, Guarded::READ}}, std::move(progress));
    call.run([&] {
        vBands.clear();
        std::vector<Triangle2*> vTriangles;
        getTriangles(surface, pHandle, vTriangles);
        IsoContours contours(vTriangles);
        prepare(contours, surface);
        if (!contours.getBands(vLevels, vBands)) throw Refused("there are no bands");
    });
    std::vector<BandTuple> vResult;
    for (const ContourBand& band : vBands) {
        Lines rings;
        for (const std::vector<Point2>& vRing : band.vRings) {
            for (const Point2& point : vRing) rings.add(point);
            rings.add(vRing.front());
            rings.end();
        }
        vResult.emplace_back(band.low, band.high, toTable(std::move(rings.vCoordinates), 3),
                             toArray(std::move(rings.vStarts)));
    }
    return vResult;
}

/// The pieces of each segment on the surface: (x, y, z) of both ends, and the number of the segment.
using PieceArrays = std::tuple<Array<double>, Array<std::int64_t>>;

PieceArrays drape(Surface& surface, const SegmentArray& segments) {
    const double* aCoordinates = segments.data();
    const size_t num = segments.shape(0);
    Lines pieces;
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        pieces = Lines();
        for (size_t i = 0; i < num && surface.getMesh().is2D(); ++i) {
            const double* a = aCoordinates + 6 * i;
            std::vector<Segment2> vDraped;
            surface.getMesh().drape({Segment2(Point2(a[0], a[1], a[2]), Point2(a[3], a[4], a[5]))}, vDraped);
            for (const Segment2& piece : vDraped) {
                pieces.add(piece.getSrc());
                pieces.add(piece.getTrg());
                pieces.vLevels.push_back(static_cast<std::int64_t>(i));
            }
        }
    });
    const size_t numPieces = pieces.vLevels.size();
    return PieceArrays(toArray(std::move(pieces.vCoordinates), {numPieces, 2, 3}), toArray(std::move(pieces.vLevels)));
}

struct Component {
    int type;
    double volume, area, maxDifference;
    std::vector<double> vBorder;
};

void getComponents(const CutAndFill& cutAndFill, std::vector<Component>& vComponents) {
    for (size_t i = 0; i < cutAndFill.getNumberOfComponents(); ++i) {
        const CAF_Component* pComponent = cutAndFill.getComponent(i);
        Component component{pComponent->getCAFType(),
                            pComponent->getVolume(),
                            pComponent->getArea2D(),
                            pComponent->getMaxHeightDifference(),
                            {}};
        std::vector<Segment2> vBorder;
        pComponent->getBorder(vBorder);
        for (const Segment2& segment : vBorder)
            for (const Point2& end : {segment.getSrc(), segment.getTrg()})
                component.vBorder.insert(component.vBorder.end(), {end.x(), end.y()});
        vComponents.push_back(std::move(component));
    }
}

/// The use of both surfaces for reading, each once. Creates their zones of all triangles first.
EngineCall::Uses useBoth(Surface& before, Surface& after) {
    prepareAll(before);
    prepareAll(after);
    EngineCall::Uses uses{{&before, Guarded::READ}};
    if (&after != &before) uses.emplace_back(&after, Guarded::READ);
    return uses;
}

/// Type, volume, area, largest difference of heights and border.
using ComponentTuple = std::tuple<int, double, double, double, Array<double>>;

std::vector<ComponentTuple> compareFully(Surface& before, const ZoneHandle* pBefore, Surface& after,
                                         const ZoneHandle* pAfter, double threshold, nb::object progress) {
    std::vector<Component> vComponents;
    EngineCall call(useBoth(before, after), std::move(progress));
    call.run([&] {
        vComponents.clear();
        CutAndFill cutAndFill(getZoneOrAll(before, pBefore), getZoneOrAll(after, pAfter), threshold);
        cutAndFill.subscribe(MT_PROGRESS, &before);
        cutAndFill.setCancelFlag(before.getCancelFlag());
        cutAndFill.go();
        getComponents(cutAndFill, vComponents);
    });
    std::vector<ComponentTuple> vResult;
    for (Component& component : vComponents) {
        const size_t num = component.vBorder.size() / 4;
        vResult.emplace_back(component.type, component.volume, component.area, component.maxDifference,
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
               nb::arg("progress").none(), "Points of all lines, where each begins, and the position of its level.");
    module.def("components", &compareFully, nb::arg("before"), nb::arg("zone_before").none(), nb::arg("after"),
               nb::arg("zone_after").none(), nb::arg("threshold"), nb::arg("progress").none(),
               "Type, volume, area, largest difference and border segments of each component of cut and fill.");
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
    module.def("bands", &getBands, nb::arg("surface"), nb::arg("zone").none(), nb::arg("levels"),
               nb::arg("progress").none(), "Low, high, points of all rings and where each begins, for each band.");
    module.def("drape", &drape, nb::arg("surface"), nb::arg("segments").noconvert(),
               "The pieces of segments on the surface, and which segment each is of.");
}
