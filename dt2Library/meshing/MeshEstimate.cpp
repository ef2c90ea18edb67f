// The estimate of the cost of a run of mesh generation, before it begins.
//
// A typing error in a limit can ask for more triangles than fit in memory, which would show only after hours. So the
// number of vertices is estimated from the area of the zone. The estimate must not refuse a feasible run: it is a lower
// bound wherever there is one.
//
// A triangle whose edges are at most h long has an area of at most 0.433 h^2, also in x-y, whatever the heights. One
// new vertex makes two triangles more, so a zone of the area A gets at least A / 0.866 h^2 vertices; A / h^2 is less
// than half of the number that refinement makes. A limit of the area, a, likewise gives A / 2a. A grid has A / L^2
// vertices.
//
// The growth limit is different: it may be met from the start. But in a Delaunay mesh that is not quite regular, some
// neighbours differ in area by more than a factor of 1.7, whatever the number of vertices. With a smaller factor each
// refinement causes another, until triangles are as small as the area below which neighbours are ignored. Measured on
// squares, stars and outlines with breaklines: 0.5 to 1.1 times A / 2a vertices with factors from 1.2 to 1.7, a tenth
// of that with 1.8, and a few hundred with 2, whatever a is.

#include "meshing/MeshEstimate.h"

#include <algorithm>
#include <sstream>

#include "mesh/Dt2.h"
#include "meshing/GridMesher.h"
#include "meshing/RefCand3.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

constexpr double MAX_CASCADING_GROWTH = 1.7;

double getPlanarArea(const Triangle2* pT) {
    const Vector2 u = getVector2D(*pT->getCorner(0), *pT->getCorner(1)),
                  v = getVector2D(*pT->getCorner(0), *pT->getCorner(2));
    return 0.5 * (u.x() * v.y() - u.y() * v.x());
}

/// Whether the growth limit will spread refinement from neighbour to neighbour once any triangle is refined.
bool isCascading(Dt2* pDt2, MeshGenParams* pParams, const std::vector<Triangle2*>& vZone) {
    if (!(pParams->growthFactor > 0.0 && pParams->growthFactor <= MAX_CASCADING_GROWTH)) return false;
    CancelPoint<> cancelPoint;
    return std::any_of(vZone.begin(), vZone.end(), [&](Triangle2* pT) {
        cancelPoint.pass();
        return RefCand3(pDt2, pT).missesLimit(pParams);
    });
}

size_t getMaxNumVertices(const MeshGenParams& params) {
    constexpr size_t DEFAULT = 100'000'000;
    return params.maxNumVertices == 0 ? DEFAULT : params.maxNumVertices;
}

}  // namespace

VertexBudget::VertexBudget(const Dt2& dt2, const MeshGenParams& params)
    : dt2_(dt2), numBefore_(dt2.numberOfPoints()), max_(getMaxNumVertices(params)) {}

bool VertexBudget::isUsedUp() const {
    const size_t num = dt2_.numberOfPoints();
    return num > numBefore_ && num - numBefore_ >= max_;
}

bool mayInsert(double numVertices, const MeshGenParams& params) {
    const size_t max = getMaxNumVertices(params);
    if (numVertices <= static_cast<double>(max)) return true;
    std::ostringstream text;
    text.precision(0);
    if (numVertices < 1e18) text << std::fixed;
    text << "the limits ask for about " << numVertices << " new vertices, more than maxNumVertices, " << max
         << ", return";
    error("Dt2::refineMain2()", text.str());
    return false;
}

double estimateNewVertices(Dt2* pDt2, MeshGenParams* pParams, const std::vector<Triangle2*>& vZone) {
    // If limits depend on the place, the largest ones count, so that the estimate stays a lower bound: a few large
    // triangles do not tell how large the area of the smaller limits is.
    double area = 0.0, maxLength = 0.0, maxArea = 0.0;
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vZone) {
        cancelPoint.pass();
        area += getPlanarArea(pT);
        maxLength = std::max(maxLength, usableLimit(pParams->getMaxEdgeLength(pT)));
        maxArea = std::max(maxArea, usableLimit(pParams->getMaxTriangleArea(pT)));
    }
    if (!(area > 0.0)) return 0.0;
    double areaOfVertex = std::min(maxLength * maxLength, 2.0 * maxArea);
    // Half of the measured number.
    if (isCascading(pDt2, pParams, vZone))
        areaOfVertex = std::min(areaOfVertex, 4.0 * std::max(0.0, pParams->growthMinArea));
    // The zone already has about one vertex for two triangles.
    const double numByLimits = std::max(0.0, area / areaOfVertex - 0.5 * static_cast<double>(vZone.size()));
    if (!hasGrid(*pParams)) return numByLimits;
    return std::max(numByLimits, area / pParams->gridLength / pParams->gridLength);
}

}  // namespace LUMO_TARO25D
