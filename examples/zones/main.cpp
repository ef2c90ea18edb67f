// What zones are: a lake with an island, and four ways to speak about it.
//
// The shore and the island are polygons of constraint segments in a mesh of scattered points. A zone is a rule ("inside
// the shore"), not a list of triangles: the points that are inserted after the zones were made belong to them like all
// others. The picture zones.ps shows inside, outside, union and difference side by side.

#include <cmath>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "numbers.h"
#include "program.h"
#include "sheet.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace {

constexpr double SIZE = 1000;  // of the ground, in metres

/// A round outline with bays.
struct Outline {
    double x, y, radius, depthOfBays;

    double radiusAt(double angle) const {
        return radius * (1 + depthOfBays * (std::sin(3 * angle) + 0.6 * std::cos(7 * angle)));
    }
    /// How far a place is from the middle: 1 on the outline.
    double shareAt(double px, double py) const {
        return std::hypot(px - x, py - y) / radiusAt(std::atan2(py - y, px - x));
    }
};

constexpr Outline SHORE{500, 500, 330, 0.16}, COAST{520, 480, 110, 0.1};
constexpr double LEVEL = 100;  // of the lake

/// Hills around the lake and on the island, and between them the bed of the lake.
double heightAt(double x, double y) {
    const double fromIsland = COAST.shareAt(x, y), fromLake = SHORE.shareAt(x, y);
    if (fromIsland < 1) return LEVEL + 40 * (1 - fromIsland);
    if (fromLake > 1) return LEVEL + 25 * (fromLake - 1) + 4 * std::sin(x / 40) * std::sin(y / 50);
    return LEVEL - 30 * std::min(1 - fromLake, (fromIsland - 1) / 3);
}

/// Its corners on the level of the lake, counterclockwise.
std::vector<Segment2> makeSides(const Outline& outline, int numCorners) {
    std::vector<Point2> vCorners;
    for (int i = 0; i < numCorners; ++i) {
        const double angle = 2 * M_PI * i / numCorners, r = outline.radiusAt(angle);
        vCorners.emplace_back(outline.x + r * std::cos(angle), outline.y + r * std::sin(angle), LEVEL);
    }
    std::vector<Segment2> vSides;
    for (size_t i = 0; i < vCorners.size(); ++i) vSides.emplace_back(vCorners[i], vCorners[(i + 1) % vCorners.size()]);
    return vSides;
}

/// Points on the sides of the square.
void insertRim(Taro_2D& ground) {
    constexpr double STEP = 50;
    std::vector<Point2> vPoints;
    for (double along = 0; along < SIZE; along += STEP) {
        for (const auto& [x, y] : {std::pair(along, 0.0), {SIZE, along}, {SIZE - along, SIZE}, {0.0, SIZE - along}})
            vPoints.emplace_back(x, y, heightAt(x, y));
    }
    ground.insert(vPoints);
}

void insertScattered(Taro_2D& ground, int numPoints, std::mt19937& random) {
    std::vector<Point2> vPoints;
    for (int i = 0; i < numPoints; ++i) {
        const double x = SIZE * random() / std::mt19937::max(), y = SIZE * random() / std::mt19937::max();
        vPoints.emplace_back(x, y, heightAt(x, y));
    }
    ground.insert(vPoints);
}

const Color BORDER(0.75, 0.1, 0.1, 0.9), OTHER_GROUND(0.96, 0.95, 0.91, 0.1, true);

/// Draws a zone over its triangulation, moved to a place of its own, with a line of text below.
class Panel {
  public:
    Panel(Visualizer2& drawing, double dx, double dy) : drawing_(drawing), dx_(dx), dy_(dy) {}

    void draw(const Taro_2D& ground, const Zone2& zone, const std::string& name, const Color& color) {
        std::vector<Triangle2*> vAll, vInZone;
        ground.getTrianglePointers(vAll);
        zone.getTriangles(vInZone);
        for (const Triangle2* pT : vAll) draw(*pT, OTHER_GROUND);
        for (const Triangle2* pT : vInZone) draw(*pT, color);
        std::vector<Segment2> vBorder;
        zone.getBoundarySegments(vBorder);
        for (const Segment2& side : vBorder)
            drawing_.addObject(Segment2(moved(side.getSrc()), moved(side.getTrg())), BORDER);
        std::ostringstream text;
        text << name << ": " << vInZone.size() << " triangles, " << std::fixed << std::setprecision(2)
             << zone.getArea2D() / 1e4 << " ha";
        drawing_.addObject(Label(moved(Point2(0, -60, 0)), text.str()), CBLACK);
        std::cout << text.str() << "\n";
    }

  private:
    Point2 moved(const Point2& point) const { return Point2(point.x() + dx_, point.y() + dy_, point.z()); }
    void draw(const Triangle2& triangle, const Color& color) {
        Point2 a = moved(*triangle.getCorner(0)), b = moved(*triangle.getCorner(1)), c = moved(*triangle.getCorner(2));
        drawing_.addObject(Triangle2(&a, &b, &c), color);
    }

    Visualizer2& drawing_;
    double dx_, dy_;
};

/// The zones in space, each in a layer of its own.
void writePage(const std::string& filename, const Zone2& outside, const Zone2& water, const Zone2& island) {
    Visualizer3 scene("A lake with an island, in zones");
    std::vector<Segment2> vBorder;
    const auto add = [&](const Zone2& zone, const std::string& layer, const Color& color) {
        std::vector<Triangle2*> vTriangles;
        zone.getTriangles(vTriangles);
        scene.addSurface(vTriangles, layer, color);
    };
    add(outside, "outside the shore", Color(0.71, 0.85, 0.55));
    add(water, "water", Color(0.36, 0.58, 0.85));
    add(island, "island", Color(0.93, 0.78, 0.47));
    water.getBoundarySegments(vBorder);
    scene.addSegments(vBorder, "border of the water", Color(0.75, 0.1, 0.1));
    scene.addLabel(Label(Point2(COAST.x, COAST.y, LEVEL + 40), "island", false, 10), "labels");
    scene.setVerticalExaggeration(2);
    scene.writeWebScene(filename);
}

ExitStatus run(const std::filesystem::path& folder, bool bPage) {
    const std::string filename = folder / "zones.ps";
    Taro_2D ground;
    std::mt19937 random(4);
    insertRim(ground);
    insertScattered(ground, 300, random);
    ConstraintGraph2* pShore = ground.createConstraint(makeSides(SHORE, 90), CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2* pCoast = ground.createConstraint(makeSides(COAST, 40), CIS_CONSTRAINED_DELAUNAY);

    Zone2* pInside = ground.createZone(pShore, ZL_INSIDE);
    Zone2* pOutside = ground.createZone(pShore, ZL_OUTSIDE);
    Zone2* pIsland = ground.createZone(pCoast, ZL_INSIDE);
    Zone2* pLand = zoneUnion(pOutside, pIsland);
    Zone2* pWater = zoneDifference(pInside, pIsland);

    insertScattered(ground, 300, random);  // zones follow

    Visualizer2 drawing(filename);
    constexpr double PITCH = 1.15 * SIZE;
    Panel(drawing, 0, PITCH).draw(ground, *pInside, "Inside the shore", Color(0.62, 0.80, 0.92, 0.1, true));
    Panel(drawing, PITCH, PITCH).draw(ground, *pOutside, "Outside the shore", Color(0.71, 0.85, 0.55, 0.1, true));
    Panel(drawing, 0, 0).draw(ground, *pLand, "Land, a union", Color(0.93, 0.78, 0.47, 0.1, true));
    Panel(drawing, PITCH, 0).draw(ground, *pWater, "Water, a difference", Color(0.36, 0.58, 0.85, 0.1, true));
    Sheet sheet(drawing, Bbox2(0, -80, PITCH + SIZE, PITCH + SIZE), "Four zones of a lake with an island",
                "the same " + toText(SIZE) + " by " + toText(SIZE) + " m of ground four times");
    sheet.addLine("border of the zone", BORDER);
    sheet.addPatch("ground outside the zone", OTHER_GROUND);
    sheet.write(filename);
    if (bPage) writePage(folder / "lake.html", *pOutside, *pWater, *pIsland);

    pWater->statistics("water");
    const bool bWhole = pLand->getNumberOfTriangles() + pWater->getNumberOfTriangles() == ground.numberOfTriangles();
    return bWhole ? ALL_IS_WELL : BAD_DATA;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app(
        "Triangulates a lake with an island, and draws four zones of it: inside, outside, a union and a difference.",
        "zones");
    std::filesystem::path outFolder = ".";
    bool bPage = false;
    app.add_flag("--page", bPage, "also write a page with the zones in space");
    app.add_option("--out", outFolder, "write the picture there")->type_name("FOLDER")->capture_default_str();
    return runProgram(app, numArguments, aArguments, [&] {
        std::filesystem::create_directories(outFolder);
        return run(outFolder, bPage);
    });
}
