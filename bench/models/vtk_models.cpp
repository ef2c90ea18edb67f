#include "vtk_models.h"

#include <vtkCellArray.h>
#include <vtkDecimatePro.h>
#include <vtkFloatArray.h>
#include <vtkGreedyTerrainDecimation.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkQuadricDecimation.h>

#include <algorithm>

namespace bench {

namespace {

void fillMesh(const Grid& grid, vtkPolyData* pMesh) {
    vtkNew<vtkPoints> points;
    points->SetDataTypeToDouble();
    for (const Point2& point : grid.vPoints) points->InsertNextPoint(point.x(), point.y(), point.z());
    vtkNew<vtkCellArray> cells;
    const auto numColumns = static_cast<vtkIdType>(grid.numColumns);
    const vtkIdType numRows = static_cast<vtkIdType>(grid.vPoints.size()) / numColumns;
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

/// Runs a filter that has its input, and takes its triangles.
template <class Filter>
Model run(Filter* pFilter) {
    Model model;
    timeWork([&] { pFilter->Update(); }, model);
    vtkPolyData* pOutput = pFilter->GetOutput();
    std::vector<bool> vUsed(static_cast<std::size_t>(pOutput->GetNumberOfPoints()));
    vtkCellArray* pCells = pOutput->GetPolys();
    for (vtkIdType i = 0; i < pCells->GetNumberOfCells(); ++i) {
        vtkIdType num = 0;
        const vtkIdType* aIds = nullptr;
        pCells->GetCellAtId(i, num, aIds);
        if (num != 3) throw std::runtime_error("a cell is no triangle");
        for (int k = 0; k < 3; ++k) {
            const double* aPlace = pOutput->GetPoint(aIds[k]);
            model.vCorners.emplace_back(aPlace[0], aPlace[1], aPlace[2]);
            vUsed[static_cast<std::size_t>(aIds[k])] = true;
        }
    }
    model.numVertices = static_cast<std::size_t>(std::count(vUsed.begin(), vUsed.end(), true));
    return model;
}

}  // namespace

Model makeGreedyTerrain(const Grid& grid, double limit) {
    vtkNew<vtkFloatArray> heights;
    for (const Point2& point : grid.vPoints) heights->InsertNextValue(static_cast<float>(point.z()));
    vtkNew<vtkImageData> image;
    image->SetDimensions(static_cast<int>(grid.numColumns), static_cast<int>(grid.vPoints.size() / grid.numColumns), 1);
    image->GetPointData()->SetScalars(heights);
    vtkNew<vtkGreedyTerrainDecimation> filter;
    filter->SetInputData(image);
    filter->SetErrorMeasureToAbsoluteError();
    filter->SetAbsoluteError(limit);
    filter->BoundaryVertexDeletionOff();  // otherwise points on the border are not looked at
    return run(filter.Get());
}

Model makeDecimatePro(const Grid& grid, double limit, double featureAngle) {
    vtkNew<vtkPolyData> mesh;
    fillMesh(grid, mesh);
    vtkNew<vtkDecimatePro> filter;
    filter->SetInputData(mesh);
    filter->SetTargetReduction(1.0);
    filter->SetErrorIsAbsolute(1);
    filter->SetAbsoluteError(limit);
    filter->PreserveTopologyOn();
    filter->SetFeatureAngle(featureAngle);
    filter->BoundaryVertexDeletionOn();
    return run(filter.Get());
}

Model makeQuadric(const Grid& grid, std::size_t numTriangles) {
    vtkNew<vtkPolyData> mesh;
    fillMesh(grid, mesh);
    vtkNew<vtkQuadricDecimation> filter;
    filter->SetInputData(mesh);
    filter->SetTargetReduction(1.0 - double(numTriangles) / double(mesh->GetNumberOfPolys()));
    return run(filter.Get());
}

}  // namespace bench
