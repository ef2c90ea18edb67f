// Refinement of zones: Steiner vertices are inserted until every triangle meets the limits, or cannot be mended.
//
// The candidate with the smallest angle in space comes first. Its Steiner point is its circumcentre, which is far from
// all vertices since the triangle is Delaunay, so that no short edge arises (Ruppert 1995, Shewchuk 2002). If a
// constraint edge lies between the triangle and the centre, or contains it, that edge is split in the middle instead,
// and circumcentres inserted before within the diametral circle of the edge are removed, because they would force short
// edges there.
//
// Flips never cross constraint edges, so the work stays inside the zone, except for the other side of border segments
// that are split. Every triangle made by a circumcentre or a split becomes a candidate at once. Triangles made by the
// removal of vertices do not; therefore passes over the whole zone follow, until a pass changes nothing, at most 50.
//
// Termination: a circumcircle of 16 units in the last place of the zone's coordinates is too small, a segment is split
// only if doubles have a point between its ends, and a candidate that meets all limits, or has no usable Steiner point,
// is dropped.
//
// A vertex costs O(log n) for the queue and expected constant time for everything else: the height comes from the
// triangle that contains the centre, where the walk has ended. No result depends on addresses: candidates of equal
// angle are in the order in which triangles were created, and directions come from graphs or coordinates.

#include "meshing/Refiner.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <string>

#include "constraints/ConstraintMgr.h"
#include "kernel/flatSets.h"
#include "kernel/links.h"
#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "meshing/GridMesher.h"
#include "meshing/MeshEstimate.h"
#include "meshing/RefCand3.h"
#include "meshing/RefinementContext.h"
#include "meshing/splitPoint.h"
#include "support/diagnostics.h"
#include "support/stopping.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Zone2.h"
#include "zones/ZoneMgr.h"

namespace LUMO_TARO25D {

namespace {

constexpr int MAX_PASSES = 50;

/// The context of a mesh while a refinement runs: triangles are measured on its guide, if there is one.
class RunScope {
  public:
    RunScope(RefinementContext& context, const Taro_2D* pGuide) : context_(context) {
        TARO_ASSERT_TEXT(!context.bRunning, "pmmAng2RC==__null");
        context_.bRunning = true;
        context_.pGuide = pGuide ? std::make_unique<GuideSurface>(pGuide) : nullptr;
    }
    ~RunScope() {
        context_.bRunning = false;
        if (context_.pGuide) context_.pGuide->detach();
    }
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;

  private:
    RefinementContext& context_;
};

/// Reports the progress of a refinement. The number of candidates still to come is unknown, so the share of candidates
/// served so far is reported. The first pass does nearly all the work, so each pass counts for nine tenths of the rest.
class RefinementProgress {
  public:
    explicit RefinementProgress(Progress& progress) : progress_(progress), end_(progress) {
        progress.start("Mesh refinement", NUM_STEPS);
    }

    void served(const CandidateQueue& queue) {
        constexpr size_t STRIDE = 256;
        if (++numServed_ % STRIDE != 0) return;
        const double share = static_cast<double>(numServed_) / static_cast<double>(numServed_ + queue.size());
        report(passBegin_ + PASS_SHARE * (1.0 - passBegin_) * share);
    }
    void passDone() {
        passBegin_ += PASS_SHARE * (1.0 - passBegin_);
        numServed_ = 0;
        report(passBegin_);
    }
    void done() { progress_.finish(); }

  private:
    static constexpr double PASS_SHARE = 0.9;
    static constexpr size_t NUM_STEPS = 10000;

    void report(double share) {
        const size_t numDone = static_cast<size_t>(share * static_cast<double>(NUM_STEPS));
        if (numDone <= numReported_) return;
        progress_.incProgress(numDone - numReported_);
        numReported_ = numDone;
    }

    Progress& progress_;
    ProgressEnd end_;
    size_t numServed_ = 0, numReported_ = 0;
    double passBegin_ = 0.0;
};

/// Whether all lengths can be squared, from the extent of the zone down to a few units in the last place of the
/// coordinates, the shortest that refinement makes.
bool haveSquares(const std::vector<Triangle2*>& vTriangles) {
    if (vTriangles.empty()) return true;
    double maxHeight = 0.0;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) maxHeight = std::max(maxHeight, std::abs(pT->getCorner(i)->z()));
    }
    const double magnitude = getLargestCoordinate(vTriangles);
    return magnitude > MIN_ZONE_MAGNITUDE && magnitude < MAX_ZONE_MAGNITUDE && maxHeight < MAX_ZONE_MAGNITUDE;
}

/// The fault of the limits, in words; null if there is none.
const char* getInvalidLimit(const MeshGenParams& params) {
    if (!(params.maxEdgeLength > 0.0)) return "maxEdgeLength must be greater than 0";
    if (!(params.maxTriangleArea > 0.0)) return "maxTriangleArea must be greater than 0";
    if (std::isnan(params.minAngleDegree)) return "minAngleDegree is not a number";
    if (std::isnan(params.minEdgeLength)) return "minEdgeLength is not a number";
    if (std::isnan(params.growthFactor)) return "growthFactor is not a number";
    if (params.growthFactor > 0.0 && params.growthFactor <= 1.0) return "growthFactor must be greater than 1";
    if (std::isnan(params.gridLength)) return "gridLength is not a number";
    const bool bFinite = std::isfinite(params.gridVector.x()) && std::isfinite(params.gridVector.y());
    if (params.gridLength > 0.0 && !bFinite) return "gridVector must be finite";
    return nullptr;
}

/// Locks the pieces of locked segments that have been split.
void lockPieces(MeshGenParams& params) {
    if (!params.pLockedConstraints) return;
    std::vector<ConstraintSegment2*> vPieces;
    for (ConstraintSegment2* pCSeg : *params.pLockedConstraints) {
        if (!pCSeg->isAlive()) pCSeg->getChildrenRec(vPieces);
    }
    params.pLockedConstraints->insert(vPieces.begin(), vPieces.end());
}

/// A copy of the limits without pointers to objects of the client.
std::unique_ptr<MeshGenParams> copyLimits(const MeshGenParams& params) {
    auto pCopy = std::make_unique<MeshGenParams>(params.pZone);
    pCopy->minAngleDegree = params.minAngleDegree;
    pCopy->minEdgeLength = params.minEdgeLength;
    pCopy->maxEdgeLength = params.maxEdgeLength;
    pCopy->maxTriangleArea = params.maxTriangleArea;
    pCopy->bAllowConstraintSplitting = params.bAllowConstraintSplitting;
    pCopy->growthFactor = params.growthFactor;
    pCopy->growthMinArea = params.growthMinArea;
    if (params.pLockedConstraints)
        pCopy->pLockedConstraints = new std::set<ConstraintSegment2*>(*params.pLockedConstraints);
    return pCopy;
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------------------
// The passes

bool Refiner::haveValidPreconditions(const Dt2& mesh, const MeshGenParams& params) {
    const auto refuse = [](const char* location, const std::string& message) {
        error(location, message);
        return false;
    };
    const Zone2* pZone = params.pZone;
    if (!pZone) return refuse("Dt2::refineMain2(..)", "pZone==NULL");
    if (!hasZone(mesh, pZone)) {
        return refuse("Dt2::refineMain2()", "The zone does not belong to the triangulation, return");
    }
    if (pZone->getZoneLocation() != ZL_INSIDE && pZone->getZoneLocation() != ZL_BOUNDED) {
        return refuse("Dt2::refineMain2()",
                      "The zoneLocation must be ZL_INSIDE or ZL_BOUNDED. Please convert the zone using "
                      "pZone->convertToBoundedZone(..)");
    }
    if (params.minAngleDegree > 30.0) return refuse("Dt2::refine(..)", "minAngleDegree must be <=30.0, return");
    const char* const pInvalid = getInvalidLimit(params);
    return !pInvalid || refuse("Dt2::refineMain2()", std::string("invalid limit, return: ") + pInvalid);
}

Refiner::Refiner(Dt2& mesh, MeshGenParams& params)
    : mesh_(mesh), params_(params), context_(getRefinementContext(&mesh)), heights_(params), queue_(context_, params) {}

void Refiner::refineMain3() {
    const ConstraintMgr* pManager = mesh_.findSlot<ConstraintMgr>();
    if (pManager && pManager->isUnfinished()) mesh_.applyConstraintsAndZones();  // or the zone would have gaps
    const RunScope runScope(context_, params_.pHeightGuide);
    std::vector<Triangle2*> vTriangles;
    if (!isAffordable(vTriangles)) return;
    lockPieces(params_);
    const VertexBudget budget(mesh_, params_);
    if (hasGrid(params_)) {
        if (!preMeshing()) return;
        // A run is refused before any work only. If the growth limit asks for more between grid points, the budget ends
        // it.
        vTriangles.clear();
        params_.pZone->getTriangles(vTriangles);
    }
    context_.zoneMagnitude = getLargestCoordinate(vTriangles);
    context_.pLastParams = copyLimits(params_);
    context_.numberOfLastZone = getZoneNumber(mesh_, params_.pZone);
    params_.pZone->getConstraintGraphs(vZoneGraphs_);
    TARO_ASSERT_TEXT(!vZoneGraphs_.empty(), "pCG!=__null");

    const bool bStopped = runPasses(budget);
    const size_t numMissing = heights_.getNumMissing() + numGridHeightsMissing_;
    if (numMissing > 0) {
        warning("Dt2::refineMain2()", "No height value available, vertices: " + std::to_string(numMissing));
    }
    if (bStopped) warning("Dt2::refineMain2()", "as many new vertices as maxNumVertices allows, refinement stops");
}

bool Refiner::runPasses(const VertexBudget& budget) {
    RefinementProgress progress(mesh_.getProgress());
    bool bChanged = true, bStopped = false;
    for (int pass = 0; bChanged && !bStopped && pass < MAX_PASSES; ++pass) {
        bChanged = false;
        getInitialRefineCandidates();
        while (!queue_.empty() && !bStopped) {
            cancelPoint_.pass();
            if (Triangle2* pT = queue_.extractFirst()) {
                RefCand3 candidate(context_, pT);
                candidate.init();
                bStopped = budget.isUsedUp() && candidate.needRefinement(&params_);
                bChanged = (!bStopped && tryRefine(&candidate)) || bChanged;
            }
            progress.served(queue_);
        }
        queue_.clear();
        progress.passDone();
    }
    progress.done();
    return bStopped;
}

bool Refiner::isAffordable(std::vector<Triangle2*>& vTriangles) {
    vTriangles.clear();
    params_.pZone->getTriangles(vTriangles);
    if (!haveSquares(vTriangles)) {
        error("Dt2::refineMain2()", "coordinates whose distances cannot be squared in double precision, return");
        return false;
    }
    return mayInsert(estimateNewVertices(&mesh_, &params_, vTriangles), params_);
}

bool Refiner::preMeshing() {
    GridMesher mesher(&params_);
    if (!mesher.insertGridPoints(true)) return false;
    numGridHeightsMissing_ = mesher.getNumMissingHeights();
    const PhaseScope phase("grid without short edges: ");
    mesh_.applyConstraintsAndZones();
    return true;
}

void Refiner::getInitialRefineCandidates() {
    std::vector<Triangle2*> vTriangles;
    params_.pZone->getTriangles(vTriangles);
    AddressSet sZone = toSet(vTriangles);
    CancelPoint<> cancelPoint;
    // In the order of creation, which does not depend on addresses and is sequential in memory.
    size_t num = 0;
    mesh_.forEachTriangle([&](Triangle2* pT) {
        cancelPoint.pass();
        if (sZone.contains(pT)) vTriangles[num++] = pT;
    });
    constexpr size_t AHEAD = 8;
    for (size_t k = 0; k < num; ++k) {
        cancelPoint.pass();
        for (int i = 0; i < 3 && k + AHEAD < num; ++i) __builtin_prefetch(vTriangles[k + AHEAD]->getCorner(i));
        addRefCand3(vTriangles[k]);
    }
}

void Refiner::addRefCand3(Triangle2* pT) {
    if (pT) queue_.add(pT);
}

void Refiner::addRefCandsInsideZone(const Point2* p0, Point2* p1, Point2* pCenter) {
    constexpr size_t MAX_TRIANGLES = 100;
    if (p0 == p1 || p0 == pCenter || p1 == pCenter) return;
    std::vector<Triangle2*> vAround;
    for (Triangle2* pT = mesh_.getAdjacentTriangle(pCenter, p1); pT;) {
        if (vAround.size() == MAX_TRIANGLES) return;
        vAround.push_back(pT);
        const int k = indexOfVertex(pT, pCenter);
        pT = pT->getCorner(incIndexBy2(k)) == p0 ? nullptr : pT->getOppositeTriangle(incIndexBy1(k));
    }
    for (Triangle2* pT : vAround) addRefCand3(pT);
}

// ---------------------------------------------------------------------------------------------------------------------
// One candidate

bool Refiner::tryRefine(RefCand3* pRC) {
    TARO_ASSERT_TEXT(pRC->isAlive(), "pRC->isAlive()");
    if (!pRC->needRefinement(&params_)) return false;
    if (pRC->getSplitIndex() != RefCand3::SPLIT_NONE) return splitObstructingSegment(pRC);
    insertCircumcenter(pRC);
    return true;
}

void Refiner::insertCircumcenter(RefCand3* pRC) {
    const double x = pRC->getSteiner().x(), y = pRC->getSteiner().y();
    Triangle2* pT = pRC->getContainingTriangle();
    VertexVault& vault = mesh_.getVertexVault();
    Point2* pVertex = vault.createRegisteredVertex(Point2(x, y, heights_.get(x, y, pT)));
    insertVertexForRefinement(pVertex, pT, pRC->getEdgeOfSteiner());
    const NoStopScope noStop;
    vault.sortIV(VertexVault::SM_IF_DUE);
    mesh_.getInnerVtxMgr().addVtx(pVertex);
}

bool Refiner::splitObstructingSegment(RefCand3* pRC) {
    Triangle2* pT = nullptr;
    int index = -1;
    pRC->getContainingTriangleAndIndex(pT, index);
    ConstraintSegment2* pCSeg = pRC->getAliveConstraintSegment(index);
    if (!pCSeg) return false;  // a hull edge that is no constraint
    Point2 splitPoint;
    if (!findSplitPoint(mesh_.getGeomTest(), pT, index, splitPoint)) return false;

    const auto isOwner = [pCSeg](ConstraintGraph2* pGraph) { return pGraph->isConstraint(pCSeg); };
    const bool bBorder = std::any_of(vZoneGraphs_.begin(), vZoneGraphs_.end(), isOwner);
    // The triangle is in the zone, so the zone is on the left.
    Point2 *pSrc = pT->getCorner(incIndexBy1(index)), *pTrg = pT->getCorner(incIndexBy2(index));
    // Inside the zone any direction serves that does not depend on the side of the candidate.
    if (!bBorder && *pTrg < *pSrc) std::swap(pSrc, pTrg);

    mesh_.startSearchAt(pSrc);
    Point2* pInsertedVertex = pCSeg->insertAndSplit(splitPoint);
    TARO_ASSERT_TEXT(pInsertedVertex != nullptr, "pInsertedVertex!=__null");
    mesh_.getInnerVtxMgr().removePreviouslyInsertedVertices(pInsertedVertex, sqDistance2D(*pInsertedVertex, *pSrc),
                                                            &mesh_);
    addRefCandsInsideZone(pSrc, pTrg, pInsertedVertex);
    // A segment that does not bound the zone has it on both sides. (So has a border that the zone passes twice; its
    // other side waits for the next pass.)
    if (!bBorder) addRefCandsInsideZone(pTrg, pSrc, pInsertedVertex);
    return true;
}

void Refiner::insertVertexForRefinement(Point2* pVertex, Triangle2* pContainingTriangle, int onEdge) {
    TARO_ASSERT_TEXT(pContainingTriangle != nullptr, "pContainingTriangle!=__null");
    if (onEdge == -1) {
        mesh_.initVCheckT13(pContainingTriangle, pVertex);
    } else {
        mesh_.initVCheckT24(pContainingTriangle, pVertex, onEdge);
    }
    mesh_.settle(pVertex);
    // Only the final triangles: those flipped away again would be stale.
    Triangle2* const pFirst = pVertex->getIncidentTriangle();
    Triangle2* pT = pFirst;
    do {
        const int i = indexOfVertex(pT, pVertex);
        addRefCand3(pT);
        if (queue_.dependsOnNeighbours() && !mesh_.isConstraint(pT, i)) addRefCand3(pT->getOppositeTriangle(i));
        pT = pT->getOppositeTriangle(incIndexBy1(i));
    } while (pT != pFirst);
}

}  // namespace LUMO_TARO25D
