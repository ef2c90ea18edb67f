#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "support/PointerMap.h"

namespace LUMO_TARO25D {

/// Values for records of one type, found by their addresses. Each 64 KB of addresses has a page with a value for every
/// record that they can hold, so that records from large blocks have their values side by side, in the order of their
/// addresses. Values never move.
template <class RecordT, class T>
class RecordMap {
  public:
    /// The value of a record; null, or a default one, if it was never asked for with [].
    const T* find(const RecordT* pRecord) const {
        Page* const* ppPage = mPages_.find(getKey(pRecord));
        return ppPage ? &(**ppPage)[getSlot(pRecord)] : nullptr;
    }

    /// The value of a record, a default one if it is new.
    T& operator[](const RecordT* pRecord) {
        Page*& pPage = mPages_[getKey(pRecord)];
        if (!pPage) {
            vPages_.push_back(std::make_unique<Page>());
            pPage = vPages_.back().get();
        }
        return (*pPage)[getSlot(pRecord)];
    }

  private:
    static constexpr unsigned PAGE_BITS = 16;
    static constexpr size_t PAGE_SIZE = size_t(1) << PAGE_BITS;
    // Records do not overlap, so that no two of them begin in one slot.
    using Page = std::array<T, PAGE_SIZE / sizeof(RecordT) + 1>;

    static const void* getKey(const RecordT* pRecord) {
        return reinterpret_cast<const void*>((reinterpret_cast<std::uintptr_t>(pRecord) >> PAGE_BITS) + 1);
    }
    static size_t getSlot(const RecordT* pRecord) {
        return reinterpret_cast<std::uintptr_t>(pRecord) % PAGE_SIZE / sizeof(RecordT);
    }

    PointerMap<Page*> mPages_;
    std::vector<std::unique_ptr<Page>> vPages_;
};

}  // namespace LUMO_TARO25D
