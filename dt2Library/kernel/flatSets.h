#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <tuple>
#include <vector>

#include "kernel/VertexPairMap.h"
#include "support/PointerMap.h"

namespace LUMO_TARO25D {

/// A set of addresses of records, as a bitmap in pages with one bit for each possible address. Records that come from
/// large blocks fill the pages, so that the marks of a million triangles fit in the cache. Insertion and search take
/// constant time.
class AddressSet {
  public:
    AddressSet() = default;
    AddressSet(AddressSet&&) = default;
    AddressSet& operator=(AddressSet&&) = default;
    AddressSet(const AddressSet& other) { *this = other; }
    AddressSet& operator=(const AddressSet& other) {
        if (this == &other) return *this;
        *this = AddressSet();
        other.mPages_.forEach([this](const void* pKey, const Page* pPage) {
            vPages_.push_back(std::make_unique<Page>(*pPage));
            mPages_[pKey] = vPages_.back().get();
        });
        return *this;
    }

    /// False if the address was in the set before.
    bool insert(const void* pRecord) {
        std::uint64_t& word = wordOf(pRecord);
        const std::uint64_t bit = bitOf(pRecord);
        const bool bNew = (word & bit) == 0;
        word |= bit;
        return bNew;
    }
    /// False if the address was not in the set.
    bool erase(const void* pRecord) {
        std::uint64_t& word = wordOf(pRecord);
        const std::uint64_t bit = bitOf(pRecord);
        const bool bWasIn = (word & bit) != 0;
        word &= ~bit;
        return bWasIn;
    }
    /// Calls f for each address, in no particular order.
    template <class F>
    void forEach(const F& f) const {
        mPages_.forEach([&f](const void* pKey, const Page* pPage) {
            const std::uintptr_t start = (reinterpret_cast<std::uintptr_t>(pKey) - 1) << PAGE_BITS;
            for (size_t i = 0; i < pPage->size() * 64; ++i) {
                if (((*pPage)[i / 64] >> (i % 64) & 1) == 0) continue;
                f(reinterpret_cast<const void*>(start | (std::uintptr_t(i) << ALIGNMENT_BITS)));
            }
        });
    }
    bool contains(const void* pRecord) { return (wordOf(pRecord) & bitOf(pRecord)) != 0; }
    /// Changes no cache, so that several threads may search at the same time.
    bool contains(const void* pRecord) const {
        const std::uint64_t* pWord = findWord(pRecord);
        return pWord && (*pWord & bitOf(pRecord)) != 0;
    }

  private:
    // Records are aligned to 8 bytes; a page of 64 KB of addresses takes 1 KB.
    static constexpr unsigned ALIGNMENT_BITS = 3, WORD_BITS = 6, PAGE_BITS = 16;
    using Page = std::array<std::uint64_t, 1u << (PAGE_BITS - WORD_BITS - ALIGNMENT_BITS)>;

    static std::uint64_t bitOf(const void* pRecord) {
        return std::uint64_t(1) << ((reinterpret_cast<std::uintptr_t>(pRecord) >> ALIGNMENT_BITS) % 64);
    }
    static std::uintptr_t keyOf(const void* pRecord) { return reinterpret_cast<std::uintptr_t>(pRecord) >> PAGE_BITS; }
    /// Null is no key of the map.
    static const void* mapKeyOf(std::uintptr_t key) { return reinterpret_cast<const void*>(key + 1); }
    static size_t placeOf(const void* pRecord) {
        return (reinterpret_cast<std::uintptr_t>(pRecord) >> (ALIGNMENT_BITS + WORD_BITS)) %
               std::tuple_size<Page>::value;
    }
    std::uint64_t& wordOf(const void* pRecord) {
        const std::uintptr_t key = keyOf(pRecord);
        if (!pLastPage_ || key != lastKey_) {
            pLastPage_ = &getPage(key);
            lastKey_ = key;
        }
        return (*pLastPage_)[placeOf(pRecord)];
    }
    /// Null if the page of the record is empty.
    const std::uint64_t* findWord(const void* pRecord) const {
        Page* const* ppPage = mPages_.find(mapKeyOf(keyOf(pRecord)));
        return ppPage ? &(**ppPage)[placeOf(pRecord)] : nullptr;
    }
    Page& getPage(std::uintptr_t key) {
        Page*& pPage = mPages_[mapKeyOf(key)];
        if (!pPage) {
            vPages_.push_back(std::make_unique<Page>());
            pPage = vPages_.back().get();
        }
        return *pPage;
    }

    PointerMap<Page*> mPages_;
    std::vector<std::unique_ptr<Page>> vPages_;
    Page* pLastPage_ = nullptr;
    std::uintptr_t lastKey_ = 0;
};

/// A set of edges, each an unordered pair of different vertices.
class EdgeSet {
  public:
    void insert(const Point2* p0, const Point2* p1) {
        if (!contains(p0, p1)) pairs_.add(p0, p1, p0);
    }
    bool contains(const Point2* p0, const Point2* p1) const { return pairs_.find(p0, p1) != nullptr; }

  private:
    VertexPairMap<const Point2> pairs_;  // the values only have to be non-null
};

}  // namespace LUMO_TARO25D
