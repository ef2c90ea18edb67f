#include "taro25d/MeshGenParams.h"

#include <iostream>

#include "support/diagnostics.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

MeshGenParams::MeshGenParams(Zone2* pZone) : pZone(pZone) {
    if (!pZone || pZone->getZoneLocation() == ZL_INSIDE || pZone->getZoneLocation() == ZL_BOUNDED) {
        gridVector = Vector2(1.0, 0.0, 0.0);
        return;
    }
    Note("MeshGenParams::MeshGenParams(..)", ML_ERROR, std::cerr)
        << "\n\n\nMeshGenParams::MeshGenParams(..), ERROR: \n\tbehavior since Taro 1.39: The zoneLocation must be "
           "ZL_INSIDE or ZL_BOUNDED. Please convert the zone using pZone->convertToBoundedZone(..)\n\n\n";
}

MeshGenParams::~MeshGenParams() { delete pLockedConstraints; }

double MeshGenParams::getMaxTriangleArea(Triangle2*) { return maxTriangleArea; }

double MeshGenParams::getMaxEdgeLength(Triangle2*) { return maxEdgeLength; }

void MeshGenParams::addLockedConstraint(ConstraintSegment2* pCSeg) {
    if (!pCSeg) return;
    if (!pLockedConstraints) pLockedConstraints = new std::set<ConstraintSegment2*>();
    pLockedConstraints->insert(pCSeg);
}

}  // namespace LUMO_TARO25D
