// The order in which segments become edges.
//
// Segments are established one after the other, in the order in which clients asked for them, so that older segments
// are edges by the time younger ones meet them. Each segment takes several passes over its pieces: the leaves of a
// piece that is split go to the next pass. Pieces of conforming segments are halved and cannot become shorter than
// doubles allow, so the limit on passes is reached only if rounding makes segments split each other again and again.

#include "constraints/Establisher.h"

#include <exception>

#include "constraints/ConstraintMgr.h"
#include "constraints/ConstraintPieces.h"
#include "mesh/Dt2.h"
#include "support/Progress.h"
#include "support/diagnostics.h"
#include "support/lists.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

constexpr int MAX_PASSES = 499;
constexpr size_t MAX_CROSSINGS_EACH = 10, MIN_QUOTA = 100;

/// Tells the manager that segments may be left that are no edges, where an exception ends the scope.
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
            continue;
        }
        switch (pCSeg->getCIS()) {
            case CIS_CONSTRAINED_DELAUNAY:
                segmentInserter_.newCDT_applyOneCS(pCSeg);
                break;
            case CIS_CONFORMING_SURFACE_Z:
            case CIS_CONFORMING_LINEAR_Z:
                conformingInserter_.insertSegmentConformingDelaunay(pCSeg);
                break;
            default:
                error("ConstraintMgr::apply()", "Unknown CIS");
        }
    }
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
    for (ConstraintSegment2* pCSeg : vCSegs) {
        if (bOutermost) segmentInserter_.setCrossingQuota(quota);
        bAllDone = establishPieces(pCSeg) && bAllDone;
        if (pProgress) pProgress->incProgress(1);
    }
    if (!bAllDone) warnOfInaccuracy();
}

bool Establisher::establishPieces(ConstraintSegment2* pCSeg) {
    std::vector<ConstraintSegment2*> vPieces{pCSeg}, vNext;
    for (int numPasses = 0; numPasses < MAX_PASSES && !vPieces.empty(); ++numPasses) {
        for (ConstraintSegment2* pPiece : vPieces) {
            throwIfStopped();
            if (pPiece->isAlive()) applyOneSegment(pPiece);
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
    Progress& progress = mesh_.getProgress();
    progress.start(label, vCSegs.size());
    const ProgressEnd progressEnd(progress);
    establish(vCSegs, numSegments, &progress);
    progress.finish();
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
