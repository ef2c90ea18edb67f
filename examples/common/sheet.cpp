#include "sheet.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

#include "numbers.h"
#include "png.h"
#include "taro25d/Segment2.h"

using namespace LUMO_TARO25D;

namespace examples {

namespace {

// Of the page, in points.
constexpr double PAGE_EXTENT = 480;  // the width or height of a drawing
constexpr double TITLE = 36, WHERE = 13, ROW = 18, GAP = 16, MIN_WIDTH = 320;
constexpr int NUM_ROWS = 3;
const Color PAPER(CWHITE);

std::string toRange(const char* name, double low, double high) {
    return std::string(name) + " " + toPlain(low, high - low) + " to " + toPlain(high, high - low) + " m";
}

}  // namespace

double widthOf(const std::string& text, int size) {
    double width = 0;
    for (const char c : text) {
        const auto isOneOf = [c](std::string_view letters) { return letters.find(c) != std::string_view::npos; };
        width += isOneOf("fijlrtI .,:;()-") ? 0.28 : isOneOf("mwMW") ? 0.8 : c >= 'A' && c <= 'Z' ? 0.68 : 0.55;
    }
    return width * size;
}

Sheet::Sheet(Visualizer2& drawing, const Bbox2& ground, const std::string& title, const std::string& text)
    : drawing_(drawing), ground_(ground) {
    const double width = ground.getMaxX() - ground.getMinX(), height = ground.getMaxY() - ground.getMinY();
    const double room = TITLE + WHERE + ROW * NUM_ROWS;
    point_ = std::max(width / PAGE_EXTENT, height / (PAGE_EXTENT - room));
    width_ = point_ > 0 ? width / point_ : PAGE_EXTENT;
    height_ = point_ > 0 ? height / point_ : PAGE_EXTENT - room;
    right_ = width_;
    addText(0, -height_ - 21, title, 13);
    addText(0, -height_ - 6, text);
    keepRoom(-height_ - TITLE);
    keepRoom(WHERE + ROW * NUM_ROWS);
    drawBar();
}

/// The page is scaled to all that is drawn.
void Sheet::keepRoom(double down) { drawing_.addObject(Segment2(place(0, down), place(1, down)), PAPER); }

void Sheet::addFrame() {
    std::vector<Point2> vCorners;
    ground_.getCorners(vCorners);
    for (size_t i = 0; i < 4; ++i)
        drawing_.addObject(Segment2(vCorners[i], vCorners[(i + 1) % 4]), Color(CBLACK, 0.5f));
    addText(
        0, WHERE - 2,
        toRange("x", ground_.getMinX(), ground_.getMaxX()) + ", " + toRange("y", ground_.getMinY(), ground_.getMaxY()));
}

Label Sheet::centred(const Point2& at, const std::string& text, int size) const {
    const Point2 begin(at.x() - points(widthOf(text, size) / 2), at.y() - points(0.36 * size), 0);
    return Label(begin, text, false, size);
}

/// A place relative to the lower left corner of the ground, in points.
Point2 Sheet::place(double right, double down) const {
    return Point2(ground_.getMinX() + points(right), ground_.getMinY() - points(down), 0);
}

void Sheet::addText(double right, double down, const std::string& text, int size) {
    drawing_.addObject(Label(place(right, down), text, false, size), Color(CBLACK));
    right_ = std::max(right_, right + widthOf(text, size));
}

// --- the legend ---

/// Where the next entry begins; the next row where it has no room in this one.
double Sheet::takeRoom(double width) {
    if (used_ > 0 && used_ + width > std::max(width_, MIN_WIDTH) && row_ + 1 < NUM_ROWS) {
        used_ = 0;
        ++row_;
    }
    const double begin = used_;
    used_ += width + GAP;
    return begin;
}

double Sheet::middleOfRow() const { return WHERE + ROW * row_ + 12; }

/// A bar of a round length.
void Sheet::drawBar() {
    const double length = roundedDown(points(std::max(width_, height_) / 4)), onPage = point_ > 0 ? length / point_ : 0;
    const std::string text = length >= 1000 ? toText(length / 1000) + " km" : toText(length) + " m";
    const double begin = takeRoom(onPage + 6 + widthOf(text, 8)), end = begin + onPage, down = middleOfRow();
    const Color color(CBLACK, 1.2f);
    drawing_.addObject(Segment2(place(begin, down), place(end, down)), color);
    for (const double x : {begin, end}) drawing_.addObject(Segment2(place(x, down - 3), place(x, down + 3)), color);
    addText(end + 6, down + 3, text);
}

void Sheet::addLine(const std::string& name, const Color& color) {
    const double begin = takeRoom(26 + widthOf(name, 8)), down = middleOfRow();
    drawing_.addObject(Segment2(place(begin, down), place(begin + 20, down)), color);
    addText(begin + 26, down + 3, name);
}

void Sheet::addPatch(const std::string& name, const Color& color) {
    const double begin = takeRoom(20 + widthOf(name, 8)), down = middleOfRow();
    Color thick = color;
    thick.width = 9;
    drawing_.addObject(Segment2(place(begin, down), place(begin + 14, down)), thick);
    addText(begin + 20, down + 3, name);
}

void Sheet::addRamp(const std::string& name, double low, double high, const std::function<Color(double)>& colorOf) {
    constexpr int NUM_PIECES = 80;
    constexpr double LENGTH = 110, SPACE = 6;
    const std::string first = name + " " + toPlain(low, high - low), last = toPlain(high, high - low) + " m";
    const double before = widthOf(first, 8) + SPACE;
    const double begin = takeRoom(before + LENGTH + SPACE + widthOf(last, 8)) + before, down = middleOfRow();
    for (int i = 0; i < NUM_PIECES; ++i) {
        Color color = colorOf(between(low, high, (i + 0.5) / NUM_PIECES));
        color.width = 9;
        const double left = begin + LENGTH * i / NUM_PIECES;
        drawing_.addObject(Segment2(place(left, down), place(left + 1.1 * LENGTH / NUM_PIECES, down)), color);
    }
    addText(begin - before, down + 3, first);
    addText(begin + LENGTH + SPACE, down + 3, last);
}

void Sheet::write(const std::string& filename) {
    drawing_.writeFile();
    const double below = ROW * (NUM_ROWS - 1 - row_);
    addPng(filename, {right_, TITLE + height_ + WHERE + ROW * (row_ + 1), below});
}

}  // namespace examples
