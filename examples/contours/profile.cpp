// The picture of the profile: distances from left to right, heights upwards.

#include <algorithm>
#include <cmath>

#include "drawings.h"
#include "numbers.h"
#include "png.h"
#include "sheet.h"
#include "taro25d/Color.h"
#include "taro25d/Label.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace contours {

namespace {

constexpr double PAGE_EXTENT = 480, SHAPE = 0.35;          // points; height to width of the picture
constexpr double LEFT = 0.09, BELOW = 0.06, ABOVE = 0.09;  // room for text, of the length
constexpr double RIGHT = 0.04, POINT = (LEFT + 1 + RIGHT) / PAGE_EXTENT;

/// How the section through the ground is laid on the page.
class Section {
  public:
    explicit Section(const Polyline& vProfile) : start_(vProfile.front().getSrc()) {
        double low = start_.z(), high = low;
        for (const Segment2& segment : vProfile) {
            low = std::min(low, segment.getTrg().z());
            high = std::max(high, segment.getTrg().z());
        }
        length_ = wayTo(vProfile.back().getTrg());
        bottom_ = low;
        range_ = high - low;
        exaggeration_ = high > low ? SHAPE * length_ / (high - low) : 1;
    }

    double length() const { return length_; }
    double range() const { return range_; }
    double exaggeration() const { return exaggeration_; }
    Point2 at(double way, double height) const { return Point2(way, exaggeration_ * (height - bottom_), 0); }
    /// A place by shares of the length, from the start and the lowest height.
    Point2 beside(double right, double up) const { return Point2(right * length_, up * length_, 0); }
    Segment2 of(const Segment2& segment) const {
        return Segment2(at(wayTo(segment.getSrc()), segment.getSrc().z()),
                        at(wayTo(segment.getTrg()), segment.getTrg().z()));
    }

  private:
    double wayTo(const Point2& point) const { return std::hypot(point.x() - start_.x(), point.y() - start_.y()); }

    Point2 start_;
    double length_, bottom_, range_, exaggeration_;
};

void drawHeights(const Section& section, const std::vector<Level>& vLevels, Visualizer2& drawing) {
    for (const Level& level : vLevels) {
        if (!level.bHeavy) continue;
        const Point2 left = section.at(0, level.height);
        drawing.addObject(Segment2(left, section.at(section.length(), level.height)), Color(0.7, 0.7, 0.7, 0.2));
        const std::string text = toPlain(level.height, section.range()) + " m";
        const double up = left.y() / section.length() - 3 * POINT;
        drawing.addObject(Label(section.beside(-(widthOf(text, 8) + 5) * POINT, up), text), CBLACK);
    }
}

void drawDistances(const Section& section, Visualizer2& drawing) {
    const double step = roundedDown(section.length() / 4);
    for (double distance = 0; distance <= section.length(); distance += step) {
        const double share = distance / section.length();
        drawing.addObject(Segment2(section.beside(share, 0), section.beside(share, -0.012)), Color(CBLACK, 0.4f));
        const std::string text = step >= 1000 ? toText(distance / 1000) + " km" : toText(distance) + " m";
        drawing.addObject(Label(section.beside(share - widthOf(text, 8) / 2 * POINT, -0.035), text), CBLACK);
    }
    drawing.addObject(Segment2(section.beside(0, 0), section.beside(1, 0)), Color(CBLACK, 0.4f));
}

}  // namespace

void drawProfile(const std::string& filename, const Polyline& vProfile, const std::vector<Level>& vLevels) {
    const Section section(vProfile);
    Visualizer2 drawing(filename);
    drawHeights(section, vLevels, drawing);
    drawDistances(section, drawing);
    for (const Segment2& segment : vProfile) drawing.addObject(section.of(segment), Color(0.55, 0.32, 0.14, 0.8));
    const std::string times = toText(std::round(10 * section.exaggeration()) / 10);
    drawing.addObject(Label(section.beside(0, SHAPE + 0.05), "Profile from A to B", false, 13), CBLACK);
    drawing.addObject(
        Label(section.beside(0, SHAPE + 0.02), "height over distance, heights exaggerated " + times + " times"),
        CBLACK);
    for (const Point2& corner : {section.beside(-LEFT, -BELOW), section.beside(1 + RIGHT, SHAPE + ABOVE)}) {
        drawing.addObject(Segment2(corner, corner), Color(CWHITE));  // keeps the room
    }
    drawing.writeFile();
    addPng(filename, {PAGE_EXTENT, (BELOW + SHAPE + ABOVE) / POINT});
}

}  // namespace contours
