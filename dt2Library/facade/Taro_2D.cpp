#include "taro25d/Taro_2D.h"

#include <algorithm>
#include <iostream>

#include "mesh/Dt2.h"
#include "support/Timer.h"
#include "support/diagnostics.h"
#include "taro25d/Edge2.h"
#include "taro25d/Segment2.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

/// The engine for the length of one call: what the call prints as a warning or an error on this thread
/// reaches the listeners of this triangulation too.
class EngineCall {
  public:
    explicit EngineCall(Dt2* pDt2) : pDt2_(pDt2), scope_(&pDt2->getProgress()) {}
    Dt2* operator->() const { return pDt2_; }

  private:
    Dt2* pDt2_;
    MessageScope scope_;
};

EngineCall call(const std::unique_ptr<Dt2>& pDt2) { return EngineCall(pDt2.get()); }

template <class... Arguments>
Zone2* makeZone(const std::unique_ptr<Dt2>& pDt2, bool bVerbose, const Arguments&... arguments) {
    const MessageScope scope(&pDt2->getProgress());
    Zone2* pZone = pDt2->createZone(arguments..., bVerbose);
    if (!pZone && bVerbose) warning("Taro_2D::createZone(..)", "No zone created, returning NULL (bVerbose==true)");
    return pZone;
}

void printReconstructNotice() {
    std::cout << "reconstruct(..): point-cloud reconstruction has moved to a separate library, nothing is "
                 "done here.\n";
}

}  // namespace

Taro_2D::Taro_2D(unsigned numExpectedVertices) { initTaro(numExpectedVertices); }

Taro_2D::~Taro_2D() = default;

void Taro_2D::initTaro(unsigned numExpectedVertices) { pDt2_ = std::make_unique<Dt2>(numExpectedVertices); }

int Taro_2D::setNumCPU(int n) { return pDt2_->setNumCPU(n); }

int Taro_2D::enableMultithreading() {
    pDt2_->enableMT();
    return pDt2_->getNumCPU();
}

void Taro_2D::setName(const std::string& name) { pDt2_->setName(name); }

const std::string& Taro_2D::getName() const { return pDt2_->getName(); }

Dt2* Taro_2D::getImpl() const { return pDt2_.get(); }

void Taro_2D::internal(int topic, int detail, std::string text) { call(pDt2_)->internalDebug(topic, detail, text); }

void Taro_2D::setDev(const std::string& text, int number, double value) { pDt2_->setDev(text, number, value); }

Point2* Taro_2D::insert(const Point2& point) { return call(pDt2_)->insert(point); }

void Taro_2D::insert(const std::vector<Point2>& vPoints) { call(pDt2_)->insertVector(vPoints); }

void Taro_2D::insert(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandles) {
    call(pDt2_)->insertVector(vPoints, vHandles);
}

void Taro_2D::insert(int numPoints, double* aCoordinates, Point2** aHandles) {
    if (numPoints <= 0) return;
    if (aHandles) std::fill_n(aHandles, numPoints, nullptr);
    if (!aCoordinates) {
        const MessageScope scope(&pDt2_->getProgress());
        warning("Taro_2D::insert(..)", "aCoordinates==NULL, nothing inserted");
        return;
    }
    call(pDt2_)->insertBulk(PointSource(static_cast<size_t>(numPoints), aCoordinates), aHandles);
}

double Taro_2D::measureTrianguluationTime(std::vector<Point2>& vPoints) {
    const MessageScope scope(&pDt2_->getProgress());
    Dt2 engine(3);
    engine.setNumCPU(pDt2_->getNumCPU());
    const Timer timer("[quiet] Delaunay point insertion");
    engine.insertVector(vPoints);
    return timer.stop();
}

void Taro_2D::remove(Point2* pVtx) { call(pDt2_)->remove(pVtx); }

Triangle2* Taro_2D::locate(const Point2& point) const { return pDt2_->locate(point); }

bool Taro_2D::getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance) const {
    return pDt2_->getHeight(x, y, height, pApproxT, tolerance);
}

Triangle2* Taro_2D::getAdjacentTriangle(Point2* p0, Point2* p1) const {
    return call(pDt2_)->getAdjacentTriangle(p0, p1);
}

void Taro_2D::getIncidentTriangles(Point2* pVtx, std::vector<Triangle2*>& vIncidentT) const {
    call(pDt2_)->getIncidentTriangles(pVtx, vIncidentT);
}

void Taro_2D::getIncidentVertices(Point2* pVtx, std::vector<Point2*>& vIncidentVertices) const {
    call(pDt2_)->getIncidentVertices(pVtx, vIncidentVertices);
}

void Taro_2D::getTrianglePointers(std::vector<Triangle2*>& vTriangles) const {
    call(pDt2_)->getTrianglePointers(vTriangles);
}

void Taro_2D::getVertexPointers(std::vector<Point2*>& vVertices) const { call(pDt2_)->getVertexPointers(vVertices); }

void Taro_2D::getConvexHull(bool bAllVertices, std::vector<Point2*>& vConvexHullPoints) const {
    call(pDt2_)->getConvexHull(bAllVertices, vConvexHullPoints);
}

size_t Taro_2D::numberOfPoints() const { return pDt2_->numberOfPoints(); }

size_t Taro_2D::numberOfTriangles() const { return call(pDt2_)->numberOfTriangles(); }

bool Taro_2D::is2D() const { return pDt2_->is2D(); }

Bbox2 Taro_2D::computeBoundingBox() const { return pDt2_->computeBoundingBox(); }

bool Taro_2D::checkValidity(bool bCheckEmptyCircleProperty, const std::string& name) const {
    return call(pDt2_)->checkValidity(bCheckEmptyCircleProperty, name);
}

void Taro_2D::statistics(const std::string& name) const { call(pDt2_)->statistics(name); }

Orientation2 Taro_2D::getOrientation(const Point2& p0, const Point2& p1, const Point2& p2) const {
    return getOrientation2_mt(&p0, &p1, &p2);
}

ConstraintGraph2* Taro_2D::createConstraint(const std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis,
                                            bool bOrientedSegments) {
    if (!vSegments.empty()) return call(pDt2_)->createConstraint(vSegments, cis, bOrientedSegments);
    const MessageScope scope(&pDt2_->getProgress());
    warning("Taro_2D::createConstraint()", "You have not supplied any segments. Returning NULL!");
    return nullptr;
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

Zone2* Taro_2D::createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, pGraph, zoneLoc);
}

Zone2* Taro_2D::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vGraphs, zoneLoc);
}

Zone2* Taro_2D::createZone(ConstraintGraph2* pGraph, ZoneLocation zoneLoc, const Point2& seed, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, pGraph, zoneLoc, seed);
}

Zone2* Taro_2D::createZone(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation zoneLoc, const Point2& seed,
                           bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vGraphs, zoneLoc, seed);
}

Zone2* Taro_2D::createZone(const std::vector<Edge2>& vEdges, ZoneLocation zoneLoc, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vEdges, zoneLoc);
}

Zone2* Taro_2D::createZone(const std::vector<Triangle2*>& vTriangles, bool bVerbose) {
    return makeZone(pDt2_, bVerbose, vTriangles);
}

Zone2* Taro_2D::createZone_cookieCutter(const std::vector<Segment2>& vSegments, bool bVerbose) {
    return call(pDt2_)->createZone_cookieCutter(vSegments, bVerbose);
}

bool Taro_2D::deleteZone(Zone2* pZone) { return call(pDt2_)->deleteZone(pZone); }

void Taro_2D::cutTriangles(const std::vector<Segment2>& vSegments, bool bConstraints) {
    call(pDt2_)->CUTT_cutTriangles(vSegments, bConstraints);
}

void Taro_2D::cutTriangles(const Point2& src, const Point2& trg, bool bConstraints) {
    cutTriangles({Segment2(src, trg)}, bConstraints);
}

void Taro_2D::refine(Zone2* pZone, double minAngleDegree, double minEdgeLength, double maxEdgeLength,
                     bool bAllowConstraintSplitting) {
    if (!pZone) {
        std::cerr << "\nWarning: Taro_2D::refine(..) has been called with pZone==NULL\n" << std::endl;
        return;
    }
    if (minAngleDegree > 30.0) {
        std::cerr << "\nWarning: Taro_2D::refine(..), minAngleDegree can't be >30\n" << std::endl;
        return;
    }
    call(pDt2_)->refineClassic(pZone, minAngleDegree, minEdgeLength, maxEdgeLength, bAllowConstraintSplitting);
}

void Taro_2D::refineAdvanced(MeshGenParams* pParams) { call(pDt2_)->refineAdvanced(pParams); }

bool Taro_2D::checkZoneQuality(Zone2* pZone, double minAngleDegree, const std::string& name,
                               const AcceptExperimentalFeature&) {
    return call(pDt2_)->checkZoneQuality(pZone, minAngleDegree, name);
}

bool Taro_2D::save(const char* filename) const { return call(pDt2_)->save(filename); }

bool Taro_2D::load(const char* filename) { return call(pDt2_)->load(filename); }

void Taro_2D::show(const std::string& filename, bool bWithConstraints) const {
    call(pDt2_)->show(filename, bWithConstraints);
}

void Taro_2D::show(Visualizer2* pVisualizer, bool bWithConstraints) const {
    call(pDt2_)->show(pVisualizer, bWithConstraints);
}

void Taro_2D::subscribe(MsgType type, MsgBase* pListener) { pDt2_->getProgress().subscribe(type, pListener); }

void Taro_2D::unsubscribe(MsgType type, MsgBase* pListener) { pDt2_->getProgress().unsubscribe(type, pListener); }

void reconstruct(const std::vector<Point2>&) { printReconstructNotice(); }
void reconstruct(const std::vector<Point2>&, const std::string&) { printReconstructNotice(); }
void reconstruct(const std::string&, const std::string&) { printReconstructNotice(); }

}  // namespace LUMO_TARO25D
