#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "meshing/Refiner.h"
#include "support/diagnostics.h"
#include "taro25d/MeshGenParams.h"

namespace LUMO_TARO25D {

namespace {

/// The parameters of the simple call.
class MyLocalParams : public MeshGenParams {
  public:
    using MeshGenParams::MeshGenParams;
    ~MyLocalParams() override = default;
};

}  // namespace

void Dt2::refineClassic(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength,
                        bool bAllowConstraintSplitting) {
    MyLocalParams params(pZone);
    params.minAngleDegree = minAngleDegree;
    params.minEdgeLength = minEdgeLength;
    params.maxEdgeLength = maxEdgeLength;
    params.bAllowConstraintSplitting = bAllowConstraintSplitting;
    refineAdvanced(&params);
}

void Dt2::refineAdvanced(MeshGenParams* pParams) {
    if (!pParams) {
        error("Dt2::refineMain2(..)", "pParams==NULL");
        return;
    }
    const FlagScope pause = getHeightBook().pause();  // new vertices get heights of the surface or the guide
    if (pParams->bKeepExistingSteinerPoints) getInnerVtxMgr().clear();
    if (Refiner::haveValidPreconditions(*this, *pParams)) Refiner(*this, *pParams).refineMain3();
}

bool Dt2::checkZoneQuality(Zone2* pZone, double minAngleDegree, const std::string& name) {
    return LUMO_TARO25D::checkZoneQuality(*this, pZone, minAngleDegree, name);
}

}  // namespace LUMO_TARO25D
