#pragma once

namespace LUMO_TARO25D {

class Dt2;

/// Writes vertices and alive constraint segments to a file; false, with a message, if it cannot be written.
bool saveMesh(const Dt2& mesh, const char* filename);
/// Inserts the content of a file; false, with a message and without any change, if it cannot be read or is damaged.
bool loadMesh(Dt2& mesh, const char* filename);

}  // namespace LUMO_TARO25D
