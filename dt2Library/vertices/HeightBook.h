#pragma once

#include <cstdint>
#include <vector>

#include "support/PointerMap.h"
#include "support/RecordCopies.h"
#include "support/lists.h"
#include "taro25d/HeightConflict.h"
#include "taro25d/HeightRule.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// Decides which height a vertex gets where several points have its place, and records the heights that differed.
class HeightBook {
  public:
    void setRule(HeightRule rule);
    HeightRule getRule() const { return rule_; }
    /// Until the scope ends, heights that meet are neither applied nor recorded. For operations of the library whose
    /// points take their heights from the surface itself.
    [[nodiscard]] FlagScope pause() { return FlagScope(bPaused_); }
    bool isPaused() const { return bPaused_; }
    /// From now on heights that meet are neither applied nor recorded.
    void stop() { bPaused_ = true; }

    /// Whether a point with height z, at the place of a vertex, has no effect now or after other points there.
    bool ignores(const Point2* pVtx, double z) const { return bPaused_ || (rule_ == HR_FIRST && z == pVtx->z()); }
    /// A point with height z has the place of a vertex: gives the vertex the height that the rule chooses.
    void meet(Point2* pVtx, double z);
    /// Drops the records of a vertex that is removed.
    void forget(const Point2* pVtx);
    /// Appends the recorded pairs of heights that differ by more than a tolerance, in chronological order.
    void getConflicts(double tolerance, std::vector<HeightConflict>& vConflicts) const;
    /// Copies the other book, with each vertex replaced by its copy.
    void copyFrom(const HeightBook& other, const RecordCopies<Point2>& vertices);

  private:
    static constexpr std::uint32_t NONE = UINT32_MAX;

    struct Meeting {
        HeightConflict conflict;  // its vertex becomes null when the vertex is removed
        double zBefore;           // of the vertex
    };
    /// The heights that met at a vertex under HR_MEAN.
    struct Sum {
        double sum = 0.0;
        std::uint32_t num = 0;
    };

    double decide(const Point2* pVtx, double z);
    void enterMeetings();

    HeightRule rule_ = HR_FIRST;
    bool bPaused_ = false;
    std::vector<Meeting> vMeetings_;
    // For the meetings that are entered, which only removals need: the previous one at the same vertex, and the last
    // one at each vertex.
    std::vector<std::uint32_t> vPrevious_;
    PointerMap<std::uint32_t> mLast_;
    PointerMap<Sum> mSums_;
};

}  // namespace LUMO_TARO25D
