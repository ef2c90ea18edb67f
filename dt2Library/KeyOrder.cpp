#include "KeyOrder.h"

#include <array>

namespace LUMO_TARO25D {

namespace {

constexpr unsigned DIGIT_BITS = 11;
constexpr size_t NUM_DIGITS = size_t(1) << DIGIT_BITS;

void sortByDigit(const KeyedIndex* first, const KeyedIndex* last, KeyedIndex* to, unsigned shift) {
    std::array<std::uint32_t, NUM_DIGITS> place{};
    for (const KeyedIndex* p = first; p < last; ++p) ++place[(p->key >> shift) % NUM_DIGITS];
    std::uint32_t start = 0;
    for (std::uint32_t& slot : place) {
        const std::uint32_t count = slot;
        slot = start;
        start += count;
    }
    for (const KeyedIndex* p = first; p < last; ++p) to[place[(p->key >> shift) % NUM_DIGITS]++] = *p;
}

/// The first position whose key is not below the given one, without branches that a processor would have to
/// guess.
size_t lowerBound(const LargeVector<std::uint32_t>& vKeys, std::uint32_t key) {
    const std::uint32_t* base = vKeys.data();
    for (size_t n = vKeys.size(); n > 0; n -= (n + 1) / 2) {
        const size_t half = (n + 1) / 2;
        base += base[half - 1] < key ? half : 0;
    }
    return static_cast<size_t>(base - vKeys.data());
}

}  // namespace

void sortByKey(KeyedIndex* first, KeyedIndex* last, LargeVector<KeyedIndex>& vScratch) {
    const size_t length = static_cast<size_t>(last - first);
    if (length < NUM_DIGITS) {
        std::stable_sort(first, last, [](const KeyedIndex& a, const KeyedIndex& b) { return a.key < b.key; });
        return;
    }
    if (vScratch.size() < length) vScratch.resize(length);
    KeyedIndex* pOther = vScratch.data();
    sortByDigit(first, last, pOther, 0);
    sortByDigit(pOther, pOther + length, first, DIGIT_BITS);
    sortByDigit(first, last, pOther, 2 * DIGIT_BITS);
    std::copy(pOther, pOther + length, first);
}

std::pair<size_t, size_t> KeyIndex::find(std::uint32_t key, double x, double y) const {
    const size_t first = lowerBound(vKeys_, key);
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
