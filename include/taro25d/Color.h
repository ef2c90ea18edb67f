#pragma once

#include "taro25d/Colorname.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// How an object is drawn: its colour, the width of its lines, and whether closed shapes are filled.
class TARO25D_API Color {
  public:
    /// Black, width 0.05, no fill.
    Color() : r(0.0f), g(0.0f), b(0.0f), width(0.05f), bFill(false) {}
    /// Components from 0 to 1, line width in page units (1/72 inch).
    Color(double r, double g, double b, double width = 0.05, bool bFill = false);
    /// A named colour. A value that names none gives black and a warning.
    Color(Colorname name, float width = 0.05f, bool bFill = false);
    /// A named colour, for a width of another arithmetic type, which would otherwise be ambiguous with the three
    /// components.
    template <class WidthT>
    Color(Colorname name, WidthT lineWidth, bool bFilled) : Color(name, static_cast<float>(lineWidth), bFilled) {}

    /// True if all fields are equal.
    bool operator==(const Color& other) const;
    /// The opposite of ==.
    bool operator!=(const Color& other) const;
    /// Lexicographic order over r, g, b, width and bFill.
    bool operator<(const Color& other) const;

    /// The next name of a cycle that the whole process shares, for objects that only have to differ. It
    /// starts with CGREEN, goes up to CCYAN and begins again; CRED, CYELLOW and CWHITE are never handed out.
    /// Safe to call from any thread.
    static Colorname getNextColorName();

    float r,      ///< red, 0 to 1
        g,        ///< green, 0 to 1
        b;        ///< blue, 0 to 1
    float width;  ///< line width in page units
    bool bFill;   ///< fill circles and triangles
};

}  // namespace LUMO_TARO25D
