#pragma once

#include <string>

namespace LUMO_TARO25D {

class Dt2;

/// Checks that alive constraint segments are edges, and checks corners, links, incident triangles and the hull. If the
/// structure is sound and bCheckEmptyCircleProperty is true, also checks that all other edges are Delaunay. Prints a
/// report of the faults that shows the name.
bool checkValidity(const Dt2& mesh, bool bCheckEmptyCircleProperty, const std::string& name);

}  // namespace LUMO_TARO25D
