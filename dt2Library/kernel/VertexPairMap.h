#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "kernel/tools.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// A hash table from unordered pairs of vertices to pointers, made for look-ups that mostly fail: those read one slot.
/// Open addressing with linear probing, at most half full.
template <class T>
class VertexPairMap {
  public:
    /// The value of a pair, or null.
    T* find(const Point2* p0, const Point2* p1) const {
        if (vSlots_.empty()) return nullptr;
        order(p0, p1);
        for (size_t i = hash(p0, p1) & mask(); vSlots_[i].pValue; i = (i + 1) & mask()) {
            if (vSlots_[i].p0 == p0 && vSlots_[i].p1 == p1) return vSlots_[i].pValue;
        }
        return nullptr;
    }

    /// Adds a pair that is not there yet; the value is not null.
    void add(const Point2* p0, const Point2* p1, T* pValue) {
        if (2 * (numEntries_ + 1) > vSlots_.size()) rehash(vSlots_.empty() ? MIN_SIZE : 2 * vSlots_.size());
        order(p0, p1);
        place({p0, p1, pValue});
        ++numEntries_;
    }

    /// Removes a pair, if it is there.
    void erase(const Point2* p0, const Point2* p1) {
        if (!find(p0, p1)) return;
        order(p0, p1);
        size_t gap = hash(p0, p1) & mask();
        while (vSlots_[gap].p0 != p0 || vSlots_[gap].p1 != p1) gap = (gap + 1) & mask();
        // Later entries that a collision moved on go back into the gap, or a search would end there too early.
        for (size_t i = (gap + 1) & mask(); vSlots_[i].pValue; i = (i + 1) & mask()) {
            const size_t home = hash(vSlots_[i].p0, vSlots_[i].p1);
            if (((i - home) & mask()) < ((i - gap) & mask())) continue;
            vSlots_[gap] = vSlots_[i];
            gap = i;
        }
        vSlots_[gap] = Slot();
        --numEntries_;
    }

    /// Makes room for n pairs.
    void reserve(size_t n) {
        const size_t size = getTableSize(n, MIN_SIZE);
        if (size > vSlots_.size()) rehash(size);
    }

  private:
    struct Slot {
        const Point2 *p0 = nullptr, *p1 = nullptr;
        T* pValue = nullptr;
    };
    static constexpr size_t MIN_SIZE = 64;

    static void order(const Point2*& p0, const Point2*& p1) {
        if (std::less<>()(p1, p0)) std::swap(p0, p1);
    }
    /// Addresses differ in few bits; a multiplication carries them into the upper half (Knuth 1973).
    static size_t hash(const Point2* p0, const Point2* p1) {
        const auto a = reinterpret_cast<std::uintptr_t>(p0), b = reinterpret_cast<std::uintptr_t>(p1);
        return static_cast<size_t>(((a ^ (b * 0xC2B2AE3D27D4EB4Fu)) * 0x9E3779B97F4A7C15u) >> 32);
    }
    size_t mask() const { return vSlots_.size() - 1; }

    void place(const Slot& slot) {
        size_t i = hash(slot.p0, slot.p1) & mask();
        while (vSlots_[i].pValue) i = (i + 1) & mask();
        vSlots_[i] = slot;
    }

    void rehash(size_t size) {
        std::vector<Slot> vOld(size);
        vOld.swap(vSlots_);
        for (const Slot& slot : vOld) {
            if (slot.pValue) place(slot);
        }
    }

    std::vector<Slot> vSlots_;  // none, or a power of two
    size_t numEntries_ = 0;
};

}  // namespace LUMO_TARO25D
