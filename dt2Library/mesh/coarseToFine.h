#pragma once

#include <algorithm>
#include <cstddef>

namespace LUMO_TARO25D {

/// Calls insert(i) once for each index of a list in curve order, every 4^k-th one first, then every 4^(k-1)-th one, and
/// so on down to all. Before those between i and its successor on the level before, goTo(i) is called, with an index
/// that is done: the place where the next search starts.
///
/// The mesh so grows everywhere at once, and a new vertex meets triangles that are hardly larger than its own will be:
/// along the curve alone, each one would also meet the large triangles of the region that is still empty, and these
/// would be flipped again and again (Amenta, Choi, Rote 2003, who sample at random). The finer levels are run through
/// block by block, so that their triangles stay in the cache.
template <class GoTo, class Insert>
void coarseToFine(size_t n, const GoTo& goTo, const Insert& insert) {
    constexpr size_t FACTOR = 4, BLOCK = 16384, COARSEST_IN_BLOCK = 64;
    if (n == 0) return;
    const auto runThroughLevel = [&](size_t begin, size_t end, size_t step) {
        for (size_t i = begin; i < end; i += FACTOR * step) {
            goTo(i);
            for (size_t k = i + step; k < std::min(i + FACTOR * step, end); k += step) insert(k);
        }
    };
    insert(0);
    size_t step = COARSEST_IN_BLOCK;
    while (step * FACTOR < n) step *= FACTOR;
    for (; step > COARSEST_IN_BLOCK; step /= FACTOR) runThroughLevel(0, n, step);
    for (size_t begin = 0; begin < n; begin += BLOCK) {
        const size_t end = std::min(begin + BLOCK, n);
        for (step = COARSEST_IN_BLOCK; step > 0; step /= FACTOR) runThroughLevel(begin, end, step);
    }
}

}  // namespace LUMO_TARO25D
