#include <string>
#include <vector>

#include "arrays.h"
#include "bindings.h"
#include "run.h"
#include "taro25d/syntheticSurfaces.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

using MakePoints = std::vector<Point2> (*)(size_t num, double size, std::uint64_t seed);

/// Fewer points make no cross section of a road.
constexpr size_t POINTS_OF_SECTION = 5;

/// Binds a function that makes points from their number, a length and a seed.
template <MakePoints makePoints>
Array<double> make(size_t num, double size, std::uint64_t seed) {
    std::vector<double> vCoordinates;
    EngineCall({}).run([&] {
        const std::vector<Point2> vPoints = makePoints(num, size, seed);
        if (vPoints.empty() && num >= POINTS_OF_SECTION) throw Refused("no points");
        vCoordinates.reserve(3 * vPoints.size());
        for (const Point2& point : vPoints) vCoordinates.insert(vCoordinates.end(), {point.x(), point.y(), point.z()});
    });
    return toTable(std::move(vCoordinates), 3);
}

}  // namespace

void bindDatasets(nb::module_& module) {
    module.def("make_fractal_terrain", &make<makeFractalTerrain>);
    module.def("make_survey_lines", &make<makeSurveyLines>);
    module.def("make_stockpile", &make<makeStockpile>);
    module.def("make_road", &make<makeRoad>);
    module.def("make_scanned_facade", &make<makeScannedFacade>);
}
