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

void Surface::insert(const double* aCoordinates, size_t numPoints, bool bByPosition, std::vector<std::int64_t>& vIds) {
    if (numPoints > static_cast<size_t>(std::numeric_limits<int>::max() - nextId_))
        throw Refused("a triangulation has room for 2147483647 ids");
    noteChange();
    const bool bAllNumbered = std::exchange(bAllNumbered_, false);  // an insertion may be cancelled
    std::vector<Point2*> vHandles(numPoints);
    // The library takes a pointer to non-const, but only reads.
    pMesh_->insert(static_cast<int>(numPoints), const_cast<double*>(aCoordinates), vHandles.data());
    vIds.resize(numPoints);
    for (size_t i = 0; i < numPoints; ++i) {
        Point2* pVtx = vHandles[i];
        if (pVtx && pVtx->getCustomIndex() < 0) {
            enter(pVtx);
        } else if (bByPosition) {
            vVertices_.push_back(nullptr);
            ++nextId_;
        }
        vIds[i] = pVtx ? pVtx->getCustomIndex() : -1;
    }
    bAllNumbered_ = bAllNumbered;
    establish();
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

/// The row of each id, -1 if there is no such vertex, and the points in the order of rows.
std::vector<std::int32_t> Surface::getRowsOfIds(MeshArrays& arrays) const {
    std::vector<std::int32_t> vRows(vVertices_.size(), -1);
    arrays.vPoints.reserve(3 * pMesh_->numberOfPoints());
    arrays.vIds.reserve(pMesh_->numberOfPoints());
    constexpr size_t AHEAD = 32;  // the records are in the order of the curve, which is random in that of the ids
    for (size_t id = 0; id < vVertices_.size(); ++id) {
        if (id + AHEAD < vVertices_.size()) __builtin_prefetch(vVertices_[id + AHEAD]);
        const Point2* pVtx = vVertices_[id];
        if (!pVtx) continue;
        vRows[id] = static_cast<std::int32_t>(arrays.vIds.size());
        arrays.vIds.push_back(static_cast<std::int64_t>(id));
        arrays.vPoints.insert(arrays.vPoints.end(), {pVtx->x(), pVtx->y(), pVtx->z()});
    }
    return vRows;
}

void Surface::getArrays(MeshArrays& arrays) {
    if (!bAllNumbered_) number();
    arrays = MeshArrays();
    arrays.version = version_;
    IndexedMesh mesh;
    pMesh_->getIndexedMesh(mesh);
    const std::vector<std::int32_t> vRowsOfIds = getRowsOfIds(arrays);
    std::vector<std::int32_t> vRows(mesh.vVertices.size());
    std::transform(mesh.vVertices.begin(), mesh.vVertices.end(), vRows.begin(),
                   [&](const Point2* pVtx) { return vRowsOfIds[static_cast<size_t>(pVtx->getCustomIndex())]; });
    for (std::vector<std::int32_t>* pNumbers : {&mesh.vTriangles, &mesh.vConstraints})
        for (std::int32_t& number : *pNumbers) number = vRows[static_cast<size_t>(number)];
    arrays.vTriangles = std::move(mesh.vTriangles);
    arrays.vNeighbours = std::move(mesh.vNeighbours);
    arrays.vConstraints = std::move(mesh.vConstraints);
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
