#include "map.h"

#include <cmath>

#include "numbers.h"
#include "shading.h"
#include "sheet.h"
#include "taro25d/Color.h"
#include "taro25d/Segment2.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using examples::Sheet;
using examples::toGrouped;

namespace breaklines {

namespace {

/// The width of a river grows about with the square root of what flows in it.
double widthOf(const Stream& stream, const Grid& grid) {
    constexpr double NARROWEST = 0.4, WIDEST = 4.0;
    const double share = static_cast<double>(stream.numDrained) / static_cast<double>(grid.numCells());
    return NARROWEST + (WIDEST - NARROWEST) * std::sqrt(share);
}

void drawStream(const Stream& stream, const Grid& grid, Visualizer2& drawing) {
    const Color color(0.1, 0.35, 0.85, widthOf(stream, grid));
    for (std::size_t i = 1; i < stream.vCells.size(); ++i) {
        drawing.addObject(Segment2(grid.point(stream.vCells[i - 1]), grid.point(stream.vCells[i])), color);
    }
}

}  // namespace

void drawMap(const std::string& filename, const Taro_2D& mesh, const Grid& grid, const std::vector<Stream>& vStreams) {
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    Visualizer2 drawing(filename);
    const terrain::Shading shading(vTriangles, 0.6);
    for (const Triangle2* pT : vTriangles) drawing.addObject(*pT, shading.paleOfTriangle(*pT));
    for (const Stream& stream : vStreams) drawStream(stream, grid, drawing);
    Sheet sheet(drawing, mesh.computeBoundingBox(), "Streams as breaklines",
                toGrouped(vStreams.size()) + " streams, " + toGrouped(vTriangles.size()) + " triangles");
    sheet.addFrame();
    sheet.addLine("stream, the wider the more ground drains into it", Color(0.1, 0.35, 0.85, 2));
    sheet.addLine("edge of the mesh", Color(0.5, 0.5, 0.5, 0.3));
    sheet.write(filename);
}

}  // namespace breaklines
