#pragma once

namespace LUMO_TARO25D {

class Dt2;
class Zone2;

/// Makes a zone of the triangles that remain when those at the border are peeled off over edges that are longer in x-y and no
/// constraints. Null, with a warning, if there is no such zone.
Zone2* trimZone(Dt2& dt2, double maxEdgeLength);

}  // namespace LUMO_TARO25D
