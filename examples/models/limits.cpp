// Two limits. The difference of two surfaces is largest where an edge of one crosses an edge of the other, so a model
// that passes all points within the limit may be farther away between them.

#include <algorithm>
#include <array>
#include <cmath>

#include "drawings.h"
#include "numbers.h"
#include "program.h"
#include "sheet.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace models {

namespace {

constexpr int NUM_CELLS = 200;  // of a picture, in each direction

const Color EDGE(0.45, 0.45, 0.45, 0.1);
constexpr double STROKE = 1.3;  // of a row of cells, in points of the page
const std::array<Color, 6> SHADES{Color(1, 1, 1, STROKE),          Color(0.89, 0.93, 0.96, STROKE),
                                  Color(0.76, 0.85, 0.92, STROKE), Color(0.55, 0.7, 0.83, STROKE),
                                  Color(0.84, 0.19, 0.12, STROKE), Color(0.5, 0, 0, STROKE)};

/// White to blue within the limit, in quarters of it; red and dark red beyond, from half as much again.
const Color& shadeOf(double difference, double limit) {
    const double share = difference / limit;
    if (share > 1.0) return SHADES[share > 1.5 ? 5 : 4];
    return SHADES[static_cast<std::size_t>(std::min(3.0, std::floor(4.0 * share)))];
}

std::string toTenths(double number) { return toText(std::round(10 * number) / 10); }

/// Draws the differences of a model from the full surface, moved to the right, and its edges over them.
void draw(Visualizer2& drawing, const Taro_2D& full, const Taro_2D& model, const Bbox2& box, double right,
          double limit) {
    const double width = (box.getMaxX() - box.getMinX()) / NUM_CELLS,
                 height = (box.getMaxY() - box.getMinY()) / NUM_CELLS;
    const auto moved = [&](const Point2& point) { return Point2(point.x() + right, point.y(), 0); };
    for (int i = 0; i < NUM_CELLS; ++i) {
        for (int j = 0; j < NUM_CELLS; ++j) {
            double onFull = 0, onModel = 0;
            const double x = box.getMinX() + (i + 0.5) * width, y = box.getMinY() + (j + 0.5) * height;
            if (!full.getHeight(x, y, onFull) || !model.getHeight(x, y, onModel)) continue;
            drawing.addObject(Segment2(moved(Point2(x - width / 2, y, 0)), moved(Point2(x + width / 2, y, 0))),
                              shadeOf(std::abs(onFull - onModel), limit));
        }
    }
    std::vector<Triangle2*> vTriangles;
    model.getTrianglePointers(vTriangles);
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Point2 &src = *pT->getCorner(i), &trg = *pT->getCorner((i + 1) % 3);
            if (src < trg) drawing.addObject(Segment2(moved(src), moved(trg)), EDGE);
        }
    }
}

}  // namespace

void compareLimits(const Points& vPoints, double limit, const std::string& filename) {
    Taro_2D full;
    full.insert(vPoints);
    full.canonicalizeDiagonals();
    Bbox2 box;
    box.add(vPoints);
    const double pitch = 1.06 * (box.getMaxX() - box.getMinX());
    Visualizer2 drawing(filename);
    std::string text;
    for (const bool bEverywhere : {false, true}) {
        EfficientModel model(vPoints);
        model.setMaxError(limit);
        model.setCertified(bEverywhere);
        model.go();
        const std::string name = bEverywhere ? "limit everywhere" : "limit at the points";
        const std::string numPoints = toText(double(model.getTriangulation()->numberOfPoints())) + " points";
        row(bEverywhere ? "everywhere" : "at the points")
            << numPoints << " of " << vPoints.size() << ", farthest at a point " << toTenths(model.getError())
            << " m, anywhere " << toTenths(model.getSurfaceError()) << " m\n";
        text += (bEverywhere ? ";  right: " : "left: ") + name + ", " + numPoints;
        draw(drawing, full, *model.getTriangulation(), box, bEverywhere ? pitch : 0, limit);
    }
    Sheet sheet(drawing, Bbox2(box.getMinX(), box.getMinY(), box.getMaxX() + pitch, box.getMaxY()),
                "Differences of two models from the surface of all points", text);
    sheet.addLine("up to " + toText(limit / 2) + " m", SHADES[1]);
    sheet.addLine("up to " + toText(limit) + " m", SHADES[3]);
    sheet.addLine("more", SHADES[4]);
    sheet.addLine("more than " + toText(1.5 * limit) + " m", SHADES[5]);
    sheet.write(filename);
}

}  // namespace models
