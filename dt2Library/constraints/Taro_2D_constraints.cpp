#include "taro25d/Taro_2D.h"

#include <utility>

#include "constraints/ConstraintMgr.h"
#include "constraints/fullMeshFile.h"
#include "mesh/EngineCall.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

ConstraintGraph2* Taro_2D::createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                            bool bOrientedSegments) {
    if (!vSegments.empty()) return call(pDt2_)->createConstraint(vSegments, cis, bOrientedSegments);
    const MessageScope scope(&pDt2_->getProgress());
    warning("Taro_2D::createConstraint()", "You have not supplied any segments. Returning NULL!");
    return nullptr;
}

ConstraintGraph2* Taro_2D::createConstraint_vertices(const std::vector<std::pair<Point2*, Point2*>>& vVertexPairs,
                                                     ConstraintInsertionStrategy cis, bool bOrientedSegments) {
    return call(pDt2_)->getConstraintManager()->createForClient(vVertexPairs, cis, bOrientedSegments);
}

void Taro_2D::getConstraintGraphs(std::vector<ConstraintGraph2*>& vGraphs) const {
    if (const auto* pManager = pDt2_->findSlot<ConstraintMgr>()) pManager->getGraphs(vGraphs);
}

void Taro_2D::applyConstraintsAndZones() {
    if (is2D()) {
        call(pDt2_)->applyConstraintsAndZones();
        return;
    }
    const MessageScope scope(&pDt2_->getProgress());
    warning("Taro2D::applyConstraintsAndZones", "The triangulation is not 2D yet, can't apply the constraints");
}

bool Taro_2D::isConstraint(Triangle2* pT, int i) const { return pT && 0 <= i && i < 3 && pDt2_->isConstraint(pT, i); }

bool Taro_2D::isConstraint(Point2* p0, Point2* p1) const { return pDt2_->isConstraint(p0, p1); }

bool Taro_2D::isConstraint(Point2* pVtx) const { return pDt2_->isConstraintVertex(pVtx); }

ConstraintSegment2* Taro_2D::getConstraintSegment(Point2* p0, Point2* p1) const {
    return pDt2_->getAliveConstraintSegment(p0, p1);
}

void Taro_2D::getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    pDt2_->getAliveConstraintSegments(vCSegs);
}

void Taro_2D::getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    pDt2_->getAliveAndDeadConstraintSegments(vCSegs);
}

bool Taro_2D::checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const {
    return call(pDt2_)->checkValidity(bCheckEmptyCircleProperty, name);
}

bool Taro_2D::save(const char* filename) const { return call(pDt2_)->save(filename); }

bool Taro_2D::saveAll(const char* filename) const {
    const MessageScope scope(&pDt2_->getProgress());
    return saveFullMesh(*pDt2_, filename);
}

bool Taro_2D::load(const char* filename) {
    if (!pDt2_->isEmpty()) return call(pDt2_)->load(filename);
    auto pEmpty = std::make_unique<Dt2>(3);
    pEmpty->takeSettings(*pDt2_);
    try {
        return call(pDt2_)->load(filename);
    } catch (...) {
        pDt2_ = std::move(pEmpty);
        throw;
    }
}

void Taro_2D::show(const std::string& filename, bool bWithConstraints) const {
    call(pDt2_)->show(filename, bWithConstraints);
}

void Taro_2D::show(Visualizer2* pVisualizer, bool bWithConstraints) const {
    call(pDt2_)->show(pVisualizer, bWithConstraints);
}

}  // namespace LUMO_TARO25D
