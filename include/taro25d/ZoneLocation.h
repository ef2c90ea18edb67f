#pragma once

namespace LUMO_TARO25D {

/// The rule that selects the triangles of a zone.
enum ZoneLocation {
    ZL_GLOBAL = 0,                       ///< all triangles
    ZL_INSIDE = 1,                       ///< the area that the zone's constraint graphs enclose
    ZL_OUTSIDE = 2,                      ///< the area outside the zone's constraint graphs
    ZL_GROW = 3,                         ///< the area reached from seed points without crossing the zone's constraints
    ZL_RESULT_UNION = 4,                 ///< made by zoneUnion
    ZL_RESULT_INTERSECTION = 5,          ///< made by zoneIntersection
    ZL_RESULT_DIFFERENCE = 6,            ///< made by zoneDifference
    ZL_RESULT_SYMMETRIC_DIFFERENCE = 7,  ///< made by zoneSymmetricDifference
    ZL_BOUNDED = 8                       ///< as ZL_INSIDE, within an oriented border that was made for the zone
};

}  // namespace LUMO_TARO25D
