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
#include "numbers.h"
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
    const std::string text = "cut " + toGrouped(sumOf(vRows, CT_CUT).volume) + " m3, fill " +
                             toGrouped(sumOf(vRows, CT_FILL).volume) + " m3; platform of " + toText(ROAD_WIDTH) +
                             " m, slopes 1 : " + toText(SLOPE_RUN);
    earthworks::drawMap(filename, after, works, road, text);
}

/// The edges of the platform, laid on a surface.
std::vector<Segment2> layOn(const Taro_2D& mesh, const std::vector<Segment2>& vEdges) {
    const auto raised = [&mesh](const Point2& place) {
        double height = place.z();
        mesh.getHeight(place.x(), place.y(), height);
        return Point2(place.x(), place.y(), height);
    };
    std::vector<Segment2> vLaid;
    for (const Segment2& edge : vEdges) vLaid.emplace_back(raised(edge.getSrc()), raised(edge.getTrg()));
    return vLaid;
}

/// Two pages: the ground before, and what is cut and filled on the ground after.
void writePages(const std::filesystem::path& folder, const Taro_2D& before, const Taro_2D& after,
                const CutAndFill& works, const earthworks::Road& road) {
    const Color edgeColor(1, 0.7, 0);
    Visualizer3 ground("The site before, and where the road will be");
    std::vector<Triangle2*> vTriangles;
    before.getTrianglePointers(vTriangles);
    ground.addSurface(vTriangles, "surface", CR_TERRAIN);
    ground.addSegments(layOn(before, road.edges()), "edges of the platform", edgeColor);
    ground.writeWebScene(folder / "earthworks_before.html");
    Visualizer3 site("The site after: cut and fill");
    works.show(&site);
    site.addSegments(layOn(after, road.edges()), "edges of the platform", edgeColor);
    site.writeWebScene(folder / "earthworks_after.html");
}

ExitStatus run(const std::string& input, const std::filesystem::path& outFolder, bool bPage) {
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
    if (bPage) writePages(outFolder, before, after, works, road);
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
    bool bPage = false;
    addPointFile(app, input);
    app.add_flag("--page", bPage, "also write pages with the site in space");
    app.add_option("--out", outFolder, "write the picture there")->type_name("FOLDER")->capture_default_str();
    return runProgram(app, numArguments, aArguments, [&] { return run(input, outFolder, bPage); });
}
