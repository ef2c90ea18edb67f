// What the library takes without Python: reads (x, y, z) doubles from a file, triangulates them and gets the triangles, and
// prints the seconds of both, and of the insertion alone (the best of three). compare.py builds and runs it.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <limits>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

double getSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

int main(int, char** argv) {
    std::ifstream file(argv[1], std::ios::binary | std::ios::ate);
    std::vector<double> vCoordinates(static_cast<size_t>(file.tellg()) / sizeof(double));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(vCoordinates.data()),
              static_cast<std::streamsize>(vCoordinates.size() * sizeof(double)));
    const int num = static_cast<int>(vCoordinates.size() / 3);
    double shortest = std::numeric_limits<double>::max(), insertion = shortest;
    for (int round = 0; round < 3; ++round) {
        Taro_2D mesh;
        mesh.setNumCPU(0);
        std::vector<Point2*> vHandles(static_cast<size_t>(num));
        IndexedMesh arrays;
        const double start = getSeconds();
        mesh.insert(num, vCoordinates.data(), vHandles.data());
        insertion = std::min(insertion, getSeconds() - start);
        mesh.getIndexedMesh(arrays);
        shortest = std::min(shortest, getSeconds() - start);
    }
    std::printf("%f %f\n", shortest, insertion);
}
