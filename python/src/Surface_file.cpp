// Files keep ids as custom indices, and whatever the Python layer wants to know again as the name of the triangulation.

#include <algorithm>
#include <unordered_map>

#include "Surface.h"
#include "run.h"

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

void Surface::restore(const std::vector<size_t>& vPositions, std::int64_t nextId) {
    std::vector<Point2*> vNow;
    pMesh_->getVertexPointers(vNow);
    // Ids of other programs may be anything; a table of them must not be larger than what it is for.
    const std::int64_t mostIds = 64 * (static_cast<std::int64_t>(vNow.size()) + 16384);
    if (nextId >= 0 && nextId <= mostIds) {
        vVertices_.assign(static_cast<size_t>(nextId), nullptr);
        nextId_ = nextId;
        for (Point2* pVtx : vNow) {
            const int id = pVtx->getCustomIndex();
            if (id >= 0 && id < nextId) vVertices_[static_cast<size_t>(id)] = pVtx;
        }
    }
    number();
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
