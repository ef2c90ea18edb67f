#pragma once

#include <string>
#include <vector>

#include "meshing/CandidateQueue.h"
#include "meshing/VertexHeights.h"

namespace LUMO_TARO25D {

class ConstraintGraph2;
class Dt2;
class MeshGenParams;
class RefinementContext;
class VertexBudget;
class Zone2;

/// One refinement of a zone: it inserts vertices until every triangle meets the limits or cannot be mended.
class Refiner {
  public:
    /// The parameters are not owned. Their zone is one of the mesh (haveValidPreconditions).
    Refiner(Dt2& mesh, MeshGenParams& params);

    /// Whether the parameters can be used; otherwise there is an error.
    static bool haveValidPreconditions(const Dt2& mesh, const MeshGenParams& params);
    /// The grid, if one is asked for, and the passes over the zone. What cannot be afforded is refused with an error.
    void refineMain3();

  private:
    /// Lists the triangles of the zone. Whether the numbers allow to refine it, and the number of vertices that the limits
    /// ask for is allowed; otherwise there is an error.
    bool isAffordable(std::vector<Triangle2*>& vTriangles);
    /// Inserts the grid that the parameters ask for. False, with an error, if it is refused.
    bool preMeshing();
    /// Returns whether it ended because the vertices that are allowed are there.
    bool runPasses(const VertexBudget& budget);
    void getInitialRefineCandidates();
    /// Makes a triangle a candidate if it may miss a limit; null is none.
    void addRefCand3(Triangle2* pT);
    /// The same for the triangles around a new vertex on the left of the way from p0 over it to p1.
    void addRefCandsInsideZone(const Point2* p0, Point2* p1, Point2* pCenter);
    /// Serves a candidate; true if a vertex was inserted.
    bool tryRefine(RefCand3* pRC);
    void insertCircumcenter(RefCand3* pRC);
    bool splitSegmentInTheWay(RefCand3* pRC);
    /// Inserts a vertex of the vault into the triangle that holds it, or on an edge of that, where the index is not -1, and
    /// makes the triangles around it candidates.
    void insertVertexForRefinement(Point2* pVertex, Triangle2* pContainingTriangle, int onEdge);

    Dt2& mesh_;
    MeshGenParams& params_;
    RefinementContext& context_;
    VertexHeights heights_;
    CandidateQueue queue_;  // an ordered multimap from the smallest angle
    std::vector<ConstraintGraph2*> vZoneGraphs_;
    size_t numGridHeightsMissing_ = 0;
};

/// Prints how many triangles of a zone miss each limit, and why; true if there is an excuse for every one. The limits are the
/// given one, and those of the last refinement if it was of this zone.
bool checkZoneQuality(Dt2& mesh, Zone2* pZone, double minAngleDegree, const std::string& name);

}  // namespace LUMO_TARO25D
