// Contours and bands, against VTK.

#include <memory>
#include <utility>

#include "generators.h"
#include "rows.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Taro_2D.h"
#include "vtk_contours.h"

namespace bench {

namespace {

using LUMO_TARO25D::IsoContours;
using LUMO_TARO25D::Taro_2D;
using LUMO_TARO25D::Triangle2;

/// The number of segments at all heights. Lines are not compared: VTK cuts an open line where it began to join it.
Sample ourContours(const std::vector<Triangle2*>& vTriangles, const std::vector<double>& vHeights) {
    std::vector<std::vector<Segment2>> vContours;
    Sample sample = timed([&] {
        const IsoContours isoContours(vTriangles);
        for (const double height : vHeights) isoContours.getContours(height, vContours);
    });
    for (const auto& vContour : vContours) sample.result[0] += vContour.size();
    return sample;
}

Sample ourContoursAtOnce(const IsoContours& isoContours, const std::vector<double>& vHeights) {
    std::vector<std::vector<std::vector<Segment2>>> vvvContours;
    Sample sample = timed([&] { isoContours.getContours(vHeights, vvvContours); });
    for (const auto& vvContours : vvvContours)
        for (const auto& vContour : vvContours) sample.result[0] += vContour.size();
    return sample;
}

Sample vtkContours(const VtkSurface& surface, const std::vector<double>& vHeights, bool bTree) {
    std::size_t numSegments = 0;
    Sample sample = timed([&] { numSegments = surface.contour(vHeights, bTree); });
    sample.result[0] = numSegments;
    return sample;
}

Sample ourBands(const IsoContours& isoContours, const std::vector<double>& vLevels) {
    std::vector<LUMO_TARO25D::ContourBand> vBands;
    return timed([&] { isoContours.getBands(vLevels, vBands); });
}

Sample vtkBands(const VtkSurface& surface, const std::vector<double>& vLevels) {
    return timed([&] { surface.band(vLevels); });
}

/// Even steps through the heights of a terrain, but not to the ends.
std::vector<double> levels(const std::vector<Triangle2*>& vTriangles, std::size_t numLevels) {
    const IsoContours isoContours(vTriangles);
    const double low = isoContours.getMinHeight(), high = isoContours.getMaxHeight();
    std::vector<double> vHeights;
    for (std::size_t i = 1; i <= numLevels; ++i)
        vHeights.push_back(low + (high - low) * double(i) / double(numLevels + 1));
    return vHeights;
}

Contest bands(const Points& vPoints, std::size_t numLevels) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    pTaro->getTrianglePointers(vTriangles);
    auto pIso = std::make_shared<const IsoContours>(vTriangles);
    auto pVtk = std::make_shared<const VtkSurface>(vTriangles);
    const std::vector<double> vLevels = levels(vTriangles, numLevels);
    // The triangles of pIso are those of pTaro.
    return {[pTaro, pIso, vLevels] { return ourBands(*pIso, vLevels); }, [=] { return vtkBands(*pVtk, vLevels); },
            false};
}

Contest contours(const Points& vPoints, std::size_t numLevels, bool bVtkTree) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    pTaro->getTrianglePointers(vTriangles);
    auto pVtk = std::make_shared<const VtkSurface>(vTriangles);
    const std::vector<double> vHeights = levels(vTriangles, numLevels);
    return {[pTaro, vTriangles, vHeights] { return ourContours(vTriangles, vHeights); },
            [=] { return vtkContours(*pVtk, vHeights, bVtkTree); }};
}

/// Without building the tree.
Contest contoursThreads(const Points& vPoints, std::size_t numLevels) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    pTaro->getTrianglePointers(vTriangles);
    const std::vector<double> vHeights = levels(vTriangles, numLevels);
    const auto on = [&](int numThreads) {
        auto pIso = std::make_shared<IsoContours>(vTriangles);
        pIso->setNumCPU(numThreads);
        return [pTaro, pIso, vHeights] { return ourContoursAtOnce(*pIso, vHeights); };
    };
    return {on(2), on(1)};
}

}  // namespace

std::vector<Row> contourRows(Scale size) {
    return {
        {"contours", "50 contours of 1,000,000 points, tree included", "`vtkContourFilter`, `vtkStripper`", 0.5, cpu,
         [=] { return contours(hills(size(1e6)), 50, false); }},
        {"contours-tree", "50 contours, tree included", "`vtkContourFilter` with `UseScalarTree`", 0.5, cpu,
         [=] { return contours(hills(size(1e6)), 50, true); }},
        {"contours-threads", "50 contours at once, 2 threads, wall", onOneThread, 1 / 1.8, wall,
         [=] { return contoursThreads(hills(size(1e6)), 50); }, true},
        {"bands", "20 bands of 1,000,000 points", "`vtkBandedPolyDataContourFilter`", 0.5, cpu,
         [=] { return bands(hills(size(1e6)), 20); }},
    };
}

}  // namespace bench
