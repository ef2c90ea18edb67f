#include "Surface.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

#include "TriangleRows.h"
#include "run.h"
#include "taro25d/IndexedMesh.h"
#include "taro25d/MsgType.h"

using namespace LUMO_TARO25D;

namespace {

/// Calls a function for each record of a list. Records are in the order of the curve, which is random in that of the
/// input: they are loaded ahead.
template <class Records, class Function>
void forEach(Records&& vRecords, const Function& function) {
    constexpr size_t AHEAD = 32;
    for (size_t i = 0; i < vRecords.size(); ++i) {
        if (i + AHEAD < vRecords.size()) __builtin_prefetch(vRecords[i + AHEAD], 1);
        function(vRecords[i]);
    }
}

}  // namespace

Surface::Surface() : pMesh_(std::make_unique<Taro_2D>()) { attach(); }

Surface::~Surface() { pMesh_->unsubscribe(MT_PROGRESS, this); }

void Surface::attach() {
    pMesh_->subscribe(MT_PROGRESS, this);
    pMesh_->setCancelFlag(getCancelFlag());
}

// ---- Vertices ----

void Surface::enter(Point2* pVtx) {
    pVtx->setCustomIndex(static_cast<int>(nextId_));
    vVertices_.push_back(pVtx);
    ++nextId_;
}

std::vector<Point2*> Surface::insertPoints(const double* aCoordinates, size_t numPoints) {
    if (numPoints > static_cast<size_t>(std::numeric_limits<int>::max() - nextId_))
        throw Refused("a triangulation has room for 2147483647 ids");
    noteChange();
    bAllNumbered_ = false;  // the insertion may be cancelled
    std::vector<Point2*> vHandles(numPoints);
    // The library takes a pointer to non-const, but only reads.
    pMesh_->insert(static_cast<int>(numPoints), const_cast<double*>(aCoordinates), vHandles.data());
    return vHandles;
}

void Surface::insertByPosition(const double* aCoordinates, size_t numPoints) {
    const bool bAllNumbered = bAllNumbered_;
    std::vector<Point2*> vHandles = insertPoints(aCoordinates, numPoints);
    forEach(vHandles, [this](Point2*& pVtx) {
        const auto id = static_cast<int>(nextId_++);
        if (pVtx && pVtx->getCustomIndex() < 0)
            pVtx->setCustomIndex(id);
        else
            pVtx = nullptr;
    });
    if (vVertices_.empty())
        vVertices_.swap(vHandles);
    else
        vVertices_.insert(vVertices_.end(), vHandles.begin(), vHandles.end());
    bAllNumbered_ = bAllNumbered;
    establish();
}

std::vector<std::int64_t> Surface::insert(const double* aCoordinates, size_t numPoints) {
    const bool bAllNumbered = bAllNumbered_;
    std::vector<std::int64_t> vIds;
    vIds.reserve(numPoints);
    forEach(insertPoints(aCoordinates, numPoints), [&](Point2* pVtx) {
        if (pVtx && pVtx->getCustomIndex() < 0) enter(pVtx);
        vIds.push_back(pVtx ? pVtx->getCustomIndex() : -1);
    });
    bAllNumbered_ = bAllNumbered;
    establish();
    return vIds;
}

Point2* Surface::getVertex(std::int64_t id) const {
    Point2* pVtx = id >= 0 && id < nextId_ ? vVertices_[static_cast<size_t>(id)] : nullptr;
    if (!pVtx) throw Gone("no vertex has the id " + std::to_string(id));
    return pVtx;
}

void Surface::remove(const std::int64_t* aIds, size_t numIds) {
    std::vector<Point2*> vGoing(numIds);
    std::transform(aIds, aIds + numIds, vGoing.begin(), [this](std::int64_t id) { return getVertex(id); });
    for (size_t i = 0; i < numIds; ++i)
        if (pMesh_->isConstraint(vGoing[i]))
            throw Refused("the vertex " + std::to_string(aIds[i]) +
                          " belongs to a breakline, and stays as long as that");
    noteChange();
    for (size_t i = 0; i < numIds; ++i) {
        Point2*& pKept = vVertices_[static_cast<size_t>(aIds[i])];
        if (!pKept) continue;  // an id that occurs twice
        pMesh_->remove(pKept);
        pKept = nullptr;
    }
}

void Surface::move(std::int64_t id, const Point2& target) {
    Point2* pVtx = getVertex(id);
    noteChange();
    if (!pMesh_->moveVertex(pVtx, target)) throw Refused("the vertex cannot be moved there");
    establish();
}

/// The record of a removed vertex may have been reused: a vertex has kept its id only if table and record agree.
void Surface::number() {
    std::vector<Point2*> vNow;
    pMesh_->getVertexPointers(vNow);
    std::vector<Point2*> vBefore(vVertices_.size());
    vBefore.swap(vVertices_);
    for (Point2* pVtx : vNow) {
        const int id = pVtx->getCustomIndex();
        if (id >= 0 && id < nextId_ && vBefore[static_cast<size_t>(id)] == pVtx)
            vVertices_[static_cast<size_t>(id)] = pVtx;
        else
            pVtx->setCustomIndex(-1);
    }
    for (Point2* pVtx : vNow)
        if (pVtx->getCustomIndex() < 0) enter(pVtx);
    bAllNumbered_ = true;
}

void Surface::getConflicts(double tolerance, std::vector<std::int64_t>& vIds, std::vector<double>& vKept,
                           std::vector<double>& vOther) {
    if (!bAllNumbered_) number();
    std::vector<HeightConflict> vConflicts;
    pMesh_->getHeightConflicts(tolerance, vConflicts);
    for (const HeightConflict& conflict : vConflicts) {
        vIds.push_back(conflict.pVtx->getCustomIndex());
        vKept.push_back(conflict.zKept);
        vOther.push_back(conflict.zOther);
    }
}

// ---- Arrays ----

std::vector<double> Surface::getPoints() {
    if (!bAllNumbered_) number();
    std::vector<double> vPoints;
    vPoints.reserve(3 * pMesh_->numberOfPoints());
    forEach(vVertices_, [&](const Point2* pVtx) {
        if (pVtx) vPoints.insert(vPoints.end(), {pVtx->x(), pVtx->y(), pVtx->z()});
    });
    return vPoints;
}

std::vector<std::int64_t> Surface::getIds() {
    if (!bAllNumbered_) number();
    std::vector<std::int64_t> vIds;
    vIds.reserve(pMesh_->numberOfPoints());
    for (size_t id = 0; id < vVertices_.size(); ++id)
        if (vVertices_[id]) vIds.push_back(static_cast<std::int64_t>(id));
    return vIds;
}

std::vector<std::int32_t> Surface::getRowsOfIds() const {
    std::vector<std::int32_t> vRows(vVertices_.size(), -1);
    std::int32_t numRows = 0;
    for (size_t id = 0; id < vVertices_.size(); ++id)
        if (vVertices_[id]) vRows[id] = numRows++;
    return vRows;
}

TriangleArrays Surface::getTriangles() {
    if (!bAllNumbered_) number();
    IndexedMesh mesh;
    pMesh_->getIndexedMesh(mesh);
    std::vector<std::int32_t> vRows(mesh.vVertices.size());  // of the vertices as they are numbered in the mesh
    std::transform(mesh.vVertices.begin(), mesh.vVertices.end(), vRows.begin(),
                   [](const Point2* pVtx) { return pVtx->getCustomIndex(); });
    if (!hasAllIds()) {
        const std::vector<std::int32_t> vRowsOfIds = getRowsOfIds();
        for (std::int32_t& row : vRows) row = vRowsOfIds[static_cast<size_t>(row)];
    }
    for (std::vector<std::int32_t>* pNumbers : {&mesh.vTriangles, &mesh.vConstraints})
        for (std::int32_t& number : *pNumbers) number = vRows[static_cast<size_t>(number)];
    return {std::move(mesh.vTriangles), std::move(mesh.vNeighbours), std::move(mesh.vConstraints)};
}

std::vector<std::int32_t> Surface::getRows(const std::vector<Triangle2*>& vTriangles) const {
    std::vector<Triangle2*> vAll;
    pMesh_->getTrianglePointers(vAll);
    const TriangleRows rows(vAll);
    std::vector<std::int32_t> vRows(vTriangles.size());
    std::transform(vTriangles.begin(), vTriangles.end(), vRows.begin(), [&](Triangle2* pT) { return rows.getRow(pT); });
    return vRows;
}

// ---- Breaklines ----

std::vector<Segment2> toSegments(const double* aCoordinates, size_t numSegments) {
    std::vector<Segment2> vSegments;
    vSegments.reserve(numSegments);
    for (const double* a = aCoordinates; a != aCoordinates + 6 * numSegments; a += 6)
        vSegments.emplace_back(Point2(a[0], a[1], a[2]), Point2(a[3], a[4], a[5]));
    return vSegments;
}

size_t Surface::addBreakline(const double* aCoordinates, size_t numSegments, ConstraintInsertionStrategy cis) {
    const std::vector<Segment2> vSegments = toSegments(aCoordinates, numSegments);
    noteChange();
    bAllNumbered_ = false;
    ConstraintGraph2* pGraph = pMesh_->createConstraint(vSegments, cis, true);
    if (!pGraph) throw Refused("the breakline has no segment");
    bPending_ |= !pMesh_->is2D();
    bConforming_ |= cis != CIS_CONSTRAINED_DELAUNAY;
    vBreaklines_.push_back(pGraph);
    establish();
    return vBreaklines_.size() - 1;
}

ConstraintGraph2* Surface::getBreakline(size_t number) const {
    ConstraintGraph2* pGraph = number < vBreaklines_.size() ? vBreaklines_[number] : nullptr;
    if (!pGraph) throw Gone("the breakline has been removed");
    return pGraph;
}

std::vector<size_t> Surface::getBreaklines() const {
    std::vector<size_t> vNumbers;
    for (size_t number = 0; number < vBreaklines_.size(); ++number)
        if (vBreaklines_[number]) vNumbers.push_back(number);
    return vNumbers;
}

void Surface::removeBreakline(size_t number, bool bVertices) {
    ConstraintGraph2* pGraph = getBreakline(number);
    noteChange();
    sweep();
    if (!pMesh_->removeConstraint(pGraph, bVertices)) throw Refused("the breakline cannot be removed");
    vBreaklines_[number] = nullptr;
    if (bVertices) this->number();
}

void Surface::establish() {
    if (!(bPending_ || bConforming_) || !pMesh_->is2D()) return;
    pMesh_->applyConstraintsAndZones();
    bPending_ = false;
    bAllNumbered_ = false;
}

// ---- Zones ----

Zone2* Surface::getAll() {
    if (!pAll_ && pMesh_->is2D()) pAll_ = pMesh_->createZone(nullptr, ZL_GLOBAL, false);
    return pMesh_->is2D() ? pAll_ : nullptr;
}

void Surface::discard(Zone2* pZone) {
    const std::lock_guard lock(discardedMutex_);
    vDiscarded_.push_back(pZone);
}

void Surface::sweep() {
    std::vector<Zone2*> vGoing;
    {
        const std::lock_guard lock(discardedMutex_);
        vGoing.swap(vDiscarded_);
    }
    for (Zone2* pZone : vGoing) pMesh_->deleteZone(pZone);
}
