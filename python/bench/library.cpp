// What the library takes without Python: reads (x, y, z) doubles from a file, triangulates them and gets the triangles, and
// prints seconds and seconds of processors of the insertion, and of both (the best of three). compare.py builds and runs it.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <limits>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

/// Seconds, and seconds of processors.
using Times = std::array<double, 2>;

Times getTimes() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    return {wall, static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec)};
}

/// Takes also as long as it takes to give the memory back.
void triangulate(const std::vector<double>& vCoordinates, bool bWithTriangles) {
    const size_t num = vCoordinates.size() / 3;
    Taro_2D mesh;
    mesh.setNumCPU(0);
    std::vector<Point2*> vHandles(num);
    // The library takes a non-const pointer, but only reads.
    mesh.insert(static_cast<int>(num), const_cast<double*>(vCoordinates.data()), vHandles.data());
    IndexedMesh arrays;
    if (bWithTriangles) mesh.getIndexedMesh(arrays);
}

}  // namespace

int main(int, char** argv) {
    std::ifstream file(argv[1], std::ios::binary | std::ios::ate);
    std::vector<double> vCoordinates(static_cast<size_t>(file.tellg()) / sizeof(double));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(vCoordinates.data()),
              static_cast<std::streamsize>(vCoordinates.size() * sizeof(double)));
    for (const bool bWithTriangles : {false, true}) {
        Times shortest;
        shortest.fill(std::numeric_limits<double>::max());
        for (int round = 0; round < 3; ++round) {
            const Times start = getTimes();
            triangulate(vCoordinates, bWithTriangles);
            const Times end = getTimes();
            for (size_t k = 0; k < end.size(); ++k) shortest[k] = std::min(shortest[k], end[k] - start[k]);
        }
        std::printf("%f %f ", shortest[0], shortest[1]);
    }
}
