#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "mesh/Dt2.h"
#include "modelling/FaceComplex.h"
#include "support/Progress.h"
#include "taro25d/Point2.h"

namespace LUMO_TARO25D {

class PlaceTable;

/// Makes a mesh of faces (Taro_2D::importTriangles). It is a new one, so that failing changes nothing.
class FaceImporter {
  public:
    using Number = FaceComplex::Number;

    /// Three corners for each face. The progress of the call counts; the mesh uses the threads of another one.
    FaceImporter(const std::vector<Point2>& vCorners, const Dt2& settings, Progress& progress);

    /// Makes the mesh, with a zone that holds the faces. False if they do not meet in common edges and corners alone, one
    /// has no area or coordinates that are not finite, or two have different heights at one place: then only places and
    /// numbers may be asked for. The label is that of the progress.
    bool run(const char* label, bool bConstraints);
    /// The mesh, which is handed over.
    std::unique_ptr<Dt2> takeMesh() { return std::move(pMesh_); }

    /// The different places of the corners.
    const std::vector<Point2*>& getPlaces() const { return vPlaces_; }
    /// For each corner the number of its place; FaceComplex::NONE if it is not finite.
    const FaceComplex::Numbers& getNumbers() const { return vNumbers_; }
    GeomTest& getGeomTest() const { return pMesh_->getGeomTest(); }

  private:
    bool weld();
    bool weldCorner(PlaceTable& table, size_t i, std::uint64_t hash);
    void makeVertices(const std::vector<Point2>& vFirstPoints);
    void makeTriangles(const FaceComplex& complex);
    void makeConstraints(const FaceComplex& complex, bool bAll);
    bool isDelaunay(const FaceComplex& complex, Number edge, Number other) const;

    const std::vector<Point2>& vCorners_;
    Progress& progress_;
    std::unique_ptr<Dt2> pMesh_;
    std::vector<Point2*> vPlaces_;
    FaceComplex::Numbers vNumbers_;
};

}  // namespace LUMO_TARO25D
