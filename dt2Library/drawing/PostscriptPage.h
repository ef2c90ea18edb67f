#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <deque>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/stopping.h"
#include "taro25d/Color.h"
#include "taro25d/Label.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// A position in the drawing or on the page.
struct XY {
    double x, y;
    bool operator==(const XY& other) const { return x == other.x && y == other.y; }
    bool operator<(const XY& other) const { return x < other.x || (x == other.x && y < other.y); }
};

inline XY toXY(const Point2& point) { return {point.x(), point.y()}; }

struct Line {
    XY src, trg;
};
struct Corners {
    XY a, b, c;
};
struct Disk {
    XY center;
    double radius;
};

/// Grows without copying what it has.
template <class ShapeT>
using ColoredList = std::deque<std::pair<ShapeT, Color>>;

/// One axis of the bounding box of the collected objects.
struct Interval {
    double min = std::numeric_limits<double>::max();
    double max = std::numeric_limits<double>::lowest();

    void add(double value) {
        min = std::min(min, value);
        max = std::max(max, value);
    }

    /// Makes the width positive: an empty interval becomes [0, 0], and one value gets 1 on both sides, or the
    /// next double where 1 is lost.
    void complete() {
        if (min > max) min = max = 0.0;
        if (min < max) return;
        min = std::min(min - 1.0, std::nextafter(min, std::numeric_limits<double>::lowest()));
        max = std::max(max + 1.0, std::nextafter(max, std::numeric_limits<double>::max()));
    }
};

/// A drawing on one page of PostScript. The page shows the bounding box of all objects added before it is written.
class PostscriptPage {
  public:
    explicit PostscriptPage(const std::string& filename);

    const std::string& getFilename() const { return filename_; }
    bool isClosed() const { return bClosed_; }

    void add(const XY& point, const Color& color);
    void add(const Line& line, const Color& color);
    void add(const Corners& corners, const Color& color);
    void add(const Disk& disk, const Color& color);
    void add(const Label& label, const Color& color);
    void addHeaderLine(const std::string& text);

    void write();

  private:
    /// A cancellation point, every few calls. A cancelled drawing leaves no file.
    void passCancelPoint();

    static constexpr double PAGE_EXTENT = 480.0;

    bool include(std::initializer_list<XY> corners);

    void setRange();
    double scaledDouble(double difference) const { return PAGE_EXTENT * difference / extent_; }
    XY scaledPoint(const XY& point) const;

    void writeProlog();
    void writeRange(const char* name, const Interval& range, int y);
    void writeHeaderLines();
    template <class ShapeT>
    void writeAll(const ColoredList<ShapeT>& vShapes);
    void draw(const XY& point, const Color& color);
    void draw(const Line& line, const Color& color);
    void draw(const Corners& corners, const Color& color);
    void draw(const Disk& disk, const Color& color);
    void draw(const Label& label, const Color& color);

    void drawCross(const XY& position, const Color& color);
    void fill() { out_ << "gsave\n  fill\ngrestore\n"; }
    void moveTo(const XY& position) { out_ << position.x << '\t' << position.y << "\tmoveto\n"; }
    void lineTo(const XY& position) { out_ << position.x << '\t' << position.y << "\tlineto\n"; }
    void changeColor(const Color& color);
    void periodicStroke();

    std::string filename_;
    std::ofstream out_;
    bool bClosed_ = false;
    CancelPoint<> cancelPoint_;

    ColoredList<Line> vLines_;
    ColoredList<Disk> vDisks_;
    ColoredList<XY> vPoints_;
    ColoredList<Corners> vTriangles_;
    ColoredList<Label> vLabels_;
    std::vector<std::string> vHeaderLines_;

    Interval rangeX_, rangeY_;
    double shrink_ = 1.0;                          // a power of two, multiplied to coordinates first
    double extent_ = 1.0;                          // the larger of width and height, times shrink_
    std::optional<Color> currentColor_ = Color();  // unknown after a fill, which sets a colour of its own
    size_t numDrawn_ = 0;
};

}  // namespace LUMO_TARO25D
