#pragma once

#include <functional>

namespace LUMO_TARO25D {

class Dt2;

/// A function that gives a mesh its present vertices, triangles and name again, once. All their records keep their
/// places. Objects of higher floors are not included. No insertion may be running. Linear in the size of the mesh.
std::function<void()> rememberMesh(Dt2& mesh);

}  // namespace LUMO_TARO25D
