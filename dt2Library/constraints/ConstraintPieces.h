#pragma once

#include <vector>

#include "kernel/flatSets.h"
#include "support/diagnostics.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"

namespace LUMO_TARO25D {

/// Appends a segment, or its alive leaves if it is dead.
inline void appendAlivePieces(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vPieces) {
    if (pCSeg->isAlive()) {
        vPieces.push_back(pCSeg);
    } else {
        pCSeg->getChildrenRec(vPieces);
    }
}

/// The edges that graphs stand for.
inline EdgeSet getAlivePieces(const std::vector<ConstraintGraph2*>& vGraphs) {
    std::vector<ConstraintSegment2*> vCSegs;
    for (const ConstraintGraph2* pGraph : vGraphs) pGraph->getChildConstraintSegments(vCSegs);
    EdgeSet sPieces;
    for (const ConstraintSegment2* pCSeg : vCSegs) sPieces.insert(pCSeg->getSrc(), pCSeg->getTrg());
    return sPieces;
}

/// Says that rounding keeps a segment from becoming edges, so that what is left of it is given up.
inline void warnOfInaccuracy() {
    warning("ConstraintMgr::apply()", "insufficient numeric accuracy, need to skip last insertions");
}

}  // namespace LUMO_TARO25D
