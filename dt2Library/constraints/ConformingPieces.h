#pragma once

#include <vector>

#include "kernel/flatSets.h"
#include "support/PointerMap.h"
#include "taro25d/ConstraintSegment2.h"

namespace LUMO_TARO25D {

/// State of the pieces of conforming segments: those that may have lost the Delaunay property, and the number of
/// halvings that led to each.
class ConformingPieces {
  public:
    /// The limit of halvings: a base amount, and an amount for each segment of the client.
    static constexpr size_t MIN_HALVING_QUOTA = 1000, NUM_HALVINGS_EACH = 100;

    static bool isConforming(const ConstraintSegment2* pCSeg) { return pCSeg->getCIS() != CIS_CONSTRAINED_DELAUNAY; }

    /// Adds a piece to the suspects, unless it is one.
    void suspect(ConstraintSegment2* pCSeg) {
        if (sSuspects_.insert(pCSeg)) vSuspects_.push_back(pCSeg);
    }
    /// Forgets a segment that is about to be deleted.
    void forget(const ConstraintSegment2* pCSeg);
    /// Copies the other object's records, with each segment replaced by its copy.
    void copyFrom(const ConformingPieces& other, const PointerMap<ConstraintSegment2*>& mSegments);
    /// Moves all suspects to vTaken.
    void takeSuspects(std::vector<ConstraintSegment2*>& vTaken);

    /// Sets the number of halvings of the two children of a halved segment.
    void noteHalving(ConstraintSegment2* pParent);
    unsigned getNumHalvings(const ConstraintSegment2* pCSeg) const {
        const unsigned* pNum = mNumHalvings_.find(pCSeg);
        return pNum ? *pNum : 0;
    }

  private:
    // Forgotten segments stay in the list, not in the set; their addresses may be those of new segments.
    std::vector<ConstraintSegment2*> vSuspects_;
    AddressSet sSuspects_;
    PointerMap<unsigned> mNumHalvings_;  // of pieces that have a parent
};

}  // namespace LUMO_TARO25D
