// Grids of heights, linear and by natural neighbours.

#include <CGAL/Triangulation_vertex_base_with_info_2.h>
#include <CGAL/natural_neighbor_coordinates_2.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <memory>
#include <utility>

#include "Surface.h"
#include "taro25d/freeFunctions.h"
#include "taro25d/rasterize.h"
#include "triangulations.h"

namespace bench {

namespace {

using LUMO_TARO25D::RasterFrame;

using HeightDelaunay = DelaunayOf<CGAL::Triangulation_vertex_base_with_info_2<double, Kernel>>;

/// Square cells over the box of the points, as many in a row as in a column.
RasterFrame frameOver(const Points& vPoints, std::size_t numInRow) {
    const LUMO_TARO25D::Bbox2 box = LUMO_TARO25D::getBox(vPoints);
    const double size = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY()) / double(numInRow);
    return {box.getMinX(), box.getMaxY(), size, size, numInRow, numInRow};
}

double xOf(const RasterFrame& frame, std::size_t cell) {
    return frame.minX + (double(cell % frame.numColumns) + 0.5) * frame.cellWidth;
}
double yOf(const RasterFrame& frame, std::size_t cell) {
    return frame.maxY - (double(cell / frame.numColumns) + 0.5) * frame.cellHeight;
}

Sample ourRaster(const Surface& surface, const RasterFrame& frame, LUMO_TARO25D::RasterKind kind, int numThreads = 1) {
    std::vector<double> vCells(frame.numColumns * frame.numRows);
    Sample sample = timed([&] { rasterize(surface.pZone, frame, kind, vCells.data(), numThreads); });
    sample.result[0] =
        std::size_t(std::count_if(vCells.begin(), vCells.end(), [](double cell) { return !std::isnan(cell); }));
    return sample;
}

/// Row by row, without a hint.
Sample ourHeights(const Surface& surface, const RasterFrame& frame) {
    std::size_t numInside = 0;
    std::vector<double> vCells(frame.numColumns * frame.numRows);
    Sample sample = timed([&] {
        for (std::size_t k = 0; k < vCells.size(); ++k)
            numInside += surface.taro.getHeight(xOf(frame, k), yOf(frame, k), vCells[k]) ? 1 : 0;
    });
    sample.result[0] = numInside;
    return sample;
}

/// Each search starts where the previous one ended.
Sample cgalNaturalNeighbours(const HeightDelaunay& delaunay, const RasterFrame& frame) {
    std::vector<double> vCells(frame.numColumns * frame.numRows);
    std::vector<std::pair<HeightDelaunay::Vertex_handle, Kernel::FT>> vWeights;
    std::size_t numInside = 0;
    Sample sample = timed([&] {
        HeightDelaunay::Face_handle hint;
        for (std::size_t k = 0; k < vCells.size(); ++k) {
            const CgalPoint place(xOf(frame, k), yOf(frame, k));
            hint = delaunay.locate(place, hint);
            vWeights.clear();
            const auto result = CGAL::natural_neighbor_coordinates_2(
                delaunay, place, std::back_inserter(vWeights),
                CGAL::Identity<std::pair<HeightDelaunay::Vertex_handle, Kernel::FT>>(), hint);
            if (!result.third) continue;
            ++numInside;
            for (const auto& [vertex, weight] : vWeights) vCells[k] += weight / result.second * vertex->info();
        }
    });
    sample.result[0] = numInside;
    return sample;
}

Contest raster(const Points& vPoints, std::size_t numInRow) {
    auto pSurface = std::make_shared<const Surface>(vPoints);
    const RasterFrame frame = frameOver(vPoints, numInRow);
    return {[=] { return ourRaster(*pSurface, frame, LUMO_TARO25D::RK_LINEAR); },
            [=] { return ourHeights(*pSurface, frame); }};
}

Contest rasterThreads(const Points& vPoints, std::size_t numInRow, LUMO_TARO25D::RasterKind kind) {
    auto pSurface = std::make_shared<const Surface>(vPoints);
    const RasterFrame frame = frameOver(vPoints, numInRow);
    return {[=] { return ourRaster(*pSurface, frame, kind, 2); }, [=] { return ourRaster(*pSurface, frame, kind); }};
}

Contest naturalNeighbours(const Points& vPoints, std::size_t numInRow) {
    auto pSurface = std::make_shared<const Surface>(vPoints);
    const RasterFrame frame = frameOver(vPoints, numInRow);
    std::vector<std::pair<CgalPoint, double>> vInput;
    for (const Point2& point : vPoints) vInput.emplace_back(CgalPoint(point.x(), point.y()), point.z());
    auto pCgal = std::make_shared<const HeightDelaunay>(vInput.begin(), vInput.end());
    return {[=] { return ourRaster(*pSurface, frame, LUMO_TARO25D::RK_NATURAL_NEIGHBOUR); },
            [=] { return cgalNaturalNeighbours(*pCgal, frame); }};
}

}  // namespace

std::vector<Row> rasterRows(Scale size) {
    const std::size_t numInRow = std::size_t(std::sqrt(double(size(1e6))));
    return {
        {"raster", "1,000,000 heights in a grid, 1,000,000 points", "own `getHeight` row by row", 0.67, cpu,
         [=] { return raster(hills(size(1e6)), numInRow); }},
        {"raster-natural", "1,000,000 cells by natural neighbours",
         "`natural_neighbor_coordinates_2` from the last triangle", 0.33, cpu,
         [=] { return naturalNeighbours(hills(size(1e6)), numInRow); }},
        {"raster-threads", "1,000,000 heights, 2 threads, wall", onOneThread, 1 / 1.8, wall,
         [=] { return rasterThreads(hills(size(1e6)), numInRow, LUMO_TARO25D::RK_LINEAR); }, true},
        {"raster-natural-threads", "natural neighbours, 2 threads, wall", onOneThread, 1 / 1.8, wall,
         [=] { return rasterThreads(hills(size(1e6)), numInRow, LUMO_TARO25D::RK_NATURAL_NEIGHBOUR); }, true},
    };
}

}  // namespace bench
