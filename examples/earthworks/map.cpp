#include "map.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "shading.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Color.h"
#include "taro25d/Edge2.h"
#include "taro25d/Label.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;

namespace earthworks {

namespace {

// Of the page, in points.
constexpr double PAGE_EXTENT = 480, LEGEND = 60;
constexpr int FONT_SIZE = 8;

const Color ZERO_LINE(CBLACK, 0.4f), PLATFORM(1, 0.7, 0, 0.8), TEXT(CBLACK);

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
    for (Triangle2* pT : vTriangles) {
        const Color color = shading.ofTriangle(*pT);
        const auto pale = [](double component) { return 0.55 + 0.45 * component; };
        drawTriangle(pT, Color(pale(color.r), pale(color.g), pale(color.b), 0.1, true), drawing);
    }
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

/// Places below the map: a fraction of its width from the left, and points of the page down.
class Legend {
  public:
    Legend(const Bbox2& box, Visualizer2& drawing)
        : box_(box), width_(box.getMaxX() - box.getMinX()), drawing_(drawing) {
        const double height = box.getMaxY() - box.getMinY();
        // The drawing is scaled to fit the legend, too.
        point_ = std::max(width_ / PAGE_EXTENT, height / (PAGE_EXTENT - LEGEND));
    }

    void addScale(double left, CAFType type, const char* name, double maxDepth) {
        constexpr int NUM_PIECES = 60;
        constexpr double LENGTH = 0.28;
        for (int i = 0; i < NUM_PIECES; ++i) {
            Color color = colorOf(type, (i + 0.5) / NUM_PIECES);
            color.width = 10;
            color.bFill = false;
            const double begin = left + LENGTH * i / NUM_PIECES, end = left + LENGTH * (i + 1) / NUM_PIECES;
            drawing_.addObject(Segment2(at(begin, 20), at(end, 20)), color);
        }
        char aText[40];
        std::snprintf(aText, sizeof(aText), "%.0f m", maxDepth);
        addText(left, 36, std::string(name) + ", 0 m");
        addText(left + LENGTH - 0.05, 36, aText);
    }
    void addLine(double left, double down, const char* name, const Color& color) {
        drawing_.addObject(Segment2(at(left, down), at(left + 0.06, down)), color);
        addText(left + 0.08, down + 3, name);
    }
    void addFrame() {
        std::vector<Point2> vCorners;
        box_.getCorners(vCorners);
        for (size_t i = 0; i < 4; ++i) drawing_.addObject(Segment2(vCorners[i], vCorners[(i + 1) % 4]), TEXT);
    }
    void addText(double left, double down, const std::string& text) {
        drawing_.addObject(Label(at(left, down), text, false, FONT_SIZE), TEXT);
    }
    /// A bar of a thousand metres.
    void addLength(double left, double down) {
        const double length = 1000;
        drawing_.addObject(Segment2(at(left, down), at(left + length / width_, down)), Color(CBLACK, 2));
        addText(left, down + 12, "1 km");
    }

  private:
    Point2 at(double fraction, double down) const {
        return Point2(box_.getMinX() + fraction * width_, box_.getMinY() - down * point_, 0);
    }

    Bbox2 box_;
    double width_, point_;
    Visualizer2& drawing_;
};

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
             const std::vector<std::string>& vText) {
    Visualizer2 drawing(filename);
    for (const std::string& text : vText) drawing.addHeaderLine(text);
    const double maxDepth = largestDepth(works);
    drawGround(after, drawing);
    drawComponents(works, maxDepth, drawing);
    drawing.addObject(road.edges(), PLATFORM);
    Legend legend(after.computeBoundingBox(), drawing);
    legend.addFrame();
    legend.addScale(0, CT_CUT, "cut", maxDepth);
    legend.addScale(0.33, CT_FILL, "fill", maxDepth);
    legend.addLine(0.66, 20, "zero line", ZERO_LINE);
    legend.addLine(0.66, 33, "edge of the platform", PLATFORM);
    legend.addLength(0.66, 46);
    drawing.writeFile();
}

}  // namespace earthworks
