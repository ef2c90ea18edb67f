// The picture of the profile: the way from the left to the right, the height upwards.

#include <algorithm>
#include <cmath>

#include "drawings.h"
#include "numbers.h"
#include "taro25d/Color.h"
#include "taro25d/Label.h"
#include "taro25d/Visualizer2.h"

using namespace LUMO_TARO25D;
using examples::toText;

namespace contours {

namespace {

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
        constexpr double SHAPE = 0.35;  // height to width of the picture
        exaggeration_ = high > low ? SHAPE * length_ / (high - low) : 1;
    }

    double length() const { return length_; }
    double exaggeration() const { return exaggeration_; }
    Point2 at(double way, double height) const { return Point2(way, exaggeration_ * (height - bottom_), 0); }
    Segment2 of(const Segment2& segment) const {
        return Segment2(at(wayTo(segment.getSrc()), segment.getSrc().z()),
                        at(wayTo(segment.getTrg()), segment.getTrg().z()));
    }

  private:
    double wayTo(const Point2& point) const { return std::hypot(point.x() - start_.x(), point.y() - start_.y()); }

    Point2 start_;
    double length_, bottom_, exaggeration_;
};

}  // namespace

void drawProfile(const std::string& filename, const Polyline& vProfile, const std::vector<Level>& vLevels) {
    const Section section(vProfile);
    Visualizer2 drawing(filename);
    for (const Level& level : vLevels) {
        if (!level.bHeavy) continue;
        drawing.addObject(Segment2(section.at(0, level.height), section.at(section.length(), level.height)),
                          Color(0.7, 0.7, 0.7, 0.2));
        drawing.addObject(Label(section.at(1.01 * section.length(), level.height), toText(level.height)), CBLACK);
    }
    for (const Segment2& segment : vProfile) drawing.addObject(section.of(segment), Color(0.55, 0.32, 0.14, 0.8));
    drawing.addHeaderLine("heights exaggerated " + toText(std::round(10 * section.exaggeration()) / 10) + " times");
    drawing.writeFile();
}

}  // namespace contours
