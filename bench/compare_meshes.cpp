// Side-by-side measurement of mesh refinement against CGAL's Delaunay_mesher_2.
//
// Both sides get the same square with segments inside that do not cross, and the same limits for angles and edge
// lengths. They take turns, each turn in a process of its own, which does the work twice and times the second run: the
// first one gets memory from the system. The measure is the processor time of the refinement alone for one triangle of
// the result, since the two sides make different numbers of triangles. Each row gives the median of the ratios of its
// rounds.

#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_mesh_face_base_2.h>
#include <CGAL/Delaunay_mesh_size_criteria_2.h>
#include <CGAL/Delaunay_mesher_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/version.h>
#include <malloc.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "generators.h"
#include "taro25d/Segment2.h"
#include "taro25d/SegmentChecker.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

namespace {

using namespace bench;
using namespace LUMO_TARO25D;
using Segments = std::vector<Segment2>;

constexpr double SIDE = 1000.0;

struct Limits {
    double minAngle, maxLength;
};

struct Sample {
    double seconds = 0.0;
    double numTriangles = 0.0;
    double perTriangle() const { return seconds / numTriangles; }
};

double now() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

// ---- Input ----

Segments makeBorder() {
    const Point2 a(0, 0, 0), b(SIDE, 0, 0), c(SIDE, SIDE, 0), d(0, SIDE, 0);
    return {Segment2(a, b), Segment2(b, c), Segment2(c, d), Segment2(d, a)};
}

/// Segments of random length and direction that do not meet.
Segments makeInnerSegments(std::size_t n) {
    Random random(7);
    Segments vSegments;
    while (vSegments.size() < n) {
        const double x = random.between(20, SIDE - 20), y = random.between(20, SIDE - 20);
        const double angle = random.between(0, 2 * M_PI), length = random.between(5, 60);
        const double x1 = x + length * std::cos(angle), y1 = y + length * std::sin(angle);
        if (std::min(x1, y1) < 10 || std::max(x1, y1) > SIDE - 10) continue;
        Segments vWith = vSegments;
        vWith.emplace_back(Point2(x, y, 0), Point2(x1, y1, 0));
        std::vector<Segment2*> vPointers;
        for (Segment2& segment : vWith) vPointers.push_back(&segment);
        std::vector<Segment2*> vIllegal;
        SegmentChecker(vPointers).getIllegalSegments(true, vIllegal);
        if (vIllegal.empty()) vSegments.swap(vWith);
    }
    return vSegments;
}

// ---- The two sides ----

Sample refineOurs(const Segments& vInner, const Limits& limits) {
    Taro_2D dt;
    ConstraintGraph2* pBorder = dt.createConstraint(makeBorder(), CIS_CONSTRAINED_DELAUNAY);
    dt.createConstraint(vInner, CIS_CONSTRAINED_DELAUNAY);
    dt.applyConstraintsAndZones();
    Zone2* pZone = dt.createZone(pBorder, ZL_INSIDE);
    const double start = now();
    dt.refine(pZone, limits.minAngle, 0.001, limits.maxLength, true);
    return {now() - start, double(pZone->getNumberOfTriangles())};
}

Sample refineTheirs(const Segments& vInner, const Limits& limits) {
    using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
    using Structure = CGAL::Triangulation_data_structure_2<CGAL::Triangulation_vertex_base_2<Kernel>,
                                                           CGAL::Delaunay_mesh_face_base_2<Kernel>>;
    using Triangulation = CGAL::Constrained_Delaunay_triangulation_2<Kernel, Structure>;
    using Criteria = CGAL::Delaunay_mesh_size_criteria_2<Triangulation>;
    Triangulation triangulation;
    const auto insert = [&](const Segments& vSegments) {
        for (const Segment2& segment : vSegments) {
            triangulation.insert_constraint({segment.getSrc().x(), segment.getSrc().y()},
                                            {segment.getTrg().x(), segment.getTrg().y()});
        }
    };
    insert(makeBorder());
    insert(vInner);
    const double sine = std::sin(limits.minAngle * M_PI / 180.0);
    CGAL::Delaunay_mesher_2<Triangulation, Criteria> mesher(triangulation);
    mesher.set_criteria(Criteria(sine * sine, limits.maxLength));
    const double start = now();
    mesher.refine_mesh();
    return {now() - start, double(triangulation.number_of_faces())};
}

/// The second of two runs, in a process of its own.
template <class WorkT>
Sample measure(const WorkT& work) {
    int aEnds[2];
    if (pipe(aEnds) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
        mallopt(M_MMAP_THRESHOLD, 1 << 30);
        mallopt(M_TRIM_THRESHOLD, 2147483647);
        work();
        const Sample sample = work();
        _exit(write(aEnds[1], &sample, sizeof(sample)) == sizeof(sample) ? 0 : 1);
    }
    close(aEnds[1]);
    Sample sample;
    const bool bRead = read(aEnds[0], &sample, sizeof(sample)) == sizeof(sample);
    close(aEnds[0]);
    waitpid(child, nullptr, 0);
    if (!bRead) throw std::runtime_error("a side has failed");
    return sample;
}

double median(std::vector<double> vValues) {
    std::sort(vValues.begin(), vValues.end());
    return vValues[vValues.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const bool bQuick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const int numRounds = bQuick ? 1 : 3;
    const Segments vInner = makeInnerSegments(300);
    std::printf("CGAL %s, g++ %s, %d rounds, us of processor time per triangle\n\n", CGAL_VERSION_STR, __VERSION__,
                numRounds);
    std::printf(
        "| min. angle | max. edge | triangles | CGAL's | us | CGAL's | ratio | goal | growth from the first row |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|\n");
    struct Row {
        double maxLength;
        const char* goal;
    };
    for (const double minAngle : {20.0, 30.0}) {
        double firstTime = 0.0;
        for (const Row& row : {Row{16.3, "-"}, Row{5.15, "<= 0.60"}, Row{2.3, "<= 0.35, growth <= 1.50"}}) {
            const Limits limits{minAngle, row.maxLength};
            std::vector<double> vOurs, vTheirs, vRatios;
            Sample ours, theirs;
            for (int round = 0; round < numRounds; ++round) {
                ours = measure([&] { return refineOurs(vInner, limits); });
                theirs = measure([&] { return refineTheirs(vInner, limits); });
                vOurs.push_back(ours.perTriangle());
                vTheirs.push_back(theirs.perTriangle());
                vRatios.push_back(vOurs.back() / vTheirs.back());
            }
            if (firstTime == 0.0) firstTime = median(vOurs);
            std::printf("| %g | %g | %.0f | %.0f | %.2f | %.2f | %.2f | %s | %.2f |\n", minAngle, row.maxLength,
                        ours.numTriangles, theirs.numTriangles, 1e6 * median(vOurs), 1e6 * median(vTheirs),
                        median(vRatios), row.goal, median(vOurs) / firstTime);
            std::fflush(stdout);
        }
    }
}
