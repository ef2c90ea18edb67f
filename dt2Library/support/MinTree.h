#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace LUMO_TARO25D {

/// A tournament tree: numbers in fixed places, of which the smallest is known at any time. Among equal numbers the
/// first place wins. Rebuilding reuses the memory.
class MinTree {
  public:
    /// Fills the tree with n numbers, valueAt(i) in place i. Linear.
    template <class ValueAt>
    void build(size_t n, const ValueAt& valueAt) {
        numLeaves_ = 1;
        while (numLeaves_ < n) numLeaves_ *= 2;
        vValues_.resize(numLeaves_);
        vWinners_.resize(2 * numLeaves_);
        for (size_t i = 0; i < numLeaves_; ++i) {
            vValues_[i] = i < n ? valueAt(i) : std::numeric_limits<double>::infinity();
            vWinners_[numLeaves_ + i] = i;
        }
        for (size_t k = numLeaves_ - 1; k > 0; --k) play(k);
    }

    /// Replaces the number in place i. Logarithmic.
    void set(size_t i, double value) {
        vValues_[i] = value;
        for (size_t k = (numLeaves_ + i) / 2; k > 0; k /= 2) play(k);
    }

    double getMin() const { return vValues_[vWinners_[1]]; }
    size_t getPlaceOfMin() const { return vWinners_[1]; }

  private:
    void play(size_t k) {
        const size_t left = vWinners_[2 * k], right = vWinners_[2 * k + 1];
        vWinners_[k] = vValues_[right] < vValues_[left] ? right : left;
    }

    size_t numLeaves_ = 0;
    std::vector<double> vValues_;
    std::vector<size_t> vWinners_;  // the children of node k > 0 are 2k and 2k + 1; the last half are the leaves
};

}  // namespace LUMO_TARO25D
