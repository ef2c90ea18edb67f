// The map. Labels are placed first: the longest heavy lines choose, and each takes the places where it runs most level
// on the page and no other label is near. Then the lines are drawn, but not where a label stands.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "drawings.h"
#include "numbers.h"
#include "sheet.h"
#include "taro25d/Color.h"
#include "taro25d/Label.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using examples::Sheet;
using examples::toText;

namespace contours {

namespace {

// Of the page, in points.
constexpr double PAGE_EXTENT = 480;  // the width or height of a drawing
constexpr int FONT_SIZE = 6;
constexpr double DIGIT_WIDTH = 0.55 * FONT_SIZE;
constexpr double MIN_LINE_LENGTH = 60;  // for a line to be labelled
constexpr double LINE_PER_LABEL = 250, MIN_LABEL_DISTANCE = 25;

const Color LIGHT(0.72, 0.53, 0.35, 0.15), HEAVY(0.55, 0.32, 0.14, 0.5);

double lengthOf(const Polyline& vLine) {
    double length = 0;
    for (const Segment2& segment : vLine) length += std::sqrt(segment.getSqLen2D());
    return length;
}

/// A label, and the place that it takes.
struct Place {
    Point2 centre;
    std::string text;
    double halfWidth, halfHeight;  // on the ground

    bool covers(const Point2& point) const {
        return std::abs(point.x() - centre.x()) < halfWidth && std::abs(point.y() - centre.y()) < halfHeight;
    }
};

class Labels {
  public:
    explicit Labels(const Bbox2& box)
        : box_(box), pagePoint_(std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY()) / PAGE_EXTENT) {}

    /// The longest lines first.
    void placeAll(const std::vector<Level>& vLevels) {
        std::vector<std::pair<double, const Polyline*>> vLines;
        for (const Level& level : vLevels)
            for (const Polyline& vLine : level.vLines)
                if (level.bHeavy) vLines.emplace_back(lengthOf(vLine), &vLine);
        std::stable_sort(vLines.begin(), vLines.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
        for (const auto& [length, pLine] : vLines) {
            if (length < MIN_LINE_LENGTH * pagePoint_) return;
            const size_t n = pLine->size();
            // One for each point at most: on ground of hardly any extent a point of the page may be 0.
            const auto numLabels = size_t(std::min(double(n), 1 + length / (LINE_PER_LABEL * pagePoint_)));
            for (size_t i = 0; i < numLabels; ++i) place(*pLine, i * n / numLabels, (i + 1) * n / numLabels);
        }
    }
    bool cover(const Point2& point) const {
        return std::any_of(vPlaces_.begin(), vPlaces_.end(), [&](const Place& place) { return place.covers(point); });
    }
    void draw(Visualizer2& drawing) const {
        for (const Place& place : vPlaces_) {
            const Point2 start(place.centre.x() - 0.5 * DIGIT_WIDTH * double(place.text.size()) * pagePoint_,
                               place.centre.y() - 0.36 * FONT_SIZE * pagePoint_, 0);
            drawing.addObject(Label(start, place.text, false, FONT_SIZE), HEAVY);
        }
    }

  private:
    /// Somewhere on a part of a line.
    void place(const Polyline& vLine, size_t begin, size_t end) {
        const std::string text = toText(std::round(1e6 * vLine[0].getSrc().z()) / 1e6);
        const double halfWidth = (0.5 * DIGIT_WIDTH * double(text.size()) + 1) * pagePoint_;
        const double halfHeight = 0.5 * FONT_SIZE * pagePoint_;
        size_t best = end;
        double bestRise = 0;
        for (size_t i = begin; i < end; ++i) {
            const double rise = riseAround(vLine, i, halfWidth);
            if ((best == end || rise < bestRise) && isFree(vLine[i].getSrc(), halfWidth)) {
                best = i;
                bestRise = rise;
            }
        }
        if (best < end) vPlaces_.push_back({vLine[best].getSrc(), text, halfWidth, halfHeight});
    }

    /// How far the line goes up or down the page where a label at its i-th point would stand.
    static double riseAround(const Polyline& vLine, size_t i, double halfWidth) {
        const Point2& centre = vLine[i].getSrc();
        double rise = 0;
        for (size_t j = i; j < vLine.size() && std::abs(vLine[j].getTrg().x() - centre.x()) < halfWidth; ++j)
            rise = std::max(rise, std::abs(vLine[j].getTrg().y() - centre.y()));
        for (size_t j = i; j > 0 && std::abs(vLine[j - 1].getSrc().x() - centre.x()) < halfWidth; --j)
            rise = std::max(rise, std::abs(vLine[j - 1].getSrc().y() - centre.y()));
        return rise;
    }

    bool isFree(const Point2& point, double halfWidth) const {
        const double distance = MIN_LABEL_DISTANCE * pagePoint_;
        const bool bInside = point.x() - box_.getMinX() > halfWidth && box_.getMaxX() - point.x() > halfWidth &&
                             point.y() - box_.getMinY() > halfWidth && box_.getMaxY() - point.y() > halfWidth;
        return bInside && std::none_of(vPlaces_.begin(), vPlaces_.end(), [&](const Place& other) {
                   return std::hypot(other.centre.x() - point.x(), other.centre.y() - point.y()) < distance;
               });
    }

    Bbox2 box_;
    double pagePoint_;  // in the unit of the ground
    std::vector<Place> vPlaces_;
};

const Color WATER(0.62, 0.79, 0.93, 0.05, true), SHORE(0.2, 0.45, 0.75, 0.6), SECTION(0.75, 0.1, 0.1, 0.8);

/// A filled triangle has a grey outline, so its sides are drawn once more; those of two triangles by one of them.
void drawFlood(const Flood& flood, Visualizer2& drawing) {
    for (const Triangle2* pT : flood.vBed) {
        drawing.addObject(*pT, WATER);
        for (int i = 0; i < 3; ++i) {
            const Point2 &src = *pT->getCorner((i + 1) % 3), &trg = *pT->getCorner((i + 2) % 3);
            if (src < trg) drawing.addObject(Segment2(src, trg), Color(WATER.r, WATER.g, WATER.b, 0.2));
        }
    }
    drawing.addObject(flood.vShore, SHORE);
}

void drawSection(const Polyline& vProfile, const Sheet& sheet, Visualizer2& drawing) {
    drawing.addObject(vProfile, SECTION);
    const Point2 &from = vProfile.front().getSrc(), &to = vProfile.back().getTrg();
    const double inside = sheet.points(8), up = sheet.points(8);
    drawing.addObject(sheet.centred(Point2(from.x() + inside, from.y() + up, 0), "A", 12), SECTION);
    drawing.addObject(sheet.centred(Point2(to.x() - inside, to.y() + up, 0), "B", 12), SECTION);
}

void drawLevels(const std::vector<Level>& vLevels, const Labels& labels, Visualizer2& drawing) {
    for (const bool bHeavy : {false, true}) {
        for (const Level& level : vLevels) {
            if (level.bHeavy != bHeavy) continue;
            for (const Polyline& vLine : level.vLines)
                for (const Segment2& segment : vLine)
                    if (!labels.cover(segment.getSrc())) drawing.addObject(segment, bHeavy ? HEAVY : LIGHT);
        }
    }
    labels.draw(drawing);
}

}  // namespace

void drawMap(const std::string& filename, const Content& content) {
    Labels labels(content.box);
    labels.placeAll(content.vLevels);
    Visualizer2 drawing(filename);
    drawFlood(content.flood, drawing);
    drawLevels(content.vLevels, labels, drawing);
    const std::string interval = toText(content.interval) + " m";
    Sheet sheet(drawing, content.box, "Contours", "every " + interval + ", heights in m");
    sheet.addFrame();
    sheet.addLine("contour", LIGHT);
    sheet.addLine("every fifth", HEAVY);
    if (!content.vProfile.empty()) {
        drawSection(content.vProfile, sheet, drawing);
        sheet.addLine("profile A to B", SECTION);
    }
    if (content.flood.area > 0) sheet.addPatch("flooded up to " + toText(content.flood.level) + " m", WATER);
    sheet.write(filename);
}

}  // namespace contours
