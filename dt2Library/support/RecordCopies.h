#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "support/SimplePool.h"

namespace LUMO_TARO25D {

/// Copies of all records of a pool, dead ones included, in another pool. The copies have the order of the originals,
/// and so have their addresses. The original pool must not change meanwhile.
template <class T>
class RecordCopies {
  public:
    /// Makes the records of the copies, not yet filled. The pool of the copies must be unused.
    RecordCopies(const SimplePool<T>& originals, SimplePool<T>& copies, int numTouchThreads) {
        copies.layOutLike(originals, numTouchThreads);
        originals.forEachBlock([this](const T* pBlock, size_t n) {
            if (n > 0) vBlocks_.push_back({pBlock, pBlock + n, nullptr});
        });
        size_t k = 0;
        copies.forEachBlock([&](T* pBlock, size_t n) {
            if (n > 0) vBlocks_[k++].pCopies = pBlock;
        });
        vByAddress_ = vBlocks_;
        std::sort(vByAddress_.begin(), vByAddress_.end(),
                  [](const Block& a, const Block& b) { return std::less<>()(a.pBegin, b.pBegin); });
        for (const Block& block : vByAddress_) vBegins_.push_back(reinterpret_cast<std::uintptr_t>(block.pBegin));
    }

    /// The copy of a record; null for any other pointer. Blocks grow with the pool, so they are few, and a comparison
    /// with each is faster than a binary search or a guess: neighbours may be in any block.
    T* operator()(const T* pRecord) const {
        const auto address = reinterpret_cast<std::uintptr_t>(pRecord);
        size_t numBefore = 0;
        for (const std::uintptr_t begin : vBegins_) numBefore += begin <= address;
        if (numBefore == 0) return nullptr;
        const Block& block = vByAddress_[numBefore - 1];
        return std::less<>()(pRecord, block.pEnd) ? block.pCopies + (pRecord - block.pBegin) : nullptr;
    }

    /// Calls f(record, copy) for all records in order, and between() after every few thousand.
    template <class F, class G>
    void forEach(const F& f, const G& between) const {
        constexpr size_t BLOCK_SIZE = 1 << 15;
        for (const Block& block : vBlocks_) {
            T* pCopy = block.pCopies;
            for (const T* p = block.pBegin; p != block.pEnd; ++p, ++pCopy) {
                f(p, pCopy);
                if (static_cast<size_t>(p - block.pBegin) % BLOCK_SIZE == BLOCK_SIZE - 1) between();
            }
            between();
        }
    }

  private:
    struct Block {
        const T* pBegin;
        const T* pEnd;
        T* pCopies;
    };

    std::vector<Block> vBlocks_, vByAddress_;
    std::vector<std::uintptr_t> vBegins_;  // of the blocks by address
};

}  // namespace LUMO_TARO25D
