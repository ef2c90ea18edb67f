#pragma once

#include <cstddef>
#include <vector>

namespace LUMO_TARO25D {

class Dt2;
class MeshGenParams;
class Triangle2;

/// The remaining number of vertices that a run of mesh generation may insert. The run begins with the construction of
/// this object.
class VertexBudget {
  public:
    VertexBudget(const Dt2& dt2, const MeshGenParams& params);
    bool isUsedUp() const;

  private:
    const Dt2& dt2_;
    size_t numBefore_, max_;
};

/// Whether a run may insert numVertices vertices; if not, reports an error with the number.
bool mayInsert(double numVertices, const MeshGenParams& params);

/// The number of vertices that the limits and the grid make a run insert into a zone, estimated from areas alone. The
/// run hardly ever needs fewer; narrow details of the zone need more. Infinity if a limit is nearly 0. O(n).
double estimateNewVertices(Dt2* pDt2, MeshGenParams* pParams, const std::vector<Triangle2*>& vZone);

}  // namespace LUMO_TARO25D
