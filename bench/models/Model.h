#pragma once

// A surface of few points of a grid, and how it was made.

#include <time.h>

#include <cstddef>
#include <stdexcept>
#include <vector>

#include "taro25d/Point2.h"

namespace bench {

using LUMO_TARO25D::Point2;
using Points = std::vector<Point2>;

/// The points of a grid in columns and rows, row by row.
struct Grid {
    Points vPoints;
    std::size_t numColumns;
};

/// No peer of that name can be run here.
class NoPeer : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct Model {
    double cpu = 0.0, wall = 0.0;  // seconds
    std::size_t numVertices = 0;
    Points vCorners;  // three for each triangle
};

inline double now(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

/// Notes how long the work takes.
template <class Work>
void timeWork(const Work& work, Model& model) {
    const double cpu = now(CLOCK_PROCESS_CPUTIME_ID), wall = now(CLOCK_MONOTONIC);
    work();
    model.cpu = now(CLOCK_PROCESS_CPUTIME_ID) - cpu;
    model.wall = now(CLOCK_MONOTONIC) - wall;
}

}  // namespace bench
