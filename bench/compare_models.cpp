// Models of few points within a vertical limit, side by side with the decimations of VTK: how many vertices each model
// has, how long it takes, and how far the given points really are from it.
//
// The ground is the grid of the examples in columns and rows. VTK gets all triangles of the grid in double precision;
// vtkDecimatePro gets the limit as its absolute error and keeps the topology, as for terrain; vtkQuadricDecimation has
// no limit and gets the share of triangles that our model leaves out. Every result is measured in the same way: its
// triangles are imported, and each given point is compared with the surface.

#include <vtkCellArray.h>
#include <vtkDecimatePro.h>
#include <vtkNew.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkQuadricDecimation.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

#include "readers.h"
#include "taro25d/EfficientModel.h"
#include "taro25d/MessageHandler.h"
#include "taro25d/Taro_2D.h"

namespace {

using namespace LUMO_TARO25D;
using Points = std::vector<Point2>;

struct Result {
    std::size_t numVertices = 0;
    double seconds = 0.0;
    double error = 0.0;          // of the points on the surface
    std::size_t numOutside = 0;  // points that it does not cover
};

double now() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

/// Measures all points on a surface.
void measure(const Points& vPoints, const Taro_2D& surface, Result& result) {
    for (const Point2& point : vPoints) {
        double height = 0.0;
        if (surface.getHeight(point.x(), point.y(), height)) {
            result.error = std::max(result.error, std::abs(height - point.z()));
        } else {
            ++result.numOutside;
        }
    }
}

Result makeOurs(const Points& vPoints, double limit, std::size_t& numTriangles) {
    EfficientModel model(vPoints);
    model.setMaxError(limit);
    Result result;
    const double start = now();
    model.go();
    result.seconds = now() - start;
    result.numVertices = model.getTriangulation()->numberOfPoints();
    numTriangles = model.getTriangulation()->numberOfTriangles();
    measure(vPoints, *model.getTriangulation(), result);
    return result;
}

// ---- VTK ----

// In degrees. Edges between triangles that are inclined more to each other are features, which decimation spares.
constexpr double DEFAULT_FEATURE_ANGLE = 15.0, NO_FEATURES = 180.0;

void fillMesh(const Points& vPoints, vtkIdType numColumns, vtkPolyData* pMesh) {
    vtkNew<vtkPoints> points;
    points->SetDataTypeToDouble();
    for (const Point2& point : vPoints) points->InsertNextPoint(point.x(), point.y(), point.z());
    vtkNew<vtkCellArray> cells;
    const vtkIdType numRows = static_cast<vtkIdType>(vPoints.size()) / numColumns;
    for (vtkIdType row = 0; row + 1 < numRows; ++row) {
        for (vtkIdType column = 0; column + 1 < numColumns; ++column) {
            const vtkIdType a = row * numColumns + column, b = a + 1, c = a + numColumns, d = c + 1;
            cells->InsertNextCell({a, b, d});
            cells->InsertNextCell({a, d, c});
        }
    }
    pMesh->SetPoints(points);
    pMesh->SetPolys(cells);
}

template <class Filter>
Result decimate(const Points& vPoints, vtkPolyData* pMesh, Filter* pFilter) {
    Result result;
    pFilter->SetInputData(pMesh);
    const double start = now();
    pFilter->Update();
    result.seconds = now() - start;
    Points vCorners;
    std::vector<bool> vUsed(static_cast<std::size_t>(pFilter->GetOutput()->GetNumberOfPoints()));
    vtkCellArray* pCells = pFilter->GetOutput()->GetPolys();
    for (vtkIdType i = 0; i < pCells->GetNumberOfCells(); ++i) {
        vtkIdType num = 0;
        const vtkIdType* aIds = nullptr;
        pCells->GetCellAtId(i, num, aIds);
        if (num != 3) throw std::runtime_error("a cell is no triangle");
        for (int k = 0; k < 3; ++k) {
            const double* aPlace = pFilter->GetOutput()->GetPoint(aIds[k]);
            vCorners.emplace_back(aPlace[0], aPlace[1], aPlace[2]);
            vUsed[static_cast<std::size_t>(aIds[k])] = true;
        }
    }
    result.numVertices = static_cast<std::size_t>(std::count(vUsed.begin(), vUsed.end(), true));
    Taro_2D surface;
    if (!surface.importTriangles(vCorners, true, false)) throw std::runtime_error("the result cannot be imported");
    measure(vPoints, surface, result);
    return result;
}

Result decimatePro(const Points& vPoints, vtkPolyData* pMesh, double limit, double featureAngle) {
    vtkNew<vtkDecimatePro> filter;
    filter->SetTargetReduction(1.0);
    filter->SetErrorIsAbsolute(1);
    filter->SetAbsoluteError(limit);
    filter->PreserveTopologyOn();
    filter->SetFeatureAngle(featureAngle);
    filter->BoundaryVertexDeletionOn();
    return decimate(vPoints, pMesh, filter.Get());
}

Result decimateQuadric(const Points& vPoints, vtkPolyData* pMesh, std::size_t numTriangles) {
    vtkNew<vtkQuadricDecimation> filter;
    filter->SetTargetReduction(1.0 - double(numTriangles) / double(pMesh->GetNumberOfPolys()));
    return decimate(vPoints, pMesh, filter.Get());
}

void print(double limit, const char* name, const Result& result) {
    std::printf("| %g | %s | %zu | %.3f s | %.2f | %zu |\n", limit, name, result.numVertices, result.seconds,
                result.error, result.numOutside);
    std::fflush(stdout);
}

}  // namespace

int main() try {
    Points vPoints = terrain::readPoints(TARO25D_EXAMPLE_DATA_DIR "/jacksboro.asc");
    const double firstY = vPoints[0].y();
    const auto isBelow = [firstY](const Point2& point) { return point.y() != firstY; };
    const auto numColumns = std::find_if(vPoints.begin(), vPoints.end(), isBelow) - vPoints.begin();
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t(vPoints.size()); ++i) {
        Point2& point = vPoints[std::size_t(i)];
        point.set(double(i % numColumns), double(i / numColumns), point.z());
    }
    vtkNew<vtkPolyData> mesh;
    fillMesh(vPoints, numColumns, mesh);
    setMessageHandler([](MsgLevel, const std::string&, const std::string&) {});  // the import tells what it repairs
    std::puts("| limit | model | vertices | time | largest error | points outside |\n|---|---|---|---|---|---|");
    for (const double limit : {20.0, 5.0}) {
        std::size_t numTriangles = 0;
        print(limit, "`EfficientModel`", makeOurs(vPoints, limit, numTriangles));
        print(limit, "`vtkDecimatePro`", decimatePro(vPoints, mesh, limit, DEFAULT_FEATURE_ANGLE));
        print(limit, "`vtkDecimatePro` without feature edges", decimatePro(vPoints, mesh, limit, NO_FEATURES));
        print(limit, "`vtkQuadricDecimation`, to as many triangles", decimateQuadric(vPoints, mesh, numTriangles));
    }
    return 0;
} catch (const std::exception& failure) {
    std::fprintf(stderr, "compare_models: %s\n", failure.what());
    return 1;
}
