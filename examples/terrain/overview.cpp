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
#include "sketch.h"
#include "taro25d/Bbox2.h"
#include "taro25d/Circle2.h"
#include "taro25d/Label.h"
#include "taro25d/Segment2.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using examples::toText;

namespace terrain {

namespace {

// Of the page, in points.
constexpr double PAGE_EXTENT = 480;                      // the width or height of a drawing
constexpr double BARS = 22, NUMBERS = 36, CAPTION = 55;  // how far below the ground they stand
constexpr int FONT_SIZE = 9;

Color mixed(const Color& a, const Color& b, double brightness, double width) {
    const double share = brightness / 2;
    return Color(share * (a.r + b.r), share * (a.g + b.g), share * (a.b + b.b), width);
}

Point2 moved(const Point2& point, double dx, double dy) { return Point2(point.x() + dx, point.y() + dy, 0); }

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

/// Where things of the page stand on the ground.
class Frame {
  public:
    explicit Frame(const Bbox2& box)
        : corner_(box.getMinPoint()), extent_(std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY())) {}

    double extent() const { return extent_; }
    /// A length on the page, in points. A tenth of the page is needed for what stands below the ground.
    double points(double number) const { return number * 1.1 * extent_ / PAGE_EXTENT; }
    /// A position below the ground: a fraction of its extent from the left, and points of the page from its
    /// lower edge.
    Point2 below(double fraction, double down) const { return moved(corner_, fraction * extent_, -points(down)); }
    /// A text centred at a position.
    Label centred(const Point2& position, const std::string& text) const {
        const double halfWidth = 0.27 * FONT_SIZE * static_cast<double>(text.size());
        return Label(moved(position, -points(halfWidth), -points(0.36 * FONT_SIZE)), text, false, FONT_SIZE);
    }

  private:
    Point2 corner_;
    double extent_;
};

/// A bar of all colours, with heights under it.
void drawColorBar(const Frame& frame, const Shading& shading, Visualizer2& drawing) {
    constexpr int NUM_PIECES = 200;
    constexpr double LENGTH = 0.6;
    const auto height = [&](double t) { return (1 - t) * shading.minHeight() + t * shading.maxHeight(); };
    for (int i = 0; i < NUM_PIECES; ++i) {
        const double begin = 1.0 * i / NUM_PIECES, end = 1.0 * (i + 1) / NUM_PIECES;
        Color color = shading.ofHeight(height((begin + end) / 2));
        color.width = 12;
        drawing.addObject(Segment2(frame.below(LENGTH * begin, BARS), frame.below(LENGTH * end, BARS)), color);
    }
    for (const double t : {0.0, 0.25, 0.5, 0.75, 1.0}) {
        drawing.addObject(frame.centred(frame.below(LENGTH * t, NUMBERS), toText(height(t), 5)), CBLACK);
    }
}

/// A bar of a round length.
void drawScale(const Frame& frame, Visualizer2& drawing) {
    constexpr double BEGIN = 0.7;
    const double length = examples::roundedDown(0.25 * frame.extent());
    const double end = BEGIN + length / frame.extent();
    drawing.addObject(Segment2(frame.below(BEGIN, BARS), frame.below(end, BARS)), Color(CBLACK, 2));
    drawing.addObject(frame.centred(frame.below((BEGIN + end) / 2, NUMBERS), toText(length, 5)), CBLACK);
}

void drawCaption(const Frame& frame, const Taro_2D& ground, size_t numDrawn, Visualizer2& drawing) {
    const Bbox2 box = ground.computeBoundingBox();
    const std::string text = "x " + toText(box.getMinX(), 10) + " to " + toText(box.getMaxX(), 10) + ", y " +
                             toText(box.getMinY(), 10) + " to " + toText(box.getMaxY(), 10) + "; " +
                             std::to_string(ground.numberOfTriangles()) + " triangles, drawn as " +
                             std::to_string(numDrawn);
    drawing.addObject(Label(frame.below(0, CAPTION), text, false, FONT_SIZE), CBLACK);
}

/// A name in a white disc.
void drawMark(const Mark& mark, const Frame& frame, Visualizer2& drawing) {
    for (const auto& [radius, color] : {std::pair(7.0, CBLACK), std::pair(6.3, CWHITE)}) {
        const double sqRadius = frame.points(radius) * frame.points(radius);
        drawing.addObject(Circle2(mark.position, sqRadius), Color(color, 0.05f, true));
    }
    drawing.addObject(frame.centred(mark.position, mark.name), CBLACK);
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
    const Frame frame(ground.computeBoundingBox());
    drawColorBar(frame, shading, drawing);
    drawScale(frame, drawing);
    drawCaption(frame, ground, vTriangles.size(), drawing);
    for (const Mark& mark : vMarks) drawMark(mark, frame, drawing);
    drawing.writeFile();
}

}  // namespace terrain
