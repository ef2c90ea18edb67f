// Earthworks on a real piece of ground: a road platform with slopes is cut into it, and what has to be moved is
// measured, component by component, and drawn.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numeric>
#include <string>
#include <vector>

#include "map.h"
#include "no_triangles.h"
#include "png.h"
#include "program.h"
#include "readers.h"
#include "road.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace {

constexpr double SITE_EXTENT = 4000, ROAD_WIDTH = 60, SLOPE_RUN = 2, THRESHOLD = 0.01;  // metres, and 1 in 2
constexpr size_t MAX_ROWS = 16;

/// The points in a square in the middle.
std::vector<Point2> takeSite(const std::vector<Point2>& vPoints) {
    const Point2 centre = getBox(vPoints).computeCenter();
    std::vector<Point2> vSite;
    std::copy_if(vPoints.begin(), vPoints.end(), std::back_inserter(vSite), [&](const Point2& p) {
        return std::max(std::abs(p.x() - centre.x()), std::abs(p.y() - centre.y())) <= SITE_EXTENT / 2;
    });
    return vSite;
}

struct Row {
    int label;
    CAFType type;
    double area, volume, maxDepth;
};

Row measure(const CAF_Component& component) {
    Row row{component.getLabel(), component.getCAFType(), 0, component.getVolume(), 0};
    std::vector<Triangle2*> vTriangles;
    component.getTriangles(vTriangles);
    for (const Triangle2* pT : vTriangles) {
        row.area += pT->getArea2D();
        for (int i = 0; i < 3; ++i) row.maxDepth = std::max(row.maxDepth, std::abs(pT->getCorner(i)->z()));
    }
    return row;
}

void print(const std::string& label, const char* type, const Row& row) {
    std::printf("  %9s  %-9s %12.0f %14.0f %10.2f %10.2f\n", label.c_str(), type, row.area, row.volume,
                row.area > 0 ? row.volume / row.area : 0, row.maxDepth);
}

/// Adds up the components of one type.
Row sumOf(const std::vector<Row>& vRows, CAFType type) {
    Row sum{0, type, 0, 0, 0};
    for (const Row& row : vRows) {
        if (row.type != type) continue;
        sum.area += row.area;
        sum.volume += row.volume;
        sum.maxDepth = std::max(sum.maxDepth, row.maxDepth);
    }
    return sum;
}

/// The largest components, by volume and then by area, and the sums of all.
void printTable(std::vector<Row> vRows) {
    const char* const aTypes[] = {"no change", "cut", "fill"};
    const std::vector<Row> vSums{sumOf(vRows, CT_NO_CHANGE), sumOf(vRows, CT_CUT), sumOf(vRows, CT_FILL)};
    std::stable_sort(vRows.begin(), vRows.end(), [](const Row& a, const Row& b) {
        return a.volume != b.volume ? a.volume > b.volume : a.area > b.area;
    });
    std::printf("\n  component  type         area (m2)    volume (m3)   mean (m)    max (m)\n");
    for (size_t i = 0; i < std::min(MAX_ROWS, vRows.size()); ++i)
        print(std::to_string(vRows[i].label), aTypes[vRows[i].type], vRows[i]);
    if (vRows.size() > MAX_ROWS) std::printf("  and %zu smaller ones\n", vRows.size() - MAX_ROWS);
    for (const Row& sum : vSums) print("all", aTypes[sum.type], sum);
}

/// The volume between a surface and height 0.
double volumeUnder(const Taro_2D& mesh) {
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    return std::accumulate(vTriangles.begin(), vTriangles.end(), 0.0, [](double sum, const Triangle2* pT) {
        return sum + pT->getArea2D() * pT->getBarycenter().z();
    });
}

void draw(const std::filesystem::path& folder, const Taro_2D& after, const CutAndFill& works,
          const earthworks::Road& road, const std::vector<Row>& vRows) {
    printChapter("Drawing");
    std::filesystem::create_directories(folder);
    const std::string filename = folder / "earthworks.ps";
    char aText[2][100];
    std::snprintf(aText[0], sizeof(aText[0]), "Cut %.0f m3, fill %.0f m3", sumOf(vRows, CT_CUT).volume,
                  sumOf(vRows, CT_FILL).volume);
    std::snprintf(aText[1], sizeof(aText[1]), "Platform of %.0f m, slopes 1 : %.0f", ROAD_WIDTH, SLOPE_RUN);
    earthworks::drawMap(filename, after, works, road, {aText[0], aText[1]});
    addPng(filename);
}

ExitStatus run(const std::string& input, const std::filesystem::path& outFolder) {
    printChapter("Reading " + input);
    const std::vector<Point2> vPoints = terrain::readPoints(input), vSite = takeSite(vPoints);
    Taro_2D before, after;
    before.insert(vSite);
    if (!before.is2D()) failWithoutTriangles(input, vPoints, "no ground in the middle");
    const earthworks::Road road(before, before.computeBoundingBox(), ROAD_WIDTH, SLOPE_RUN);
    earthworks::buildRoad(before, vSite, road, after);
    std::printf("\nThe site\n  before: %zu triangles, after: %zu triangles\n", before.numberOfTriangles(),
                after.numberOfTriangles());

    CutAndFill works(before.createZone(nullptr, ZL_GLOBAL), after.createZone(nullptr, ZL_GLOBAL), THRESHOLD);
    works.go();
    std::vector<Row> vRows;
    for (size_t i = 0; i < works.getNumberOfComponents(); ++i) vRows.push_back(measure(*works.getComponent(i)));
    std::printf("\nEarth to be moved: %zu components\n", vRows.size());
    printTable(vRows);
    std::printf("\n  fill minus cut    %14.0f m3\n  after minus before %13.0f m3\n",
                sumOf(vRows, CT_FILL).volume - sumOf(vRows, CT_CUT).volume, volumeUnder(after) - volumeUnder(before));
    std::fflush(stdout);
    draw(outFolder, after, works, road, vRows);
    return ALL_IS_WELL;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app(
        "Cuts a road into a site in the middle of the ground through the points of FILE, prints what is cut and "
        "filled,\n"
        "and draws a map of it.",
        "earthworks");
    std::string input;
    std::filesystem::path outFolder = ".";
    addPointFile(app, input);
    app.add_option("--out", outFolder, "write the picture there")->type_name("FOLDER")->capture_default_str();
    return runProgram(app, numArguments, aArguments, [&] { return run(input, outFolder); });
}
