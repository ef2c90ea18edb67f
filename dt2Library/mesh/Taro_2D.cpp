// The client's handle on the engine: life, points, queries. Each member forwards to Dt2 or to the class that does the
// work; warnings and errors of a call reach the listeners of this triangulation (EngineCall). The members for
// constraints, zones, meshing and analysis are defined on the floors they forward to.

#include "taro25d/Taro_2D.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "mesh/ConstraintKeeper.h"
#include "mesh/Dt2.h"
#include "mesh/EngineCall.h"
#include "mesh/RegionSearch.h"
#include "mesh/canonicalDiagonals.h"
#include "mesh/heightQueries.h"
#include "mesh/vertexMove.h"
#include "support/Timer.h"
#include "support/diagnostics.h"
#include "taro25d/freeFunctions.h"

namespace LUMO_TARO25D {

namespace {

void printReconstructNotice() {
    Note("reconstruct(..)")
        << "reconstruct(..): point-cloud reconstruction has moved to a separate library, nothing is "
           "done here.\n";
}

/// Notes that clients have points at these vertices, so that vertices inserted for constraints stay when the
/// constraints are removed.
void noteClientsPoints(const Dt2& mesh, Point2* const* aVertices, size_t num) {
    if (ConstraintKeeper* pKeeper = mesh.getConstraintKeeper()) pKeeper->noteClientsPoints(aVertices, num);
}

}  // namespace

Taro_2D::Taro_2D(unsigned numExpectedVertices) { initTaro(numExpectedVertices); }

Taro_2D::~Taro_2D() = default;

void Taro_2D::initTaro(unsigned numExpectedVertices) { pDt2_ = std::make_unique<Dt2>(numExpectedVertices); }

std::unique_ptr<Taro_2D> Taro_2D::clone() const {
    const MessageScope scope(&pDt2_->getProgress());
    auto pCopy = std::make_unique<Taro_2D>();
    pCopy->pDt2_ = pDt2_->clone();
    return pCopy;
}

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

Point2* Taro_2D::insert(const Point2& point) {
    Point2* pVtx = call(pDt2_)->insert(point);
    noteClientsPoints(*pDt2_, &pVtx, 1);
    return pVtx;
}

void Taro_2D::insert(const std::vector<Point2>& vPoints) {
    if (!pDt2_->getConstraintKeeper()) return call(pDt2_)->insertVector(vPoints);
    std::vector<Point2*> vHandles;
    insert(vPoints, vHandles);
}

void Taro_2D::insert(const std::vector<Point2>& vPoints, std::vector<Point2*>& vHandles) {
    call(pDt2_)->insertVector(vPoints, vHandles);
    noteClientsPoints(*pDt2_, vHandles.data(), vHandles.size());
}

void Taro_2D::insert(int numPoints, double* aCoordinates, Point2** aHandles) {
    if (numPoints <= 0) return;
    if (aHandles) std::fill_n(aHandles, numPoints, nullptr);
    if (!aCoordinates) {
        const MessageScope scope(&pDt2_->getProgress());
        warning("Taro_2D::insert(..)", "aCoordinates==NULL, nothing inserted");
        return;
    }
    const size_t num = static_cast<size_t>(numPoints);
    std::vector<Point2*> vHandles;
    if (!aHandles && pDt2_->getConstraintKeeper()) {
        vHandles.resize(num);
        aHandles = vHandles.data();
    }
    call(pDt2_)->insertBulk(PointSource(num, aCoordinates), aHandles);
    if (aHandles) noteClientsPoints(*pDt2_, aHandles, num);
}

void Taro_2D::setHeightRule(HeightRule rule) {
    if (rule >= HR_FIRST && rule <= HR_MAX) return pDt2_->getHeightBook().setRule(rule);
    const MessageScope scope(&pDt2_->getProgress());
    warning("Taro_2D::setHeightRule()", "unknown rule, nothing is changed");
}

void Taro_2D::getHeightConflicts(double tolerance, std::vector<HeightConflict>& vConflicts) const {
    std::as_const(*pDt2_).getVertexVault().getHeightBook().getConflicts(tolerance, vConflicts);
}

double Taro_2D::measureTrianguluationTime(std::vector<Point2>& vPoints) {
    const MessageScope scope(&pDt2_->getProgress());
    Dt2 engine(3);
    engine.setNumCPU(pDt2_->getNumCPU());
    const Timer timer("[quiet] Delaunay point insertion");
    engine.insertVector(vPoints);
    return timer.stop();
}

bool Taro_2D::moveVertex(Point2* pVtx, const Point2& target) {
    const MessageScope scope(&pDt2_->getProgress());
    return LUMO_TARO25D::moveVertex(*pDt2_, pVtx, target);
}

void Taro_2D::canonicalizeDiagonals() {
    const MessageScope scope(&pDt2_->getProgress());
    LUMO_TARO25D::canonicalizeDiagonals(*pDt2_);
}

void Taro_2D::remove(Point2* pVtx) { call(pDt2_)->remove(pVtx); }

Triangle2* Taro_2D::locate(const Point2& point) const { return pDt2_->locate(point); }

bool Taro_2D::getHeight(double x, double y, double& height, Triangle2* pApproxT, double tolerance) const {
    return pDt2_->getHeight(x, y, height, pApproxT, tolerance);
}

size_t Taro_2D::getHeights(size_t num, const double* aXY, double* aHeights) const {
    const MessageScope scope(&pDt2_->getProgress());
    if (num == 0) return 0;
    if (aXY && aHeights) return LUMO_TARO25D::getHeights(*pDt2_, num, aXY, aHeights);
    warning("Taro_2D::getHeights(..)", "an array is null, nothing is answered");
    return 0;
}

Point2* Taro_2D::getNearestVertex(const Point2& place) const { return RegionSearch(*pDt2_).getNearestVertex(place); }

void Taro_2D::getVerticesInBox(const Bbox2& box, std::vector<Point2*>& vVertices) const {
    const MessageScope scope(&pDt2_->getProgress());
    RegionSearch(*pDt2_).getVerticesInBox(box, vVertices);
}

void Taro_2D::getVerticesInCircle(const Circle2& circle, std::vector<Point2*>& vVertices) const {
    const MessageScope scope(&pDt2_->getProgress());
    RegionSearch(*pDt2_).getVerticesInCircle(circle, vVertices);
}

void Taro_2D::getTrianglesInBox(const Bbox2& box, std::vector<Triangle2*>& vTriangles) const {
    const MessageScope scope(&pDt2_->getProgress());
    RegionSearch(*pDt2_).getTrianglesInBox(box, vTriangles);
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

void Taro_2D::statistics(const std::string& name) const { call(pDt2_)->statistics(name); }

Orientation2 Taro_2D::getOrientation(const Point2& p0, const Point2& p1, const Point2& p2) const {
    return getOrientation2_mt(&p0, &p1, &p2);
}

void Taro_2D::subscribe(MsgType type, MsgBase* pListener) { pDt2_->getProgress().subscribe(type, pListener); }

void Taro_2D::unsubscribe(MsgType type, MsgBase* pListener) { pDt2_->getProgress().unsubscribe(type, pListener); }

void Taro_2D::setCancelFlag(const std::atomic<bool>* pFlag) { pDt2_->getProgress().setCancelFlag(pFlag); }

void reconstruct(const std::vector<Point2>&) { printReconstructNotice(); }
void reconstruct(const std::vector<Point2>&, const std::string&) { printReconstructNotice(); }
void reconstruct(const std::string&, const std::string&) { printReconstructNotice(); }

}  // namespace LUMO_TARO25D
