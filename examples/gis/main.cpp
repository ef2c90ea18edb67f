// From one map to another: an elevation raster and lines from a geographic information system go in, contours and
// triangles come out, in its coordinate system. The library knows nothing of such files; GDAL reads and writes them.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <string>
#include <vector>

#include "files.h"
#include "geopackage.h"
#include "levels.h"
#include "lines.h"
#include "numbers.h"
#include "options.h"
#include "program.h"
#include "raster.h"
#include "readers.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;
using namespace gis;

namespace {

// ---- Reading ----

Raster readRaster(const Options& options) {
    printChapter("Reading " + options.raster);
    Raster raster(options.raster, options.band, options.maxPoints);
    const Axis &columns = raster.columns(), &rows = raster.rows();
    row("cells") << columns.numCells << " columns, " << rows.numCells << " rows\n";
    if (columns.step > 1) row("taken") << columns.numTaken() << " columns, " << rows.numTaken() << " rows\n";
    row("with data") << raster.points().size() << "\n";
    if (raster.coordinateSystem()) row("in") << raster.coordinateSystem()->GetName() << "\n";
    return raster;
}

void triangulate(const Options& options, const Raster& raster, Taro_2D& ground) {
    printChapter("Triangulating");
    ground.insert(raster.points());
    if (!ground.is2D()) throw terrain::BadInput(options.raster + ": the cells with data make no triangle");
    row("triangles") << ground.numberOfTriangles() << "\n";
}

void warnOf(std::size_t number, const std::string& what) {
    if (number > 0) warn(std::to_string(number) + what);
}

/// The lines need the ground, which gives heights to those that have none.
Lines readLines(const Options& options, const Raster& raster, const Taro_2D& ground) {
    printChapter("Reading " + options.lines);
    Lines lines = gis::readLines(options.lines, options.layer, options.bDrape, raster, ground);
    row("layer") << lines.layer << (lines.bTransformed ? ", transformed" : "") << "\n";
    row("lines") << lines.numLines << ", " << lines.numDraped << " of them laid on the ground\n";
    row("on the raster") << lines.vWithHeights.size() + lines.vDraped.size() << " segments\n";
    warnOf(lines.numLost, " features cannot be transformed and are left out");
    warnOf(lines.numPlaceless, " lines have coordinates that are not finite and are left out");
    warnOf(lines.numWrongHeights, " lines have heights that are not finite and are laid on the ground");
    return lines;
}

// ---- Breaklines ----

double heightOn(const Segment2& line, const Point2& place) {
    const Point2 &src = line.getSrc(), &trg = line.getTrg();
    if (place == src || place == trg) return place == src ? src.z() : trg.z();
    const double t = std::sqrt(Segment2(src, place).getSqLen2D() / line.getSqLen2D());
    return between(src.z(), trg.z(), t);
}

/// Vertices that were there before, at the centres of cells, keep their heights when a line is forced through them.
/// Where the line has heights of its own, these are to count.
void insertWithHeights(const Segment2& line, Taro_2D& ground) {
    ConstraintGraph2* pGraph = ground.createConstraint({line}, CIS_CONSTRAINED_DELAUNAY);
    std::vector<ConstraintSegment2*> vPieces;
    pGraph->getAliveConstraintChain(vPieces);
    for (const ConstraintSegment2* pPiece : vPieces) {
        for (Point2* pVtx : {pPiece->getSrc(), pPiece->getTrg()}) {
            pVtx->set(pVtx->x(), pVtx->y(), heightOn(line, *pVtx));
        }
    }
}

void insertBreaklines(const Lines& lines, Taro_2D& ground) {
    printChapter("Forcing the lines into the mesh");
    for (const Segment2& line : lines.vWithHeights) insertWithHeights(line, ground);
    if (!lines.vDraped.empty()) ground.createConstraint(lines.vDraped, CIS_CONSTRAINED_DELAUNAY);
    std::vector<ConstraintSegment2*> vPieces;
    ground.getAliveConstraintSegments(vPieces);
    row("breaklines") << vPieces.size() << " edges\n";
    row("mesh") << ground.numberOfPoints() << " vertices, " << ground.numberOfTriangles() << " triangles\n";
}

/// A triangulation fills its convex hull, and so bridges cells without data. The middle of a bridge is at one of those.
/// What is left then are bridges of bays in the border, thinner than a cell but longer than its diagonal. Lengths count
/// on the ground, as for the triangulation: where cells are long and narrow, good edges pass several of them.
std::vector<Triangle2*> trianglesWithData(Taro_2D& ground, const Raster& raster, const std::string& filename) {
    std::vector<Triangle2*> vAll, vWithData, vGround;
    ground.getTrianglePointers(vAll);
    for (Triangle2* pT : vAll) {
        if (raster.hasDataAt(pT->getBarycenter())) vWithData.push_back(pT);
    }
    const double maxLength = 1.5 * raster.longerSide();
    const auto isBridge = [&](const Triangle2* pT) { return pT->getMaxSqEdgeLen2D() > maxLength * maxLength; };
    Zone2* pZone = ground.createZone(vWithData);
    if (pZone) pZone = peelOffIf(pZone, &isBridge, false);
    if (!pZone) throw terrain::BadInput(filename + ": no three neighbouring cells have data");
    pZone->getTriangles(vGround);
    return vGround;
}

// ---- Contours and output ----

std::vector<Level> contour(const IsoContours& isoContours, double interval) {
    if (!(interval > 0)) interval = proposeInterval(isoContours);
    printChapter("Contours");
    row("heights") << isoContours.getMinHeight() << " to " << isoContours.getMaxHeight() << "\n";
    row("interval") << interval << "\n";
    return takeLevels(isoContours, interval);
}

void write(const std::vector<Level>& vLevels, const std::vector<Triangle2*>& vTriangles, const Raster& raster,
           const std::filesystem::path& filename) {
    printChapter("Writing " + filename.string());
    GeoPackage package(filename, raster.coordinateSystem());
    row("contours") << package.addContours(vLevels) << "\n";
    package.addTriangles(vTriangles);
    row("triangles") << vTriangles.size() << "\n";
    package.finish();
}

ExitStatus run(const Options& options) {
    GDALAllRegister();
    CPLSetErrorHandler(CPLQuietErrorHandler);  // what GDAL says goes into the messages of this program
    std::cout << std::setprecision(10);
    const Raster raster = readRaster(options);
    Taro_2D ground;
    triangulate(options, raster, ground);
    insertBreaklines(readLines(options, raster, ground), ground);
    const std::vector<Triangle2*> vTriangles = trianglesWithData(ground, raster, options.raster);
    const IsoContours isoContours(vTriangles);
    const std::vector<Level> vLevels = contour(isoContours, options.interval);
    write(vLevels, vTriangles, raster, options.output);
    return ALL_IS_WELL;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app(
        "Triangulates an elevation raster with lines as breaklines, and writes its contours and triangles as a "
        "GeoPackage\n"
        "in the coordinate system of the raster.\n"
        "\n"
        "Lines are transformed to that system, and get a vertex for every cell that they cross. Lines with heights "
        "keep\n"
        "them. Lines without are laid on the ground: each vertex has the height of the triangulated raster.\n",
        "gis");
    Options options;
    addOptions(app, options);
    return runProgram(app, numArguments, aArguments, [&] { return run(options); });
}
