#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <vector>

#include "support/SimplePool.h"

namespace LUMO_TARO25D {

/// Numbers the records of a pool from 0, in the order in which they were handed out. A search remembers the last block
/// found, so each thread needs a copy of its own. The pool must not change meanwhile.
template <class T>
class RecordNumbers {
  public:
    explicit RecordNumbers(const SimplePool<T>& pool) {
        pool.forEachBlock([this](const T* pBlock, size_t n) {
            vBlocks_.push_back({pBlock, pBlock + n, size_});
            size_ += n;
        });
        std::sort(vBlocks_.begin(), vBlocks_.end(),
                  [](const Block& a, const Block& b) { return std::less<>()(a.pBegin, b.pBegin); });
    }

    /// The number of records.
    size_t size() const { return size_; }

    /// The number of a record of the pool; NOT_FOUND for any other pointer. O(1) near the last one, O(log n) for n
    /// blocks.
    size_t operator()(const T* pRecord) {
        if (!isIn(last_, pRecord) && !find(pRecord)) return NOT_FOUND;
        return last_.first + static_cast<size_t>(pRecord - last_.pBegin);
    }

    static constexpr size_t NOT_FOUND = static_cast<size_t>(-1);

  private:
    struct Block {
        const T* pBegin;
        const T* pEnd;
        size_t first;  // the number of the first record
    };

    static bool isIn(const Block& block, const T* pRecord) {
        return !std::less<>()(pRecord, block.pBegin) && std::less<>()(pRecord, block.pEnd);
    }
    /// Looks for the block; false if there is none.
    bool find(const T* pRecord) {
        const auto next = std::upper_bound(vBlocks_.begin(), vBlocks_.end(), pRecord,
                                           [](const T* p, const Block& b) { return std::less<>()(p, b.pBegin); });
        if (next == vBlocks_.begin() || !isIn(*std::prev(next), pRecord)) return false;
        last_ = *std::prev(next);
        return true;
    }

    std::vector<Block> vBlocks_;  // in the order of their addresses
    Block last_{nullptr, nullptr, 0};
    size_t size_ = 0;
};

}  // namespace LUMO_TARO25D
