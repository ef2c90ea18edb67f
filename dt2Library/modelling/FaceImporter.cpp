// From corners to a mesh. A hash table finds equal places, which become vertices in the order of the curve; FaceComplex
// links the faces and fills the pockets between them; then the records are written directly, without insertions and
// flips.

#include "modelling/FaceImporter.h"

#include <array>
#include <utility>

#include "constraints/ConstraintMgr.h"
#include "kernel/tools.h"
#include "modelling/ImportedFaces.h"
#include "modelling/PlaceTable.h"
#include "support/RecordNumbers.h"
#include "support/stopping.h"
#include "zones/ZoneMgr.h"

namespace LUMO_TARO25D {

FaceImporter::FaceImporter(const std::vector<Point2>& vCorners, const Dt2& settings, Progress& progress)
    : vCorners_(vCorners), progress_(progress), pMesh_(std::make_unique<Dt2>(3)) {
    pMesh_->setNumCPU(settings.getNumCPU());
}

bool FaceImporter::run(const char* label, bool bConstraints) {
    const size_t numFaces = vCorners_.size() / 3;
    const size_t numSteps = numFaces + FaceComplex::getNumberOfSteps(numFaces) + numFaces;
    progress_.start(label, numSteps, Progress::fineStep(numSteps));
    const ProgressEnd progressEnd(progress_);
    bool bSound = weld();
    progress_.incProgress(numFaces);
    if (bSound) {
        FaceComplex complex(vPlaces_, vNumbers_, getGeomTest(), progress_);
        bSound = complex.build();
        if (bSound) {
            makeTriangles(complex);
            makeConstraints(complex, bConstraints);
        }
    }
    progress_.finish();
    return bSound;
}

/// False if a corner is not finite, or differs in height from the first corner at its place.
bool FaceImporter::weld() {
    constexpr size_t NUM_CORNERS_PER_VERTEX = 6, DISTANCE = 16, NUM_AHEAD = 2 * DISTANCE;
    const size_t numCorners = vCorners_.size();
    PlaceTable table(numCorners / NUM_CORNERS_PER_VERTEX);
    vNumbers_.resize(numCorners);
    std::array<std::uint64_t, NUM_AHEAD> aHashes{};  // of the next corners, in turn
    bool bSound = true;
    for (size_t ahead = 0; ahead < numCorners + NUM_AHEAD; ++ahead) {
        std::uint64_t& hash = aHashes[ahead % NUM_AHEAD];
        if (ahead >= NUM_AHEAD) bSound = weldCorner(table, ahead - NUM_AHEAD, hash) && bSound;
        if (ahead < numCorners) {
            hash = PlaceTable::getHash(vCorners_[ahead]);
            table.prefetch(hash);
        }
        table.prefetchPlace(aHashes[(ahead + DISTANCE) % NUM_AHEAD]);
        if (ahead % 4096 == 0) throwIfStopped();
    }
    makeVertices(table.getPlaces());
    return bSound;
}

bool FaceImporter::weldCorner(PlaceTable& table, size_t i, std::uint64_t hash) {
    const bool bFinite = isFinite(vCorners_[i]);
    vNumbers_[i] = bFinite ? table.getNumber(vCorners_[i], hash) : FaceComplex::NONE;
    return bFinite && table.getPlaces()[vNumbers_[i]].z() == vCorners_[i].z();
}

/// Makes the vertices, and renumbers the places in spatial order.
void FaceImporter::makeVertices(const std::vector<Point2>& vFirstPoints) {
    VertexVault& vault = pMesh_->getVertexVault();
    const PointSource source(vFirstPoints);
    vault.enlargeBoxForBulk(source);
    vPlaces_.resize(vFirstPoints.size());
    vault.iReset_vector(source, vPlaces_.data());
    throwIfStopped();
    RecordNumbers<Point2> records(vault.getVertexPool());
    FaceComplex::Numbers vRanks(vPlaces_.size());
    for (size_t k = 0; k < vPlaces_.size(); ++k) vRanks[k] = static_cast<Number>(records(vPlaces_[k]));
    forEachBlock(0, vNumbers_.size(), [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i) {
            if (vNumbers_[i] != FaceComplex::NONE) vNumbers_[i] = vRanks[vNumbers_[i]];
        }
    });
    vPlaces_.clear();
    vault.getVertexPointers(vPlaces_);
}

void FaceImporter::makeTriangles(const FaceComplex& complex) {
    const size_t numFaces = complex.getNumberOfFaces();
    pMesh_->expectTriangles(numFaces, pMesh_->getNumCPU());
    throwIfStopped();
    const RecordSupply<Triangle2> records = pMesh_->takeTriangleRecords(numFaces);
    for (size_t f = 0; f < numFaces; ++f) {
        auto* pT = new (records[f]) Triangle2();
        for (int i = 0; i < 3; ++i) {
            const size_t edge = 3 * f + static_cast<size_t>(i);
            const Number other = complex.getOther(edge);
            pT->setCorner(i, vPlaces_[complex.getCorner(edge)]);
            pT->setOppositeTriangle(i, other == FaceComplex::NONE ? nullptr : records[other / 3]);
            pT->getCorner(i)->setIncidentTriangle(pT);
        }
        if (f % 4096 == 0) throwIfStopped();
    }
    pMesh_->getVertexVault().setFullDimensional(true);
}

/// Makes segments of edges; as they are edges already, they need not be established.
void FaceImporter::makeConstraints(const FaceComplex& complex, bool bAll) {
    std::vector<ConstraintMgr::VertexPair> vBorder, vInner;
    for (Number edge = 0; edge < 3 * complex.getNumberOfGivenFaces(); ++edge) {
        const Number other = complex.getOther(edge);
        const ConstraintMgr::VertexPair ends(vPlaces_[complex.getSrc(edge)], vPlaces_[complex.getTrg(edge)]);
        if (other == FaceComplex::NONE || !complex.isGiven(other)) {
            vBorder.push_back(ends);
        } else if (edge < other && (bAll || !isDelaunay(complex, edge, other))) {
            vInner.push_back(ends);
        }
        if (edge % 4096 == 0) throwIfStopped();
    }
    ConstraintMgr& manager = *pMesh_->getConstraintManager();
    ConstraintGraph2* pBorder = manager.createConstraint_oriented(vBorder, CIS_CONSTRAINED_DELAUNAY, false);
    if (!vInner.empty()) manager.createConstraint(vInner, CIS_CONSTRAINED_DELAUNAY, false);
    pMesh_->getSlot<ImportedFaces>().setZone(getZoneMgr(*pMesh_).createZone(pBorder, ZL_INSIDE, false));
}

bool FaceImporter::isDelaunay(const FaceComplex& complex, Number edge, Number other) const {
    const size_t first = edge - edge % 3;
    const Triangle2 face(vPlaces_[complex.getCorner(first)], vPlaces_[complex.getCorner(first + 1)],
                         vPlaces_[complex.getCorner(first + 2)]);
    return getGeomTest().circleInc3state(&face, vPlaces_[complex.getCorner(other)]) != CINC2_INCIRCLE;
}

}  // namespace LUMO_TARO25D
