#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "taro25d/Point2.h"

namespace terrain {

/// Input that cannot be used. The message reads "file:line: reason", without the line where no line is to blame.
class BadInput : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The points of a file in one of these text formats, which are distinguished by their contents:
///  - an ESRI ASCII grid: a header (ncols, nrows, xllcorner or xllcenter, yllcorner or yllcenter, cellsize or dx and dy,
///    NODATA_value, in any order and case), then the heights row by row, the northernmost row first. Heights stand at the
///    centres of the cells; cells without data give no point;
///  - `x y z` on each line, separated by blanks or tabs; '#' begins a comment;
///  - CSV: x, y and z separated by commas or semicolons, and perhaps a line of column names at the top.
/// Numbers have a decimal point whatever the locale. Throws BadInput for a file that is missing, empty or cut short, or
/// that holds anything but finite numbers. Memory stays proportional to the length of the file, whatever it says.
std::vector<LUMO_TARO25D::Point2> readPoints(const std::string& filename);

/// The same for text that is already in memory; the name is used in messages only.
std::vector<LUMO_TARO25D::Point2> parsePoints(const std::string& name, std::string_view text);

/// The number that the whole word stands for; nothing if it is not a finite number.
std::optional<double> toNumber(std::string_view word);

}  // namespace terrain
