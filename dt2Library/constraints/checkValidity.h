#pragma once

#include <string>

namespace LUMO_TARO25D {

class Dt2;

/// Checks that alive constraint segments are edges, corners, links, incident triangles and the hull; where all these
/// except the first are sound, with the flag, that all other edges are Delaunay. Reports what is wrong, under a name.
bool checkValidity(const Dt2& mesh, bool bCheckEmptyCircleProperty, const std::string& name);

}  // namespace LUMO_TARO25D
