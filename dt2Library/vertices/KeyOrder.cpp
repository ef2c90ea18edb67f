#include "vertices/KeyOrder.h"

#include <array>

#include "support/parallel.h"

namespace LUMO_TARO25D {

namespace {

constexpr unsigned DIGIT_BITS = 11;
constexpr size_t NUM_DIGITS = size_t(1) << DIGIT_BITS;

/// One pass of a radix sort: each thread counts the digits of its part, then moves its part to the places reserved for
/// it.
void sortByDigit(const KeyedIndex* from, size_t length, KeyedIndex* to, unsigned shift, int numThreads) {
    using Places = std::array<std::uint32_t, NUM_DIGITS>;
    std::vector<Places> vPlaces(numParallelParts(numThreads, length));
    const auto digitOf = [shift](const KeyedIndex& entry) { return (entry.key >> shift) % NUM_DIGITS; };
    parallelFor(numThreads, length, [&](size_t begin, size_t end, int threadIdx) {
        Places& count = vPlaces[static_cast<size_t>(threadIdx)];
        for (size_t i = begin; i < end; ++i) ++count[digitOf(from[i])];
    });
    std::uint32_t start = 0;
    for (size_t digit = 0; digit < NUM_DIGITS; ++digit) {
        for (Places& place : vPlaces) {
            const std::uint32_t count = place[digit];
            place[digit] = start;
            start += count;
        }
    }
    parallelFor(numThreads, length, [&](size_t begin, size_t end, int threadIdx) {
        Places& place = vPlaces[static_cast<size_t>(threadIdx)];
        for (size_t i = begin; i < end; ++i) to[place[digitOf(from[i])]++] = from[i];
    });
}

}  // namespace

void sortByKey(KeyedIndex* first, KeyedIndex* last, ScratchVector<KeyedIndex>& vScratch, int numThreads) {
    const size_t length = static_cast<size_t>(last - first);
    if (length < NUM_DIGITS) {
        std::stable_sort(first, last, [](const KeyedIndex& a, const KeyedIndex& b) { return a.key < b.key; });
        return;
    }
    if (vScratch.size() < length) vScratch.resize(length);
    KeyedIndex* pOther = vScratch.data();
    sortByDigit(first, length, pOther, 0, numThreads);
    sortByDigit(pOther, length, first, DIGIT_BITS, numThreads);
    sortByDigit(first, length, pOther, 2 * DIGIT_BITS, numThreads);
    parallelFor(numThreads, length,
                [&](size_t begin, size_t end, int) { std::copy(pOther + begin, pOther + end, first + begin); });
}

void KeyIndex::buildBuckets(int numThreads) {
    vBucketStart_.clear();
    if (vKeys_.empty()) return;
    const auto numBuckets = [this] { return (vKeys_.back() >> bucketShift_) + size_t(1); };
    for (bucketShift_ = 0; numBuckets() > vKeys_.size() / 8 + 1;) ++bucketShift_;
    vBucketStart_.resize(numBuckets() + 1);
    parallelFor(numThreads, vKeys_.size(), [this](size_t begin, size_t end, int) {
        for (size_t i = begin; i < end; ++i) {
            const size_t bucket = vKeys_[i] >> bucketShift_;
            const size_t previous = i == 0 ? 0 : (vKeys_[i - 1] >> bucketShift_) + size_t(1);
            for (size_t b = previous; b <= bucket; ++b) vBucketStart_[b] = static_cast<std::uint32_t>(i);
        }
    });
    vBucketStart_.back() = static_cast<std::uint32_t>(vKeys_.size());
}

size_t KeyIndex::lowerBound(std::uint32_t key) const {
    const size_t bucket = key >> bucketShift_;
    if (bucket + 1 >= vBucketStart_.size()) return vKeys_.size();
    size_t first = vBucketStart_[bucket], last = vBucketStart_[bucket + 1];
    while (last - first > 16) {
        const size_t middle = first + (last - first) / 2;
        (vKeys_[middle] < key ? first : last) = middle;
    }
    while (first < last && vKeys_[first] < key) ++first;
    return first;
}

std::pair<size_t, size_t> KeyIndex::find(std::uint32_t key, double x, double y) const {
    const size_t first = lowerBound(key);
    size_t last = first;
    while (last < vKeys_.size() && vKeys_[last] == key && last - first <= MAX_RUN_OF_EQUAL_KEYS) ++last;
    if (last - first > MAX_RUN_OF_EQUAL_KEYS) {
        const auto run = std::lower_bound(vRuns_.begin(), vRuns_.end(), begin_ + first,
                                          [](const Run& r, size_t position) { return r.begin < position; });
        if (run != vRuns_.end() && run->begin == begin_ + first)
            return run->index.find(run->pCurve->iReset(x, y), x, y);
        last = endOfRun(first);
    }
    return {begin_ + first, begin_ + last};
}

}  // namespace LUMO_TARO25D
