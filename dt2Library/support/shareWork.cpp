#include "support/shareWork.h"

#include <algorithm>
#include <atomic>

#include "support/parallel.h"

namespace LUMO_TARO25D {

namespace {

/// Pieces that are handed out until all are done or one has failed.
class Pieces {
  public:
    Pieces(size_t n, size_t pieceSize, Progress& progress) : n_(n), pieceSize_(pieceSize), progress_(progress) {}

    /// Takes and runs pieces until none is left; calls onPiece after each.
    template <class F, class OnPiece>
    void work(const F& f, int threadIdx, const OnPiece& onPiece) {
        try {
            while (!bStopped_.load(std::memory_order_relaxed)) {
                const size_t begin = next_.fetch_add(pieceSize_, std::memory_order_relaxed);
                if (begin >= n_) break;
                const size_t end = std::min(n_, begin + pieceSize_);
                progress_.throwIfStopped();
                f(begin, end, threadIdx);
                progress_.count(end - begin);
                onPiece();
            }
        } catch (...) {
            bStopped_ = true;
            throw;
        }
    }
    /// Called by the waiting thread while others work.
    void report() {
        try {
            progress_.report();
            progress_.throwIfStopped();
        } catch (...) {
            bStopped_ = true;
            throw;
        }
    }

  private:
    size_t n_, pieceSize_;
    Progress& progress_;
    std::atomic<size_t> next_{0};
    std::atomic<bool> bStopped_{false};
};

}  // namespace

int getNumSharing(int numThreads, size_t n, size_t pieceSize) {
    return static_cast<int>(numParallelParts(numThreads, n, pieceSize));
}

void shareWork(int numThreads, size_t n, size_t pieceSize, Progress& progress,
               const std::function<void(size_t, size_t, int)>& f) {
    Pieces pieces(n, pieceSize, progress);
    const int num = getNumSharing(numThreads, n, pieceSize);
    if (num == 1) {
        pieces.work(f, 0, [&progress] {
            progress.report();
            throwIfStopped();  // a running operation that counts no pieces repeats its last report
        });
    } else {
        runOnThreads(
            num, [&](int threadIdx) { pieces.work(f, threadIdx, [] {}); }, [&] { pieces.report(); });
    }
}

}  // namespace LUMO_TARO25D
