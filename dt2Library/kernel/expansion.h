#pragma once

// Exact arithmetic on doubles. An error-free transformation returns the rounded result of one operation
// together with its rounding error, which is itself a double (Knuth 1969, Dekker 1971), so that sums of
// doubles represent longer numbers exactly (Priest 1991, Shewchuk 1997).
//
// All functions require round-to-nearest mode, compiled without contraction and without -ffast-math, as long as nothing
// overflows and no product has bits below 2^-1074. Additions cannot underflow.

#include <cmath>

namespace LUMO_TARO25D {

/// The number hi + lo, where lo is small against hi: |lo| <= 2^-53 |hi|.
struct DoubleDouble {
    double hi, lo;
};

/// Whether the difference, the rounded a - b, has no rounding error: one of the two checks runs from the
/// operand of larger magnitude, and is exact.
inline bool isExactDifference(double a, double b, double difference) {
    return a - difference == b && b + difference == a;
}

/// a + b without error.
inline DoubleDouble twoSum(double a, double b) {
    const double sum = a + b;
    const double partOfB = sum - a;
    return {sum, (a - (sum - partOfB)) + (b - partOfB)};
}

/// a - b without error.
inline DoubleDouble twoDiff(double a, double b) { return twoSum(a, -b); }

#ifndef __FMA__
/// The upper 26 bits of a in hi, the others in lo. |a| must be below 2^996.
inline DoubleDouble splitInHalves(double a) {
    const double factor = 134217729.0;  // 2^27 + 1
    const double scaled = factor * a;
    const double hi = scaled - (scaled - a);
    return {hi, a - hi};
}
#endif

/// a * b without error.
inline DoubleDouble twoProduct(double a, double b) {
    const double product = a * b;
#ifdef __FMA__
    return {product, std::fma(a, b, -product)};
#else
    const DoubleDouble halvesA = splitInHalves(a), halvesB = splitInHalves(b);
    const double rest = ((product - halvesA.hi * halvesB.hi) - halvesA.lo * halvesB.hi) - halvesA.hi * halvesB.lo;
    return {product, halvesA.lo * halvesB.lo - rest};
#endif
}

/// The sum with an error below 3 u^2 (|a| + |b|), u = 2^-53.
inline DoubleDouble operator+(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble sum = twoSum(a.hi, b.hi);
    return twoSum(sum.hi, sum.lo + (a.lo + b.lo));
}

/// The difference with an error below 3 u^2 (|a| + |b|).
inline DoubleDouble operator-(DoubleDouble a, DoubleDouble b) { return a + DoubleDouble{-b.hi, -b.lo}; }

/// The product with an error below 9 u^2 |a b|.
inline DoubleDouble operator*(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble product = twoProduct(a.hi, b.hi);
    return twoSum(product.hi, product.lo + (a.hi * b.lo + a.lo * b.hi));
}

/// An exact sum of at most CAPACITY doubles, kept as a list of terms.
///
/// A pass of `distill` adds the terms up and leaves every rounding error as a new term, so the sum stays
/// exact. Of n terms with the total magnitude M, the errors together have at most n u M (u = 2^-53): either
/// the rounded sum outweighs them, which settles the sign, or M shrinks to 3 n u M or less. As all terms are
/// multiples of one unit, passes end with a sign or without a term; it takes one for every 40 to 50 bits that cancel.
template <int CAPACITY>
class ExactSum {
  public:
    ExactSum() : size_(0) {}

    void add(double value) {
        aTerm_[size_] = value;  // a zero may go behind the last term
        size_ += value != 0.0;
    }
    void addProduct(double a, double b) {
        const DoubleDouble product = twoProduct(a, b);
        add(product.hi);
        add(product.lo);
    }
    void addProduct(DoubleDouble a, DoubleDouble b) {
        addProduct(a.hi, b.hi);
        addProduct(a.hi, b.lo);
        addProduct(a.lo, b.hi);
        addProduct(a.lo, b.lo);
    }
    template <int M, int N>
    void addProduct(const ExactSum<M>& a, const ExactSum<N>& b) {
        for (int i = 0; i < a.size_; ++i)
            for (int k = 0; k < b.size_; ++k) addProduct(a.aTerm_[i], b.aTerm_[k]);
    }

    /// Makes the terms fewer and sorts them roughly by magnitude; returns whether the last one, the rounded
    /// sum, outweighs the others.
    bool distill() {
        double sum = 0.0, weight = 0.0;
        int size = 0;
        for (int i = 0; i < size_; ++i) {
            // The analyzer does not see that the first size_ terms have been set.
            const DoubleDouble next = twoSum(sum, aTerm_[i]);  // NOLINT(clang-analyzer-core.CallAndMessage)
            sum = next.hi;
            weight += std::abs(next.lo);
            aTerm_[size] = next.lo;
            size += next.lo != 0.0;
        }
        size_ = size;
        add(sum);
        return std::abs(sum) > 2.0 * weight;
    }

    /// Leaves few terms, for a sum that becomes a factor.
    void condense() {
        distill();
        distill();
    }

    /// -1, 0 or 1.
    int sign() {
        while (!distill())
            if (size_ == 0) return 0;
        return aTerm_[size_ - 1] < 0.0 ? -1 : 1;
    }

  private:
    template <int>
    friend class ExactSum;

    int size_;
    double aTerm_[CAPACITY + 1];
};

}  // namespace LUMO_TARO25D
