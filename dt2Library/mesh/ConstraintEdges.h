#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The constraint segments of a mesh by their ends, dead ones included. Edges are constraints where the segment is
/// alive.
///
/// Whether an edge is a constraint is asked for every edge that a flip or a walk looks at, and the answer is nearly
/// always no. A bitmap over vertex addresses settles most questions without a search: a clear bit says that no
/// constraint edge has ever ended at the vertex. Vertices are 40 bytes and come from a few blocks, so the low bits of
/// an address divided by 32 are distinct for a few hundred thousand vertices.
///
/// A hash table answers the rest: open addressing with linear probing, at most three quarters full. A slot has the
/// address of a segment in its lower 48 bits, which hold all addresses of a 64-bit Linux process, and above it a part
/// of the hash that tells most pairs apart without reading the segment.
class ConstraintEdges {
  public:
    ConstraintEdges() = default;
    ConstraintEdges(const ConstraintEdges& other) : vSlots_(other.vSlots_), numEntries_(other.numEntries_) {
        if (!other.aVertexBits_) return;
        aVertexBits_ = std::make_unique<std::uint64_t[]>(NUM_WORDS);
        std::copy_n(other.aVertexBits_.get(), NUM_WORDS, aVertexBits_.get());
    }
    ConstraintEdges& operator=(ConstraintEdges&&) = default;

    /// False until the first segment is added; until then no edge is a constraint.
    bool isInUse() const { return aVertexBits_ != nullptr; }
    /// Whether there is an alive segment between two vertices, in any order.
    bool contains(const Point2* p0, const Point2* p1) const {
        if (!aVertexBits_ || !hasBit(p0) || !hasBit(p1)) return false;
        const ConstraintSegment2* pCSeg = find(p0, p1);
        return pCSeg && pCSeg->isAlive();
    }
    /// The segment between two vertices, in any order, or null.
    ConstraintSegment2* find(const Point2* p0, const Point2* p1) const {
        return vSlots_.empty() ? nullptr : getSegment(vSlots_[findSlot(p0, p1)]);
    }

    /// The segment between two vertices, in any order, and false. If there is none, the segment that make() returns is
    /// added, with true; it belongs to the caller and must outlive the entry.
    template <class Make>
    std::pair<ConstraintSegment2*, bool> findOrAdd(const Point2* p0, const Point2* p1, const Make& make) {
        reserve(numEntries_ + 1);
        std::uint64_t& slot = vSlots_[findSlot(p0, p1)];
        if (slot != 0) return {getSegment(slot), false};
        if (!aVertexBits_) aVertexBits_ = std::make_unique<std::uint64_t[]>(NUM_WORDS);
        for (const Point2* pEnd : {p0, p1}) {
            const size_t bit = getBit(pEnd);
            aVertexBits_[bit / 64] |= std::uint64_t(1) << (bit % 64);
        }
        ConstraintSegment2* pCSeg = make();
        slot = makeSlot(hash(p0, p1), pCSeg);
        ++numEntries_;
        return {pCSeg, true};
    }
    /// Removes the segment between two vertices, if there is one.
    void erase(const Point2* p0, const Point2* p1) {
        if (!find(p0, p1)) return;
        const size_t mask = vSlots_.size() - 1;
        size_t gap = findSlot(p0, p1);
        // Later entries that a collision moved on go back into the gap, or a search would end there too early.
        for (size_t i = (gap + 1) & mask; vSlots_[i] != 0; i = (i + 1) & mask) {
            const ConstraintSegment2* pMoved = getSegment(vSlots_[i]);
            const size_t home = hash(pMoved->getSrc(), pMoved->getTrg()) & mask;
            if (((i - home) & mask) < ((i - gap) & mask)) continue;
            vSlots_[gap] = vSlots_[i];
            gap = i;
        }
        vSlots_[gap] = 0;
        --numEntries_;
    }
    /// Asks for the slot of the segment between two vertices, which is looked up or added soon. There is a segment.
    void prefetch(const Point2* p0, const Point2* p1) const {
        __builtin_prefetch(&vSlots_[hash(p0, p1) & (vSlots_.size() - 1)], 1);
    }
    /// Makes room for n segments.
    void reserve(size_t n) {
        size_t size = std::max(vSlots_.size(), MIN_SIZE);
        while (4 * n > 3 * size) size *= 2;
        if (size > vSlots_.size()) rehash(size);
    }

  private:
    static constexpr size_t NUM_WORDS = 4096, MIN_SIZE = 64;
    static constexpr unsigned ADDRESS_BITS = 48;
    static constexpr std::uint64_t ADDRESS_MASK = (std::uint64_t(1) << ADDRESS_BITS) - 1;

    static size_t getBit(const Point2* pVtx) {
        return (reinterpret_cast<std::uintptr_t>(pVtx) >> 5) % (64 * NUM_WORDS);
    }
    bool hasBit(const Point2* pVtx) const {
        const size_t bit = getBit(pVtx);
        return (aVertexBits_[bit / 64] >> (bit % 64) & 1) != 0;
    }

    /// Addresses differ in few bits; multiplications carry them into the upper half (Knuth 1973), which becomes the
    /// lower one. The other half is the tag.
    static std::uint64_t hash(const Point2* p0, const Point2* p1) {
        if (std::less<>()(p1, p0)) std::swap(p0, p1);
        const auto a = reinterpret_cast<std::uintptr_t>(p0), b = reinterpret_cast<std::uintptr_t>(p1);
        const std::uint64_t product = (a ^ (b * 0xC2B2AE3D27D4EB4Fu)) * 0x9E3779B97F4A7C15u;
        return product >> 32 | product << 32;
    }
    static std::uint64_t makeSlot(std::uint64_t key, const ConstraintSegment2* pCSeg) {
        return (key & ~ADDRESS_MASK) | reinterpret_cast<std::uintptr_t>(pCSeg);
    }
    static ConstraintSegment2* getSegment(std::uint64_t slot) {
        return reinterpret_cast<ConstraintSegment2*>(slot & ADDRESS_MASK);
    }

    /// The slot where the segment between two vertices is or would be.
    size_t findSlot(const Point2* p0, const Point2* p1) const {
        const std::uint64_t key = hash(p0, p1), mask = vSlots_.size() - 1;
        const auto isWanted = [&](std::uint64_t slot) {
            if ((slot ^ key) & ~ADDRESS_MASK) return false;
            const ConstraintSegment2* pCSeg = getSegment(slot);
            return (pCSeg->getSrc() == p0 && pCSeg->getTrg() == p1) || (pCSeg->getSrc() == p1 && pCSeg->getTrg() == p0);
        };
        size_t i = key & mask;
        while (vSlots_[i] != 0 && !isWanted(vSlots_[i])) i = (i + 1) & mask;
        return i;
    }
    void place(const ConstraintSegment2* pCSeg) {
        const std::uint64_t key = hash(pCSeg->getSrc(), pCSeg->getTrg()), mask = vSlots_.size() - 1;
        size_t i = key & mask;
        while (vSlots_[i] != 0) i = (i + 1) & mask;
        vSlots_[i] = makeSlot(key, pCSeg);
    }
    void rehash(size_t size) {
        std::vector<std::uint64_t> vOld(size);
        vOld.swap(vSlots_);
        for (const std::uint64_t slot : vOld) {
            if (slot != 0) place(getSegment(slot));
        }
    }

    std::unique_ptr<std::uint64_t[]> aVertexBits_;  // null before the first segment; bits are never cleared
    std::vector<std::uint64_t> vSlots_;             // none, or a power of two
    size_t numEntries_ = 0;
};

}  // namespace LUMO_TARO25D
