#include <nanobind/stl/tuple.h>

#include <algorithm>

#include "analysis/compareTriangles.h"
#include "analysis/rasterizeTriangles.h"
#include "arrays.h"
#include "bindings.h"
#include "mesh/Dt2.h"
#include "ownership.h"
#include "run.h"

/// Parts of surfaces: the triangles of a mesh that a mask, in the order of the rows of triangles, selects.

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

using Mask = nb::ndarray<const std::uint8_t, nb::shape<-1>, nb::c_contig, nb::device::cpu>;

Array<std::uint8_t> findOwned(Surface& surface, int numOwn) {
    std::vector<std::uint8_t> vOwned;
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        std::vector<Triangle2*> vTriangles;
        surface.getMesh().getTrianglePointers(vTriangles);
        vOwned.resize(vTriangles.size());
        std::transform(vTriangles.begin(), vTriangles.end(), vOwned.begin(),
                       [numOwn](const Triangle2* pT) { return static_cast<std::uint8_t>(isOwned(pT, numOwn)); });
    });
    return toArray(std::move(vOwned));
}

std::vector<Triangle2*> select(Surface& surface, const std::uint8_t* aMask, size_t num) {
    std::vector<Triangle2*> vAll, vSelected;
    surface.getMesh().getTrianglePointers(vAll);
    if (vAll.size() != num) throw Refused("the mask is not of this surface");
    for (size_t k = 0; k < num; ++k)
        if (aMask[k]) vSelected.push_back(vAll[k]);
    return vSelected;
}

/// The first row and the end of the rows, the first column and the end of the columns.
using Window = std::tuple<size_t, size_t, size_t, size_t>;
/// The cells; whether they have a triangle; rows and columns of cells on the border, their values and their angles.
using RasterArrays = std::tuple<Array<double>, Array<std::uint8_t>, Array<std::int64_t>, Array<double>, Array<double>>;

RasterArrays toArrays(PartialRaster&& raster, size_t numRows, size_t numColumns) {
    std::vector<std::int64_t> vPlaces;
    std::vector<double> vValues, vAngles;
    for (const BorderCell& cell : raster.vBorder) {
        vPlaces.insert(vPlaces.end(), {static_cast<std::int64_t>(cell.row), static_cast<std::int64_t>(cell.column)});
        vValues.push_back(cell.value);
        vAngles.push_back(cell.angle);
    }
    return RasterArrays(toArray(std::move(raster.vCells), {numRows, numColumns}),
                        toArray(std::move(raster.vHas), {numRows, numColumns}), toTable(std::move(vPlaces), 2),
                        toArray(std::move(vValues)), toArray(std::move(vAngles)));
}

RasterArrays rasterizePart(Surface& surface, const Mask& mask, const RasterFrame& frame, const Window& window,
                           int kind) {
    const auto [firstRow, endRow, firstColumn, endColumn] = window;
    const RasterGrid::Window cells{{firstRow, endRow}, {firstColumn, endColumn}};
    const std::uint8_t* aMask = mask.data();
    const size_t num = mask.shape(0);
    PartialRaster raster;
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        if (!RasterGrid::isUsable(frame)) throw Refused("the raster has cells that cannot be told apart");
        const std::vector<Triangle2*> vTriangles = select(surface, aMask, num);
        rasterizeTriangles({*surface.getMesh().getImpl(), vTriangles}, frame, cells, static_cast<RasterKind>(kind),
                           raster, 1);
    });
    return toArrays(std::move(raster), cells.rows.size(), cells.columns.size());
}

using Totals = std::tuple<double, double, double, double, double>;

Totals compareParts(Surface& before, const Mask& maskBefore, Surface& after, const Mask& maskAfter, double threshold,
                    double magnitude) {
    const std::uint8_t *aBefore = maskBefore.data(), *aAfter = maskAfter.data();
    const size_t numBefore = maskBefore.shape(0), numAfter = maskAfter.shape(0);
    SurfaceDifference totals{};
    EngineCall::Uses uses{{&before, Guarded::READ}};
    if (&after != &before) uses.emplace_back(&after, Guarded::READ);
    EngineCall call(std::move(uses));
    call.run([&] {
        Dt2 &dt2Before = *before.getMesh().getImpl(), &dt2After = *after.getMesh().getImpl();
        Progress progress(dt2Before.getProgress(), &dt2After.getProgress());
        const std::vector<Triangle2*> vBefore = select(before, aBefore, numBefore);
        const std::vector<Triangle2*> vAfter = select(after, aAfter, numAfter);
        totals = compareTriangles({dt2Before, vBefore}, {dt2After, vAfter}, threshold, magnitude, 1, progress);
    });
    return {totals.cutVolume, totals.fillVolume, totals.cutArea, totals.fillArea, totals.unchangedArea};
}

}  // namespace

void bindTileParts(nb::module_& module) {
    module.def("owned_triangles", &findOwned, nb::arg("surface"), nb::arg("num_own"),
               "Whether the smallest corner of each triangle has an id below a number.");
    module.def("rasterize_part", &rasterizePart, nb::arg("surface"), nb::arg("mask").noconvert(), nb::arg("frame"),
               nb::arg("window"), nb::arg("kind"),
               "Cells, whether they have a triangle, and border cells: rows and columns, values, angles.");
    module.def("compare_parts", &compareParts, nb::arg("before"), nb::arg("mask_before").noconvert(), nb::arg("after"),
               nb::arg("mask_after").noconvert(), nb::arg("threshold"), nb::arg("magnitude"),
               "Volumes of cut and fill, areas of both, unchanged area.");
}
