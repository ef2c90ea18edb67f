// The longest time between two cancellation points of an operation on a million points, in milliseconds of processor
// time of the calling thread, which other programs do not disturb. The goal is 50. With a word as an argument, only
// operations whose names contain it are run.

#include <ctime>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "generators.h"
#include "support/stopping.h"
#include "taro25d/taro25d.h"

namespace {

using namespace bench;
using namespace LUMO_TARO25D;

double now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e3 * double(time.tv_sec) + 1e-6 * double(time.tv_nsec);
}

std::string filter;

/// Runs an operation and prints its time, its number of cancellation points, and the longest gap between two of them.
void measure(const std::string& name, const std::function<void()>& run) {
    const double start = now();
    double last = start, longest = 0.0, at = 0.0;
    std::size_t numCancelPoints = 0;
    const auto note = [&] {
        const double time = now();
        if (time - last > longest) {
            longest = time - last;
            at = last - start;
        }
        last = time;
    };
    setCancelPointObserver([&] {
        note();
        ++numCancelPoints;
    });
    run();
    setCancelPointObserver(nullptr);
    note();
    std::printf("%-44s %9.0f ms %9zu points   longest gap %6.1f ms, after %.0f ms\n", name.c_str(), last - start,
                numCancelPoints, longest, at);
    std::fflush(stdout);
}

bool isWanted(const std::string& name) { return name.find(filter) != std::string::npos; }

constexpr double EXTENT = 1000.0;
constexpr std::size_t NUM_POINTS = 1000000;

std::vector<Point2> makeGround(std::size_t num, unsigned seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> place(0.0, EXTENT), noise(0.0, 0.1);
    std::vector<Point2> vPoints;
    for (std::size_t i = 0; i < num; ++i) {
        const double x = place(random), y = place(random);
        vPoints.emplace_back(x, y, 20.0 * std::sin(0.01 * x) * std::cos(0.013 * y) + noise(random));
    }
    return vPoints;
}

std::vector<Segment2> makeShortSegments(std::size_t numRows) {
    const double cell = EXTENT / double(numRows);
    std::vector<Segment2> vSegments;
    for (std::size_t i = 0; i < numRows; ++i) {
        for (std::size_t k = 0; k < numRows; ++k) {
            const Point2 src((double(i) + 0.1) * cell, (double(k) + 0.1) * cell, 0.0);
            vSegments.emplace_back(src, Point2(src.x() + 0.7 * cell, src.y() + 0.61 * cell, 0.0));
        }
    }
    return vSegments;
}

std::vector<Segment2> makeLongSegments(int num) {
    std::vector<Segment2> vSegments;
    for (int i = 0; i < num; ++i) {
        const double at = (i + 0.5) * EXTENT / num, shift = 0.37 * EXTENT / num;
        vSegments.emplace_back(Point2(at, 1.0, 0.0), Point2(at + shift, EXTENT - 1.0, 0.0));
        vSegments.emplace_back(Point2(1.0, at, 0.0), Point2(EXTENT - 1.0, at + shift, 0.0));
    }
    return vSegments;
}

std::vector<Segment2> makeRing(int num, double radius) {
    std::vector<Point2> vCorners;
    for (int i = 0; i < num; ++i) {
        const double angle = 2.0 * M_PI * i / num;
        vCorners.emplace_back(0.5 * EXTENT + radius * std::cos(angle), 0.5 * EXTENT + radius * std::sin(angle), 0.0);
    }
    std::vector<Segment2> vRing;
    for (int i = 0; i < num; ++i) vRing.emplace_back(vCorners[std::size_t(i)], vCorners[std::size_t((i + 1) % num)]);
    return vRing;
}

std::unique_ptr<Taro_2D> makeSurface(const std::vector<Point2>& vPoints) {
    auto pMesh = std::make_unique<Taro_2D>();
    pMesh->insert(vPoints);
    return pMesh;
}

void measureInsertion(const std::vector<Point2>& vPoints) {
    for (const int numThreads : {1, 2}) {
        const std::string suffix = numThreads == 1 ? "" : ", 2 threads";
        if (!isWanted("insertion" + suffix)) continue;
        Taro_2D mesh;
        mesh.setNumCPU(numThreads);
        measure("insertion" + suffix, [&] { mesh.insert(vPoints); });
        const std::vector<Point2> vMore = makeGround(NUM_POINTS / 2, 7);
        measure("insertion of half as many more" + suffix, [&] { mesh.insert(vMore); });
        measure("insertion of one point far away" + suffix, [&] { mesh.insert(Point2(1e6, 1e6, 0.0)); });
    }
}

void measureConstraints(const std::vector<Point2>& vPoints) {
    const struct {
        const char* name;
        std::vector<Segment2> vSegments;
        ConstraintInsertionStrategy cis;
    } aCases[] = {{"constraints, 250,000 short ones", makeShortSegments(500), CIS_CONSTRAINED_DELAUNAY},
                  {"constraints, conforming, 90,000 short ones", makeShortSegments(300), CIS_CONFORMING_LINEAR_Z},
                  {"constraints, 200 long ones that cross", makeLongSegments(100), CIS_CONSTRAINED_DELAUNAY},
                  {"constraints, one ring of 200,000", makeRing(200000, 400.0), CIS_CONSTRAINED_DELAUNAY}};
    for (const auto& c : aCases) {
        if (!isWanted(c.name)) continue;
        const auto pMesh = makeSurface(vPoints);
        ConstraintGraph2* pGraph = nullptr;
        measure(c.name, [&] { pGraph = pMesh->createConstraint(c.vSegments, c.cis); });
        measure("    applyConstraintsAndZones", [&] { pMesh->applyConstraintsAndZones(); });
        measure("    checkValidity", [&] { pMesh->checkValidity(true, "bench"); });
        measure("    saveAll", [&] { pMesh->saveAll("cancel_bench.taro"); });
        Taro_2D loaded;
        measure("    load", [&] { loaded.load("cancel_bench.taro"); });
        std::remove("cancel_bench.taro");
        measure("    removeConstraint with vertices", [&] { pMesh->removeConstraint(pGraph, true); });
    }
}

void measureZones(const std::vector<Point2>& vPoints) {
    if (!isWanted("zones")) return;
    const auto pMesh = makeSurface(vPoints);
    std::vector<Triangle2*> vTriangles;
    Zone2* pAll = pMesh->createZone(nullptr, ZL_GLOBAL);
    measure("zones, all triangles", [&] { pAll->getTriangles(vTriangles); });
    const auto isLeft = [](const Triangle2* pT) { return pT->getCorner(0)->x() < 0.5 * EXTENT; };
    vTriangles.erase(std::remove_if(vTriangles.begin(), vTriangles.end(), isLeft), vTriangles.end());
    Zone2* pHalf = nullptr;
    measure("zones, of 1,000,000 triangles", [&] { pHalf = pMesh->createZone(vTriangles); });
    measure("zones, of a ring of 100,000 segments", [&] {
        pMesh->createZone(pMesh->createConstraint(makeRing(100000, 300.0), CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
    });
    measure("zones, difference", [&] { zoneDifference(pAll, pHalf)->getArea2D(); });
    measure("zones, border and vertices", [&] {
        std::vector<Edge2> vBorder;
        std::vector<Point2*> vVertices;
        pAll->getBorderEdges(vBorder);
        pAll->getVertices(vVertices);
    });
    measure("zones, statistics", [&] { pAll->statistics("bench"); });
    measure("zones, peelOffBorder", [&] {
        peelOffBorder(
            pAll, [](Triangle2* pT) { return pT->getCorner(0)->y() < 0.3 * EXTENT; }, false);
    });
    measure("cutting along 100 long segments", [&] { pMesh->cutTriangles(makeLongSegments(50), false); });
    measure("cookie cutter, 1000 corners", [&] { pMesh->createZone_cookieCutter(makeRing(1000, 450.0), false); });
    measure("drawing", [&] { pAll->show("cancel_bench.ps", false, true); });
    std::remove("cancel_bench.ps");
}

void measureMeshing() {
    for (const double gridLength : {0.0, 1.0}) {
        const std::string name = gridLength > 0.0 ? "refinement with a grid" : "refinement";
        if (!isWanted(name)) continue;
        Taro_2D mesh;
        const std::vector<Point2> vCorners{{0, 0, 0}, {EXTENT, 0, 0}, {EXTENT, EXTENT, 0}, {0, EXTENT, 0}};
        std::vector<Segment2> vSquare;
        for (std::size_t i = 0; i < 4; ++i) vSquare.emplace_back(vCorners[i], vCorners[(i + 1) % 4]);
        Zone2* pZone = mesh.createZone(mesh.createConstraint(vSquare, CIS_CONSTRAINED_DELAUNAY), ZL_INSIDE);
        MeshGenParams params(pZone);
        params.minAngleDegree = 25.0;
        params.maxEdgeLength = 1.5;
        params.gridLength = gridLength;
        if (gridLength > 0.0) params.gridVector = Vector2(1.0, 0.0, 0.0);
        measure(name, [&] { mesh.refineAdvanced(&params); });
    }
}

void measureRasters(Taro_2D& mesh) {
    if (!isWanted("surface")) return;
    Zone2* pZone = mesh.createZone(nullptr, ZL_GLOBAL);
    const RasterFrame frame{0.0, EXTENT, 1.0, 1.0, 1000, 1000};
    std::vector<double> vCells(NUM_POINTS), vXY, vHeights(NUM_POINTS);
    std::vector<Segment2> vDraped;
    measure("surface, raster", [&] { rasterize(pZone, frame, RK_LINEAR, vCells.data()); });
    measure("surface, raster of natural neighbours",
            [&] { rasterize(pZone, frame, RK_NATURAL_NEIGHBOUR, vCells.data()); });
    for (const Point2& point : makeGround(NUM_POINTS, 9)) vXY.insert(vXY.end(), {point.x(), point.y()});
    measure("surface, getHeights", [&] { mesh.getHeights(NUM_POINTS, vXY.data(), vHeights.data()); });
    measure("surface, 200 long segments draped", [&] { mesh.drape(makeLongSegments(100), vDraped); });
    const auto pOther = makeSurface(makeGround(NUM_POINTS, 2));
    measure("surface, compareSurfaces", [&] { compareSurfaces(pZone, pOther->createZone(nullptr, ZL_GLOBAL), 0.0); });
    measure("surface, bands", [&] {
        std::vector<Triangle2*> vTriangles;
        mesh.getTrianglePointers(vTriangles);
        std::vector<ContourBand> vBands;
        IsoContours(vTriangles).getBands({-15, -10, -5, 0, 5, 10, 15}, vBands);
    });
}

void measureModels(const std::vector<Point2>& vPoints, Taro_2D& mesh) {
    if (!isWanted("model")) return;
    IndexedMesh arrays;
    measure("model, getIndexedMesh", [&] { mesh.getIndexedMesh(arrays); });
    const std::unique_ptr<Taro_2D> pClone = mesh.clone();
    measure("model, canonicalizeDiagonals", [&] { pClone->canonicalizeDiagonals(); });
    Zone2* pZone = pClone->createZone(nullptr, ZL_GLOBAL);
    measure("model, fillHoles", [&] { pClone->fillHoles(pZone, 10.0); });
    measure("model, optimizeValleysAndRidges", [&] { pZone->optimizeValleysAndRidges(5.0, 0.2); });
    measure("model, unifyGrid", [&] { pZone->unifyGrid(0.01); });
    EfficientModel model(vPoints);
    model.setMaxError(0.5);
    model.setCertified(true);
    measure("model, simplification", [&] { model.go(); });
}

void measureAnalysis(const std::vector<Point2>& vPoints) {
    const auto pMesh = makeSurface(vPoints);
    if (isWanted("contours")) {
        std::vector<Triangle2*> vTriangles;
        pMesh->getTrianglePointers(vTriangles);
        const IsoContours contours(vTriangles);
        std::vector<std::vector<Segment2>> vvContours;
        std::vector<Segment2> vProfile;
        measure("contours", [&] { contours.getContours(0.05, vvContours); });
        measure("contours, profile", [&] { contours.getProfile(Point2(500, 500, 0), vProfile); });
    }
    if (isWanted("cut and fill")) {
        const auto pBefore = makeSurface(makeGround(NUM_POINTS / 10, 3)),
                   pAfter = makeSurface(makeGround(NUM_POINTS / 10, 4));
        CutAndFill earthworks(pBefore->createZone(nullptr, ZL_GLOBAL), pAfter->createZone(nullptr, ZL_GLOBAL), 0.0);
        measure("cut and fill, 200,000 points", [&] { earthworks.go(); });
    }
    if (isWanted("clone and import")) {
        measure("clone", [&] { pMesh->clone(); });
        std::vector<Triangle2*> vTriangles;
        pMesh->getTrianglePointers(vTriangles);
        std::vector<Point2> vCorners;
        for (const Triangle2* pT : vTriangles)
            vCorners.insert(vCorners.end(), {*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)});
        Taro_2D imported, repaired;
        measure("import, 2,000,000 triangles", [&] { imported.importTriangles(vCorners, false, false); });
        vCorners.insert(vCorners.end(), vCorners.begin(), vCorners.begin() + 3);
        measure("import, one of them twice", [&] { repaired.importTriangles(vCorners, true, false); });
    }
    measureRasters(*pMesh);
    measureModels(vPoints, *pMesh);
    if (isWanted("file")) {
        measure("file, save", [&] { pMesh->save("cancel_bench.taro"); });
        Taro_2D loaded;
        measure("file, load", [&] { loaded.load("cancel_bench.taro"); });
        std::remove("cancel_bench.taro");
    }
    if (isWanted("checks")) {
        measure("checks, checkValidity", [&] { pMesh->checkValidity(true, "bench"); });
        measure("checks, statistics", [&] { pMesh->statistics("bench"); });
    }
    if (isWanted("drawing")) {
        measure("drawing, all triangles", [&] { pMesh->show("cancel_bench.ps", true); });
        std::remove("cancel_bench.ps");
    }
}

void measureChecker() {
    if (!isWanted("segment checker")) return;
    std::vector<Segment2> vSegments = makeShortSegments(1000);
    std::vector<Segment2*> vPointers, vIllegal;
    for (Segment2& segment : vSegments) vPointers.push_back(&segment);
    const SegmentChecker checker(vPointers);
    measure("segment checker, 1,000,000 segments", [&] { checker.getIllegalSegments(true, vIllegal); });
}

}  // namespace

int main(int numArguments, char** aArguments) {
    if (numArguments > 1) filter = aArguments[1];
    setMessageHandler([](MsgLevel, const std::string&, const std::string&) {});
    const std::vector<Point2> vPoints = makeGround(NUM_POINTS, 1);
    measureInsertion(vPoints);
    measureConstraints(vPoints);
    measureZones(vPoints);
    measureMeshing();
    measureAnalysis(vPoints);
    measureChecker();
}
