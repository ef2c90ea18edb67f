// Import of triangles. They become a separate triangulation, which replaces the client's empty one in the end: so a
// refusal or an exception changes nothing.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mesh/Dt2.h"
#include "modelling/FaceImporter.h"
#include "modelling/FaceSelector.h"
#include "modelling/ImportedFaces.h"
#include "support/diagnostics.h"
#include "taro25d/Taro_2D.h"

namespace LUMO_TARO25D {

namespace {

constexpr const char* LOCATION = "Taro_2D::importTriangles()";

bool areWelcome(const Dt2& mesh, const std::vector<Point2>& vCorners) {
    const char* message = nullptr;
    if (!mesh.isEmpty()) message = "the triangulation is not empty, nothing is imported";
    if (vCorners.empty() || vCorners.size() % 3 != 0) message = "there must be three corners for each triangle";
    if (message) warning(LOCATION, message);
    return message == nullptr;
}

std::unique_ptr<Dt2> import(const Dt2& mesh, const std::vector<Point2>& vCorners, bool bRepair, bool bConstraints,
                            Progress& progress) {
    FaceImporter importer(vCorners, mesh, progress);
    if (importer.run("import triangles", bConstraints)) return importer.takeMesh();
    FaceSelector selector(vCorners, importer.getNumbers(), importer.getPlaces(), importer.getGeomTest(), progress);
    selector.run("check triangles");
    if (!bRepair || selector.getChosenCorners().empty()) {
        warning(LOCATION, "nothing is imported because of " + selector.getReport());
        return nullptr;
    }
    FaceImporter importerOfChosen(selector.getChosenCorners(), mesh, progress);
    const bool bSound = importerOfChosen.run("import triangles that fit", bConstraints);
    TARO_ASSERT(bSound);
    warning(LOCATION, "left out are " + selector.getReport());
    return importerOfChosen.takeMesh();
}

}  // namespace

bool Taro_2D::importTriangles(std::vector<Point2>& vCorners, bool bRepair, bool bConstraints) {
    std::unique_ptr<Dt2> pMesh;
    const MessageScope scope(&pDt2_->getProgress());
    if (!areWelcome(*pDt2_, vCorners)) return false;
    pMesh = import(*pDt2_, vCorners, bRepair, bConstraints, pDt2_->getProgress());
    if (!pMesh) return false;
    pMesh->takeSettings(*pDt2_);
    pDt2_.swap(pMesh);
    return true;
}

Zone2* Taro_2D::getImportedZone() const {
    const auto* pFaces = pDt2_->findSlot<ImportedFaces>();
    return pFaces ? pFaces->getZone() : nullptr;
}

}  // namespace LUMO_TARO25D
