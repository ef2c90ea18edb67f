// Refinement of zones: Steiner vertices are inserted until every triangle meets the limits, or cannot be mended.
//
// The candidate with the smallest angle in space comes first. Its Steiner point is its circumcentre, which is far from all
// vertices since the triangle is Delaunay, so that no short edge arises (Ruppert 1995, Shewchuk 2002). If a constraint edge
// is in the way to the centre, or holds it, that edge is split in the middle instead, and circumcentres that were inserted
// before within the circle over the edge go, because they would force short edges there.
//
// Flips never cross constraint edges, so the work stays inside the zone but for what the split of a border segment forces
// on its other side. Every triangle that arises from a circumcentre or at a split is a candidate at once. What the removal
// of vertices changes is not: therefore a pass over the whole zone follows, until nothing has been done in one, or 50 are
// over.
//
// It ends: a circumcircle of 16 units in the last place of the zone's coordinates is too small, a segment must have a
// point between its ends that the numbers can express, and a candidate that meets all limits, or has no usable Steiner
// point, is dropped.
//
// A vertex costs O(log n) for the queue and expected constant time for everything else: the height comes from the triangle
// that holds the centre, where the walk has ended. No result depends on addresses: the order of candidates is that in which
// triangles were created, and directions are those of graphs or coordinates.

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>

#include "constraints/ConstraintMgr.h"
#include "kernel/flatSets.h"
#include "kernel/heights.h"
#include "kernel/links.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"
#include "meshing/CandidateQueue.h"
#include "meshing/GridMesher.h"
#include "meshing/GuideSurface.h"
#include "meshing/MeshEstimate.h"
#include "meshing/splitPoint.h"
#include "support/diagnostics.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

namespace LUMO_TARO25D {

namespace {

constexpr int MAX_PASSES = 50;

/// The parameters of the simple call.
class MyLocalParams : public MeshGenParams {
  public:
    using MeshGenParams::MeshGenParams;
    ~MyLocalParams() override = default;
};

/// Deletes the queue however a refinement ends.
class QueueGuard {
  public:
    explicit QueueGuard(std::unique_ptr<CandidateQueue>& pQueue) : pQueue_(pQueue) {}
    ~QueueGuard() { pQueue_.reset(); }
    QueueGuard(const QueueGuard&) = delete;
    QueueGuard& operator=(const QueueGuard&) = delete;

  private:
    std::unique_ptr<CandidateQueue>& pQueue_;
};

/// Has triangles measured on a guide, if there is one, for the length of a refinement.
class GuideScope {
  public:
    GuideScope(std::unique_ptr<GuideSurface>& pSurface, const Taro_2D* pGuide) : pSurface_(pSurface) {
        pSurface_ = pGuide ? std::make_unique<GuideSurface>(pGuide) : nullptr;
    }
    ~GuideScope() {
        if (pSurface_) pSurface_->detach();
    }
    GuideScope(const GuideScope&) = delete;
    GuideScope& operator=(const GuideScope&) = delete;

  private:
    std::unique_ptr<GuideSurface>& pSurface_;
};

/// Tells listeners how far a refinement has come. How many candidates will still arise nobody knows; the share that was
/// served stands for it. The first pass does nearly all, so each pass takes nine tenths of what is left.
class RefinementProgress {
  public:
    explicit RefinementProgress(Progress& progress) : progress_(progress) {}

    void served(const CandidateQueue& queue) {
        constexpr size_t STRIDE = 256;
        if (++numServed_ % STRIDE != 0) return;
        const double share = static_cast<double>(numServed_) / static_cast<double>(numServed_ + queue.size());
        report(passBegin_ + PASS_SHARE * (1.0 - passBegin_) * share, MIN_STEP);
    }
    void passDone() {
        passBegin_ += PASS_SHARE * (1.0 - passBegin_);
        numServed_ = 0;
        report(passBegin_, MIN_STEP);
    }
    void done() { report(1.0, 0.0); }

  private:
    static constexpr double PASS_SHARE = 0.9, MIN_STEP = 0.01;

    void report(double value, double minStep) {
        if (value < lastReported_ + minStep) return;
        lastReported_ = value;
        progress_.broadcast(MT_PROGRESS, "Mesh refinement", value);
    }

    Progress& progress_;
    size_t numServed_ = 0;
    double passBegin_ = 0.0, lastReported_ = 0.0;
};

/// Whether lengths can be squared, from those as large as the zone down to the least that refinement makes, which are a few
/// units in the last place of the coordinates.
bool haveSquares(const std::vector<Triangle2*>& vTriangles) {
    if (vTriangles.empty()) return true;
    constexpr double MIN_MAGNITUDE = 1e-138, MAX_MAGNITUDE = 1e153;
    double maxHeight = 0.0;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) maxHeight = std::max(maxHeight, std::abs(pT->getCorner(i)->z()));
    }
    const double magnitude = getLargestCoordinate(vTriangles);
    return magnitude > MIN_MAGNITUDE && magnitude < MAX_MAGNITUDE && maxHeight < MAX_MAGNITUDE;
}

bool isUsableLimit(double limit) { return limit > 0.0; }

/// The locks of segments that have been split hold for their pieces.
void lockPieces(MeshGenParams& params) {
    if (!params.pLockedConstraints) return;
    std::vector<ConstraintSegment2*> vPieces;
    for (ConstraintSegment2* pCSeg : *params.pLockedConstraints) {
        if (!pCSeg->isAlive()) pCSeg->getChildrenRec(vPieces);
    }
    params.pLockedConstraints->insert(vPieces.begin(), vPieces.end());
}

/// A copy without what belongs to the client.
std::unique_ptr<MeshGenParams> copyLimits(const MeshGenParams& params) {
    auto pCopy = std::make_unique<MyLocalParams>(params.pZone);
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

void Dt2::refineClassic(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength,
                        bool bAllowConstraintSplitting) {
    MyLocalParams params(pZone);
    params.minAngleDegree = minAngleDegree;
    params.minEdgeLength = minEdgeLength;
    params.maxEdgeLength = maxEdgeLength;
    params.bAllowConstraintSplitting = bAllowConstraintSplitting;
    refineMain3(&params);
}

void Dt2::refineAdvanced(MeshGenParams* pParams) { refineMain3(pParams); }

bool Dt2::haveValidPreconditions(MeshGenParams* pParams) {
    const auto refuse = [](const char* location, const char* message) {
        error(location, message);
        return false;
    };
    Zone2* pZone = pParams->pZone;
    if (!pZone) return refuse("Dt2::refineMain2(..)", "pZone==NULL");
    if (mZones_.count(pZone) == 0) {
        return refuse("Dt2::refineMain2()", "The zone does not belong to the triangulation, return");
    }
    if (pZone->getZoneLocation() != ZL_INSIDE && pZone->getZoneLocation() != ZL_BOUNDED) {
        return refuse("Dt2::refineMain2()",
                      "The zoneLocation must be ZL_INSIDE or ZL_BOUNDED. Please convert the zone using "
                      "pZone->convertToBoundedZone(..)");
    }
    if (pParams->minAngleDegree > 30.0) {
        return refuse("Dt2::refine(..)", "minAngleDegree must be <=30.0, return");
    }
    if (!isUsableLimit(pParams->maxEdgeLength) || !isUsableLimit(pParams->maxTriangleArea) ||
        std::isnan(pParams->minAngleDegree) || std::isnan(pParams->minEdgeLength) ||
        std::isnan(pParams->growthFactor)) {
        return refuse("Dt2::refineMain2()", "invalid limit, return");
    }
    if (pParams->growthFactor > 0.0 && pParams->growthFactor <= 1.0) {
        return refuse("Dt2::refineMain2()", "invalid limit, return: growthFactor must be greater than 1");
    }
    return true;
}

void Dt2::refineMain3(MeshGenParams* pParams) {
    if (!pParams) {
        error("Dt2::refineMain2(..)", "pParams==NULL");
        return;
    }
    if (pParams->bKeepExistingSteinerPoints) pInnerVtxMgr_->clear();
    if (!haveValidPreconditions(pParams)) return;
    const GuideScope guideScope(pGuideSurface_, pParams->pHeightGuide);
    numMissingHeights_ = 0;
    std::vector<Triangle2*> vTriangles;
    if (!isAffordable(pParams, vTriangles)) return;
    lockPieces(*pParams);
    const VertexBudget budget(*this, *pParams);
    // A grid takes regularity away, or brings it: the growth limit may be another matter afterwards.
    if (hasGrid(*pParams) && (!preMeshing(pParams) || !isAffordable(pParams, vTriangles))) return;
    pLastParams_ = copyLimits(*pParams);
    zoneMagnitude_ = getLargestCoordinate(vTriangles);

    TARO_ASSERT_TEXT(pmmAng2RC_ == nullptr, "pmmAng2RC==__null");
    pmmAng2RC_ = std::make_unique<CandidateQueue>(this, pParams);
    const QueueGuard guard(pmmAng2RC_);
    RefinementProgress progress(progress_);
    bool bChanged = true, bStopped = false;
    for (int pass = 0; bChanged && !bStopped && pass < MAX_PASSES; ++pass) {
        TARO_ASSERT_TEXT(pmmAng2RC_ != nullptr, "pmmAng2RC!=__null");
        bChanged = false;
        getInitialRefineCandidates(pParams);
        while (!pmmAng2RC_->empty() && !bStopped) {
            RefCand3* pRC = pmmAng2RC_->extractFirst();
            if (pRC->isAlive()) {
                pRC->init();
                bStopped = budget.isUsedUp() && pRC->needRefinement(pParams);
                bChanged = (!bStopped && tryRefine(pRC, pParams)) || bChanged;
            }
            pmmAng2RC_->giveBack(pRC);
            progress.served(*pmmAng2RC_);
        }
        pmmAng2RC_->resetPool();
        progress.passDone();
    }
    progress.done();
    if (numMissingHeights_ > 0) {
        warning("Dt2::refineMain2()", "No height value available, vertices: " + std::to_string(numMissingHeights_));
    }
    if (bStopped) warning("Dt2::refineMain2()", "as many new vertices as maxNumVertices allows, refinement stops");
}

bool Dt2::isAffordable(MeshGenParams* pParams, std::vector<Triangle2*>& vTriangles) {
    vTriangles.clear();
    pParams->pZone->getTriangles(vTriangles);
    if (!haveSquares(vTriangles)) {
        error("Dt2::refineMain2()", "coordinates whose distances cannot be squared in double precision, return");
        return false;
    }
    return mayInsert(estimateNewVertices(this, pParams, vTriangles), *pParams);
}

bool Dt2::preMeshing(MeshGenParams* pParams) {
    if (!GridMesher(pParams).insertGridPoints(true)) return false;
    applyConstraintsAndZones();
    return true;
}

void Dt2::getInitialRefineCandidates(MeshGenParams* pParams) {
    std::vector<Triangle2*> vTriangles;
    pParams->pZone->getTriangles(vTriangles);
    AddressSet sZone = toSet(vTriangles);
    // In the order of creation, which does not depend on addresses, and lies in memory one after the other.
    trianglePool_.forEach([&](Triangle2* pT) {
        if (sZone.contains(pT)) addRefCand3(pT);
    });
}

void Dt2::addRefCand3(Triangle2* pT) {
    if (pmmAng2RC_ && pT) pmmAng2RC_->add(pT);
}

void Dt2::addRefCandsInsideZone(const Point2* p0, Point2* p1, Point2* pCenter) {
    constexpr size_t MAX_TRIANGLES = 100;
    if (p0 == p1 || p0 == pCenter || p1 == pCenter) return;
    std::vector<Triangle2*> vAround;
    for (Triangle2* pT = getAdjacentTriangle(pCenter, p1); pT;) {
        if (vAround.size() == MAX_TRIANGLES) return;
        vAround.push_back(pT);
        const int k = indexOfVertex(pT, pCenter);
        pT = pT->getCorner(incIndexBy2(k)) == p0 ? nullptr : pT->getOppositeTriangle(incIndexBy1(k));
    }
    for (Triangle2* pT : vAround) addRefCand3(pT);
}

// ---------------------------------------------------------------------------------------------------------------------
// One candidate

bool Dt2::tryRefine(RefCand3* pRC, MeshGenParams* pParams) {
    TARO_ASSERT_TEXT(pRC->isAlive(), "pRC->isAlive()");
    TARO_ASSERT_TEXT(pmmAng2RC_ != nullptr, "pmmAng2RC!=__null");
    if (!pRC->needRefinement(pParams)) return false;
    if (pRC->getSplitIndex() == RefCand3::SPLIT_NONE) {
        insertCircumcenter(pRC, pParams);
        return true;
    }
    std::vector<ConstraintGraph2*> vZoneGraphs;
    pParams->pZone->getConstraintGraphs(vZoneGraphs);
    TARO_ASSERT_TEXT(!vZoneGraphs.empty(), "pCG!=__null");
    return splitSegmentInTheWay(pRC, vZoneGraphs);
}

double Dt2::getMeshHeight(double x, double y, Triangle2* pT, const MeshGenParams* pParams) {
    double z = 0.0;
    const Taro_2D* pGuide = pParams->pHeightGuide;
    if (pGuide ? pGuide->getHeight(x, y, z) : getHeightInside(*pT, Point2(x, y, 0.0), z)) return z;
    ++numMissingHeights_;
    return pT->getBarycenter().z();
}

void Dt2::insertCircumcenter(RefCand3* pRC, MeshGenParams* pParams) {
    const double x = pRC->getSteiner().x(), y = pRC->getSteiner().y();
    Triangle2* pT = pRC->getContainingTriangle();
    Point2* pVertex = vertexVault_.createRegisteredVertex(Point2(x, y, getMeshHeight(x, y, pT, pParams)));
    insertVertexForRefinement(pVertex, pT);
    vertexVault_.sortIV(VertexVault::SM_IF_DUE);
    pInnerVtxMgr_->addVtx(pVertex);
}

bool Dt2::splitSegmentInTheWay(RefCand3* pRC, const std::vector<ConstraintGraph2*>& vZoneGraphs) {
    Triangle2* pT = nullptr;
    int index = -1;
    pRC->getContainingTriangleAndIndex(pT, index);
    ConstraintSegment2* pCSeg = pRC->getAliveConstraintSegment(index);
    if (!pCSeg) return false;  // the hull, where it is no constraint
    Point2 splitPoint;
    if (!findSplitPoint(geomTest_, pT, index, splitPoint)) return false;

    const auto isOwner = [pCSeg](ConstraintGraph2* pGraph) { return pGraph->isConstraint(pCSeg); };
    const bool bBorder = std::any_of(vZoneGraphs.begin(), vZoneGraphs.end(), isOwner);
    // The triangle is in the zone, so the zone is on the left.
    Point2 *pSrc = pT->getCorner(incIndexBy1(index)), *pTrg = pT->getCorner(incIndexBy2(index));
    // Elsewhere any direction will do that does not depend on where the candidate is.
    if (!bBorder && *pTrg < *pSrc) std::swap(pSrc, pTrg);

    pLastVtx_ = pSrc;  // the split is near
    Point2* pInsertedVertex = pCSeg->insertAndSplit(splitPoint);
    TARO_ASSERT_TEXT(pInsertedVertex != nullptr, "pInsertedVertex!=__null");
    pInnerVtxMgr_->removePreviouslyInsertedVertices(pInsertedVertex, sqDistance2D(*pInsertedVertex, *pSrc), this);
    addRefCandsInsideZone(pSrc, pTrg, pInsertedVertex);
    // A segment that does not bound the zone has it on both sides. (So has a border that the zone passes twice; what is
    // on its other side waits for the next pass.)
    if (!bBorder) addRefCandsInsideZone(pTrg, pSrc, pInsertedVertex);
    return true;
}

void Dt2::insertVertexForRefinement(Point2*& pVertex, Triangle2* pContainingTriangle) {
    TARO_ASSERT_TEXT(pContainingTriangle != nullptr, "pContainingTriangle!=__null");
    TARO_ASSERT_TEXT(vFlipStack_.empty(), "vCheckT.empty()");
    int onEdge = -1;
    for (int i = 0; i < 3; ++i) {
        const Point2 *pSrc = pContainingTriangle->getCorner(incIndexBy1(i)),
                     *pTrg = pContainingTriangle->getCorner(incIndexBy2(i));
        if (geomTest_.getOrientation2(pSrc, pTrg, pVertex) == ORIENTATION2_COLLINEAR) onEdge = i;
    }
    if (onEdge == -1) {
        initVCheckT13(pContainingTriangle, pVertex);
    } else {
        initVCheckT24(pContainingTriangle, pVertex, onEdge);
    }
    settle(pVertex);
    // Those that were flipped away again would only be stale.
    Triangle2* const pFirst = pVertex->getIncidentTriangle();
    Triangle2* pT = pFirst;
    do {
        const int i = indexOfVertex(pT, pVertex);
        addRefCand3(pT);
        if (pmmAng2RC_ && pmmAng2RC_->dependsOnNeighbours() && !isConstraint(pT, i)) {
            addRefCand3(pT->getOppositeTriangle(i));
        }
        pT = pT->getOppositeTriangle(incIndexBy1(i));
    } while (pT != pFirst);
}

}  // namespace LUMO_TARO25D
