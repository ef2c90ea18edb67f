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
#include <vector>

#include "png.h"
#include "program.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace {

constexpr double SIZE = 1000;  // of the ground, in metres

/// A round outline with bays, counterclockwise.
std::vector<Segment2> makeOutline(double x, double y, double radius, double depthOfBays, int numCorners) {
    std::vector<Point2> vCorners;
    for (int i = 0; i < numCorners; ++i) {
        const double angle = 2 * M_PI * i / numCorners;
        const double r = radius * (1 + depthOfBays * (std::sin(3 * angle) + 0.6 * std::cos(7 * angle)));
        vCorners.emplace_back(x + r * std::cos(angle), y + r * std::sin(angle), 0);
    }
    std::vector<Segment2> vSides;
    for (size_t i = 0; i < vCorners.size(); ++i) vSides.emplace_back(vCorners[i], vCorners[(i + 1) % vCorners.size()]);
    return vSides;
}

void insertScattered(Taro_2D& ground, int numPoints, std::mt19937& random) {
    std::vector<Point2> vPoints;
    for (int i = 0; i < numPoints; ++i) {
        const double x = SIZE * random() / std::mt19937::max(), y = SIZE * random() / std::mt19937::max();
        vPoints.emplace_back(x, y, 0);
    }
    ground.insert(vPoints);
}

/// Draws a zone over its triangulation, moved to a place of its own, with a line of text below.
class Panel {
  public:
    Panel(Visualizer2& drawing, double dx, double dy) : drawing_(drawing), dx_(dx), dy_(dy) {}

    void draw(const Taro_2D& ground, const Zone2& zone, const std::string& name, const Color& color) {
        std::vector<Triangle2*> vAll, vInZone;
        ground.getTrianglePointers(vAll);
        zone.getTriangles(vInZone);
        for (const Triangle2* pT : vAll) draw(*pT, Color(0.96, 0.95, 0.91, 0.1, true));
        for (const Triangle2* pT : vInZone) draw(*pT, color);
        std::vector<Segment2> vBorder;
        zone.getBoundarySegments(vBorder);
        for (const Segment2& side : vBorder) {
            drawing_.addObject(Segment2(moved(side.getSrc()), moved(side.getTrg())), Color(0.75, 0.1, 0.1, 0.9));
        }
        std::ostringstream text;
        text << name << ": " << vInZone.size() << " triangles, " << std::fixed << std::setprecision(2)
             << zone.getArea2D() / 1e4 << " ha";
        drawing_.addObject(Label(moved(Point2(0, -60, 0)), text.str(), false, 10), CBLACK);
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

ExitStatus run(const std::string& filename) {
    Taro_2D ground;
    std::mt19937 random(4);
    ground.insert({{0, 0, 0}, {SIZE, 0, 0}, {SIZE, SIZE, 0}, {0, SIZE, 0}});
    insertScattered(ground, 300, random);
    ConstraintGraph2* pShore = ground.createConstraint(makeOutline(500, 500, 330, 0.16, 90), CIS_CONSTRAINED_DELAUNAY);
    ConstraintGraph2* pCoast = ground.createConstraint(makeOutline(520, 480, 110, 0.1, 40), CIS_CONSTRAINED_DELAUNAY);

    Zone2* pInside = ground.createZone(pShore, ZL_INSIDE);
    Zone2* pOutside = ground.createZone(pShore, ZL_OUTSIDE);
    Zone2* pIsland = ground.createZone(pCoast, ZL_INSIDE);
    Zone2* pLand = zoneUnion(pOutside, pIsland);
    Zone2* pWater = zoneDifference(pInside, pIsland);

    insertScattered(ground, 300, random);  // zones follow

    Visualizer2 drawing(filename);
    drawing.addHeaderLine("A lake with an island: red is the border of each zone");
    constexpr double PITCH = 1.15 * SIZE;
    Panel(drawing, 0, PITCH).draw(ground, *pInside, "Inside the shore", Color(0.62, 0.80, 0.92, 0.1, true));
    Panel(drawing, PITCH, PITCH).draw(ground, *pOutside, "Outside the shore", Color(0.71, 0.85, 0.55, 0.1, true));
    Panel(drawing, 0, 0).draw(ground, *pLand, "Land, a union", Color(0.93, 0.78, 0.47, 0.1, true));
    Panel(drawing, PITCH, 0).draw(ground, *pWater, "Water, a difference", Color(0.36, 0.58, 0.85, 0.1, true));
    drawing.writeFile();
    addPng(filename);

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
    app.add_option("--out", outFolder, "write the picture there")->type_name("FOLDER")->capture_default_str();
    return runProgram(app, numArguments, aArguments, [&] {
        std::filesystem::create_directories(outFolder);
        return run(outFolder / "zones.ps");
    });
}
