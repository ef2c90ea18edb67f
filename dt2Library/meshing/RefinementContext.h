#pragma once

#include <cstdint>
#include <memory>

#include "mesh/Dt2.h"
#include "mesh/MeshSlot.h"
#include "meshing/GuideSurface.h"
#include "taro25d/MeshGenParams.h"

namespace LUMO_TARO25D {

/// The state that refinement keeps for a mesh: how triangles are measured, and for which zone. It outlives a
/// refinement, since the check of quality uses the limits of the last one.
class RefinementContext : public MeshSlot {
  public:
    explicit RefinementContext(Dt2* pDt2) : pDt2(pDt2) {}

    Dt2* const pDt2;
    /// Null if the running or last refinement has no guide.
    std::unique_ptr<GuideSurface> pGuide;
    /// The largest absolute coordinate of the zone that was refined or checked last; 0 before.
    double zoneMagnitude = 0.0;
    /// A copy of the limits of the last refinement, and the number of its zone; null before.
    std::unique_ptr<MeshGenParams> pLastParams;
    std::uint64_t numberOfLastZone = 0;
    bool bRunning = false;
};

/// The context of a mesh.
inline RefinementContext& getRefinementContext(Dt2* pDt2) { return pDt2->getSlot<RefinementContext>(); }

}  // namespace LUMO_TARO25D
