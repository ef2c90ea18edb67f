#pragma once

#include <cstddef>

#include "support/LargeVector.h"
#include "support/SimplePool.h"
#include "support/stopping.h"

namespace LUMO_TARO25D {

template <class T>
void assignRecord(const T& from, T& to) {
    to = from;
}

/// The records of a pool at one moment. `copyRecord` copies all fields.
template <class T, void (*copyRecord)(const T& from, T& to) = assignRecord<T>>
class PoolSnapshot {
  public:
    explicit PoolSnapshot(const SimplePool<T>& pool) : vRecords_(pool.getNumElements()) {
        T* pCopies = vRecords_.data();
        pool.forEachBlock([&pCopies](const T* pBlock, size_t n) {
            forEachBlock(0, n, [&](size_t begin, size_t end) {
                for (size_t i = begin; i < end; ++i) copyRecord(pBlock[i], *pCopies++);
            });
        });
    }

    /// Gives the records, which have kept their places, their content again, and takes back those handed out since.
    void restore(SimplePool<T>& pool) const {
        pool.takeBack(vRecords_.size());
        const T* pCopies = vRecords_.data();
        pool.forEach([&pCopies](T* pRecord) { copyRecord(*pCopies++, *pRecord); });
    }

  private:
    LargeVector<T> vRecords_;
};

}  // namespace LUMO_TARO25D
