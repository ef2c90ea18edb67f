#pragma once

#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <limits>
#include <stdexcept>

#include "rows.h"

namespace bench {

inline double peakBytes() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * double(usage.ru_maxrss);
}

/// A child process that does the work of one side, turn by turn.
class Worker {
  public:
    /// With bKeepMemory the memory of one turn serves the next.
    Worker(const Side& side, bool bKeepMemory) {
        if (pipe(aOrders_) != 0 || pipe(aSamples_) != 0) throw std::runtime_error("no pipes");
        child_ = fork();
        if (child_ < 0) throw std::runtime_error("no process");
        if (child_ == 0) work(side, bKeepMemory);
        close(aOrders_[0]);
        close(aSamples_[1]);
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker() {
        kill(child_, SIGKILL);
        close(aOrders_[1]);
        close(aSamples_[0]);
        waitpid(child_, nullptr, 0);
    }

    Sample turn() {
        Sample sample;
        if (write(aOrders_[1], "", 1) != 1 || read(aSamples_[0], &sample, sizeof sample) != sizeof sample)
            throw std::runtime_error("a measured process has failed");
        return sample;
    }

  private:
    /// Works until the orders end. The peak is measured above the memory that the process inherits: the input, already
    /// touched.
    [[noreturn]] void work(const Side& side, bool bKeepMemory) noexcept {
        close(aOrders_[1]);
        if (bKeepMemory) {
            mallopt(M_MMAP_MAX, 0);
            mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
        }
        const double before = peakBytes();
        for (char order; read(aOrders_[0], &order, 1) == 1;) {
            Sample sample = side();
            sample.peak = (peakBytes() - before) / double(sample.result[0]);
            if (write(aSamples_[1], &sample, sizeof sample) != sizeof sample) _exit(1);
        }
        _exit(0);
    }

    int aOrders_[2], aSamples_[2];  // reading and writing ends
    pid_t child_;
};

}  // namespace bench
