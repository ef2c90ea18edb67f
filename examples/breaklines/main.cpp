// What breaklines are for: a mesh of some points of a grid would cut across its valleys. Here the streams are traced on
// the whole grid and forced into the mesh, so that its edges follow them. Each chapter is a function of its own, in the
// order in which main calls them.

#include <algorithm>
#include <array>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "grid.h"
#include "map.h"
#include "no_triangles.h"
#include "program.h"
#include "readers.h"
#include "streams.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace breaklines;
using namespace examples;

namespace {

struct Options {
    std::string input;
    std::filesystem::path outFolder = ".";
    std::size_t minCells = 300;  ///< as many cells must drain through a cell of a stream
    std::size_t step = 6;        ///< between the rows and columns of the grid that go into the mesh
    bool bPicture = true, bPage = false;
};

void addOptions(CLI::App& app, Options& options) {
    app.add_option("GRID", options.input, "an ESRI ASCII grid; cells without data are outside")
        ->required()
        ->type_name("");
    app.add_option("--cells", options.minCells, "a stream begins where N cells of the grid drain through one")
        ->type_name("N")
        ->check(POSITIVE_COUNT)
        ->capture_default_str();
    app.add_option("--step", options.step, "the mesh gets every Nth row and column of the grid")
        ->type_name("N")
        ->check(POSITIVE_COUNT)
        ->capture_default_str();
    app.add_option("--out", options.outFolder, "write the mesh and the picture there")
        ->type_name("FOLDER")
        ->capture_default_str();
    app.add_flag("--page", options.bPage, "also write a page with the mesh in space");
    app.add_flag_callback(
        "--no-picture", [&] { options.bPicture = false; }, "draw nothing");
}

// ---- Reading ----

Grid readGrid(const std::string& filename) {
    printChapter("Reading " + filename);
    Grid grid(terrain::readPoints(filename), filename);
    row("grid") << grid.numColumns() << " columns, " << grid.numRows() << " rows, " << grid.numCells() << " cells\n";
    return grid;
}

// ---- Tracing the streams ----

double lengthOf(const Stream& stream, const Grid& grid) {
    double length = 0;
    for (std::size_t i = 1; i < stream.vCells.size(); ++i) {
        length += grid.distance(stream.vCells[i - 1], stream.vCells[i]);
    }
    return length;
}

/// The catchments of the streams that leave the grid.
void printCatchments(std::vector<Stream> vStreams, const Grid& grid, const Drainage& drainage) {
    constexpr std::size_t MAX_LINES = 5;
    const auto staysInside = [&](const Stream& stream) { return !drainage.isOutlet(stream.vCells.back()); };
    vStreams.erase(std::remove_if(vStreams.begin(), vStreams.end(), staysInside), vStreams.end());
    const auto isLarger = [](const Stream& a, const Stream& b) { return a.numDrained > b.numDrained; };
    std::stable_sort(vStreams.begin(), vStreams.end(), isLarger);
    row("outlets") << vStreams.size() << "; the largest catchments are those of\n";
    vStreams.resize(std::min(vStreams.size(), MAX_LINES));
    std::cout << "           x           y      height       cells\n";
    for (const Stream& stream : vStreams) {
        const Point2& outlet = grid.point(stream.vCells.back());
        std::cout << std::right;
        for (const double value : {outlet.x(), outlet.y(), outlet.z()}) std::cout << std::setw(12) << value;
        std::cout << std::setw(12) << stream.numDrained << "\n";
    }
}

std::vector<Stream> traceStreams(const Grid& grid, std::size_t minCells) {
    printChapter("Tracing the streams");
    const Drainage drainage(grid);
    std::vector<Stream> vStreams = drainage.traceStreams(minCells);
    double length = 0;
    for (const Stream& stream : vStreams) length += lengthOf(stream, grid);
    row("pits") << drainage.numInPits() << " cells filled\n";
    row("streams") << vStreams.size() << ", together " << length << " long\n";
    printCatchments(vStreams, grid, drainage);
    return vStreams;
}

// ---- Triangulating: the points in one call, then each stream as a constraint graph that runs downstream ----

void insertPoints(const Grid& grid, const Options& options, Taro_2D& mesh) {
    mesh.insert(grid.everyNthPoint(options.step));
    if (!mesh.is2D()) {
        failWithoutTriangles(options.input, grid.everyNthPoint(1),
                             "the points taken lie on one line: a smaller --step is needed");
    }
    row("points") << mesh.numberOfPoints() << ", " << mesh.numberOfTriangles() << " triangles\n";
}

void insertStreams(const Grid& grid, const std::vector<Stream>& vStreams, Taro_2D& mesh) {
    std::size_t numSegments = 0;
    for (const Stream& stream : vStreams) {
        std::vector<Segment2> vSegments;
        for (std::size_t i = 1; i < stream.vCells.size(); ++i) {
            vSegments.emplace_back(grid.point(stream.vCells[i - 1]), grid.point(stream.vCells[i]));
        }
        mesh.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, true);
        numSegments += vSegments.size();
    }
    std::vector<ConstraintSegment2*> vPieces;
    mesh.getAliveConstraintSegments(vPieces);
    row("breaklines") << numSegments << " segments, " << vPieces.size() << " pieces\n";
    row("mesh") << mesh.numberOfPoints() << " vertices, " << mesh.numberOfTriangles() << " triangles\n";
}

void triangulate(const Grid& grid, const std::vector<Stream>& vStreams, const Options& options, Taro_2D& mesh) {
    printChapter("Triangulating");
    insertPoints(grid, options, mesh);
    insertStreams(grid, vStreams, mesh);
}

// ---- Checking ----

bool check(const Taro_2D& mesh) {
    printChapter("Checking");
    const bool bSound = mesh.checkValidity(true, "breaklines");
    row("structure") << (bSound ? "sound, the breaklines are edges, all others are Delaunay" : "DAMAGED") << "\n";
    return bSound;
}

// ---- Saving and loading: a mesh is its vertices and the alive pieces of its constraints ----

using Numbers = std::array<double, 3>;

Numbers numbersOf(const Point2* p) { return {p->x(), p->y(), p->z()}; }

std::vector<Numbers> verticesOf(const Taro_2D& mesh) {
    std::vector<Point2*> vVertices;
    mesh.getVertexPointers(vVertices);
    std::vector<Numbers> vNumbers;
    for (const Point2* pVtx : vVertices) vNumbers.push_back(numbersOf(pVtx));
    std::sort(vNumbers.begin(), vNumbers.end());
    return vNumbers;
}

std::vector<std::pair<Numbers, Numbers>> piecesOf(const Taro_2D& mesh) {
    std::vector<ConstraintSegment2*> vPieces;
    mesh.getAliveConstraintSegments(vPieces);
    std::vector<std::pair<Numbers, Numbers>> vNumbers;
    for (const ConstraintSegment2* pCSeg : vPieces) {
        vNumbers.emplace_back(std::minmax({numbersOf(pCSeg->getSrc()), numbersOf(pCSeg->getTrg())}));
    }
    std::sort(vNumbers.begin(), vNumbers.end());
    return vNumbers;
}

bool saveAndLoad(const Taro_2D& mesh, const std::string& filename) {
    printChapter("Saving and loading " + filename);
    Taro_2D copy;
    if (!mesh.save(filename.c_str()) || !copy.load(filename.c_str())) return false;
    const bool bSame = verticesOf(copy) == verticesOf(mesh) && piecesOf(copy) == piecesOf(mesh);
    row("size") << std::filesystem::file_size(filename) << " bytes\n";
    row("loaded") << (bSame ? "the same vertices and breaklines" : "SOMETHING ELSE") << "\n";
    return bSame;
}

// ---- Drawing ----

void draw(const Taro_2D& mesh, const Grid& grid, const std::vector<Stream>& vStreams, const std::string& filename) {
    printChapter("Drawing");
    drawMap(filename, mesh, grid, vStreams);
}

// ---- The tour ----

ExitStatus tour(const Options& options) {
    std::cout << std::setprecision(7);
    const Grid grid = readGrid(options.input);
    const std::vector<Stream> vStreams = traceStreams(grid, options.minCells);
    Taro_2D mesh;
    mesh.setName("Streams as breaklines");
    triangulate(grid, vStreams, options, mesh);
    std::filesystem::create_directories(options.outFolder);
    const bool bSound = check(mesh);
    const bool bKept = saveAndLoad(mesh, options.outFolder / "breaklines.taro");
    if (options.bPicture) draw(mesh, grid, vStreams, options.outFolder / "breaklines.ps");
    if (options.bPage) mesh.writeWebScene((options.outFolder / "streams.html").c_str());
    return bSound && bKept ? ALL_IS_WELL : BAD_DATA;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app(
        "Traces the streams of an elevation grid, triangulates some of its points, forces the streams into the mesh\n"
        "as breaklines, saves and loads it, and draws it.",
        "breaklines");
    Options options;
    addOptions(app, options);
    return runProgram(app, numArguments, aArguments, [&] { return tour(options); });
}
