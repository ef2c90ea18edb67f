// Side-by-side measurement against CGAL's Delaunay and constrained Delaunay triangulations and VTK's contours.
//
// Every row of the table pits our side against a reference on the same input in the same run. The two sides take turns,
// so that a slow minute of the machine hits both, and the row gives the median of the rounds' ratios. Each side works
// in a child process of its own, which keeps its memory, and its first turn does not count: where the system provides
// memory only when it is touched, above all in a virtual machine, that can cost as much as the triangulation, and a
// side that gets the other one's fresh pages wins. Input, preparation and destruction are not timed. Where both sides
// compute the same result, a difference ends the run.

#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_exact_constructions_kernel.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Triangulation_hierarchy_2.h>
#include <CGAL/Triangulation_vertex_base_with_info_2.h>
#include <CGAL/natural_neighbor_coordinates_2.h>
#include <CGAL/version.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "generators.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"
#include "taro25d/compareSurfaces.h"
#include "taro25d/freeFunctions.h"
#include "taro25d/rasterize.h"
#ifdef TARO25D_COMPARE_VTK
#include "vtk_contours.h"
#endif

namespace {

using namespace bench;
using LUMO_TARO25D::IsoContours;
using LUMO_TARO25D::Segment2;
using LUMO_TARO25D::Taro_2D;
using LUMO_TARO25D::Triangle2;

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using CgalPoint = Kernel::Point_2;
using CgalPoints = std::vector<CgalPoint>;
using Delaunay = CGAL::Delaunay_triangulation_2<Kernel>;

template <class VertexBase>
using DelaunayOf = CGAL::Delaunay_triangulation_2<Kernel, CGAL::Triangulation_data_structure_2<VertexBase>>;
using IndexedDelaunay = DelaunayOf<CGAL::Triangulation_vertex_base_with_info_2<unsigned, Kernel>>;
using Hierarchy = CGAL::Triangulation_hierarchy_2<
    DelaunayOf<CGAL::Triangulation_hierarchy_vertex_base_2<CGAL::Triangulation_vertex_base_2<Kernel>>>>;

/// Crossings of constraints are rounded in the first type, as ours are, and exact in the second.
using RoundingConstrained =
    CGAL::Constrained_Delaunay_triangulation_2<Kernel, CGAL::Default, CGAL::Exact_predicates_tag>;
using ExactConstrained = CGAL::Constrained_Delaunay_triangulation_2<CGAL::Exact_predicates_exact_constructions_kernel,
                                                                    CGAL::Default, CGAL::Exact_intersections_tag>;

// ---- Measuring ----

struct Sample {
    double cpu = 0.0;                     // seconds of processor time
    double wall = 0.0;                    // seconds
    double peak = 0.0;                    // bytes a vertex above the state before
    std::array<std::size_t, 2> result{};  // numbers on which both sides must agree
};

double now(clockid_t clock) {
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

double peakBytes() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * double(usage.ru_maxrss);
}

using Side = std::function<Sample()>;

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

// ---- The work of both sides ----

CgalPoints toCgal(const Points& vPoints) {
    CgalPoints vResult;
    vResult.reserve(vPoints.size());
    for (const Point2& point : vPoints) vResult.emplace_back(point.x(), point.y());
    return vResult;
}

Sample ourBulk(const Points& vPoints, int numThreads = 1) {
    Taro_2D taro;
    taro.setNumCPU(numThreads);
    std::vector<Point2*> vHandles;
    Sample sample = timed([&] { taro.insert(vPoints, vHandles); });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

template <class Triangulation, class Input>
Sample cgalBulk(const Input& vInput) {
    Triangulation triangulation;
    Sample sample = timed([&] { triangulation.insert(vInput.begin(), vInput.end()); });
    sample.result = {triangulation.number_of_vertices(), triangulation.number_of_faces()};
    return sample;
}

Sample ourSingle(const Points& vExisting, const Points& vPoints) {
    Taro_2D taro;
    taro.insert(vExisting);
    Sample sample = timed([&] {
        for (const Point2& point : vPoints) taro.insert(point);
    });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

Sample cgalSingle(const CgalPoints& vExisting, const CgalPoints& vPoints) {
    Hierarchy hierarchy;
    hierarchy.insert(vExisting.begin(), vExisting.end());
    Sample sample = timed([&] {
        for (const CgalPoint& point : vPoints) hierarchy.insert(point);
    });
    sample.result = {hierarchy.number_of_vertices(), hierarchy.number_of_faces()};
    return sample;
}

/// Removes every step-th vertex of the input, in input order, which is random.
Sample ourRemove(const Points& vPoints, std::size_t step) {
    Taro_2D taro;
    std::vector<Point2*> vHandles;
    taro.insert(vPoints, vHandles);
    Sample sample = timed([&] {
        for (std::size_t i = 0; i < vHandles.size(); i += step) taro.remove(vHandles[i]);
    });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

Sample cgalRemove(const std::vector<std::pair<CgalPoint, unsigned>>& vInput, std::size_t step) {
    IndexedDelaunay triangulation;
    triangulation.insert(vInput.begin(), vInput.end());
    std::vector<IndexedDelaunay::Vertex_handle> vHandles(vInput.size());
    for (auto vertex = triangulation.finite_vertices_begin(); vertex != triangulation.finite_vertices_end(); ++vertex)
        vHandles[vertex->info()] = vertex;
    Sample sample = timed([&] {
        for (std::size_t i = 0; i < vHandles.size(); i += step) triangulation.remove(vHandles[i]);
    });
    sample.result = {triangulation.number_of_vertices(), triangulation.number_of_faces()};
    return sample;
}

Sample ourLocate(const Taro_2D& taro, const Points& vQueries) {
    std::size_t numInside = 0;
    Sample sample = timed([&] {
        for (const Point2& query : vQueries) numInside += taro.locate(query) != nullptr;
    });
    sample.result = {taro.numberOfPoints(), numInside};
    return sample;
}

/// Each location starts at the last face where bFromLast is set, else where the structure itself likes to.
template <class Triangulation>
Sample cgalLocate(const Triangulation& triangulation, const CgalPoints& vQueries, bool bFromLast) {
    std::size_t numInside = 0;
    typename Triangulation::Face_handle face;
    Sample sample = timed([&] {
        for (const CgalPoint& query : vQueries) {
            face = triangulation.locate(query, bFromLast ? face : nullptr);
            numInside += !triangulation.is_infinite(face);
        }
    });
    sample.result = {triangulation.number_of_vertices(), numInside};
    return sample;
}

struct LineWork {
    Points vPoints;
    Segments vSegments;
};

void insert(const LineWork& work, Taro_2D& taro) {
    taro.insert(work.vPoints);
    taro.createConstraint(work.vSegments, LUMO_TARO25D::CIS_CONSTRAINED_DELAUNAY);
}

Sample ourConstrained(const LineWork& work) {
    Taro_2D taro;
    Sample sample = timed([&] { insert(work, taro); });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

/// All points, those at the ends of the segments included, and the segments as pairs of indices.
template <class Constrained>
struct CgalLineWork {
    std::vector<typename Constrained::Point> vPoints;
    std::vector<std::pair<std::size_t, std::size_t>> vSegments;

    explicit CgalLineWork(const LineWork& work) {
        const auto add = [this](const Point2& point) { vPoints.emplace_back(point.x(), point.y()); };
        for (const Point2& point : work.vPoints) add(point);
        for (const Segment2& segment : work.vSegments) {
            vSegments.emplace_back(vPoints.size(), vPoints.size() + 1);
            add(segment.getSrc());
            add(segment.getTrg());
        }
    }
};

template <class Constrained>
Sample cgalConstrained(const CgalLineWork<Constrained>& work) {
    Constrained triangulation;
    Sample sample = timed([&] {
        triangulation.insert_constraints(work.vPoints.begin(), work.vPoints.end(), work.vSegments.begin(),
                                         work.vSegments.end());
    });
    sample.result = {triangulation.number_of_vertices(), triangulation.number_of_faces()};
    return sample;
}

/// The segments alone, each in a call of its own.
Sample ourSegments(const LineWork& work) {
    Taro_2D taro;
    taro.insert(work.vPoints);
    Sample sample = timed([&] {
        for (const Segment2& segment : work.vSegments)
            taro.createConstraint({segment}, LUMO_TARO25D::CIS_CONSTRAINED_DELAUNAY);
    });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

Sample ourLoad(const std::string& filename) {
    Taro_2D taro;
    Sample sample = timed([&] { taro.load(filename.c_str()); });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

#ifdef TARO25D_COMPARE_VTK

/// The number of segments at all heights. Lines are not compared: VTK cuts an open line where it began to join it.
Sample ourContours(const std::vector<Triangle2*>& vTriangles, const std::vector<double>& vHeights) {
    std::vector<std::vector<Segment2>> vContours;
    Sample sample = timed([&] {
        const IsoContours isoContours(vTriangles);
        for (const double height : vHeights) isoContours.getContours(height, vContours);
    });
    for (const auto& vContour : vContours) sample.result[0] += vContour.size();
    return sample;
}

Sample vtkContours(const VtkSurface& surface, const std::vector<double>& vHeights, bool bTree) {
    std::size_t numSegments = 0;
    Sample sample = timed([&] { numSegments = surface.contour(vHeights, bTree); });
    sample.result[0] = numSegments;
    return sample;
}

Sample ourBands(const IsoContours& isoContours, const std::vector<double>& vLevels) {
    std::vector<LUMO_TARO25D::ContourBand> vBands;
    return timed([&] { isoContours.getBands(vLevels, vBands); });
}

Sample vtkBands(const VtkSurface& surface, const std::vector<double>& vLevels) {
    return timed([&] { surface.band(vLevels); });
}

/// Even steps through the heights of a terrain, but not to the ends.
std::vector<double> levels(const std::vector<Triangle2*>& vTriangles, std::size_t numLevels) {
    const IsoContours isoContours(vTriangles);
    const double low = isoContours.getMinHeight(), high = isoContours.getMaxHeight();
    std::vector<double> vHeights;
    for (std::size_t i = 1; i <= numLevels; ++i)
        vHeights.push_back(low + (high - low) * double(i) / double(numLevels + 1));
    return vHeights;
}

#endif

// ---- Analysis ----

using LUMO_TARO25D::RasterFrame;
using LUMO_TARO25D::Zone2;
using HeightDelaunay = DelaunayOf<CGAL::Triangulation_vertex_base_with_info_2<double, Kernel>>;

/// A surface of all triangles, for queries.
struct Surface {
    explicit Surface(const Points& vPoints) {
        taro.insert(vPoints);
        pZone = taro.createZone(nullptr, LUMO_TARO25D::ZL_GLOBAL);
    }
    Taro_2D taro;
    Zone2* pZone;
};

/// Square cells over the box of the points, as many in a row as in a column.
RasterFrame frameOver(const Points& vPoints, std::size_t numInRow) {
    const LUMO_TARO25D::Bbox2 box = LUMO_TARO25D::getBox(vPoints);
    const double size = std::max(box.getMaxX() - box.getMinX(), box.getMaxY() - box.getMinY()) / double(numInRow);
    return {box.getMinX(), box.getMaxY(), size, size, numInRow, numInRow};
}

double xOf(const RasterFrame& frame, std::size_t cell) {
    return frame.minX + (double(cell % frame.numColumns) + 0.5) * frame.cellWidth;
}
double yOf(const RasterFrame& frame, std::size_t cell) {
    return frame.maxY - (double(cell / frame.numColumns) + 0.5) * frame.cellHeight;
}

Sample ourRaster(const Surface& surface, const RasterFrame& frame, LUMO_TARO25D::RasterKind kind, int numThreads = 1) {
    std::vector<double> vCells(frame.numColumns * frame.numRows);
    Sample sample = timed([&] { rasterize(surface.pZone, frame, kind, vCells.data(), numThreads); });
    sample.result[0] =
        std::size_t(std::count_if(vCells.begin(), vCells.end(), [](double cell) { return !std::isnan(cell); }));
    return sample;
}

/// Row by row, without a hint.
Sample ourHeights(const Surface& surface, const RasterFrame& frame) {
    std::size_t numInside = 0;
    std::vector<double> vCells(frame.numColumns * frame.numRows);
    Sample sample = timed([&] {
        for (std::size_t k = 0; k < vCells.size(); ++k)
            numInside += surface.taro.getHeight(xOf(frame, k), yOf(frame, k), vCells[k]) ? 1 : 0;
    });
    sample.result[0] = numInside;
    return sample;
}

/// Each search starts where the previous one ended.
Sample cgalNaturalNeighbours(const HeightDelaunay& delaunay, const RasterFrame& frame) {
    std::vector<double> vCells(frame.numColumns * frame.numRows);
    std::vector<std::pair<HeightDelaunay::Vertex_handle, Kernel::FT>> vWeights;
    std::size_t numInside = 0;
    Sample sample = timed([&] {
        HeightDelaunay::Face_handle hint;
        for (std::size_t k = 0; k < vCells.size(); ++k) {
            const CgalPoint place(xOf(frame, k), yOf(frame, k));
            hint = delaunay.locate(place, hint);
            vWeights.clear();
            const auto result = CGAL::natural_neighbor_coordinates_2(
                delaunay, place, std::back_inserter(vWeights),
                CGAL::Identity<std::pair<HeightDelaunay::Vertex_handle, Kernel::FT>>(), hint);
            if (!result.third) continue;
            ++numInside;
            for (const auto& [vertex, weight] : vWeights) vCells[k] += weight / result.second * vertex->info();
        }
    });
    sample.result[0] = numInside;
    return sample;
}

Sample ourComparison(const Surface& before, const Surface& after, int numThreads = 1) {
    LUMO_TARO25D::SurfaceDifference difference;
    return timed([&] { difference = compareSurfaces(before.pZone, after.pZone, 0.0, numThreads); });
}

// ---- The table's rows ----

struct Contest {
    Side ours, reference;
    bool bSameResult = true;
};

struct Row {
    const char* name;
    const char* work;
    const char* reference;
    double goal;              // upper limit of ours / reference; of ours in bytes for memory
    double Sample::*measure;  // the quantity compared
    std::function<Contest()> prepare;
};

Contest bulk(Points vInput) {
    auto pOurs = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = std::make_shared<const CgalPoints>(toCgal(*pOurs));
    return {[pOurs] { return ourBulk(*pOurs); }, [pCgal] { return cgalBulk<Delaunay>(*pCgal); }};
}

std::shared_ptr<std::vector<std::pair<CgalPoint, unsigned>>> toIndexedCgal(const Points& vPoints) {
    auto pResult = std::make_shared<std::vector<std::pair<CgalPoint, unsigned>>>();
    for (const Point2& point : vPoints)
        pResult->emplace_back(CgalPoint(point.x(), point.y()), unsigned(pResult->size()));
    return pResult;
}

Contest bulkIndexed(Points vInput) {
    auto pOurs = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = toIndexedCgal(*pOurs);
    return {[pOurs] { return ourBulk(*pOurs); }, [pCgal] { return cgalBulk<IndexedDelaunay>(*pCgal); }};
}

Contest removal(Points vInput) {
    constexpr std::size_t step = 10;
    auto pOurs = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = toIndexedCgal(*pOurs);
    return {[pOurs] { return ourRemove(*pOurs, step); }, [pCgal] { return cgalRemove(*pCgal, step); }};
}

/// Two threads of our own against one.
Contest twoThreads(Points vInput) {
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    return {[pInput] { return ourBulk(*pInput, 2); }, [pInput] { return ourBulk(*pInput); }};
}

Contest twoThreadsAgainstCgal(Points vInput) {
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    auto pCgal = std::make_shared<const CgalPoints>(toCgal(*pInput));
    return {[pInput] { return ourBulk(*pInput, 2); }, [pCgal] { return cgalBulk<Delaunay>(*pCgal); }};
}

/// Our own time for one input against our own time for another.
Contest ownBulk(Points vInput, Points vReference) {
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    auto pReference = std::make_shared<const Points>(std::move(vReference));
    return {[pInput] { return ourBulk(*pInput); }, [pReference] { return ourBulk(*pReference); }, false};
}

Contest single(Points vExisting, Points vInput) {
    auto pExisting = std::make_shared<const Points>(std::move(vExisting));
    auto pInput = std::make_shared<const Points>(std::move(vInput));
    auto pCgalExisting = std::make_shared<const CgalPoints>(toCgal(*pExisting));
    auto pCgalInput = std::make_shared<const CgalPoints>(toCgal(*pInput));
    return {[=] { return ourSingle(*pExisting, *pInput); }, [=] { return cgalSingle(*pCgalExisting, *pCgalInput); }};
}

template <class Triangulation>
Contest location(const Points& vPoints, Points vInput, bool bFromLast) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    const CgalPoints vCgalPoints = toCgal(vPoints);
    auto pCgal = std::make_shared<Triangulation>(vCgalPoints.begin(), vCgalPoints.end());
    auto pQueries = std::make_shared<const Points>(std::move(vInput));
    auto pCgalQueries = std::make_shared<const CgalPoints>(toCgal(*pQueries));
    return {[=] { return ourLocate(*pTaro, *pQueries); }, [=] { return cgalLocate(*pCgal, *pCgalQueries, bFromLast); }};
}

using SharedLineWork = std::shared_ptr<const LineWork>;

SharedLineWork share(Points vPoints, Segments vSegments) {
    return std::make_shared<const LineWork>(LineWork{std::move(vPoints), std::move(vSegments)});
}

/// Where crossings are rounded, the number of points depends on the order in which they are found.
template <class Constrained>
Contest constrained(const SharedLineWork& pWork, bool bSameResult) {
    auto pCgal = std::make_shared<const CgalLineWork<Constrained>>(*pWork);
    return {[pWork] { return ourConstrained(*pWork); }, [pCgal] { return cgalConstrained(*pCgal); }, bSameResult};
}

Contest ownConstrained(const SharedLineWork& pWork, const SharedLineWork& pReference) {
    return {[pWork] { return ourConstrained(*pWork); }, [pReference] { return ourConstrained(*pReference); }, false};
}

/// Segments into an existing mesh, against making that mesh.
Contest segmentsAgainstMesh(const SharedLineWork& pWork) {
    return {[pWork] { return ourSegments(*pWork); }, [pWork] { return ourBulk(pWork->vPoints); }, false};
}

Contest ownSegments(const SharedLineWork& pWork, const SharedLineWork& pReference) {
    return {[pWork] { return ourSegments(*pWork); }, [pReference] { return ourSegments(*pReference); }, false};
}

/// The name of a file that goes with its last user.
std::shared_ptr<const std::string> makeTemporaryName() {
    const auto path = std::filesystem::temp_directory_path() / ("compare" + std::to_string(getpid()));
    return {new std::string(path), [](const std::string* pName) {
                std::filesystem::remove(*pName);
                delete pName;
            }};
}

Contest loading(const SharedLineWork& pWork) {
    auto pName = makeTemporaryName();
    Taro_2D taro;
    insert(*pWork, taro);
    if (!taro.save(pName->c_str())) throw std::runtime_error("cannot write " + *pName);
    return {[pName] { return ourLoad(*pName); }, [pWork] { return ourConstrained(*pWork); }};
}
#ifdef TARO25D_COMPARE_VTK

Contest bands(const Points& vPoints, std::size_t numLevels) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    pTaro->getTrianglePointers(vTriangles);
    auto pIso = std::make_shared<const IsoContours>(vTriangles);
    auto pVtk = std::make_shared<const VtkSurface>(vTriangles);
    const std::vector<double> vLevels = levels(vTriangles, numLevels);
    // The triangles of pIso are those of pTaro.
    return {[pTaro, pIso, vLevels] { return ourBands(*pIso, vLevels); }, [=] { return vtkBands(*pVtk, vLevels); },
            false};
}

Contest contours(const Points& vPoints, std::size_t numLevels, bool bVtkTree) {
    auto pTaro = std::make_shared<Taro_2D>();
    pTaro->insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    pTaro->getTrianglePointers(vTriangles);
    auto pVtk = std::make_shared<const VtkSurface>(vTriangles);
    const std::vector<double> vHeights = levels(vTriangles, numLevels);
    return {[pTaro, vTriangles, vHeights] { return ourContours(vTriangles, vHeights); },
            [=] { return vtkContours(*pVtk, vHeights, bVtkTree); }};
}

#endif

Points inCurveOrder(Points vPoints) {
    sortAlongCurve(vPoints);
    return vPoints;
}

/// Sizes shrink with the factor, which is 1 for the run that counts.
struct Scale {
    double factor;

    std::size_t operator()(double n) const { return std::size_t(n * factor); }
};

constexpr const char* cgalRange = "`Delaunay_triangulation_2` from a range";
constexpr auto cpu = &Sample::cpu, wall = &Sample::wall, peak = &Sample::peak;

std::vector<Row> bulkRows(Scale size) {
    return {
        {"bulk-uniform", "bulk, 1,000,000 uniform", cgalRange, 0.55, cpu, [=] { return bulk(uniform(size(1e6))); }},
        {"bulk-uniform-index", "bulk, 1,000,000 uniform", "the same, keeping the input index", 0.38, cpu,
         [=] { return bulkIndexed(uniform(size(1e6))); }},
        {"bulk-clustered", "bulk, 1,000,000 in 200 gaussian clusters", cgalRange, 0.55, cpu,
         [=] { return bulk(clustered(size(1e6))); }},
        {"bulk-grid", "bulk, integer grid 1000 x 1000, shuffled", cgalRange, 0.65, cpu,
         [=] { return bulk(grid(size(1e6))); }},
        {"bulk-survey", "bulk, 1,000,000 on survey lines", cgalRange, 0.65, cpu,
         [=] { return bulk(surveyLines(size(1e6))); }},
        {"bulk-uniform-4m", "bulk, 4,000,000 uniform", cgalRange, 0.53, cpu, [=] { return bulk(uniform(size(4e6))); }},
        {"bulk-collinear", "bulk, 50,000 exactly collinear", "own bulk, 1,000,000 uniform", 0.1, cpu,
         [=] { return ownBulk(collinear(size(5e4)), uniform(size(1e6))); }},
        {"stray-survey", "bulk, survey lines and (0, 0)", "own, without the stray point", 1.5, cpu,
         [=] { return ownBulk(withStray(surveyLines(size(1e6)), 0.0, 0.0), surveyLines(size(1e6))); }},
        {"stray-uniform", "bulk, uniform and (1e300, 1e300)", "own, without the stray point", 1.5, cpu,
         [=] { return ownBulk(withStray(uniform(size(1e6)), 1e300, 1e300), uniform(size(1e6))); }},
    };
}

std::vector<Row> pointRows(Scale size) {
    const char* const cgalHierarchy = "`Triangulation_hierarchy_2`";
    return {
        {"locate-random", "1,000,000 random locations in 1,000,000", cgalHierarchy, 0.8, cpu,
         [=] { return location<Hierarchy>(uniform(size(1e6)), uniform(size(1e6), 11), false); }},
        {"locate-sorted", "1,000,000 locations along a Hilbert curve", "`locate` from the last face", 1.2, cpu,
         [=] { return location<Delaunay>(uniform(size(1e6)), inCurveOrder(uniform(size(1e6), 11)), true); }},
        {"single-empty", "one by one, 100,000 from empty", cgalHierarchy, 1.0, cpu,
         [=] { return single({}, uniform(size(1e5), 12)); }},
        {"single-million", "one by one, 100,000 into 1,000,000", cgalHierarchy, 1.0, cpu,
         [=] { return single(uniform(size(1e6)), uniform(size(1e5), 12)); }},
        {"remove", "removal of 100,000 random vertices from 1,000,000", "`remove`", 1.0, cpu,
         [=] { return removal(uniform(size(1e6))); }},
    };
}

/// The edges of two triangulations of n points each.
Segments edgesOfTwo(std::size_t n) {
    Segments vEdges;
    for (const std::uint64_t seed : {1, 2}) {
        Taro_2D taro;
        taro.insert(uniform(n, seed));
        std::vector<Triangle2*> vTriangles;
        taro.getTrianglePointers(vTriangles);
        for (Triangle2* pT : vTriangles) {
            for (int i = 0; i < 3; ++i) {
                const LUMO_TARO25D::Edge2 edge(pT, i);
                if (!pT->getOppositeTriangle(i) || *edge.getSrc() < *edge.getTrg())
                    vEdges.emplace_back(*edge.getSrc(), *edge.getTrg());
            }
        }
    }
    return vEdges;
}

std::vector<Row> constraintRows(Scale size) {
    const char* const cgalConstraints = "`insert_constraints`";
    return {
        {"constraints-short", "20,000 disjoint short segments and 100,000 uniform points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share(uniform(size(1e5)), shortSegments(size(2e4))), true); }},
        {"constraints-short-million", "200,000 of these and 1,000,000 points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share(uniform(size(1e6)), shortSegments(size(2e5))), true); }},
        {"constraints-growth", "200,000 and 1,000,000", "own, 20,000 and 100,000", 12.0, cpu,
         [=] {
             return ownConstrained(share(uniform(size(1e6)), shortSegments(size(2e5))),
                                   share(uniform(size(1e5)), shortSegments(size(2e4))));
         }},
        {"constraints-crossing", "300 long segments that cross 34,000 times and 100,000 uniform points",
         cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share(uniform(size(1e5)), longSegments(300)), false); }},
        {"constraints-crossing-exact", "the same", "the same with exact constructions", 0.3, cpu,
         [=] { return constrained<ExactConstrained>(share(uniform(size(1e5)), longSegments(300)), false); }},
        {"constraints-network", "a network of 60,000 segments and no other points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share({}, windingLines(size(6e4))), true); }},
        {"constraints-meshes", "all edges of two meshes of 20,000 points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share({}, edgesOfTwo(size(2e4))), false); }},
        {"constraint-across", "one segment across a mesh of 1,000,000 points", "own bulk of these", 0.01, cpu,
         [=] { return segmentsAgainstMesh(share(uniform(size(1e6)), acrossSegments(1))); }},
        {"constraint-across-growth", "20 segments across a mesh of 1,000,000 points, one by one",
         "own, a tenth as long", 10.0 * std::log(2100.0) / std::log(210.0), cpu,
         [=] {
             const Points vPoints = uniform(size(1e6));
             return ownSegments(share(vPoints, acrossSegments(20)), share(vPoints, acrossSegments(20, 0.1)));
         }},
        {"load", "file of 1,000,000 points and 100,000 segments", "own, inserting them from memory", 1.3, cpu,
         [=] { return loading(share(uniform(size(1e6)), shortSegments(size(1e5)))); }},
    };
}

Contest raster(const Points& vPoints, std::size_t numInRow) {
    auto pSurface = std::make_shared<const Surface>(vPoints);
    const RasterFrame frame = frameOver(vPoints, numInRow);
    return {[=] { return ourRaster(*pSurface, frame, LUMO_TARO25D::RK_LINEAR); },
            [=] { return ourHeights(*pSurface, frame); }};
}

Contest rasterThreads(const Points& vPoints, std::size_t numInRow, LUMO_TARO25D::RasterKind kind) {
    auto pSurface = std::make_shared<const Surface>(vPoints);
    const RasterFrame frame = frameOver(vPoints, numInRow);
    return {[=] { return ourRaster(*pSurface, frame, kind, 2); }, [=] { return ourRaster(*pSurface, frame, kind); }};
}

Contest naturalNeighbours(const Points& vPoints, std::size_t numInRow) {
    auto pSurface = std::make_shared<const Surface>(vPoints);
    const RasterFrame frame = frameOver(vPoints, numInRow);
    std::vector<std::pair<CgalPoint, double>> vInput;
    for (const Point2& point : vPoints) vInput.emplace_back(CgalPoint(point.x(), point.y()), point.z());
    auto pCgal = std::make_shared<const HeightDelaunay>(vInput.begin(), vInput.end());
    return {[=] { return ourRaster(*pSurface, frame, LUMO_TARO25D::RK_NATURAL_NEIGHBOUR); },
            [=] { return cgalNaturalNeighbours(*pCgal, frame); }};
}

/// Two grounds over the same square, the second one half as high.
std::pair<Points, Points> twoGrounds(std::size_t n) {
    std::pair<Points, Points> grounds{hills(n), hills(n)};
    for (Point2& point : grounds.second) point.set(point.y(), point.x(), 0.5 * point.z());
    return grounds;
}

Contest surfacesAgainstBulk(std::size_t n) {
    const auto [vBefore, vAfter] = twoGrounds(n);
    auto pBefore = std::make_shared<const Surface>(vBefore), pAfter = std::make_shared<const Surface>(vAfter);
    auto pInputs = std::make_shared<const std::pair<Points, Points>>(vBefore, vAfter);
    return {[=] { return ourComparison(*pBefore, *pAfter); },
            [=] {
                Taro_2D before, after;
                return timed([&] {
                    before.insert(pInputs->first);
                    after.insert(pInputs->second);
                });
            },
            false};
}

Sample ourCutAndFill(const Surface& before, const Surface& after, std::size_t numPoints) {
    LUMO_TARO25D::CutAndFill cutAndFill(before.pZone, after.pZone, 0.0);
    Sample sample = timed([&] { cutAndFill.go(); });
    sample.result = {numPoints};
    return sample;
}

/// The vertices of the triangulation that has the edges of both surfaces.
Points combinedVertices(const Surface& before, const Surface& after) {
    LUMO_TARO25D::CutAndFill cutAndFill(before.pZone, after.pZone, 0.0);
    cutAndFill.go();
    Zone2* pDiffZone = nullptr;
    std::map<Point2*, std::pair<double, double>> mHeights;
    cutAndFill.getDiffZone(pDiffZone, mHeights);
    Points vPoints;
    for (const auto& [pVtx, heights] : mHeights) vPoints.emplace_back(pVtx->x(), pVtx->y(), 0.0);
    return vPoints;
}

Contest cutAndFillAgainstBulk(std::size_t n) {
    const auto [vBefore, vAfter] = twoGrounds(n);
    auto pBefore = std::make_shared<const Surface>(vBefore), pAfter = std::make_shared<const Surface>(vAfter);
    auto pCombined = std::make_shared<const Points>(combinedVertices(*pBefore, *pAfter));
    return {[=] { return ourCutAndFill(*pBefore, *pAfter, 2 * n); }, [=] { return ourBulk(*pCombined); }, false};
}

Contest surfacesThreads(std::size_t n) {
    const auto [vBefore, vAfter] = twoGrounds(n);
    auto pBefore = std::make_shared<const Surface>(vBefore), pAfter = std::make_shared<const Surface>(vAfter);
    return {[=] { return ourComparison(*pBefore, *pAfter, 2); }, [=] { return ourComparison(*pBefore, *pAfter); }};
}

std::vector<Row> analysisRows(Scale size) {
    const std::size_t numInRow = std::size_t(std::sqrt(double(size(1e6))));
    const auto twoOfOurs = "own, 1 thread";
    return {
        {"raster", "1,000,000 heights in a grid, 1,000,000 points", "own `getHeight` row by row", 0.67, cpu,
         [=] { return raster(hills(size(1e6)), numInRow); }},
        {"raster-natural", "the same by natural neighbours", "`natural_neighbor_coordinates_2` from the last triangle",
         0.33, cpu, [=] { return naturalNeighbours(hills(size(1e6)), numInRow); }},
        {"raster-threads", "1,000,000 heights, 2 threads, wall", twoOfOurs, 1 / 1.8, wall,
         [=] { return rasterThreads(hills(size(1e6)), numInRow, LUMO_TARO25D::RK_LINEAR); }},
        {"raster-natural-threads", "the same by natural neighbours", twoOfOurs, 1 / 1.8, wall,
         [=] { return rasterThreads(hills(size(1e6)), numInRow, LUMO_TARO25D::RK_NATURAL_NEIGHBOUR); }},
        {"cut-and-fill", "`CutAndFill` of two surfaces of 50,000 points", "own bulk of the combined vertices", 10.0,
         cpu, [=] { return cutAndFillAgainstBulk(size(5e4)); }},
        {"cut-and-fill-large", "`CutAndFill` of two surfaces of 500,000 points", "own bulk of the combined vertices",
         10.0, cpu, [=] { return cutAndFillAgainstBulk(size(5e5)); }},
        {"memory-cut-and-fill", "peak memory for a point, surfaces of 50,000 points",
         "own bulk of the combined vertices", 4096.0, peak, [=] { return cutAndFillAgainstBulk(size(5e4)); }},
        {"surfaces", "volumes between surfaces of 1,000,000 points each", "own bulk insertion of both", 3.0, cpu,
         [=] { return surfacesAgainstBulk(size(1e6)); }},
        {"surfaces-threads", "the same, 2 threads, wall", twoOfOurs, 1 / 1.7, wall,
         [=] { return surfacesThreads(size(1e6)); }},
    };
}

#ifdef TARO25D_COMPARE_VTK

std::vector<Row> contourRows(Scale size) {
    return {
        {"contours", "50 contours of 1,000,000 points, tree included", "`vtkContourFilter`, `vtkStripper`", 0.5, cpu,
         [=] { return contours(hills(size(1e6)), 50, false); }},
        {"contours-tree", "the same", "the same with `UseScalarTree`", 0.5, cpu,
         [=] { return contours(hills(size(1e6)), 50, true); }},
        {"bands", "20 bands of 1,000,000 points", "`vtkBandedPolyDataContourFilter`", 0.5, cpu,
         [=] { return bands(hills(size(1e6)), 20); }},
    };
}

#endif

std::vector<Row> threadRows(Scale size) {
    return {
        {"threads-uniform", "bulk, 4,000,000 uniform, 2 threads, wall", "own, 1 thread", 1 / 1.8, wall,
         [=] { return twoThreads(uniform(size(4e6))); }},
        {"threads-cgal", "bulk, 4,000,000 uniform, 2 threads, wall", cgalRange, 0.3, wall,
         [=] { return twoThreadsAgainstCgal(uniform(size(4e6))); }},
        {"threads-clustered", "bulk, 1,000,000 clustered, 2 threads, wall", "own, 1 thread", 1 / 1.6, wall,
         [=] { return twoThreads(clustered(size(1e6))); }},
        {"threads-survey", "bulk, 1,000,000 on survey lines, 2 threads, wall", "own, 1 thread", 1 / 1.6, wall,
         [=] { return twoThreads(surveyLines(size(1e6))); }},
    };
}

std::vector<Row> memoryRows(Scale size) {
    return {
        {"memory", "peak memory, bulk, 1,000,000 uniform", cgalRange, 210.0, peak,
         [=] { return bulk(uniform(size(1e6))); }},
        {"memory-4m", "peak memory, bulk, 4,000,000 uniform", cgalRange, 210.0, peak,
         [=] { return bulk(uniform(size(4e6))); }},
    };
}

std::vector<Row> makeRows(Scale size) {
    std::vector<Row> vRows;
    for (const auto makeTopic : {bulkRows, pointRows, constraintRows, analysisRows,
#ifdef TARO25D_COMPARE_VTK
                                 contourRows,
#endif
                                 threadRows, memoryRows}) {
        for (Row& row : makeTopic(size)) vRows.push_back(std::move(row));
    }
    return vRows;
}

// ---- Running and reporting ----

struct Options {
    double scale = 1.0;
    int numRounds = 5;
    bool bFresh = false;  // a new process for each turn, which pays for its memory
    std::string only;     // part of a row's name
};

struct Outcome {
    std::vector<Sample> vOurs, vReference;
    std::vector<double> vRatios;

    void add(const Sample& ours, const Sample& reference, double Sample::*measure) {
        vOurs.push_back(ours);
        vReference.push_back(reference);
        vRatios.push_back(ours.*measure / reference.*measure);
    }
};

double median(std::vector<double> vValues) {
    std::sort(vValues.begin(), vValues.end());
    const std::size_t half = vValues.size() / 2;
    return vValues.size() % 2 == 1 ? vValues[half] : 0.5 * (vValues[half - 1] + vValues[half]);
}

double median(const std::vector<Sample>& vSamples, double Sample::*measure) {
    std::vector<double> vValues;
    for (const Sample& sample : vSamples) vValues.push_back(sample.*measure);
    return median(std::move(vValues));
}

Outcome run(const Row& row, const Options& options) {
    const Contest contest = row.prepare();
    malloc_trim(0);
    const bool bFresh = options.bFresh || row.measure == &Sample::peak;
    std::unique_ptr<Worker> pOurs, pReference;
    Outcome outcome;
    for (int round = bFresh ? 1 : 0; round <= options.numRounds; ++round) {
        if (bFresh || round == 0) {
            pOurs = std::make_unique<Worker>(contest.ours, !bFresh);
            pReference = std::make_unique<Worker>(contest.reference, !bFresh);
        }
        const Sample ours = pOurs->turn(), reference = pReference->turn();
        if (contest.bSameResult && ours.result != reference.result)
            throw std::runtime_error(std::string(row.name) + ": the two sides disagree");
        if (round > 0) outcome.add(ours, reference, row.measure);
    }
    return outcome;
}

/// Processor time with the wall clock beside it, or bytes.
std::string describe(const std::vector<Sample>& vSamples, bool bMemory) {
    std::ostringstream text;
    text << std::fixed;
    if (bMemory)
        text << std::setprecision(0) << median(vSamples, &Sample::peak) << " B";
    else
        text << std::setprecision(3) << median(vSamples, &Sample::cpu) << " s (" << median(vSamples, &Sample::wall)
             << ")";
    return text.str();
}

std::string tableLine(const Row& row, const Outcome& outcome) {
    const bool bMemory = row.measure == &Sample::peak;
    const double ratio = median(outcome.vRatios);
    const double judged = bMemory ? median(outcome.vOurs, row.measure) : ratio;
    const auto [lowest, highest] = std::minmax_element(outcome.vRatios.begin(), outcome.vRatios.end());
    std::ostringstream line;
    line << "| " << row.name << " | " << row.work << " | " << row.reference << " | " << describe(outcome.vOurs, bMemory)
         << " | " << describe(outcome.vReference, bMemory) << " | at most " << row.goal << (bMemory ? " B" : " x")
         << " | " << std::fixed << std::setprecision(3) << ratio << " (" << *lowest << " to " << *highest << ") | "
         << (judged <= row.goal ? "yes" : "**no**") << " |\n";
    return line.str();
}

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

Options readOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const bool bHasValue = i + 1 < argc;
        if (option == "--quick") {
            options.scale = 0.1;
            options.numRounds = 3;
        } else if (option == "--fresh") {
            options.bFresh = true;
        } else if (option == "--rounds" && bHasValue) {
            options.numRounds = std::max(1, std::atoi(argv[++i]));
        } else if (option == "--only" && bHasValue) {
            options.only = argv[++i];
        } else {
            throw std::runtime_error("usage: compare [--quick] [--fresh] [--rounds N] [--only PART_OF_NAME]");
        }
    }
    return options;
}

void printHead(int argc, char** argv, const Options& options) {
    std::cout << "- machine: " << processorName() << ", " << sysconf(_SC_NPROCESSORS_ONLN) << " cores\n"
              << "- compiler: g++ " << __VERSION__ << "; CGAL " << CGAL_VERSION_STR;
#ifdef TARO25D_COMPARE_VTK
    std::cout << "; VTK " << vtkVersion();
#endif
    std::cout << "\n- command: `";
    for (int i = 0; i < argc; ++i) std::cout << (i ? " " : "") << argv[i];
    std::cout << "`, the median of " << options.numRounds << " rounds\n";
    if (options.scale != 1.0)
        std::cout << "- **sizes are " << options.scale << " x those stated: the goals do not apply**\n";
#if !defined(__OPTIMIZE__) || !defined(NDEBUG)
    std::cout << "- **not an optimised build: the numbers mean nothing**\n";
#endif
}

void compare(int argc, char** argv) {
    const Options options = readOptions(argc, argv);
    std::string table;
    for (const Row& row : makeRows({options.scale})) {
        if (std::string(row.name).find(options.only) == std::string::npos) continue;
        const std::string line = tableLine(row, run(row, options));
        std::cerr << line;
        table += line;
    }
    if (table.empty()) throw std::runtime_error("no row has a name with " + options.only);
    printHead(argc, argv, options);
    std::cout << "\n| row | work | against | ours: processor (wall) | reference | goal | ratio (range) | "
                 "reached |\n"
              << "|---|---|---|---|---|---|---|---|\n"
              << table;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        compare(argc, argv);
    } catch (const std::exception& failure) {
        std::cerr << "compare: " << failure.what() << "\n";
        return 1;
    }
}
