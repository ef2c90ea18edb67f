#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "kernel/triangleLists.h"
#include "support/SimplePool.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Triangles at numbered places, in no particular order: those of a list, or all of a mesh, for which no list is made.
class TriangleSequence {
  public:
    /// The list must outlive the sequence.
    explicit TriangleSequence(const std::vector<Triangle2*>& vTriangles)
        : pList_(&vTriangles), size_(vTriangles.size()) {}
    /// Some places of a pool are empty.
    explicit TriangleSequence(const SimplePool<Triangle2>& pool) {
        pool.forEachBlock([this](Triangle2* pBlock, size_t n) {
            vBlocks_.push_back({pBlock, size_, size_ + n});
            size_ += n;
        });
    }

    /// The number of places.
    size_t size() const { return size_; }
    /// Calls f(triangle) for the places [begin, end); prefetches.
    template <class F>
    void forEach(size_t begin, size_t end, const F& f) const {
        for (size_t k = begin; pList_ && k < end; ++k) {
            prefetchTriangles(*pList_, k);
            f((*pList_)[k]);
        }
        if (!pList_) forEachRecord(begin, end, f);
    }

  private:
    struct Block {
        Triangle2* pRecords;
        size_t begin, end;  // places
    };

    template <class F>
    void forEachRecord(size_t begin, size_t end, const F& f) const {
        constexpr size_t AHEAD = 8;
        auto block = std::partition_point(vBlocks_.begin(), vBlocks_.end(),
                                          [begin](const Block& other) { return other.end <= begin; });
        for (; block != vBlocks_.end() && block->begin < end; ++block) {
            const size_t blockEnd = std::min(end, block->end);
            for (size_t k = std::max(begin, block->begin); k < blockEnd; ++k) {
                Triangle2* pT = block->pRecords + (k - block->begin);
                for (int i = 0; i < 3 && k + AHEAD < blockEnd; ++i) __builtin_prefetch((pT + AHEAD)->getCorner(i));
                if (pT->getCorner(0)) f(pT);
            }
        }
    }

    const std::vector<Triangle2*>* pList_ = nullptr;
    std::vector<Block> vBlocks_;
    size_t size_ = 0;
};

}  // namespace LUMO_TARO25D
