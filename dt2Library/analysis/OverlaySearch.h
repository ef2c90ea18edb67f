#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

#include "analysis/CrossingGraph.h"
#include "kernel/flatSets.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

// The memory of searches for the triangles of one surface that overlap those of another, the outer triangles.

/// The last searches of a batch. Neighbouring triangles follow each other soon, but not always directly: the nearest
/// of some recent searches was much nearer than the last one.
class RecentSearches {
  public:
    /// The triangle at the nearest place; null if there was none.
    Triangle2* getNearest(const Point2& place) const {
        double least = std::numeric_limits<double>::infinity();
        size_t nearest = 0;
        for (size_t k = 0; k < NUM_SEARCHES; ++k) {
            const double dx = aSearches_[k].x - place.x(), dy = aSearches_[k].y - place.y(),
                         distance = dx * dx + dy * dy;
            nearest = distance < least ? k : nearest;
            least = std::min(least, distance);
        }
        return aSearches_[nearest].pT;
    }
    /// Replaces the oldest search; the first one also all others.
    void add(const Point2& place, Triangle2* pT) {
        const Search last{place.x(), place.y(), pT};
        if (!aSearches_[0].pT) aSearches_.fill(last);
        aSearches_[next_] = last;
        next_ = (next_ + 1) % NUM_SEARCHES;
    }

  private:
    static constexpr size_t NUM_SEARCHES = 16;
    struct Search {
        double x = 0.0, y = 0.0;
        Triangle2* pT = nullptr;
    };

    std::array<Search, NUM_SEARCHES> aSearches_;
    size_t next_ = 0;
};

/// Inner triangles that contain the last outer vertices of a batch. The slot of a vertex comes from its coordinates, so
/// that no result depends on addresses.
class KnownVertices {
  public:
    /// The triangle in which a vertex is; null if that is not known.
    Triangle2* find(const Point2* pVtx) const {
        const Entry& entry = aEntries_[getSlot(*pVtx)];
        return entry.pVtx == pVtx ? entry.pT : nullptr;
    }
    void set(const Point2* pVtx, Triangle2* pT) { aEntries_[getSlot(*pVtx)] = {pVtx, pT}; }

  private:
    static constexpr size_t NUM_ENTRIES = 256;
    struct Entry {
        const Point2* pVtx = nullptr;
        Triangle2* pT = nullptr;
    };

    static size_t getSlot(const Point2& vtx) { return hashOfNumbers({vtx.x(), vtx.y()}) % NUM_ENTRIES; }

    std::array<Entry, NUM_ENTRIES> aEntries_;
};

/// The triangles reached by a search, usually few.
class Reached {
  public:
    void clear() {
        vMany_.clear();
        pMany_.reset();
        std::fill_n(aFew_, std::min(size_, MAX_FEW), nullptr);
        size_ = 0;
    }
    void add(Triangle2* pT) { addIf(true, pT); }
    /// Adds a triangle unless it is null. Whether it is new is random, so that is found out without a branch.
    void addIf(bool bWanted, Triangle2* pT) {
        if (size_ >= MAX_FEW) {
            if (bWanted && pT) addToMany(pT);
            return;
        }
        bool bNew = bWanted & (pT != nullptr);
        for (size_t begin = 0; begin < size_; begin += BLOCK_SIZE) {
            for (size_t k = begin; k < begin + BLOCK_SIZE; ++k) bNew &= aFew_[k] != pT;
        }
        aFew_[size_] = bNew ? pT : nullptr;
        size_ += static_cast<size_t>(bNew);
        __builtin_prefetch(pT);
    }
    size_t size() const { return size_; }
    Triangle2* operator[](size_t i) const { return i < MAX_FEW ? aFew_[i] : vMany_[i - MAX_FEW]; }

  private:
    static constexpr size_t BLOCK_SIZE = 8, MAX_FEW = 3 * BLOCK_SIZE;

    void addToMany(Triangle2* pT) {
        if (!pMany_) {
            pMany_ = std::make_unique<AddressSet>();
            for (Triangle2* pFew : aFew_) pMany_->insert(pFew);
        }
        if (!pMany_->insert(pT)) return;
        vMany_.push_back(pT);
        ++size_;
    }

    size_t size_ = 0;
    Triangle2* aFew_[MAX_FEW] = {};      // null behind the last
    std::vector<Triangle2*> vMany_;      // the others
    std::unique_ptr<AddressSet> pMany_;  // null while there are few
};

}  // namespace LUMO_TARO25D
