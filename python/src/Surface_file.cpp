// Meshes from files and from other meshes. A file stores ids as custom indices, and the text of the Python layer as the
// name of the triangulation.

#include <algorithm>
#include <unordered_map>

#include "Surface.h"
#include "run.h"
#include "taro25d/MsgType.h"

using namespace LUMO_TARO25D;

void Surface::save(const std::string& path, const std::string& text) {
    if (!bAllNumbered_) number();
    pMesh_->setName(text);
    const bool bSaved = pMesh_->saveAll(path.c_str());
    pMesh_->setName("");
    if (!bSaved) throw Refused("the file cannot be written");
}

std::string Surface::load(const std::string& path) {
    noteChange();
    if (!pMesh_->load(path.c_str())) throw Refused("this is no file of a triangulation, or it is broken");
    std::string text = pMesh_->getName();
    pMesh_->setName("");
    pMesh_->getConstraintGraphs(vBreaklines_);
    for (const ConstraintGraph2* pGraph : vBreaklines_)
        bConforming_ |= pGraph->getInsertionStrategy() != CIS_CONSTRAINED_DELAUNAY;
    bPending_ = !vBreaklines_.empty() && !pMesh_->is2D();
    bAllNumbered_ = false;
    return text;
}

void Surface::keepIds(std::int64_t nextId) {
    vVertices_.assign(static_cast<size_t>(nextId), nullptr);
    nextId_ = nextId;
    std::vector<Point2*> vNow;
    pMesh_->getVertexPointers(vNow);
    for (Point2* pVtx : vNow) {
        const int id = pVtx->getCustomIndex();
        if (id >= 0 && id < nextId) vVertices_[static_cast<size_t>(id)] = pVtx;
    }
    number();
}

void Surface::adopt(std::unique_ptr<Taro_2D> pMesh, std::int64_t nextId) {
    noteChange();
    pMesh_->unsubscribe(MT_PROGRESS, this);
    pMesh_ = std::move(pMesh);
    attach();
    keepIds(nextId);
}

void Surface::copyTo(Surface& other) {
    if (!bAllNumbered_) number();
    other.adopt(pMesh_->clone(), nextId_);
    other.bPending_ = bPending_;
    other.bConforming_ = bConforming_;
    std::vector<ConstraintGraph2*> vGraphs;
    other.pMesh_->getConstraintGraphs(vGraphs);
    for (const size_t position : getPositions()) other.vBreaklines_.push_back(vGraphs[position]);
}

void Surface::restore(const std::vector<size_t>& vPositions, std::int64_t nextId) {
    // Files of other programs may have any custom indices; the table of ids must not be much larger than the mesh.
    const std::int64_t mostIds = 64 * (static_cast<std::int64_t>(pMesh_->numberOfPoints()) + 16384);
    keepIds(nextId <= mostIds ? std::max<std::int64_t>(nextId, 0) : 0);
    std::vector<ConstraintGraph2*> vKept;
    for (const size_t position : vPositions)
        if (position < vBreaklines_.size()) vKept.push_back(vBreaklines_[position]);
    vBreaklines_.swap(vKept);
}

std::vector<size_t> Surface::getPositions() const {
    std::vector<ConstraintGraph2*> vGraphs;
    pMesh_->getConstraintGraphs(vGraphs);
    std::unordered_map<const ConstraintGraph2*, size_t> mPositions;
    for (const ConstraintGraph2* pGraph : vGraphs) mPositions.emplace(pGraph, mPositions.size());
    std::vector<size_t> vPositions;
    for (const ConstraintGraph2* pGraph : vBreaklines_)
        if (pGraph) vPositions.push_back(mPositions.at(pGraph));
    return vPositions;
}
