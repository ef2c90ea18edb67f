#include "map.h"

#include <algorithm>
#include <cmath>

#include "shading.h"
#include "sheet.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Color.h"
#include "taro25d/Edge2.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using examples::Sheet;

namespace earthworks {

namespace {

const Color ZERO_LINE(CBLACK, 0.4f), PLATFORM(1, 0.7, 0, 0.8);

/// From pale to dark with the depth, a fraction of the largest one.
Color colorOf(CAFType type, double fraction) {
    const double light = 0.85 * (1 - std::clamp(fraction, 0.0, 1.0)), dark = 0.55 + 0.45 * light / 0.85;
    return type == CT_CUT ? Color(dark, light, light, 0.1, true) : Color(light, light, dark, 0.1, true);
}

/// The outline of a filled triangle is grey, so its sides are drawn once more.
void drawTriangle(Triangle2* pT, Color color, Visualizer2& drawing) {
    drawing.addObject(*pT, color);
    color.bFill = false;
    color.width = 0.15f;
    for (int i = 0; i < 3; ++i) drawing.addObject(Edge2(pT, i), color);
}

double meanDepth(const Triangle2* pT) {
    return std::abs(pT->getCorner(0)->z() + pT->getCorner(1)->z() + pT->getCorner(2)->z()) / 3;
}

void drawGround(const Taro_2D& after, Visualizer2& drawing) {
    std::vector<Triangle2*> vTriangles;
    after.getTrianglePointers(vTriangles);
    const terrain::Shading shading(vTriangles, 0.6);
    for (Triangle2* pT : vTriangles) drawTriangle(pT, shading.paleOfTriangle(*pT), drawing);
}

void drawComponents(const CutAndFill& works, double maxDepth, Visualizer2& drawing) {
    for (size_t i = 0; i < works.getNumberOfComponents(); ++i) {
        const CAF_Component& component = *works.getComponent(i);
        if (component.getCAFType() == CT_NO_CHANGE) continue;
        std::vector<Triangle2*> vTriangles;
        component.getTriangles(vTriangles);
        for (Triangle2* pT : vTriangles)
            drawTriangle(pT, colorOf(component.getCAFType(), meanDepth(pT) / maxDepth), drawing);
    }
    for (size_t i = 0; i < works.getNumberOfComponents(); ++i) {
        if (works.getComponent(i)->getCAFType() == CT_NO_CHANGE) continue;
        std::vector<Segment2> vBorder;
        works.getComponent(i)->getBorder(vBorder);
        for (const Segment2& segment : vBorder) {
            if (segment.getSrc().z() == 0 && segment.getTrg().z() == 0) drawing.addObject(segment, ZERO_LINE);
        }
    }
}

double largestDepth(const CutAndFill& works) {
    double depth = 0;
    std::vector<Triangle2*> vTriangles;
    for (size_t i = 0; i < works.getNumberOfComponents(); ++i) works.getComponent(i)->getTriangles(vTriangles);
    for (const Triangle2* pT : vTriangles)
        for (int i = 0; i < 3; ++i) depth = std::max(depth, std::abs(pT->getCorner(i)->z()));
    return depth;
}

}  // namespace

void drawMap(const std::string& filename, const Taro_2D& after, const CutAndFill& works, const Road& road,
             const std::string& text) {
    Visualizer2 drawing(filename);
    const double maxDepth = largestDepth(works);
    drawGround(after, drawing);
    drawComponents(works, maxDepth, drawing);
    drawing.addObject(road.edges(), PLATFORM);
    Sheet sheet(drawing, after.computeBoundingBox(), "Earthworks for a road", text);
    sheet.addFrame();
    for (const CAFType type : {CT_CUT, CT_FILL}) {
        sheet.addRamp(type == CT_CUT ? "cut" : "fill", 0, maxDepth,
                      [&](double depth) { return colorOf(type, depth / maxDepth); });
    }
    sheet.addLine("zero line", ZERO_LINE);
    sheet.addLine("edge of the platform", PLATFORM);
    sheet.write(filename);
}

}  // namespace earthworks
