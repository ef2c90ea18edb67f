// The queue of candidates, and the filter in front of it.
//
// A triangle that is certain to meet all limits gets no candidate. The filter compares squares, with a margin for
// rounding (FILTER_MARGIN); a triangle near a limit passes and is judged exactly when it is served
// (RefCand3::needRefinement).
//
// The queue is divided into buckets by angle. Only the first occupied bucket is kept as a heap, and new candidates of
// the others are appended in constant time; since a bucket holds a small part of the queue, its heap stays in the
// cache. The order is that of one heap. An entry holds all that is needed to compare it and to recognise a triangle
// that has changed; the candidate itself (RefCand3) is made when the entry is served.

#include "meshing/CandidateQueue.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "kernel/tolerances.h"
#include "kernel/tools.h"
#include "kernel/triangleLists.h"
#include "meshing/RefCand3.h"
#include "meshing/RefinementContext.h"
#include "taro25d/MeshGenParams.h"
#include "taro25d/Triangle2.h"
#include "taro25d/Vector2.h"

namespace LUMO_TARO25D {

namespace {

constexpr double NO_LIMIT = std::numeric_limits<double>::max();
/// The smallest angle of a triangle is at most 60 degrees.
constexpr double BUCKETS_PER_DEGREE = 34.0;

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
    clear();
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
// The buckets

bool CandidateQueue::Entry::isAlive() const {
    return pT->getCorner(0) == aCorner[0] && pT->getCorner(1) == aCorner[1] && pT->getCorner(2) == aCorner[2];
}

void CandidateQueue::add(Triangle2* pT) {
    Point2 *p0 = pT->getCorner(0), *p1 = pT->getCorner(1), *p2 = pT->getCorner(2);
    const Sides aSide = getSides(context_.pGuide.get(), p0, p1, p2);
    if (!mayMissLimit(pT, aSide)) return;
    if (size_ >= sweepSize_) sweep();
    const double angle = getMinAngleDegree(aSide);
    const size_t k = angle > 0.0 ? std::min(static_cast<size_t>(angle * BUCKETS_PER_DEGREE), NUM_BUCKETS - 1) : 0;
    Bucket& bucket = vBuckets_[k];
    bucket.vEntries.push_back({angle, numAdded_++, pT, {p0, p1, p2}});
    if (bucket.bHeap) std::push_heap(bucket.vEntries.begin(), bucket.vEntries.end());
    aOccupied_[k / 64] |= std::uint64_t(1) << (k % 64);
    ++size_;
}

size_t CandidateQueue::getFirstBucket() const {
    size_t word = 0;
    while (aOccupied_[word] == 0) ++word;
    return 64 * word + static_cast<size_t>(__builtin_ctzll(aOccupied_[word]));
}

Triangle2* CandidateQueue::extractFirst() {
    const size_t k = getFirstBucket();
    Bucket& bucket = vBuckets_[k];
    std::vector<Entry>& vEntries = bucket.vEntries;
    if (!bucket.bHeap) std::make_heap(vEntries.begin(), vEntries.end());
    bucket.bHeap = true;
    std::pop_heap(vEntries.begin(), vEntries.end());
    const Entry entry = vEntries.back();
    vEntries.pop_back();
    --size_;
    if (vEntries.empty()) {
        bucket.bHeap = false;
        aOccupied_[k / 64] &= ~(std::uint64_t(1) << (k % 64));
    } else {
        prefetchRecord(vEntries.front().pT);  // likely to be the next one
    }
    return entry.isAlive() ? entry.pT : nullptr;
}

void CandidateQueue::dropStale(Bucket& bucket) {
    std::vector<Entry>& vEntries = bucket.vEntries;
    const auto stale =
        std::remove_if(vEntries.begin(), vEntries.end(), [](const Entry& entry) { return !entry.isAlive(); });
    if (stale == vEntries.end()) return;
    vEntries.erase(stale, vEntries.end());
    bucket.bHeap = false;
}

void CandidateQueue::sweep() {
    size_ = 0;
    for (size_t k = 0; k < NUM_BUCKETS; ++k) {
        dropStale(vBuckets_[k]);
        size_ += vBuckets_[k].vEntries.size();
        if (!vBuckets_[k].vEntries.empty()) continue;
        vBuckets_[k] = Bucket();
        aOccupied_[k / 64] &= ~(std::uint64_t(1) << (k % 64));
    }
    sweepSize_ = std::max(MIN_SWEEP_SIZE, 2 * size_);
}

void CandidateQueue::clear() {
    vBuckets_.assign(NUM_BUCKETS, Bucket());
    aOccupied_.fill(0);
    size_ = 0;
    sweepSize_ = MIN_SWEEP_SIZE;
}

}  // namespace LUMO_TARO25D
