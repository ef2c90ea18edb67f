#pragma once

// A row of the table, how a side of it is timed, and the rows of each topic.

#include <time.h>

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

namespace bench {

struct Sample {
    double cpu = 0.0;                     // seconds of processor time
    double wall = 0.0;                    // seconds
    double peak = 0.0;                    // bytes a vertex above the state before
    std::array<std::size_t, 2> result{};  // numbers on which both sides must agree
};

using Side = std::function<Sample()>;

struct Contest {
    Side ours, reference;
    bool bSameResult = true;
};

struct Row {
    const char* name;
    const char* work;
    const char* reference;
    double goal;              // upper limit of ours / reference; of ours in bytes for memory, unless bRatio is set
    double Sample::*measure;  // the quantity compared
    std::function<Contest()> prepare;
    bool bFresh = false;  // a new process for each turn, which gets its memory as the first call of a client does
    bool bRatio = false;  // memory is judged by the ratio too
};

/// Our own work with fewer threads, as a reference.
constexpr const char* onOneThread = "own, 1 thread";

constexpr auto cpu = &Sample::cpu, wall = &Sample::wall, peak = &Sample::peak;

/// Sizes shrink with the factor, which is 1 for the run that counts.
struct Scale {
    double factor;

    std::size_t operator()(double n) const { return std::size_t(n * factor); }
};

// Each topic in a file of its own.
std::vector<Row> bulkRows(Scale size);
std::vector<Row> pointRows(Scale size);
std::vector<Row> constraintRows(Scale size);
std::vector<Row> networkRows(Scale size);
std::vector<Row> rasterRows(Scale size);
std::vector<Row> volumeRows(Scale size);
std::vector<Row> contourRows(Scale size);
std::vector<Row> cliffRows(Scale size);
std::vector<Row> threadRows(Scale size);
std::vector<Row> memoryRows(Scale size);

inline double now(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

template <class Work>
Sample timed(Work work) {
    Sample sample;
    const double wall = now(CLOCK_MONOTONIC), cpu = now(CLOCK_PROCESS_CPUTIME_ID);
    work();
    sample.cpu = now(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    sample.wall = now(CLOCK_MONOTONIC) - wall;
    return sample;
}

}  // namespace bench
