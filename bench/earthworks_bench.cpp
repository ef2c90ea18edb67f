// The cost of cut and fill as a multiple of the cost of its constraints alone: the edges of both surfaces as
// constraints in one triangulation that has their vertices. Times are processor time, in seconds; both sides take
// turns, and the medians of the times and of the ratios are shown. The exponent is that of a power law in the number of
// triangles through the first and the last row, with that of n log n beside it.
//
//   earthworks_bench [--quick] [--rounds N]

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "generators.h"
#include "taro25d/taro25d.h"

namespace {

using namespace bench;
using namespace LUMO_TARO25D;

double now() { return double(std::clock()) / CLOCKS_PER_SEC; }

double median(std::vector<double> vNumbers) {
    std::sort(vNumbers.begin(), vNumbers.end());
    return vNumbers[vNumbers.size() / 2];
}

/// Hilly ground of about n triangles over the unit square, and later the same ground, changed and sampled at other
/// points.
Points makeGround(std::size_t n, std::uint64_t seed, double phase) {
    Points vPoints = uniform(n / 2, seed);
    for (const double x : {0.0, 1.0})
        for (const double y : {0.0, 1.0}) vPoints.emplace_back(x, y, 0.0);
    for (Point2& p : vPoints)
        p.set(p.x(), p.y(),
              0.1 * std::sin(9.0 * p.x() + phase) * std::cos(7.0 * p.y()) + 0.02 * std::sin(40.0 * p.x()));
    return vPoints;
}

std::vector<Segment2> getEdges(const Taro_2D& mesh) {
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    std::vector<Segment2> vEdges;
    for (Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Edge2 edge(pT, i);
            if (!pT->getOppositeTriangle(i) || *edge.getSrc() < *edge.getTrg())
                vEdges.emplace_back(*edge.getSrc(), *edge.getTrg());
        }
    }
    return vEdges;
}

/// The edges of both surfaces in one triangulation, its points inserted before.
double timeConstraints(const Points& vBefore, const Points& vAfter, const Taro_2D& before, const Taro_2D& after) {
    const std::vector<Segment2> vEdgesBefore = getEdges(before), vEdgesAfter = getEdges(after);
    Taro_2D mesh;
    mesh.insert(vBefore);
    mesh.insert(vAfter);
    const double start = now();
    mesh.createConstraint(vEdgesBefore, CIS_CONSTRAINED_DELAUNAY);
    mesh.createConstraint(vEdgesAfter, CIS_CONSTRAINED_DELAUNAY);
    return now() - start;
}

double timeCutAndFill(Taro_2D& before, Taro_2D& after, std::size_t& numComponents) {
    CutAndFill caf(before.createZone(nullptr, ZL_GLOBAL), after.createZone(nullptr, ZL_GLOBAL), 0.0);
    const double start = now();
    caf.go();
    const double seconds = now() - start;
    numComponents = caf.getNumberOfComponents();
    return seconds;
}

/// Prints a row; returns the time of cut and fill.
double measure(std::size_t numTriangles, int numRounds) {
    const Points vBefore = makeGround(numTriangles, 1, 0.0), vAfter = makeGround(numTriangles, 2, 0.3);
    Taro_2D before, after;
    before.insert(vBefore);
    after.insert(vAfter);
    std::vector<double> vConstraints, vCutAndFill, vRatios;
    std::size_t numComponents = 0;
    for (int i = 0; i < numRounds; ++i) {
        vConstraints.push_back(timeConstraints(vBefore, vAfter, before, after));
        vCutAndFill.push_back(timeCutAndFill(before, after, numComponents));
        vRatios.push_back(vCutAndFill.back() / vConstraints.back());
    }
    std::printf("| %zu + %zu | %zu | %.3f | %.3f | %.2f |\n", before.numberOfTriangles(), after.numberOfTriangles(),
                numComponents, median(vConstraints), median(vCutAndFill), median(vRatios));
    std::fflush(stdout);
    return median(vCutAndFill);
}

}  // namespace

int main(int numArguments, char** aArguments) {
    bool bQuick = false;
    int numRounds = 3;
    for (int i = 1; i < numArguments; ++i) {
        if (!std::strcmp(aArguments[i], "--quick")) {
            bQuick = true;
        } else if (!std::strcmp(aArguments[i], "--rounds") && i + 1 < numArguments) {
            numRounds = std::max(1, std::atoi(aArguments[++i]));
        } else {
            std::fprintf(stderr, "usage: earthworks_bench [--quick] [--rounds N]\n");
            return 2;
        }
    }
    const double first = 10'000, last = bQuick ? 100'000 : 1'000'000;
    std::printf("| triangles | components | constraints (s) | cut and fill (s) | ratio |\n|---|---|---|---|---|\n");
    const double timeOfFirst = measure(std::size_t(first), numRounds);
    if (!bQuick) measure(100'000, numRounds);
    const double timeOfLast = measure(std::size_t(last), numRounds);
    const auto exponent = [&](double ratio) { return std::log(ratio) / std::log(last / first); };
    std::printf("\nGrows with the number of triangles to the power of %.3f; n log n would be %.3f.\n",
                exponent(timeOfLast / timeOfFirst), exponent(last * std::log(last) / (first * std::log(first))));
    return 0;
}
