// Writes a scene at survey coordinates and lets VTK read it: every point must come back to a millimetre, and every
// triangle.

#include <vtkOBJReader.h>
#include <vtkPLYReader.h>
#include <vtkPolyData.h>
#include <vtkSmartPointer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

using Xyz = std::array<double, 3>;

/// The corners of all triangles, in order of place: each triangle begins with its smallest corner.
std::vector<Xyz> sorted(std::vector<std::array<Xyz, 3>> vTriangles) {
    for (auto& corners : vTriangles) {
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
    }
    std::sort(vTriangles.begin(), vTriangles.end());
    std::vector<Xyz> vCorners;
    for (const auto& corners : vTriangles) vCorners.insert(vCorners.end(), corners.begin(), corners.end());
    return vCorners;
}

std::vector<Xyz> getCorners(const std::vector<Triangle2*>& vTriangles) {
    std::vector<std::array<Xyz, 3>> vCorners;
    for (const Triangle2* pT : vTriangles) {
        auto& corners = vCorners.emplace_back();
        for (int i = 0; i < 3; ++i) {
            const Point2& p = *pT->getCorner(i);
            corners[static_cast<size_t>(i)] = {p.x(), p.y(), p.z()};
        }
    }
    return sorted(vCorners);
}

std::vector<Xyz> getCorners(vtkPolyData& data) {
    std::vector<std::array<Xyz, 3>> vCorners;
    for (vtkIdType cell = 0; cell < data.GetNumberOfCells(); ++cell) {
        vtkIdType num = 0;
        const vtkIdType* aPoints = nullptr;
        data.GetCellPoints(cell, num, aPoints);
        if (num != 3) continue;
        auto& corners = vCorners.emplace_back();
        for (size_t i = 0; i < 3; ++i) data.GetPoint(aPoints[i], corners[i].data());
    }
    return sorted(vCorners);
}

bool isEqual(const std::vector<Xyz>& vRead, const std::vector<Xyz>& vWritten, double tolerance, const char* format) {
    double worst = 0;
    for (size_t i = 0; i < std::min(vRead.size(), vWritten.size()); ++i) {
        for (size_t k = 0; k < 3; ++k) worst = std::max(worst, std::abs(vRead[i][k] - vWritten[i][k]));
    }
    std::printf("%s: %zu of %zu corners, worst difference %g\n", format, vRead.size(), vWritten.size(), worst);
    return vRead.size() == vWritten.size() && worst <= tolerance;
}

template <class Reader>
std::vector<Xyz> read(const std::string& filename) {
    const auto reader = vtkSmartPointer<Reader>::New();
    reader->SetFileName(filename.c_str());
    reader->Update();
    return getCorners(*reader->GetOutput());
}

}  // namespace

int main(int, char** aArguments) {
    const std::string name = std::string(aArguments[1]) + "/scene";
    std::vector<Point2> vPoints;
    for (int i = 0; i < 400; ++i) {
        // VTK reads both into floats, which hold multiples of 1/8 of a metre at this distance.
        const double x = 5 * (i % 20) + 0.125 * (i * 7 % 13), y = 5 * (i / 20) + 0.125 * (i * 5 % 11);
        vPoints.emplace_back(500000 + x, 540000 + y, 0.125 * (i * 11 % 97));
    }
    Taro_2D mesh;
    mesh.insert(vPoints);
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    Visualizer3 scene("for VTK");
    scene.addSurface(vTriangles, "surface", CR_TERRAIN);
    scene.addSegments({Segment2(vPoints[0], vPoints[1])}, "line", Color(CRED));
    if (!scene.writePly(name + ".ply") || !scene.writeObj(name + ".obj")) return 1;
    const std::vector<Xyz> vWritten = getCorners(vTriangles);
    const bool bPly = isEqual(read<vtkPLYReader>(name + ".ply"), vWritten, 0.001, "PLY");
    const bool bObj = isEqual(read<vtkOBJReader>(name + ".obj"), vWritten, 0.001, "OBJ");
    return bPly && bObj ? 0 : 1;
}
