#pragma once

namespace LUMO_TARO25D {

class Dt2;
class Zone2;

/// Makes a zone of the triangles that remain after triangles are peeled off at border edges that are longer than
/// maxEdgeLength in x-y and no constraints. Null, with a warning, if none remains.
Zone2* trimZone(Dt2& dt2, double maxEdgeLength);

}  // namespace LUMO_TARO25D
