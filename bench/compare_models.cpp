// Models of few points within a vertical limit, side by side with delatin and with the decimations of VTK: how many
// vertices each model has, how long it takes, and how far the given points really are from it; and the cost of a model
// of many points as a multiple of their insertion.
//
// The ground is the grid of the examples in columns and rows, since delatin's cells are square. Every result is
// measured in the same way: its triangles are imported, and each given point is compared with the surface. We and
// delatin take turns, and the first turn does not count.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "models/DelatinPeer.h"
#include "models/vtk_models.h"
#include "readers.h"
#include "taro25d/EfficientModel.h"
#include "taro25d/MessageHandler.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/syntheticSurfaces.h"

namespace {

using namespace LUMO_TARO25D;
using namespace bench;

constexpr double DEFAULT_FEATURE_ANGLE = 15.0, NO_FEATURES = 180.0;

Grid readGrid(const char* filename) {
    Grid grid{terrain::readPoints(filename), 0};
    const double firstY = grid.vPoints[0].y();
    const auto isBelow = [firstY](const Point2& point) { return point.y() != firstY; };
    const auto end = std::find_if(grid.vPoints.begin(), grid.vPoints.end(), isBelow);
    grid.numColumns = std::size_t(end - grid.vPoints.begin());
    for (std::size_t i = 0; i < grid.vPoints.size(); ++i) {
        Point2& point = grid.vPoints[i];
        point.set(double(i % grid.numColumns), double(i / grid.numColumns), point.z());
    }
    return grid;
}

Model makeOurs(const Points& vPoints, double limit, int numThreads) {
    EfficientModel efficient(vPoints);
    efficient.setMaxError(limit);
    efficient.setNumCPU(numThreads);
    Model model;
    timeWork([&] { efficient.go(); }, model);
    model.numVertices = efficient.getTriangulation()->numberOfPoints();
    std::vector<Triangle2*> vTriangles;
    efficient.getTriangulation()->getTrianglePointers(vTriangles);
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) model.vCorners.push_back(*pT->getCorner(i));
    }
    return model;
}

double median(std::vector<double> vValues) {
    std::sort(vValues.begin(), vValues.end());
    return vValues[vValues.size() / 2];
}

/// Several runs that make the same model.
class Runs {
  public:
    void add(Model model) {
        vCpu_.push_back(model.cpu);
        vWall_.push_back(model.wall);
        last_ = std::move(model);
    }
    const Model& last() const { return last_; }
    double cpu() const { return median(vCpu_); }
    double wall() const { return median(vWall_); }
    /// The median of the ratios of each pair of turns.
    double cpuRatio(const Runs& theirs) const { return ratio(vCpu_, theirs.vCpu_); }
    double wallRatio(const Runs& theirs) const { return ratio(vWall_, theirs.vWall_); }

  private:
    static double ratio(const std::vector<double>& vOurs, const std::vector<double>& vTheirs) {
        std::vector<double> vRatios;
        for (std::size_t i = 0; i < vTheirs.size(); ++i) vRatios.push_back(vOurs[i] / vTheirs[i]);
        return median(vRatios);
    }

    Model last_;
    std::vector<double> vCpu_, vWall_;
};

/// Prints a line of the table; measures all points on the surface.
void print(const Grid& grid, double limit, const char* name, const Runs& runs, const std::string& ratios) {
    Taro_2D surface;
    Points vCorners = runs.last().vCorners;
    if (!surface.importTriangles(vCorners, true, false)) throw std::runtime_error("a model cannot be imported");
    double error = 0.0;
    std::size_t numOutside = 0;
    for (const Point2& point : grid.vPoints) {
        double height = 0.0;
        if (surface.getHeight(point.x(), point.y(), height)) {
            error = std::max(error, std::abs(height - point.z()));
        } else {
            ++numOutside;
        }
    }
    std::printf("| %g | %s | %zu | %.3f s (%.3f) | %.2f | %zu | %s |\n", limit, name, runs.last().numVertices,
                runs.cpu(), runs.wall(), error, numOutside, ratios.c_str());
    std::fflush(stdout);
}

std::string toText(const char* format, double a, double b, double c) {
    char aText[100];
    std::snprintf(aText, sizeof(aText), format, a, b, c);
    return aText;
}

/// Our models and delatin's, in turns; null for a peer that is not there.
void compareWithDelatin(const Grid& grid, double limit, int numRounds, DelatinPeer* pDelatin, Runs& ours) {
    Runs onTwo, theirs;
    for (int round = 0; round <= numRounds; ++round) {
        Runs first, &ofOurs = round ? ours : first;
        ofOurs.add(makeOurs(grid.vPoints, limit, 1));
        Runs firstOnTwo, firstTheirs;
        (round ? onTwo : firstOnTwo).add(makeOurs(grid.vPoints, limit, 2));
        if (pDelatin) (round ? theirs : firstTheirs).add(pDelatin->make(limit));
    }
    print(grid, limit, "`EfficientModel`", ours, " | | ");
    print(grid, limit, "`EfficientModel`, two threads", onTwo, " | | ");
    if (!pDelatin) return;
    const double points = double(ours.last().numVertices) / double(theirs.last().numVertices);
    const double time = ours.cpuRatio(theirs), timeOnTwo = onTwo.wallRatio(theirs);
    print(grid, limit, "`delatin`", theirs, toText("%.3f | %.2f | %.2f", points, time, timeOnTwo));
    std::printf("goals at %g: points 1.01, time 1.0, on two threads 0.7: %s\n", limit,
                points <= 1.01 && time <= 1.0 && timeOnTwo <= 0.7 ? "reached" : "missed");
}

void compareWithVtk(const Grid& grid, double limit, const Runs& ours) {
    const auto printPeer = [&](const char* name, Model model) {
        Runs theirs;
        theirs.add(std::move(model));
        const Model& peer = theirs.last();
        const double points = double(ours.last().numVertices) / double(peer.numVertices), time = ours.cpu() / peer.cpu;
        print(grid, limit, name, theirs, toText("%.3f | %.2f | ", points, time, 0.0));
    };
    printPeer("`vtkGreedyTerrainDecimation`", makeGreedyTerrain(grid, limit));
    printPeer("`vtkDecimatePro`", makeDecimatePro(grid, limit, DEFAULT_FEATURE_ANGLE));
    printPeer("`vtkDecimatePro` without feature edges", makeDecimatePro(grid, limit, NO_FEATURES));
    printPeer("`vtkQuadricDecimation`, to as many triangles", makeQuadric(grid, ours.last().vCorners.size() / 3));
}

/// A model of as many points as a flight gives, against the insertion of all of them.
void compareWithInsertion(std::size_t numPoints, int numRounds) {
    constexpr double LIMIT = 0.25, POINTS_PER_SQUARE_METRE = 1.0;
    const Points vPoints = makeFractalTerrain(numPoints, std::sqrt(double(numPoints) / POINTS_PER_SQUARE_METRE), 1);
    Runs ours, insertion;
    for (int round = 0; round <= numRounds; ++round) {
        Model model = makeOurs(vPoints, LIMIT, 1), all;
        Taro_2D full;
        timeWork([&] { full.insert(vPoints); }, all);
        if (round == 0) continue;
        ours.add(std::move(model));
        insertion.add(std::move(all));
    }
    const double ratio = ours.cpuRatio(insertion);
    std::printf(
        "\n| points | limit | vertices | `EfficientModel` | bulk insertion | ratio |\n|---|---|---|---|---|---|\n");
    std::printf("| %zu | %g | %zu | %.3f s (%.3f) | %.3f s (%.3f) | %.2f |\n", numPoints, LIMIT,
                ours.last().numVertices, ours.cpu(), ours.wall(), insertion.cpu(), insertion.wall(), ratio);
    std::printf("goal: 8: %s\n", ratio <= 8.0 ? "reached" : "missed");
}

}  // namespace

int main(int argc, char** argv) try {
    const bool bQuick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
    const int numRounds = bQuick ? 1 : 9;
    const Grid grid = readGrid(TARO25D_EXAMPLE_DATA_DIR "/jacksboro.asc");
    setMessageHandler([](MsgLevel, const std::string&, const std::string&) {});  // the import tells what it repairs
    std::puts(
        "| limit | model | vertices | time (wall) | largest error | points outside | our vertices / its | our time / "
        "its | on two threads |\n|---|---|---|---|---|---|---|---|---|");
    auto pDelatin = std::make_unique<DelatinPeer>(grid);
    try {
        pDelatin->make(1000.0);
    } catch (const NoPeer& absence) {
        std::fprintf(stderr, "compare_models: %s\n", absence.what());
        pDelatin = nullptr;
    }
    for (const double limit : {20.0, 10.0, 5.0, 2.0}) {
        Runs ours;
        compareWithDelatin(grid, limit, numRounds, pDelatin.get(), ours);
        if (limit == 20.0 || limit == 5.0) compareWithVtk(grid, limit, ours);
    }
    compareWithInsertion(bQuick ? 400000 : 4000000, bQuick ? 1 : 3);
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "compare_models: %s\n", failure.what());
    return 1;
}
