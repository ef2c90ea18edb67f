#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// A hash table from vertices to values, laid out flat. Open addressing with linear probing, at most half full; entries are
/// never removed. Adding one moves the values.
template <class T>
class VertexMap {
  public:
    /// The value of a vertex, or null.
    const T* find(const Point2* pVtx) const {
        if (vSlots_.empty()) return nullptr;
        const Slot& slot = vSlots_[findPlace(pVtx)];
        return slot.pVtx ? &slot.value : nullptr;
    }

    /// The value of a vertex, a default one if it is new.
    T& operator[](const Point2* pVtx) {
        if (2 * (numEntries_ + 1) > vSlots_.size()) grow();
        Slot& slot = vSlots_[findPlace(pVtx)];
        if (!slot.pVtx) {
            slot.pVtx = pVtx;
            ++numEntries_;
        }
        return slot.value;
    }

  private:
    struct Slot {
        const Point2* pVtx = nullptr;
        T value{};
    };

    /// Where the vertex is or would be. A multiplication carries the few bits in which addresses differ into the upper
    /// half (Knuth 1973).
    size_t findPlace(const Point2* pVtx) const {
        const size_t mask = vSlots_.size() - 1;
        size_t i = ((reinterpret_cast<std::uintptr_t>(pVtx) * 0x9E3779B97F4A7C15u) >> 32) & mask;
        while (vSlots_[i].pVtx && vSlots_[i].pVtx != pVtx) i = (i + 1) & mask;
        return i;
    }

    void grow() {
        std::vector<Slot> vOld(vSlots_.empty() ? 64 : 2 * vSlots_.size());
        vOld.swap(vSlots_);
        for (const Slot& slot : vOld) {
            if (slot.pVtx) vSlots_[findPlace(slot.pVtx)] = slot;
        }
    }

    std::vector<Slot> vSlots_;  // none, or a power of two
    size_t numEntries_ = 0;
};

}  // namespace LUMO_TARO25D
