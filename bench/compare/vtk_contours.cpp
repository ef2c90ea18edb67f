#include "vtk_contours.h"

#include <vtkBandedPolyDataContourFilter.h>
#include <vtkCellArray.h>
#include <vtkContourFilter.h>
#include <vtkDoubleArray.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkStripper.h>
#include <vtkVersion.h>

#include <limits>
#include <unordered_map>

using namespace LUMO_TARO25D;

namespace bench {

struct VtkSurface::Data {
    vtkNew<vtkPolyData> mesh;
};

namespace {

/// Gives each vertex a number, in the order of the triangles.
class Numbering {
  public:
    Numbering() {
        points->SetDataTypeToDouble();
        heights->SetName("z");
    }
    vtkIdType idOf(const Point2* pVtx) {
        const auto [it, bNew] = mIds_.emplace(pVtx, points->GetNumberOfPoints());
        if (bNew) {
            points->InsertNextPoint(pVtx->x(), pVtx->y(), pVtx->z());
            heights->InsertNextValue(pVtx->z());
        }
        return it->second;
    }

    vtkNew<vtkPoints> points;
    vtkNew<vtkDoubleArray> heights;

  private:
    std::unordered_map<const Point2*, vtkIdType> mIds_;
};

}  // namespace

std::string vtkVersion() { return vtkVersion::GetVTKVersion(); }

VtkSurface::VtkSurface(const std::vector<Triangle2*>& vTriangles) : pData_(std::make_unique<Data>()) {
    Numbering numbering;
    vtkNew<vtkCellArray> cells;
    for (const Triangle2* pT : vTriangles) {
        cells->InsertNextCell(
            {numbering.idOf(pT->getCorner(0)), numbering.idOf(pT->getCorner(1)), numbering.idOf(pT->getCorner(2))});
    }
    pData_->mesh->SetPoints(numbering.points);
    pData_->mesh->SetPolys(cells);
    pData_->mesh->GetPointData()->SetScalars(numbering.heights);
}

VtkSurface::~VtkSurface() = default;

std::size_t VtkSurface::contour(const std::vector<double>& vHeights, bool bTree) const {
    vtkNew<vtkContourFilter> filter;
    filter->SetInputData(pData_->mesh);
    filter->SetUseScalarTree(bTree);
    for (std::size_t i = 0; i < vHeights.size(); ++i) filter->SetValue(static_cast<int>(i), vHeights[i]);
    vtkNew<vtkStripper> stripper;
    stripper->SetInputConnection(filter->GetOutputPort());
    stripper->SetMaximumLength(std::numeric_limits<int>::max());
    stripper->Update();
    return std::size_t(filter->GetOutput()->GetNumberOfLines());
}

std::size_t VtkSurface::band(const std::vector<double>& vLevels) const {
    vtkNew<vtkBandedPolyDataContourFilter> filter;
    filter->SetInputData(pData_->mesh);
    filter->SetScalarModeToIndex();
    for (std::size_t i = 0; i < vLevels.size(); ++i) filter->SetValue(static_cast<int>(i), vLevels[i]);
    filter->Update();
    return std::size_t(filter->GetOutput()->GetNumberOfCells());
}

}  // namespace bench
