#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

namespace LUMO_TARO25D {

/// Sorts a vector and drops repeated elements.
template <class T>
void oneInstance(std::vector<T>& vElements) {
    std::sort(vElements.begin(), vElements.end(), std::less<T>());
    vElements.erase(std::unique(vElements.begin(), vElements.end()), vElements.end());
}

/// Makes room for n more elements, and half as many again as that makes: what is never written costs addresses only, but
/// moving a large vector for the next element costs as much as many insertions. At least doubling later, so that many small
/// batches stay linear.
template <class Vector>
void reserveMore(Vector& vElements, size_t n) {
    const size_t numWanted = vElements.size() + n;
    if (numWanted > vElements.capacity())
        vElements.reserve(std::max(numWanted + numWanted / 2, 2 * vElements.capacity()));
}

/// The size of a hash table that n entries fill at most by half: the least size, doubled as often as that takes.
inline size_t getTableSize(size_t n, size_t minSize) {
    size_t size = minSize;
    while (size < 2 * n) size *= 2;
    return size;
}

/// Sets a flag for the length of an operation, however that ends, and then to what it was. Nests.
class FlagScope {
  public:
    explicit FlagScope(bool& bFlag) : bFlag_(bFlag), bBefore_(bFlag) { bFlag_ = true; }
    ~FlagScope() { bFlag_ = bBefore_; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

  private:
    bool& bFlag_;
    bool bBefore_;
};

}  // namespace LUMO_TARO25D
