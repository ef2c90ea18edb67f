#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "kernel/VertexPairMap.h"

namespace LUMO_TARO25D {

/// The edges of a mesh that are constraints.
///
/// Whether an edge is a constraint is asked for every edge that a flip or a walk looks at, and the answer is nearly
/// always no. A bitmap over vertex addresses settles most questions without a search: a clear bit says that no
/// constraint edge has ever ended at the vertex. Vertices are 40 bytes and come from a few blocks, so the low bits of
/// an address divided by 32 are distinct for a few hundred thousand vertices. A hash table answers the rest.
class ConstraintEdges {
  public:
    ConstraintEdges() = default;
    ConstraintEdges(const ConstraintEdges& other) : flags_(other.flags_) {
        if (!other.aVertexBits_) return;
        aVertexBits_ = std::make_unique<std::uint64_t[]>(NUM_WORDS);
        std::copy_n(other.aVertexBits_.get(), NUM_WORDS, aVertexBits_.get());
    }
    ConstraintEdges& operator=(ConstraintEdges&&) = default;

    /// False until the first edge is added; until then no edge is a constraint.
    bool isInUse() const { return aVertexBits_ != nullptr; }
    /// Whether there is a constraint edge between two vertices, in any order, whose flag is set.
    bool contains(const Point2* p0, const Point2* p1) const {
        if (!aVertexBits_ || !hasBit(p0) || !hasBit(p1)) return false;
        const bool* pSet = flags_.find(p0, p1);
        return pSet && *pSet;
    }

    /// Adds the edge between two vertices, which must be new. It is a constraint while *pSet is true; the flag belongs
    /// to the caller and must outlive the entry.
    void add(const Point2* p0, const Point2* p1, const bool* pSet) {
        if (!aVertexBits_) aVertexBits_ = std::make_unique<std::uint64_t[]>(NUM_WORDS);
        for (const Point2* pEnd : {p0, p1}) {
            const size_t bit = getBit(pEnd);
            aVertexBits_[bit / 64] |= std::uint64_t(1) << (bit % 64);
        }
        flags_.add(p0, p1, pSet);
    }
    /// Removes an edge, if it is there.
    void erase(const Point2* p0, const Point2* p1) { flags_.erase(p0, p1); }
    /// Makes room for n edges.
    void reserve(size_t n) { flags_.reserve(n); }

  private:
    static constexpr size_t NUM_WORDS = 4096;

    static size_t getBit(const Point2* pVtx) {
        return (reinterpret_cast<std::uintptr_t>(pVtx) >> 5) % (64 * NUM_WORDS);
    }
    bool hasBit(const Point2* pVtx) const {
        const size_t bit = getBit(pVtx);
        return (aVertexBits_[bit / 64] >> (bit % 64) & 1) != 0;
    }

    std::unique_ptr<std::uint64_t[]> aVertexBits_;  // null before the first edge; bits are never cleared
    VertexPairMap<const bool> flags_;
};

}  // namespace LUMO_TARO25D
