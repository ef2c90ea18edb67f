#pragma once

#include <vector>

#include "taro25d/Bbox2.h"
#include "taro25d/Point2.h"
#include "vertices/HC2.h"

namespace LUMO_TARO25D {

class GeomTest;

/// The box that holds all points inserted so far, and the Hilbert curve that gives each of them a key. The curve lies
/// over the box without its few stray points, which would enlarge the cells of all others; strays get the keys of
/// border cells.
class CurveFrame {
  public:
    /// Coordinates of a sample of the points, x and y each in any order.
    struct Sample {
        std::vector<double> vX, vY;
    };

    /// The largest coordinate of the box becomes the bound of the predicates.
    explicit CurveFrame(GeomTest& geomTest);

    const Bbox2& getInsertionBox() const { return insertionBox_; }
    const HC2& getCurve() const { return curve_; }
    unsigned getKey(const Point2& point) const { return curve_.iReset(point.x(), point.y()); }

    /// Extends the insertion box to cover a valid box; false if it did so already. With bDouble the new box is doubled,
    /// so that repeated growth takes few steps. After true the caller lays the curve anew.
    bool enlargeBox(const Bbox2& box, bool bDouble);
    /// Lays the curve over the box, without strays.
    void layCurve(Sample sample);
    /// Lays the curve anew if its box is more than four times too wide or too narrow for the sample. Returns whether it
    /// did.
    bool refreshCurve(Sample sample);

  private:
    Bbox2 chooseCurveBox(Sample& sample) const;

    Bbox2 insertionBox_, curveBox_;
    HC2 curve_;
};

}  // namespace LUMO_TARO25D
