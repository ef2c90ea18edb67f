// The order in which segments become edges.
//
// First, crossings that do not depend on the order become vertices (CrossingFinder). Then the segments are established
// one after the other, in the order in which clients asked for them, so that older segments are edges by the time
// younger ones meet them. Each segment takes several passes over its pieces: the leaves of a piece that is split go to
// the next pass. Pieces of conforming segments are halved and cannot become shorter than doubles allow, so the limit on
// passes is reached only if rounding makes segments split each other again and again.

#include "constraints/Establisher.h"

#include <exception>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "constraints/CrossingFinder.h"
#include "kernel/triangleLists.h"
#include "mesh/Dt2.h"
#include "support/Progress.h"
#include "support/diagnostics.h"
#include "support/lists.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

constexpr int MAX_PASSES = 499;
constexpr size_t MAX_CROSSINGS_EACH = 10, MIN_QUOTA = 100;

void prefetchAround(const Triangle2* pT) {
    for (int k = 0; pT && k < 3; ++k) {
        prefetchRecord(pT->getOppositeTriangle(k));
        prefetchRecord(pT->getCorner(k));
    }
}

/// Asks for the records around the first ends of the segments that follow segment i. They come in the order of the
/// client, which is random in memory.
void prefetchSegmentsAfter(const std::vector<ConstraintSegment2*>& vCSegs, size_t i) {
    constexpr size_t TO_ENDS = 12, TO_TRIANGLE = 9, TO_NEIGHBOURS = 6, TO_THEIR_NEIGHBOURS = 3;
    const auto getTriangle = [&](size_t k) { return getEndsByPlace(vCSegs[k]).first->getIncidentTriangle(); };
    if (i + TO_ENDS < vCSegs.size()) {
        prefetchRecord(vCSegs[i + TO_ENDS]->getSrc());
        prefetchRecord(vCSegs[i + TO_ENDS]->getTrg());
    }
    if (i + TO_TRIANGLE < vCSegs.size()) prefetchRecord(getTriangle(i + TO_TRIANGLE));
    if (i + TO_NEIGHBOURS < vCSegs.size()) prefetchAround(getTriangle(i + TO_NEIGHBOURS));
    if (i + TO_THEIR_NEIGHBOURS >= vCSegs.size()) return;
    const Triangle2* pT = getTriangle(i + TO_THEIR_NEIGHBOURS);
    for (int k = 0; pT && k < 3; ++k) prefetchAround(pT->getOppositeTriangle(k));
}

bool areSameAge(const ConstraintSegment2* pFirst, const ConstraintSegment2* pSecond) {
    return !(pFirst->getAge() < pSecond->getAge()) && !(pSecond->getAge() < pFirst->getAge());
}

/// If an exception ends the scope, notes in the manager that some segments may be no edges.
class UnfinishedScope {
  public:
    explicit UnfinishedScope(ConstraintMgr& manager) : manager_(manager), numExceptions_(std::uncaught_exceptions()) {}
    ~UnfinishedScope() {
        if (std::uncaught_exceptions() > numExceptions_) manager_.setUnfinished(true);
    }
    UnfinishedScope(const UnfinishedScope&) = delete;
    UnfinishedScope& operator=(const UnfinishedScope&) = delete;

  private:
    ConstraintMgr& manager_;
    int numExceptions_;
};

}  // namespace

size_t Establisher::getCloseQuota() const { return manager_.getNumberOfSegments() + MIN_QUOTA; }

size_t Establisher::getQuotaEach() const { return MAX_CROSSINGS_EACH * getCloseQuota(); }

void Establisher::applyOneSegment(ConstraintSegment2* pCSeg) {
    if (!mesh_.is2D()) return;
    const UnfinishedScope unfinished(manager_);
    if (!bEstablishing_) {
        segmentInserter_.setCrossingQuota(getQuotaEach());
        segmentInserter_.setCloseCrossingQuota(getCloseQuota());
        conformingInserter_.setHalvingQuota(1, {pCSeg});
    }
    std::vector<ConstraintSegment2*> vStack{pCSeg};
    while (!vStack.empty()) {
        throwIfStopped();
        pCSeg = vStack.back();
        vStack.pop_back();
        if (!pCSeg->isAlive()) {
            std::vector<ConstraintSegment2*> vLeaves;
            pCSeg->getChildrenRec(vLeaves);
            vStack.insert(vStack.end(), vLeaves.rbegin(), vLeaves.rend());
        } else {
            applyAlive(pCSeg);
        }
    }
}

bool Establisher::applyAlive(ConstraintSegment2* pCSeg) {
    switch (pCSeg->getCIS()) {
        case CIS_CONSTRAINED_DELAUNAY:
            return segmentInserter_.newCDT_applyOneCS(pCSeg);
        case CIS_CONFORMING_SURFACE_Z:
        case CIS_CONFORMING_LINEAR_Z:
            conformingInserter_.insertSegmentConformingDelaunay(pCSeg);
            break;
        default:
            error("ConstraintMgr::apply()", "Unknown CIS");
    }
    return false;
}

void Establisher::establish(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments, Progress* pProgress) {
    if (!mesh_.is2D()) return;
    const bool bOutermost = !bEstablishing_;  // segments established within this call share the quotas
    const FlagScope establishing(bEstablishing_);
    const UnfinishedScope unfinished(manager_);
    const size_t quota = getQuotaEach();
    if (bOutermost) {
        segmentInserter_.setCloseCrossingQuota(getCloseQuota());
        conformingInserter_.setHalvingQuota(numSegments, vCSegs);
    }
    bool bAllDone = true;
    for (size_t i = 0, first = 0; i < vCSegs.size(); ++i) {
        prefetchSegmentsAfter(vCSegs, i);
        if (bOutermost) segmentInserter_.begin(vCSegs[i], quota);
        bAllDone = establishPieces(vCSegs[i]) && bAllDone;
        const bool bLast =
            i + 1 == vCSegs.size() || !areSameAge(vCSegs[i], vCSegs[i + 1]);  // of the pieces of a segment
        if (bOutermost && bLast) segmentInserter_.giveHeights(&vCSegs[first], i + 1 - first);
        if (bLast) first = i + 1;
        if (pProgress) pProgress->incProgress(1);
    }
    // Vertices at crossings are not found by the order of the vault until it is sorted.
    if (bOutermost) mesh_.getVertexVault().sortIV(VertexVault::SM_IF_DUE);
    if (!bAllDone) warnOfInaccuracy();
}

bool Establisher::establishPieces(ConstraintSegment2* pCSeg) {
    throwIfStopped();
    if (pCSeg->isAlive() && (applyAlive(pCSeg) || pCSeg->isAlive())) return true;
    std::vector<ConstraintSegment2*> vPieces, vNext;
    pCSeg->getChildrenRec(vPieces);
    sortByPlace(vPieces);
    for (int numPasses = 1; numPasses < MAX_PASSES && !vPieces.empty(); ++numPasses) {
        for (ConstraintSegment2* pPiece : vPieces) {
            throwIfStopped();
            if (pPiece->isAlive() && applyAlive(pPiece)) continue;
            const size_t begin = vNext.size();
            if (!pPiece->isAlive()) pPiece->getChildrenRec(vNext);
            sortByPlace(vNext, begin);
        }
        vPieces.swap(vNext);
        vNext.clear();
    }
    return vPieces.empty();
}

void Establisher::establishWithProgress(const std::vector<ConstraintSegment2*>& vCSegs, size_t numSegments,
                                        const char* label) {
    if (!mesh_.is2D()) return;
    insertCrossings(vCSegs);
    Progress& progress = mesh_.getProgress();
    progress.start(label, vCSegs.size());
    const ProgressEnd progressEnd(progress);
    establish(vCSegs, numSegments, &progress);
    segmentInserter_.end();
    progress.finish();
}

/// Under other height rules a crossing may change the height of the older segment too, so crossings must come one by
/// one.
void Establisher::insertCrossings(const std::vector<ConstraintSegment2*>& vCSegs) {
    if (bEstablishing_ || vCSegs.size() < 2 || mesh_.takesConstraintsExactly()) return;
    if (mesh_.getHeightBook().getRule() != HR_FIRST) return;
    const UnfinishedScope unfinished(manager_);
    const std::vector<CrossingFinder::Crossing> vCrossings = CrossingFinder(mesh_, manager_).find(vCSegs);
    if (vCrossings.empty()) return;
    std::vector<Point2> vPlaces;
    vPlaces.reserve(vCrossings.size());
    for (const CrossingFinder::Crossing& crossing : vCrossings) vPlaces.push_back(crossing.place);
    std::vector<Point2*> vNew;
    const auto awaitHeights = [&] {
        for (size_t k = 0; k < vNew.size(); ++k) {
            if (vNew[k] && vCrossings[k].bPending) segmentInserter_.awaitHeight(vNew[k]);
        }
    };
    try {
        manager_.bringVertices(vPlaces, vNew);
    } catch (...) {  // cancelled
        awaitHeights();
        throw;
    }
    awaitHeights();
}

void Establisher::establishAsEdges(const std::vector<ConstraintSegment2*>& vCSegs) {
    if (!mesh_.is2D()) return;
    const FlagScope establishing(bEstablishing_);
    const UnfinishedScope unfinished(manager_);
    Progress& progress = mesh_.getProgress();
    progress.start("establish constraints", vCSegs.size());
    const ProgressEnd progressEnd(progress);
    segmentInserter_.setCloseCrossingQuota(getCloseQuota());
    for (ConstraintSegment2* pCSeg : vCSegs) {
        segmentInserter_.setCrossingQuota(getQuotaEach());
        segmentInserter_.forceIntoMesh(pCSeg);
        progress.incProgress(1);
    }
    progress.finish();
}

void Establisher::splitEncroachedPieces(bool bNewPoints) {
    const FlagScope establishing(bEstablishing_);
    const UnfinishedScope unfinished(manager_);
    conformingInserter_.splitEncroachedPieces(bNewPoints);
}

}  // namespace LUMO_TARO25D
