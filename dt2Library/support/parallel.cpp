// Work on several threads.
//
// The calling thread starts the workers and waits for them. An exception, of a worker or at a cancellation point of the
// waiting thread, ends the other workers at their next cancellation points; the first one is rethrown when all have
// ended, so that no worker outlives the objects that it uses.

#include "support/parallel.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "support/stopping.h"

namespace LUMO_TARO25D {

namespace {

/// Counts the threads that are still running, and keeps the first exception of any of them.
class Crew {
  public:
    explicit Crew(int numRunning) : numRunning_(numRunning) {}

    void workAsThread(const std::function<void(int)>& f, int threadIdx) {
        const WorkerScope scope(call_);
        work(f, threadIdx);
    }
    void work(const std::function<void(int)>& f, int threadIdx) {
        keepException([&] { f(threadIdx); });
        const std::lock_guard<std::mutex> lock(mutex_);
        if (--numRunning_ == 0) allDone_.notify_one();
    }

    void wait(const std::function<void()>& onWait) {
        std::unique_lock<std::mutex> lock(mutex_);
        while (numRunning_ > 0) {
            allDone_.wait_for(lock, std::chrono::milliseconds(1));
            lock.unlock();
            keepException([&] {
                if (onWait) onWait();
                throwIfStopped();
            });
            lock.lock();
        }
    }

    const std::exception_ptr& getFirstException() const { return pFirstException_; }

  private:
    template <class F>
    void keepException(const F& f) {
        try {
            f();
        } catch (...) {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (!pFirstException_) pFirstException_ = std::current_exception();
            call_.stop();
        }
    }

    CallOfWorkers call_;
    std::mutex mutex_;
    std::condition_variable allDone_;
    int numRunning_;
    std::exception_ptr pFirstException_;
};

}  // namespace

void runOnThreads(int numThreads, const std::function<void(int)>& f, const std::function<void()>& onWait) {
    if (numThreads <= 1) {
        f(0);
        return;
    }
    Crew crew(numThreads);
    std::vector<std::thread> vThreads;
    vThreads.reserve(static_cast<size_t>(numThreads));
    for (int i = 0; i < numThreads; ++i) {
        try {
            vThreads.emplace_back([&crew, &f, i] { crew.workAsThread(f, i); });
        } catch (...) {
            crew.work(f, i);  // the system has no more threads: the calling thread does the work
        }
    }
    crew.wait(onWait);
    for (std::thread& thread : vThreads) thread.join();
    if (crew.getFirstException()) std::rethrow_exception(crew.getFirstException());
}

size_t numParallelParts(int numThreads, size_t n, size_t minPerThread) {
    constexpr int MAX_PER_PROCESSOR = 4;
    static const int maxThreads =
        MAX_PER_PROCESSOR * static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    return std::clamp<size_t>(n / minPerThread, 1, static_cast<size_t>(std::clamp(numThreads, 1, maxThreads)));
}

void parallelFor(int numThreads, size_t n, const std::function<void(size_t, size_t, int)>& f, size_t minPerThread) {
    const size_t num = numParallelParts(numThreads, n, minPerThread);
    runOnThreads(static_cast<int>(num), [&](int threadIdx) {
        const size_t t = static_cast<size_t>(threadIdx);
        const size_t begin = n / num * t + n % num * t / num, end = n / num * (t + 1) + n % num * (t + 1) / num;
        forEachBlock(begin, end, [&](size_t first, size_t last) { f(first, last, threadIdx); });
    });
}

}  // namespace LUMO_TARO25D
