#pragma once

#include <cstdint>

#include "mesh/Dt2.h"
#include "mesh/MeshSlot.h"
#include "zones/ZoneMgr.h"

namespace LUMO_TARO25D {

/// The zone of the faces from which a mesh was imported. The mesh owns the zone, and the client may delete it.
class ImportedFaces : public MeshSlot {
  public:
    explicit ImportedFaces(Dt2* pMesh) : pMesh_(pMesh) {}

    void setZone(Zone2* pZone) {
        pZone_ = pZone;
        number_ = getZoneNumber(*pMesh_, pZone);
    }
    /// Null after the zone was deleted, even if another zone has its address now.
    Zone2* getZone() const { return pZone_ && getZoneNumber(*pMesh_, pZone_) == number_ ? pZone_ : nullptr; }

  private:
    Dt2* pMesh_;
    Zone2* pZone_ = nullptr;
    std::uint64_t number_ = 0;
};

}  // namespace LUMO_TARO25D
