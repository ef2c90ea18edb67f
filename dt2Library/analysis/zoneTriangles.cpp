#include "analysis/zoneTriangles.h"

#include <algorithm>

#include "mesh/Dt2.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

std::vector<Triangle2*> getTrianglesOf(const Zone2& zone) {
    std::vector<Triangle2*> vTriangles;
    const Dt2& dt2 = *zone.getDelaunayTriangulation();
    if (zone.getZoneLocation() == ZL_GLOBAL && dt2.is2D()) {
        dt2.getTrianglePointers(vTriangles);
    } else {
        zone.getTriangles(vTriangles);
    }
    return vTriangles;
}

int getNumThreads(int numCPU) { return std::max(1, numCPU == 0 ? getNumCPU() : numCPU); }

}  // namespace LUMO_TARO25D
