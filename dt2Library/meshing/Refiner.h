#pragma once

#include <string>
#include <vector>

#include "meshing/CandidateQueue.h"
#include "meshing/VertexHeights.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

class ConstraintGraph2;
class Dt2;
class MeshGenParams;
class RefCand3;
class RefinementContext;
class VertexBudget;
class Zone2;

/// One refinement of a zone: inserts vertices until every triangle meets the limits or cannot be mended.
class Refiner {
  public:
    /// The parameters are not owned. Their zone must belong to the mesh (haveValidPreconditions).
    Refiner(Dt2& mesh, MeshGenParams& params);

    /// Whether the parameters can be used; reports an error if not.
    static bool haveValidPreconditions(const Dt2& mesh, const MeshGenParams& params);
    /// Inserts the grid, if one is asked for, and runs the passes over the zone. Refuses limits that need too many
    /// vertices, with an error.
    void refineMain3();

  private:
    /// Lists the triangles of the zone. Returns whether doubles allow their refinement and the estimated number of
    /// vertices is allowed; reports an error if not.
    bool isAffordable(std::vector<Triangle2*>& vTriangles);
    /// Inserts the grid of the parameters. False, with an error, if it is refused.
    bool preMeshing();
    /// Returns whether the budget of vertices has ended the run.
    bool runPasses(const VertexBudget& budget);
    void getInitialRefineCandidates();
    /// Makes a triangle a candidate if it may miss a limit; ignores null.
    void addRefCand3(Triangle2* pT);
    /// Makes candidates of the triangles around pCenter on the left of the path from p0 over pCenter to p1.
    void addRefCandsInsideZone(const Point2* p0, Point2* p1, Point2* pCenter);
    /// Serves a candidate; returns whether it has inserted a vertex.
    bool tryRefine(RefCand3* pRC);
    void insertCircumcenter(RefCand3* pRC);
    bool splitObstructingSegment(RefCand3* pRC);
    /// Inserts a vertex of the vault into the triangle that contains it, or on edge onEdge of that if this is not -1,
    /// and makes the triangles around it candidates.
    void insertVertexForRefinement(Point2* pVertex, Triangle2* pContainingTriangle, int onEdge);

    Dt2& mesh_;
    MeshGenParams& params_;
    RefinementContext& context_;
    VertexHeights heights_;
    CancelPoint<16> cancelPoint_;
    CandidateQueue queue_;  // smallest angle first
    std::vector<ConstraintGraph2*> vZoneGraphs_;
    size_t numGridHeightsMissing_ = 0;
};

/// Prints how many triangles of a zone miss each limit, with the reasons; true if every one has a reason. The limits
/// are the given angle and, if the last refinement was of this zone, its other limits.
bool checkZoneQuality(Dt2& mesh, Zone2* pZone, double minAngleDegree, const std::string& name);

}  // namespace LUMO_TARO25D
