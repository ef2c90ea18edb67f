#pragma once

#include <cstddef>
#include <functional>

namespace LUMO_TARO25D {

/// Runs f(threadIdx) once on each of numThreads threads and waits for all of them; a single one is the
/// calling thread. The first exception is thrown again when all have ended. While it waits, the calling
/// thread calls onWait, if given, every millisecond.
void runOnThreads(int numThreads, const std::function<void(int)>& f, const std::function<void()>& onWait = nullptr);

/// The number of ranges that parallelFor makes: one for each thread, but fewer for small n.
size_t numParallelParts(int numThreads, size_t n);

/// Cuts [0, n) into one range for each thread and runs f(begin, end, threadIdx) on all of them. The cuts
/// depend on n and the number of threads alone.
void parallelFor(int numThreads, size_t n, const std::function<void(size_t, size_t, int)>& f);

}  // namespace LUMO_TARO25D
