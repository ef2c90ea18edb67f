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

/// Makes a new mesh of faces (Taro_2D::importTriangles), so that a failure changes nothing.
class FaceImporter {
  public:
    using Number = FaceComplex::Number;

    /// Takes three corners for each face, an engine whose number of threads the new mesh takes over, and the progress
    /// of the call.
    FaceImporter(const std::vector<Point2>& vCorners, const Dt2& settings, Progress& progress);

    /// Makes the mesh, with a zone that holds the faces. False if faces meet elsewhere than in common edges and
    /// corners, if one has no area or coordinates that are not finite, or if two have different heights at one place;
    /// then only getPlaces() and getNumbers() are valid. The label is that of the progress.
    bool run(const char* label, bool bConstraints);
    /// Passes the ownership of the mesh to the caller.
    std::unique_ptr<Dt2> takeMesh() { return std::move(pMesh_); }

    /// The different places of the corners.
    const std::vector<Point2*>& getPlaces() const { return vPlaces_; }
    /// The number of each corner's place; FaceComplex::NONE for a corner that is not finite.
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
