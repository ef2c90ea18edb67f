#pragma once

#include <string>
#include <vector>

#include "taro25d/Point2.h"

namespace examples {

/// For some points of a file that make no triangle. Throws terrain::BadInput, which says that all points of the file
/// lie on one line, or, if they do not, the reason that is given.
[[noreturn]] void failWithoutTriangles(const std::string& filename, const std::vector<LUMO_TARO25D::Point2>& vAllPoints,
                                       const std::string& reason);

}  // namespace examples
