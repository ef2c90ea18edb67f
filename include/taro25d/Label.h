#pragma once

#include <string>

#include "taro25d/Point2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// A text at a position of the drawing.
class TARO25D_API Label {
  public:
    /// The text begins at the position and may have several lines, separated by "\n", each 1.2 font sizes
    /// below the one before. With bMark the position itself is marked by a small cross. The font size is in
    /// page units (1/72 inch); a size below 1 counts as 1.
    Label(const Point2& position, const std::string& text, bool bMark = false, int size = 8);

    const Point2& getPosition() const { return position_; }  ///< Where the text begins.
    const std::string& getText() const { return text_; }     ///< The text.
    bool isMarked() const { return bMark_; }                 ///< Whether a cross marks the position.
    int getSize() const { return size_; }                    ///< The font size as it was given.

  private:
    Point2 position_;
    std::string text_;
    bool bMark_;
    int size_;
};

}  // namespace LUMO_TARO25D
