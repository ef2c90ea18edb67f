#pragma once

#include <functional>
#include <string>

#include "taro25d/Bbox2.h"
#include "taro25d/Color.h"
#include "taro25d/Label.h"
#include "taro25d/Point2.h"
#include "taro25d/Visualizer2.h"

namespace examples {

/// The width of a text in the font of drawings, in points of the page, at a guess.
double widthOf(const std::string& text, int size);

/// The frame of a map: a title and a line of text above it, a bar of a round length and a legend below it. Lengths are
/// in metres. Entries of the legend stand in the order in which they come.
class Sheet {
  public:
    /// Draws title and bar, and leaves room for the ground between them.
    Sheet(LUMO_TARO25D::Visualizer2& drawing, const LUMO_TARO25D::Bbox2& ground, const std::string& title,
          const std::string& text);

    /// Draws a line around the ground, and writes its coordinates below.
    void addFrame();
    void addLine(const std::string& name, const LUMO_TARO25D::Color& color);
    void addPatch(const std::string& name, const LUMO_TARO25D::Color& color);
    /// A bar of the colours between two numbers, with the numbers at its ends.
    void addRamp(const std::string& name, double low, double high,
                 const std::function<LUMO_TARO25D::Color(double)>& colorOf);

    /// A length on the page, in points, as a length on the ground.
    double points(double number) const { return number * point_; }
    /// A text in the middle of a place.
    LUMO_TARO25D::Label centred(const LUMO_TARO25D::Point2& place, const std::string& text, int size = 8) const;

    /// Writes the drawing, and makes a PNG that has nothing else of the page.
    void write(const std::string& filename);

  private:
    LUMO_TARO25D::Point2 place(double right, double down) const;
    void addText(double right, double down, const std::string& text, int size = 8);
    void keepRoom(double down);
    double takeRoom(double width);
    double middleOfRow() const;
    void drawBar();

    LUMO_TARO25D::Visualizer2& drawing_;
    LUMO_TARO25D::Bbox2 ground_;
    double point_ = 1, width_ = 0, height_ = 0;  // of a point on the ground; of the ground in points
    double used_ = 0, right_ = 0;                // of the row, and of all that is drawn, in points to the right
    int row_ = 0;
};

}  // namespace examples
