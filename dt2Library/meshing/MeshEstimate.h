#pragma once

#include <cstddef>
#include <vector>

namespace LUMO_TARO25D {

class Dt2;
class MeshGenParams;
class Triangle2;

/// What a run of mesh generation has left of the vertices that it may insert. It begins with this object.
class VertexBudget {
  public:
    VertexBudget(const Dt2& dt2, const MeshGenParams& params);
    bool isUsedUp() const;

  private:
    const Dt2& dt2_;
    size_t numBefore_, max_;
};

/// Whether a run may insert so many vertices; if not, there is an error that names the number.
bool mayInsert(double numVertices, const MeshGenParams& params);

/// How many vertices the limits, and the grid, make a run insert into the triangles of a zone: a number that it hardly stays
/// below, from areas alone. Narrow details of the zone need more. Infinity where a limit is nearly 0. O(n).
double estimateNewVertices(Dt2* pDt2, MeshGenParams* pParams, const std::vector<Triangle2*>& vZone);

}  // namespace LUMO_TARO25D
