// The check of the quality of a zone: the triangles that miss a limit, with the reasons to leave them.
//
// Each triangle becomes a candidate (RefCand3) and is measured as refinement measures it. A candidate that misses a
// limit must have a reason (RefCand3::getExcuse, or a segment that doubles cannot split); one without a reason makes
// the result false, since another refinement could mend it. Changes nothing in the mesh; the static bound of the
// predicates is restored.

#include <algorithm>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "meshing/RefCand3.h"
#include "meshing/RefinementContext.h"
#include "meshing/Refiner.h"
#include "meshing/splitPoint.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Zone2.h"
#include "zones/ZoneMgr.h"

namespace LUMO_TARO25D {

namespace {

/// Restores the static bound of the predicates: far circumcentres raise it, and a filter for them decides little.
class StaticBoundScope {
  public:
    explicit StaticBoundScope(GeomTest& geomTest) : geomTest_(geomTest), maxCoord_(geomTest.getMaxAbsCoord()) {}
    ~StaticBoundScope() { geomTest_.setStaticBound(maxCoord_); }
    StaticBoundScope(const StaticBoundScope&) = delete;
    StaticBoundScope& operator=(const StaticBoundScope&) = delete;

  private:
    GeomTest& geomTest_;
    double maxCoord_;
};

/// Whether the segment that obstructs a Steiner point, if there is one, has a point at which it can be split.
bool canBeMended(const RefCand3& candidate, GeomTest& geomTest) {
    Triangle2* pT = nullptr;
    int index = -1;
    candidate.getContainingTriangleAndIndex(pT, index);
    return index < 0 || canBeSplit(geomTest, pT, index);
}

/// Counts the triangles that miss one limit, by the reason to leave them as they are.
class LimitReport {
  public:
    LimitReport(const char* limit, bool bForAngle) : limit_(limit), bForAngle_(bForAngle) {}

    void miss(RefCand3& candidate, MeshGenParams* pParams, GeomTest& geomTest) {
        const char* excuse = candidate.getExcuse(pParams, bForAngle_);
        if (!excuse && !canBeMended(candidate, geomTest))
            excuse = "centre behind a segment that the numbers cannot split";
        ++mExcuses_[excuse ? excuse : UNEXPLAINED];
        ++numMissing_;
    }
    void print(Note& report) const {
        report << "  " << limit_ << ": missed by " << numMissing_ << "\n";
        for (const auto& [excuse, count] : mExcuses_) report << "    " << count << " " << excuse << "\n";
    }
    bool isExplained() const { return mExcuses_.count(UNEXPLAINED) == 0; }

  private:
    static constexpr const char* UNEXPLAINED = "WITHOUT A REASON";

    const char* limit_;
    bool bForAngle_;
    size_t numMissing_ = 0;
    std::map<std::string, size_t> mExcuses_;
};

}  // namespace

bool checkZoneQuality(Dt2& mesh, Zone2* pZone, double minAngleDegree, const std::string& name) {
    if (!hasZone(mesh, pZone)) {
        warning("Dt2::checkZoneQuality()", "The zone does not belong to the triangulation, return");
        return false;
    }
    RefinementContext& context = getRefinementContext(&mesh);
    GeomTest& geomTest = mesh.getGeomTest();
    const StaticBoundScope boundScope(geomTest);
    MeshGenParams defaults(nullptr);
    const bool bLastZone = context.pLastParams && context.numberOfLastZone == getZoneNumber(mesh, pZone);
    MeshGenParams* pParams = bLastZone ? context.pLastParams.get() : &defaults;
    pParams->minAngleDegree = minAngleDegree;
    std::unique_ptr<GuideSurface> pOfOtherZone;
    if (!bLastZone) pOfOtherZone.swap(context.pGuide);
    LimitReport angle("smallest angle", true), length("longest edge", false), area("area", false),
        growth("growth", false);
    std::vector<Triangle2*> vTriangles;
    pZone->getTriangles(vTriangles);
    context.zoneMagnitude = getLargestCoordinate(vTriangles);
    double smallestAngle = 180.0;
    CancelPoint<> cancelPoint;
    for (Triangle2* pT : vTriangles) {
        cancelPoint.pass();
        RefCand3 candidate(context, pT);
        candidate.init();
        candidate.computeMinMax();
        smallestAngle = std::min(smallestAngle, candidate.getMinAngle());
        if (candidate.getMinAngle() < minAngleDegree) angle.miss(candidate, pParams, geomTest);
        if (candidate.isTooLong(pParams)) length.miss(candidate, pParams, geomTest);
        if (candidate.isTooLarge(pParams)) area.miss(candidate, pParams, geomTest);
        const bool bGrown = pParams->growthFactor != std::numeric_limits<double>::max() &&
                            candidate.needRefinementDueToGrowth(pParams->growthFactor, pParams->growthMinArea);
        if (bGrown) growth.miss(candidate, pParams, geomTest);
    }
    Note report("Dt2::checkZoneQuality()");
    report << name << ": quality of " << vTriangles.size() << " triangles, smallest angle " << smallestAngle
           << " degrees\n";
    bool bExplained = true;
    for (const LimitReport* pReport : {&angle, &length, &area, &growth}) {
        pReport->print(report);
        bExplained = bExplained && pReport->isExplained();
    }
    if (!bLastZone) pOfOtherZone.swap(context.pGuide);
    return bExplained;
}

}  // namespace LUMO_TARO25D
