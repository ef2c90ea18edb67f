#include "mesh/heightQueries.h"

#include <atomic>
#include <limits>

#include "mesh/Dt2.h"
#include "support/parallel.h"

namespace LUMO_TARO25D {

size_t getHeights(const Dt2& mesh, size_t num, const double* aXY, double* aHeights) {
    constexpr size_t MIN_PER_THREAD = 2000;  // half a millisecond
    constexpr size_t NUM_BETWEEN_LOOKS = 4096;
    std::atomic<size_t> numInside{0};
    const auto answerPart = [&](size_t begin, size_t end, int) {
        size_t numInsidePart = 0;
        for (size_t i = begin; i < end; ++i) {
            if (i % NUM_BETWEEN_LOOKS == 0) mesh.getProgress().throwIfStopped();
            double height = 0.0;
            const bool bInside = mesh.getHeight(aXY[2 * i], aXY[2 * i + 1], height, nullptr, 0.0);
            aHeights[i] = bInside ? height : std::numeric_limits<double>::quiet_NaN();
            numInsidePart += bInside;
        }
        numInside += numInsidePart;
    };
    parallelFor(mesh.getNumCPU(), num, answerPart, MIN_PER_THREAD);
    return numInside;
}

}  // namespace LUMO_TARO25D
