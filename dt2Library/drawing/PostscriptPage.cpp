// The page of a Visualizer2. Objects are collected as plain coordinates, each extending the range; then they are mapped
// to the page and written in one pass. PostScript keeps a current path that grows until "stroke" draws it. A colour
// applies to the whole path, so "stroke" precedes each change of colour; and a very long path is slow to draw or
// refused by old interpreters, so a "stroke" follows every OBJECTS_PER_STROKE objects.

#include "drawing/PostscriptPage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <locale>
#include <utility>

#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t MAX_HEADER_LINES = 10;
constexpr size_t MAX_HEADER_LENGTH = 120;
constexpr size_t OBJECTS_PER_STROKE = 31;
constexpr double PAGE_LEFT = 50.0;
constexpr double PAGE_BOTTOM = 200.0;
constexpr double LINE_SPACING = 1.2;  // of a label, in font sizes
constexpr float MAX_LINE_WIDTH = 1000.0f;

/// The value clamped to [0, maximum]; 0 for NaN.
float clamped(float value, float maximum) { return value > 0.0f ? std::min(value, maximum) : 0.0f; }

/// The colour with its components clamped to the range of interpreters, and without NaN, so that colours can be sorted.
Color drawable(Color color) {
    color.r = clamped(color.r, 1.0f);
    color.g = clamped(color.g, 1.0f);
    color.b = clamped(color.b, 1.0f);
    color.width = clamped(color.width, MAX_LINE_WIDTH);
    return color;
}

/// The text with a blank for each control character: these have no glyph, and a line end would end a comment.
std::string printable(std::string text) {
    const auto isControl = [](unsigned char c) { return c < 32 || c == 127; };
    std::replace_if(text.begin(), text.end(), isControl, ' ');
    return text;
}

/// The text escaped for the parentheses of a PostScript string.
std::string quoted(const std::string& text) {
    std::string result;
    for (const char c : printable(text)) {
        if (c == '(' || c == ')' || c == '\\') result += '\\';
        result += c;
    }
    return result;
}

/// The largest font size from 6 to 12 at which the lines fit into the block in height and, by estimate, in width.
int headerFontSize(size_t numLines, size_t maxLength) {
    size_t size = std::min<size_t>(12, 100 / numLines - 2);
    if (maxLength > 0) size = std::min(size, 500 / maxLength);
    return static_cast<int>(std::max<size_t>(size, 6));
}

}  // namespace

PostscriptPage::PostscriptPage(const std::string& filename) : filename_(filename) {
    out_.imbue(std::locale::classic());
    out_.open(filename);
}

// --- collecting ---

/// Extends the range; false, without effect, if a coordinate is not finite.
bool PostscriptPage::include(std::initializer_list<XY> corners) {
    passCancelPoint();
    for (const XY& corner : corners) {
        if (!std::isfinite(corner.x) || !std::isfinite(corner.y)) return false;
    }
    for (const XY& corner : corners) {
        rangeX_.add(corner.x);
        rangeY_.add(corner.y);
    }
    return true;
}

void PostscriptPage::add(const XY& point, const Color& color) {
    if (include({point})) vPoints_.emplace_back(point, drawable(color));
}

void PostscriptPage::add(const Line& line, const Color& color) {
    if (include({line.src, line.trg})) vLines_.emplace_back(line, drawable(color));
}

void PostscriptPage::add(const Corners& corners, const Color& color) {
    if (include({corners.a, corners.b, corners.c})) vTriangles_.emplace_back(corners, drawable(color));
}

void PostscriptPage::add(const Disk& disk, const Color& color) {
    const auto& [center, radius] = disk;
    if (include({{center.x - radius, center.y - radius}, {center.x + radius, center.y + radius}})) {
        vDisks_.emplace_back(disk, drawable(color));
    }
}

void PostscriptPage::add(const Label& label, const Color& color) {
    if (include({toXY(label.getPosition())})) vLabels_.emplace_back(label, drawable(color));
}

void PostscriptPage::addHeaderLine(const std::string& text) {
    if (vHeaderLines_.size() < MAX_HEADER_LINES) {
        vHeaderLines_.push_back(text);
    } else {
        warning("Visualizer2::addHeaderLine()",
                "skipping text [\"" + text + "\"], maximum number of header lines reached");
    }
}

// --- mapping to the page ---

/// Completes the range. If 480 times width or height could overflow, coordinates are multiplied by shrink_ first.
void PostscriptPage::setRange() {
    rangeX_.complete();
    rangeY_.complete();
    const double largest = std::max({-rangeX_.min, rangeX_.max, -rangeY_.min, rangeY_.max});
    shrink_ = largest > 1e300 ? 0x1p-20 : 1.0;
    extent_ = std::max(rangeX_.max * shrink_ - rangeX_.min * shrink_, rangeY_.max * shrink_ - rangeY_.min * shrink_);
}

XY PostscriptPage::scaledPoint(const XY& point) const {
    return {PAGE_LEFT + scaledDouble(point.x * shrink_ - rangeX_.min * shrink_),
            PAGE_BOTTOM + scaledDouble(point.y * shrink_ - rangeY_.min * shrink_)};
}

// --- writing ---

void PostscriptPage::passCancelPoint() {
    try {
        cancelPoint_.pass();
    } catch (...) {
        out_.close();
        bClosed_ = true;
        std::remove(filename_.c_str());
        throw;
    }
}

void PostscriptPage::write() {
    setRange();
    std::sort(vPoints_.begin(), vPoints_.end(), [this](const auto& a, const auto& b) {
        passCancelPoint();
        return a < b;
    });
    vPoints_.erase(std::unique(vPoints_.begin(), vPoints_.end()), vPoints_.end());

    writeProlog();
    writeHeaderLines();
    writeAll(vTriangles_);
    writeAll(vLines_);
    writeAll(vPoints_);
    writeAll(vDisks_);
    writeAll(vLabels_);
    out_ << "stroke\nshowpage\n%%Trailer\n";

    out_.close();
    bClosed_ = true;
    if (!out_) warning("Visualizer2::writeFile()", "could not write " + filename_);
}

void PostscriptPage::writeProlog() {
    out_ << "%!PS-Adobe-1.0\n\t%%Creator: LUMO PostscriptWriter\n\t%%Title: " << printable(filename_)
         << "\n\t%%CreationDate: none\n"
            "\t%%DocumentMedia: A4 595 842 0 () ()\n\t%%Orientation: Portrait\n\t%%Pages: 1"
            "\t%%DocumentFonts: Times-Roman Helvetica\n\t%%EndComments\n\t%%BeginProlog\n\t%%EndProlog\n"
            "\t%%Page: Lumo PostscriptWriter 1\n"
            "0.05\tsetlinewidth\n\t0\t0\t0\tsetrgbcolor\n\t/Times-Roman findfont 17 scalefont\n\tsetfont\n"
            "40\t740\tmoveto\n\t("
         << quoted(filename_)
         << ")\tshow\n"
            "0.4\t0.4\t0.4\tsetrgbcolor\n\t/Times-Roman findfont 10 scalefont\n\tsetfont\n"
            "0.0\t0.0\t0.0\tsetrgbcolor\n\t/Times-Roman findfont 10 scalefont\n\tsetfont\n";
    writeRange("x", rangeX_, 705);
    writeRange("y", rangeY_, 695);
}

void PostscriptPage::writeRange(const char* name, const Interval& range, int y) {
    out_ << "40\t" << y << "\tmoveto\n(" << name << "-Range: [" << range.min << " - " << range.max << "] =";
    const double width = range.max - range.min;
    if (std::isfinite(width)) {
        out_ << width;
    } else {
        out_ << static_cast<long double>(range.max) - range.min;
    }
    out_ << ")\tshow\n";
}

/// The block of text lines right of the ranges, and the L-shaped rule beside and under it.
void PostscriptPage::writeHeaderLines() {
    const size_t numLines = vHeaderLines_.size();
    if (numLines == 0) return;
    size_t maxLength = 0;
    for (const std::string& text : vHeaderLines_) maxLength = std::max(maxLength, text.size());
    const int fontSize = headerFontSize(numLines, maxLength);
    const int pitch = fontSize + 2;
    const int top = 695 + static_cast<int>(numLines) * pitch;

    out_ << "0.0\t0.0\t0.0\tsetrgbcolor\n\t/Times-Roman findfont " << fontSize << " scalefont\n\tsetfont\n";
    int y = top;
    for (const std::string& text : vHeaderLines_) {
        y -= pitch;
        out_ << "240\t" << y << "\tmoveto\n(" << quoted(text.substr(0, MAX_HEADER_LENGTH)) << ")\tshow\n";
    }
    // The last "lineto" is repeated because pages are compared as text with those of earlier releases.
    out_ << "237\t692\tmoveto\n237\t" << top << "\tlineto\n237\t692\tmoveto\n570\t692\tlineto\n570\t692\tlineto\n";
}

template <class ShapeT>
void PostscriptPage::writeAll(const ColoredList<ShapeT>& vShapes) {
    for (const auto& [shape, color] : vShapes) {
        passCancelPoint();
        changeColor(color);
        draw(shape, color);
        periodicStroke();
    }
}

void PostscriptPage::draw(const Corners& corners, const Color& color) {
    moveTo(scaledPoint(corners.a));
    lineTo(scaledPoint(corners.b));
    lineTo(scaledPoint(corners.c));
    out_ << "closepath\n";
    if (!color.bFill) return;
    fill();
    out_ << "  0.3 0.3 .3 setrgbcolor\n" << color.width << "\tsetlinewidth\n";
    currentColor_.reset();
}

void PostscriptPage::draw(const Line& line, const Color&) {
    moveTo(scaledPoint(line.src));
    lineTo(scaledPoint(line.trg));
}

void PostscriptPage::draw(const XY& point, const Color& color) { drawCross(scaledPoint(point), color); }

void PostscriptPage::draw(const Disk& disk, const Color& color) {
    const XY center = scaledPoint(disk.center);
    const double radius = scaledDouble(disk.radius * shrink_);
    moveTo({center.x + radius, center.y});
    out_ << center.x << '\t' << center.y << '\t' << radius << "\t0\t360\tarc\n";
    if (color.bFill) fill();
    out_ << "stroke\n";
}

void PostscriptPage::draw(const Label& label, const Color& color) {
    XY position = scaledPoint(toXY(label.getPosition()));
    const int size = std::max(1, label.getSize());
    if (label.isMarked()) drawCross(position, color);
    out_ << "/Arial findfont " << size << " scalefont\n setfont\n";
    const std::string& text = label.getText();
    for (size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
        end = text.find('\n', start);
        moveTo(position);
        out_ << '(' << quoted(text.substr(start, end - start)) << ")\tshow\nstroke\n";
        position.y -= LINE_SPACING * size;
    }
}

void PostscriptPage::drawCross(const XY& position, const Color& color) {
    const auto [x, y] = position;
    const double s = std::max(1.5, 2.0 * color.width);
    moveTo({x - s, y - s});
    lineTo({x + s, y + s});
    moveTo({x - s, y + s});
    lineTo({x + s, y - s});
}

void PostscriptPage::changeColor(const Color& color) {
    if (currentColor_ == color) return;
    currentColor_ = color;
    out_ << "stroke\n"
         << color.r << '\t' << color.g << '\t' << color.b << "\tsetrgbcolor\n"
         << color.width << "\tsetlinewidth\n";
}

void PostscriptPage::periodicStroke() {
    if (++numDrawn_ % OBJECTS_PER_STROKE == 0) out_ << "stroke\n";
}

}  // namespace LUMO_TARO25D
