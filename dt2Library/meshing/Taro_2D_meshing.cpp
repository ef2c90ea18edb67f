#include "taro25d/Taro_2D.h"

#include <iostream>

#include "mesh/EngineCall.h"

namespace LUMO_TARO25D {

void Taro_2D::refine(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength,
                     bool bAllowConstraintSplitting) {
    if (!pZone) {
        Note("Taro_2D::refine(..)", ML_WARNING, std::cerr)
            << "\nWarning: Taro_2D::refine(..) has been called with pZone==NULL\n\n";
        return;
    }
    if (minAngleDegree > 30.0) {
        Note("Taro_2D::refine(..)", ML_WARNING, std::cerr)
            << "\nWarning: Taro_2D::refine(..), minAngleDegree can't be >30\n\n";
        return;
    }
    call(pDt2_)->refineClassic(pZone, minAngleDegree, minEdgeLength, maxEdgeLength, bAllowConstraintSplitting);
}

void Taro_2D::refineAdvanced(MeshGenParams* pParams) { call(pDt2_)->refineAdvanced(pParams); }

bool Taro_2D::checkZoneQuality(Zone2* pZone, double minAngleDegree, const std::string& name,
                               const AcceptExperimentalFeature&) {
    return call(pDt2_)->checkZoneQuality(pZone, minAngleDegree, name);
}

}  // namespace LUMO_TARO25D
