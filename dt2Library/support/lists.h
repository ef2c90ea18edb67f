#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <tuple>
#include <vector>

namespace LUMO_TARO25D {

/// Sorts a vector and drops repeated elements.
template <class T>
void oneInstance(std::vector<T>& vElements) {
    std::sort(vElements.begin(), vElements.end(), std::less<T>());
    vElements.erase(std::unique(vElements.begin(), vElements.end()), vElements.end());
}

/// Makes room for n more elements, with half of the new size to spare: memory that is never written costs only
/// addresses, but moving a large vector for one more element costs as much as many insertions. The capacity at least
/// doubles, so that many small batches stay linear.
template <class Vector>
void reserveMore(Vector& vElements, size_t n) {
    const size_t numWanted = vElements.size() + n;
    if (numWanted > vElements.capacity())
        vElements.reserve(std::max(numWanted + numWanted / 2, 2 * vElements.capacity()));
}

/// The size of a hash table that n entries fill by half at most: minSize times a power of two.
inline size_t getTableSize(size_t n, size_t minSize) {
    size_t size = minSize;
    while (size < 2 * n) size *= 2;
    return size;
}

/// Copies of objects, given by std::tie.
template <class... T>
std::tuple<T...> copyAll(const std::tuple<T&...>& objects) {
    return objects;
}

/// Sets a flag for the duration of a scope and then restores its former value, after an exception too. Nests.
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
