// Triangulates the points of a file of doubles (x, y, z) with CGAL; prints seconds, seconds of processors and the number of triangles.

#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Projection_traits_xy_3.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using Mesh = CGAL::Delaunay_triangulation_2<CGAL::Projection_traits_xy_3<Kernel>>;

int main(int argc, char** argv) {
    std::FILE* pFile = argc > 1 ? std::fopen(argv[1], "rb") : nullptr;
    if (!pFile) return 1;
    std::vector<Kernel::Point_3> vPoints;
    for (double a[3]; std::fread(a, sizeof(double), 3, pFile) == 3;) vPoints.emplace_back(a[0], a[1], a[2]);
    std::fclose(pFile);
    const auto start = std::chrono::steady_clock::now();
    const std::clock_t used = std::clock();
    const Mesh mesh(vPoints.begin(), vPoints.end());
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%.3f %.3f %zu\n", seconds.count(), static_cast<double>(std::clock() - used) / CLOCKS_PER_SEC,
                static_cast<size_t>(mesh.number_of_faces()));
}
