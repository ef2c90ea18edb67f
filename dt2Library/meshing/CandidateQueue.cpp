// The queue of candidates, and the filter in front of it.
//
// A triangle that is certain to meet all limits gets no candidate. The filter compares squares, with a margin for
// rounding (FILTER_MARGIN); a triangle near a limit passes and is judged exactly when it is served
// (RefCand3::needRefinement).
//
// The heap holds keys and serial numbers beside the pointers, so that comparing entries touches no candidate. A
// candidate whose triangle has changed stays in the heap until it is extracted or swept out.

#include "meshing/CandidateQueue.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "meshing/RefinementContext.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

namespace {

constexpr double NO_LIMIT = std::numeric_limits<double>::max();

/// The squared cosine of an angle in degrees, reduced by a margin that covers rounding in the comparisons.
double sqCosineBelow(double degrees) {
    const double cosine = std::cos(degrees * (M_PI / 180.0));
    return cosine * cosine * (1.0 - FILTER_MARGIN);
}

double sqArea(const Vector2& u, const Vector2& v) {
    const double x = u.y() * v.z() - u.z() * v.y(), y = u.z() * v.x() - u.x() * v.z(),
                 z = u.x() * v.y() - u.y() * v.x();
    return 0.25 * (x * x + y * y + z * z);
}

}  // namespace

CandidateQueue::CandidateQueue(RefinementContext& context, MeshGenParams& params)
    : context_(context),
      params_(params),
      bGrowthLimit_(params.growthFactor > 0.0 && params.growthFactor != NO_LIMIT),
      sqCosineOfLimit_(sqCosineBelow(params.minAngleDegree)),
      sqCosineOfCap_(sqCosineBelow(RefCand3::PLANAR_ANGLE_CAP)) {
    constexpr int BLOCK_BYTES = 100000000;
    pool_.init(3, BLOCK_BYTES / static_cast<int>(sizeof(RefCand3)));
}

// ---------------------------------------------------------------------------------------------------------------------
// The filter

/// Whether the smallest angle of a triangle with these squared sides may be below the angle with the given squared
/// cosine. It is opposite the shortest side a; its cosine is (b^2 + c^2 - a^2) / 2bc. NaN and underflow give true.
bool CandidateQueue::mayBeNarrow(const double* aSqLengths, double sqCosine) const {
    const double a = std::min({aSqLengths[0], aSqLengths[1], aSqLengths[2]});
    const double c = std::max({aSqLengths[0], aSqLengths[1], aSqLengths[2]});
    const double b = std::max(std::min(aSqLengths[0], aSqLengths[1]),
                              std::min(std::max(aSqLengths[0], aSqLengths[1]), aSqLengths[2]));
    const double numerator = b + c - a, product = 4.0 * b * c * sqCosine;
    return !(numerator * numerator < product && product > MIN_PRODUCT);
}

bool CandidateQueue::mayMissLimit(Triangle2* pT, const Sides& aSide) const {
    if (bGrowthLimit_) return true;  // neighbours may have changed by the time the candidate is served
    double aSqPlanar[3], aSq[3];
    for (size_t i = 0; i < 3; ++i) {
        aSqPlanar[i] = aSide[i].x() * aSide[i].x() + aSide[i].y() * aSide[i].y();
        aSq[i] = aSqPlanar[i] + aSide[i].z() * aSide[i].z();
    }
    constexpr double ALMOST = 1.0 - FILTER_MARGIN;
    const double maxLength = params_.getMaxEdgeLength(pT), maxArea = params_.getMaxTriangleArea(pT);
    const double maxSq = std::max({aSq[0], aSq[1], aSq[2]});
    if (maxLength != NO_LIMIT && !(maxSq < maxLength * maxLength * ALMOST)) return true;
    const double sqMaxArea = maxArea * maxArea * ALMOST;
    if (maxArea != NO_LIMIT && !(sqArea(aSide[0], aSide[1]) < sqMaxArea && sqMaxArea > MIN_PRODUCT)) return true;
    return mayBeNarrow(aSq, sqCosineOfLimit_) && mayBeNarrow(aSqPlanar, sqCosineOfCap_);
}

// ---------------------------------------------------------------------------------------------------------------------
// The heap

RefCand3* CandidateQueue::getRecord() {
    if (vRecycled_.empty()) return pool_.getElement();
    RefCand3* pRC = vRecycled_.back();
    vRecycled_.pop_back();
    return pRC;
}

void CandidateQueue::add(Triangle2* pT) {
    const Sides aSide = getSides(context_.pGuide.get(), pT->getCorner(0), pT->getCorner(1), pT->getCorner(2));
    if (!mayMissLimit(pT, aSide)) return;
    if (vHeap_.size() >= sweepSize_) sweep();
    RefCand3* pRC = new (getRecord()) RefCand3(context_, pT);
    pRC->computeMinAngle(aSide);
    vHeap_.push_back({pRC->getMinAngle(), numAdded_++, pRC});
    std::push_heap(vHeap_.begin(), vHeap_.end());
}

RefCand3* CandidateQueue::extractFirst() {
    std::pop_heap(vHeap_.begin(), vHeap_.end());
    RefCand3* pRC = vHeap_.back().pRC;
    vHeap_.pop_back();
    return pRC;
}

void CandidateQueue::sweep() {
    const auto stale = std::remove_if(vHeap_.begin(), vHeap_.end(), [this](const Entry& entry) {
        if (entry.pRC->isAlive()) return false;
        giveBack(entry.pRC);
        return true;
    });
    vHeap_.erase(stale, vHeap_.end());
    std::make_heap(vHeap_.begin(), vHeap_.end());
    sweepSize_ = std::max(MIN_SWEEP_SIZE, 2 * vHeap_.size());
}

void CandidateQueue::resetPool() {
    vHeap_.clear();
    vRecycled_.clear();
    pool_.reset();
    sweepSize_ = MIN_SWEEP_SIZE;
}

}  // namespace LUMO_TARO25D
