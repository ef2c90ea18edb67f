// The picture of the whole ground.
//
// A filled triangle gets a grey outline, which would hide the colours of a fine mesh. So the overview draws
// the edges once more on top, each in a colour between those of its two sides.

#include "picture.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "numbers.h"
#include "shading.h"
#include "sheet.h"
#include "sketch.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Circle2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using examples::Sheet;
using examples::toGrouped;

namespace terrain {

namespace {

Color mixed(const Color& a, const Color& b, double brightness, double width) {
    const double share = brightness / 2;
    return Color(share * (a.r + b.r), share * (a.g + b.g), share * (a.b + b.b), width);
}

/// Every edge once: in the triangle that has it in ascending order, or on the hull.
bool isOwnEdge(const Triangle2& triangle, int i) {
    return !triangle.getOppositeTriangle(i) || *triangle.getCorner((i + 1) % 3) < *triangle.getCorner((i + 2) % 3);
}

void drawEdges(const Triangle2& triangle, const Shading& shading, Visualizer2& drawing) {
    const Color own = shading.ofTriangle(triangle);
    for (int i = 0; i < 3; ++i) {
        if (!isOwnEdge(triangle, i)) continue;
        const Triangle2* pN = triangle.getOppositeTriangle(i);
        const Color color = mixed(own, pN ? shading.ofTriangle(*pN) : own, 0.9, 0.15);
        drawing.addObject(Segment2(*triangle.getCorner((i + 1) % 3), *triangle.getCorner((i + 2) % 3)), color);
    }
}

/// A name in a white disc.
void drawMark(const Mark& mark, const Sheet& sheet, Visualizer2& drawing) {
    for (const auto& [radius, color] : {std::pair(7.0, CBLACK), std::pair(6.3, CWHITE)}) {
        const double sqRadius = sheet.points(radius) * sheet.points(radius);
        drawing.addObject(Circle2(mark.position, sqRadius), Color(color, 0.05f, true));
    }
    drawing.addObject(sheet.centred(mark.position, mark.name, 9), CBLACK);
}

}  // namespace

void drawOverview(const std::string& filename, const Taro_2D& ground, const std::vector<Mark>& vMarks) {
    constexpr size_t MAX_POINTS = 25000;
    Taro_2D sketch;
    const bool bTooFine = ground.numberOfPoints() > MAX_POINTS;
    if (bTooFine) sketchGround(ground, MAX_POINTS, sketch);
    const Taro_2D& mesh = bTooFine ? sketch : ground;
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);

    Visualizer2 drawing(filename);
    const Shading shading(vTriangles, 0.6);
    for (const Triangle2* pT : vTriangles) {
        drawing.addObject(*pT, shading.ofTriangle(*pT));
        drawEdges(*pT, shading, drawing);
    }
    const std::string drawn = bTooFine ? ", drawn as " + toGrouped(vTriangles.size()) : "";
    const Bbox2 box = ground.computeBoundingBox();
    Sheet sheet(drawing, box, "The ground, lit from the north-west",
                toGrouped(ground.numberOfTriangles()) + " triangles" + drawn);
    sheet.addFrame();
    sheet.addRamp("height", shading.minHeight(), shading.maxHeight(), [&](double z) { return shading.ofHeight(z); });
    for (const Mark& mark : vMarks)
        if (box.isInBox(mark.position)) drawMark(mark, sheet, drawing);
    sheet.write(filename);
}

}  // namespace terrain
