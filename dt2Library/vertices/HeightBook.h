#pragma once

#include <cstdint>
#include <vector>

#include "support/PointerMap.h"
#include "support/lists.h"
#include "taro25d/HeightConflict.h"
#include "taro25d/HeightRule.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// Decides which height a vertex has where several meet, and keeps a record of those that differed.
class HeightBook {
  public:
    void setRule(HeightRule rule);
    HeightRule getRule() const { return rule_; }
    /// Until the scope ends, heights that meet change and leave nothing: where an operation of the library brings heights of
    /// the surface itself.
    [[nodiscard]] FlagScope pause() { return FlagScope(bPaused_); }
    bool isPaused() const { return bPaused_; }
    /// From now on heights that meet change and leave nothing.
    void stop() { bPaused_ = true; }

    /// A height has come to the place of a vertex, which takes the one that the rule asks for.
    void meet(Point2* pVtx, double z);
    /// Drops what was noted of a vertex that goes.
    void forget(const Point2* pVtx);
    /// Appends the meetings of heights that differed by more than a tolerance, in the order of time.
    void getConflicts(double tolerance, std::vector<HeightConflict>& vConflicts) const;

  private:
    static constexpr std::uint32_t NONE = UINT32_MAX;

    struct Meeting {
        HeightConflict conflict;  // without a vertex once that is gone
        double zBefore;           // of the vertex
        std::uint32_t iPrevious;  // the one before at the same vertex
    };
    /// The heights that met at a vertex under HR_MEAN.
    struct Sum {
        double sum = 0.0;
        std::uint32_t num = 0;
    };

    double decide(const Point2* pVtx, double z);

    HeightRule rule_ = HR_FIRST;
    bool bPaused_ = false;
    std::vector<Meeting> vMeetings_;
    PointerMap<std::uint32_t> mLast_;  // of the meetings at a vertex
    PointerMap<Sum> mSums_;
};

}  // namespace LUMO_TARO25D
