#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/lists.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

/// The distinct places of points, numbered in the order of their first points: a hash table with open addressing and
/// linear probing, at most half full.
class PlaceTable {
  public:
    using Number = std::uint32_t;

    explicit PlaceTable(size_t numExpected) : vSlots_(getTableSize(numExpected, MIN_SIZE)) {
        vPlaces_.reserve(numExpected);
    }

    /// The number of the place of a point with finite x and y, and this hash.
    Number getNumber(const Point2& point, std::uint64_t hash) {
        const auto tag = static_cast<std::uint32_t>(hash);
        size_t i = getHome(hash);
        for (; vSlots_[i].number != NONE; i = (i + 1) & mask()) {
            if (vSlots_[i].tag == tag && vPlaces_[vSlots_[i].number] == point) return vSlots_[i].number;
        }
        vSlots_[i] = {tag, static_cast<Number>(vPlaces_.size())};
        vPlaces_.push_back(point);
        if (2 * vPlaces_.size() >= vSlots_.size()) grow();
        return static_cast<Number>(vPlaces_.size() - 1);
    }
    /// Asks the processor to fetch what the search for a hash will read first.
    void prefetch(std::uint64_t hash) const { __builtin_prefetch(&vSlots_[getHome(hash)]); }
    /// Prefetches the place in that slot; to be called some time after prefetch().
    void prefetchPlace(std::uint64_t hash) const {
        const Number number = vSlots_[getHome(hash)].number;
        if (number != NONE) __builtin_prefetch(&vPlaces_[number]);
    }

    /// The hash of a point. Both zeros are the same place. Multiplications carry all bits into the upper half (Knuth
    /// 1973).
    static std::uint64_t getHash(const Point2& point) {
        const double x = point.x() + 0.0, y = point.y() + 0.0;
        std::uint64_t a = 0, b = 0;
        std::memcpy(&a, &x, sizeof(a));
        std::memcpy(&b, &y, sizeof(b));
        const std::uint64_t mixed = (a ^ (a >> 32)) * 0x9E3779B97F4A7C15u + (b ^ (b >> 32)) * 0xC2B2AE3D27D4EB4Fu;
        return (mixed ^ (mixed >> 32)) * 0x9E3779B97F4A7C15u;
    }
    /// The first point at each place.
    const std::vector<Point2>& getPlaces() const { return vPlaces_; }

  private:
    static constexpr Number NONE = UINT32_MAX;
    static constexpr size_t MIN_SIZE = 64;

    struct Slot {
        std::uint32_t tag = 0;
        Number number = NONE;
    };

    size_t mask() const { return vSlots_.size() - 1; }
    size_t getHome(std::uint64_t hash) const { return (hash >> 32) & mask(); }

    void grow() {
        vSlots_.assign(2 * vSlots_.size(), Slot());
        for (size_t k = 0; k < vPlaces_.size(); ++k) {
            const std::uint64_t hash = getHash(vPlaces_[k]);
            size_t i = getHome(hash);
            while (vSlots_[i].number != NONE) i = (i + 1) & mask();
            vSlots_[i] = {static_cast<std::uint32_t>(hash), static_cast<Number>(k)};
        }
    }

    std::vector<Slot> vSlots_;  // a power of two
    std::vector<Point2> vPlaces_;
};

}  // namespace LUMO_TARO25D
