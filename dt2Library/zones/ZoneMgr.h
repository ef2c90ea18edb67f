#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "mesh/MeshSlot.h"
#include "taro25d/Edge2.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"
#include "taro25d/ZoneLocation.h"

namespace LUMO_TARO25D {

class ConstraintGraph2;
class Dt2;
class Zone2;

/// The zones of a mesh: it makes them, owns them, and deletes them.
///
/// Each form of createZone returns null, with a warning if bVerbose: before there are triangles, for a graph that is
/// null, belongs to another mesh or has no direction (ZL_GROW needs none), and for a location that the form does not
/// accept.
class ZoneMgr : public MeshSlot {
  public:
    explicit ZoneMgr(Dt2* pDt2);
    ~ZoneMgr() override;

    Zone2* createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose);
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose);
    Zone2* createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                      bool bVerbose);
    Zone2* createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose);
    Zone2* createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose);
    /// Deletes a zone; false, with a warning, for a zone of another mesh and for an operand of another zone.
    bool deleteZone(Zone2* pZone);

    bool isEmpty() const override { return mZones_.empty(); }
    /// Whether a zone uses a graph.
    bool hasZoneOf(const ConstraintGraph2* pGraph) const;
    /// Whether the mesh has triangles; warns if it has none and bVerbose is true.
    bool canHaveZones(bool bVerbose) const;
    /// A number that no other zone of the mesh has or had; 0 for a zone of another mesh.
    std::uint64_t getNumber(const Zone2* pZone) const;

  private:
    struct Entry {
        std::unique_ptr<Zone2> pZone;
        std::uint64_t number;
    };

    bool areUsable(const std::vector<ConstraintGraph2*>& vGraphs, bool bOriented, bool bVerbose) const;
    bool areOwn(const std::vector<Triangle2*>& vTriangles) const;
    Zone2* registerZone(std::unique_ptr<Zone2> pZone);
    /// Makes a zone inside or outside graphs; warns if a graph crosses itself.
    Zone2* createZoneAlong(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose);

    Dt2* pDt2_;
    std::map<const Zone2*, Entry> mZones_;
    std::uint64_t numCreated_ = 0;
};

/// The zones of a mesh.
ZoneMgr& getZoneMgr(Dt2& mesh);
/// Whether a zone belongs to a mesh. The pointer may be that of a deleted zone.
bool hasZone(const Dt2& mesh, const Zone2* pZone);
/// ZoneMgr::getNumber.
std::uint64_t getZoneNumber(const Dt2& mesh, const Zone2* pZone);

/// Appends the triangles reached from those of vFrom without crossing pieces of the graphs, each once.
void spreadBetween(const std::vector<ConstraintGraph2*>& vGraphs, const std::vector<Triangle2*>& vFrom,
                   std::vector<Triangle2*>& vTriangles);

}  // namespace LUMO_TARO25D
