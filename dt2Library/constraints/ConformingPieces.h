#pragma once

#include <vector>

#include "kernel/flatSets.h"
#include "support/PointerMap.h"
#include "taro25d/ConstraintSegment2.h"

namespace LUMO_TARO25D {

/// What is remembered of the pieces of conforming segments: which of them may not be Delaunay edges any more, and how many
/// halvings have led to each.
class ConformingPieces {
  public:
    /// Clients' segments may be halved so often: that many times all together, and for each one.
    static constexpr size_t MIN_HALVING_QUOTA = 1000, NUM_HALVINGS_EACH = 100;

    static bool isConforming(const ConstraintSegment2* pCSeg) { return pCSeg->getCIS() != CIS_CONSTRAINED_DELAUNAY; }

    /// Remembers a piece, unless it is known already.
    void suspect(ConstraintSegment2* pCSeg) {
        if (sSuspects_.insert(pCSeg)) vSuspects_.push_back(pCSeg);
    }
    /// Forgets a segment that will not be there any more.
    void forget(const ConstraintSegment2* pCSeg);
    /// Hands over all suspects.
    void takeSuspects(std::vector<ConstraintSegment2*>& vTaken);

    /// Takes note of the children that a halving has given to a segment.
    void noteHalving(ConstraintSegment2* pParent);
    unsigned getNumHalvings(const ConstraintSegment2* pCSeg) const {
        const unsigned* pNum = mNumHalvings_.find(pCSeg);
        return pNum ? *pNum : 0;
    }

  private:
    std::vector<ConstraintSegment2*> vSuspects_;
    AddressSet sSuspects_;
    PointerMap<unsigned> mNumHalvings_;  // of those that have a parent
};

}  // namespace LUMO_TARO25D
