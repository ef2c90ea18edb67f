#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/lists.h"

namespace LUMO_TARO25D {

/// A hash table from addresses of records to values, laid out flat. Open addressing with linear probing, at most half
/// full. Adding or removing an entry moves the values.
template <class T>
class PointerMap {
  public:
    bool empty() const { return numEntries_ == 0; }

    /// The value of a record, or null.
    const T* find(const void* pRecord) const {
        if (vSlots_.empty()) return nullptr;
        const Slot& slot = vSlots_[findPlace(pRecord)];
        return slot.pRecord ? &slot.value : nullptr;
    }

    /// Adds a value; false, with no effect, if the record has one.
    bool add(const void* pRecord, const T& value) {
        const size_t numBefore = numEntries_;
        T& ofRecord = (*this)[pRecord];
        if (numEntries_ == numBefore) return false;
        ofRecord = value;
        return true;
    }

    /// The value of a record; a new record gets a default value.
    T& operator[](const void* pRecord) {
        if (2 * (numEntries_ + 1) > vSlots_.size()) rehash(vSlots_.empty() ? MIN_SIZE : 2 * vSlots_.size());
        Slot& slot = vSlots_[findPlace(pRecord)];
        if (!slot.pRecord) {
            slot.pRecord = pRecord;
            ++numEntries_;
        }
        return slot.value;
    }

    /// Removes the entry of a record, if there is one.
    void erase(const void* pRecord) {
        if (!find(pRecord)) return;
        const size_t mask = vSlots_.size() - 1;
        size_t gap = findPlace(pRecord);
        // Later entries that a collision moved on go back into the gap, or a search would end there too early.
        for (size_t i = (gap + 1) & mask; vSlots_[i].pRecord; i = (i + 1) & mask) {
            if (((i - getHome(vSlots_[i].pRecord)) & mask) < ((i - gap) & mask)) continue;
            vSlots_[gap] = vSlots_[i];
            gap = i;
        }
        vSlots_[gap] = Slot();
        --numEntries_;
    }

    /// Calls f(record, value) for each entry, in no particular order.
    template <class F>
    void forEach(const F& f) const {
        for (const Slot& slot : vSlots_) {
            if (slot.pRecord) f(slot.pRecord, slot.value);
        }
    }

    /// Makes room for n records.
    void reserve(size_t n) {
        const size_t size = getTableSize(n, MIN_SIZE);
        if (size > vSlots_.size()) rehash(size);
    }

  private:
    struct Slot {
        const void* pRecord = nullptr;
        T value{};
    };
    static constexpr size_t MIN_SIZE = 16;

    /// Where the search for a record begins. A multiplication carries the few bits in which addresses differ into the
    /// upper half (Knuth 1973).
    size_t getHome(const void* pRecord) const {
        return ((reinterpret_cast<std::uintptr_t>(pRecord) * 0x9E3779B97F4A7C15u) >> 32) & (vSlots_.size() - 1);
    }

    /// Where the record is or would be.
    size_t findPlace(const void* pRecord) const {
        const size_t mask = vSlots_.size() - 1;
        size_t i = getHome(pRecord);
        while (vSlots_[i].pRecord && vSlots_[i].pRecord != pRecord) i = (i + 1) & mask;
        return i;
    }

    void rehash(size_t size) {
        std::vector<Slot> vOld(size);
        vOld.swap(vSlots_);
        for (const Slot& slot : vOld) {
            if (slot.pRecord) vSlots_[findPlace(slot.pRecord)] = slot;
        }
    }

    std::vector<Slot> vSlots_;  // none, or a power of two
    size_t numEntries_ = 0;
};

}  // namespace LUMO_TARO25D
