// The members of Dt2 for constraints, and those that draw, check or store them. They forward to the classes that do the
// work.

#include "constraints/ConstraintMgr.h"
#include "constraints/checkValidity.h"
#include "constraints/meshFile.h"
#include "mesh/Dt2.h"
#include "taro25d/Color.h"
#include "taro25d/Visualizer2.h"

namespace LUMO_TARO25D {

ConstraintMgr* Dt2::getConstraintManager() { return &getSlot<ConstraintMgr>(); }

ConstraintGraph2* Dt2::createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                        bool bOrientedSegments) {
    return getConstraintManager()->createForClient(vSegments, cis, bOrientedSegments);
}

ConstraintGraph2* Dt2::createConstraint(const std::vector<Edge2*>& vEdges, ConstraintInsertionStrategy cis) {
    return getConstraintManager()->createForClient(vEdges, cis);
}

void Dt2::applyConstraintsAndZones() { getConstraintManager()->applyForClient(); }

ConstraintSegment2* Dt2::getAliveConstraintSegment(const Point2* p0, const Point2* p1) const {
    const auto* pManager = findSlot<ConstraintMgr>();
    return pManager ? pManager->getAliveConstraintSegment(p0, p1) : nullptr;
}

void Dt2::getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    if (const auto* pManager = findSlot<ConstraintMgr>()) pManager->getAliveConstraintSegments(vCSegs);
}

void Dt2::getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vCSegs) const {
    if (const auto* pManager = findSlot<ConstraintMgr>()) pManager->getAliveAndDeadConstraintSegments(vCSegs);
}

void Dt2::newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg) {
    getConstraintManager()->getEstablisher().getSegmentInserter().newCDT_applyOneCS(pInitialCSeg);
}

void Dt2::insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg) {
    getConstraintManager()->getEstablisher().getConformingInserter().insertSegmentConformingDelaunay(pCSeg);
}

void Dt2::killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg) {
    getConstraintManager()->getEstablisher().getSegmentInserter().killAndUnestablishConstraintSegment(pCSeg);
}

bool Dt2::checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const {
    return LUMO_TARO25D::checkValidity(*this, bCheckEmptyCircleProperty, name);
}

bool Dt2::save(const char* filename) const { return saveMesh(*this, filename); }

bool Dt2::load(const char* filename) { return loadMesh(*this, filename); }

void Dt2::internalDebug(int topic, int, const std::string& text) {
    if (topic == 0) vertexVault_.showData(text);
    if (topic == 1) vertexVault_.checkVault();
    if (topic == 2) vertexVault_.debugDups();
    if (topic == 3) getConstraintManager()->writeConstraints(text);
    if (topic == 4) getConstraintManager()->writeConstraintsBIN(text);
}

void Dt2::show(const std::string& filename, bool bWithConstraints) const {
    Visualizer2 visualizer(filename);
    show(&visualizer, bWithConstraints);
    visualizer.writeFile();
}

void Dt2::show(Visualizer2* pVisualizer, bool bWithConstraints) const {
    if (!pVisualizer) return;
    std::vector<Triangle2*> vTriangles;
    getTrianglePointers(vTriangles);
    pVisualizer->addObject(vTriangles, Color());
    if (!bWithConstraints) return;
    std::vector<ConstraintSegment2*> vCSegs;
    getAliveConstraintSegments(vCSegs);
    pVisualizer->addObject(vCSegs, Color(CBLUE, 0.5f));
}

}  // namespace LUMO_TARO25D
