#pragma once

namespace LUMO_TARO25D {

/// Keys of points along a Hilbert curve over a box: points with close keys are close to each other.
///
/// The curve runs through a grid of 2^(numBits/2) cells in each direction (Hilbert 1891, computed with a state table
/// from the top bits down). A point outside the box gets the nearest cell, and a box without extent has one cell: any
/// finite input has a key.
class HC2 {
  public:
    /// numBits must be even and below 33; anything else is an error and fails.
    HC2(double minX, double minY, double maxX, double maxY, int numBits);

    /// The key of (x, y).
    unsigned iReset(double x, double y) const;

  private:
    /// One axis of the grid. The factor prescale is 1 except for boxes near the ends of the range of doubles, where a
    /// power of two keeps the width and its reciprocal finite.
    struct Axis {
        Axis(double min, double max, unsigned gridSize);
        unsigned cell(double coordinate) const;

        double prescale, origin, scale;
        unsigned maxCell;
    };

    unsigned gridSize_;
    int initialShift_;
    Axis xAxis_, yAxis_;
};

}  // namespace LUMO_TARO25D
