#pragma once

#include <cstddef>
#include <functional>

#include "support/Progress.h"

namespace LUMO_TARO25D {

/// Cuts [0, n) into pieces of the given size and calls f(begin, end, threadIdx) for each of them, on several threads;
/// each thread takes the next piece when it is done with its last. No result may depend on which thread runs a piece. A
/// piece should take about a millisecond: the cancel flag of the progress is read between pieces, and each item counts
/// as one step. With more than one thread the calling thread only waits and reports. The first exception ends all
/// threads and is rethrown.
void shareWork(int numThreads, size_t n, size_t pieceSize, Progress& progress,
               const std::function<void(size_t, size_t, int)>& f);

/// The number of threads that shareWork will use: no more than there are pieces.
int getNumSharing(int numThreads, size_t n, size_t pieceSize);

}  // namespace LUMO_TARO25D
