#include "vertices/HeightBook.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace LUMO_TARO25D {

void HeightBook::setRule(HeightRule rule) {
    rule_ = rule;
    mSums_ = PointerMap<Sum>();
}

void HeightBook::meet(Point2* pVtx, double z) {
    if (bPaused_) return;
    const double zBefore = pVtx->z(), zKept = decide(pVtx, z);
    if (zKept != zBefore) pVtx->set(pVtx->x(), pVtx->y(), zKept);
    if (z == zBefore) return;
    vMeetings_.push_back({{pVtx, zKept, z}, zBefore});
}

void HeightBook::enterMeetings() {
    for (size_t i = vPrevious_.size(); i < vMeetings_.size(); ++i) {
        const Point2* pVtx = vMeetings_[i].conflict.pVtx;
        const auto number = static_cast<std::uint32_t>(i);
        vPrevious_.push_back(mLast_.add(pVtx, number) ? NONE : std::exchange(mLast_[pVtx], number));
    }
}

double HeightBook::decide(const Point2* pVtx, double z) {
    switch (rule_) {
        case HR_FIRST:
            break;
        case HR_LAST:
            return z;
        case HR_MEAN: {
            Sum& met = mSums_[pVtx];
            if (met.num == 0) met = {pVtx->z(), 1};
            met.sum += z;
            ++met.num;
            const double mean = met.sum / met.num;
            return std::isfinite(mean) ? mean : pVtx->z() + (z / met.num - pVtx->z() / met.num);
        }
        case HR_MIN:
            return std::min(pVtx->z(), z);
        case HR_MAX:
            return std::max(pVtx->z(), z);
    }
    return pVtx->z();
}

void HeightBook::forget(const Point2* pVtx) {
    mSums_.erase(pVtx);
    enterMeetings();
    const std::uint32_t* pLast = mLast_.find(pVtx);
    if (!pLast) return;
    for (std::uint32_t i = *pLast; i != NONE; i = vPrevious_[i]) vMeetings_[i].conflict.pVtx = nullptr;
    mLast_.erase(pVtx);
}

void HeightBook::getConflicts(double tolerance, std::vector<HeightConflict>& vConflicts) const {
    for (const Meeting& meeting : vMeetings_) {
        const bool bDiffers = std::abs(meeting.zBefore - meeting.conflict.zOther) > tolerance;
        if (meeting.conflict.pVtx && bDiffers) vConflicts.push_back(meeting.conflict);
    }
}

void HeightBook::copyFrom(const HeightBook& other, const RecordCopies<Point2>& vertices) {
    const auto getCopy = [&vertices](const void* pVtx) { return vertices(static_cast<const Point2*>(pVtx)); };
    rule_ = other.rule_;
    bPaused_ = other.bPaused_;
    vMeetings_ = other.vMeetings_;
    for (Meeting& meeting : vMeetings_) meeting.conflict.pVtx = getCopy(meeting.conflict.pVtx);
    other.mLast_.forEach([&](const void* pVtx, std::uint32_t last) { mLast_.add(getCopy(pVtx), last); });
    vPrevious_ = other.vPrevious_;
    other.mSums_.forEach([&](const void* pVtx, const Sum& met) { mSums_.add(getCopy(pVtx), met); });
}

}  // namespace LUMO_TARO25D
