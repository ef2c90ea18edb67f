#pragma once

#include <cstddef>
#include <functional>

namespace LUMO_TARO25D {

/// Runs f(threadIdx) once on each of numThreads threads and waits for all of them; with one thread, on the calling
/// thread. The first exception ends the other threads at their next cancellation point (stopping.h) and is rethrown
/// when all have ended. While the calling thread waits, it has a cancellation point every millisecond, and calls onWait
/// before, if given.
void runOnThreads(int numThreads, const std::function<void(int)>& f, const std::function<void()>& onWait = nullptr);

/// The least work of a thread, in items that take some ten nanoseconds each: for less, starting a thread costs more
/// than it gains. Bulk insertion that registers and sorts the points on two threads and does the rest on one took 1.08,
/// 1.05, 0.98, 0.96 and 0.90 of the time of one thread, for 40,000, 50,000, 80,000, 100,000 and 200,000 points.
constexpr size_t MIN_ITEMS_PER_THREAD = 30000;

/// The number of threads worth starting for n items: at most numThreads, few enough that each has the minimum to do,
/// and at most four for each processor, since more would only take turns.
size_t numParallelParts(int numThreads, size_t n, size_t minPerThread = MIN_ITEMS_PER_THREAD);

/// Cuts [0, n) into numParallelParts ranges, one for each thread, and each range into blocks, and runs f(begin, end,
/// threadIdx) on all blocks, those of a thread in their order, with a cancellation point between two of them. The cuts
/// depend on the machine, so no result may depend on them.
void parallelFor(int numThreads, size_t n, const std::function<void(size_t, size_t, int)>& f,
                 size_t minPerThread = MIN_ITEMS_PER_THREAD);

}  // namespace LUMO_TARO25D
