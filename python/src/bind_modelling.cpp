#include <nanobind/stl/vector.h>

#include <unordered_map>

#include "arrays.h"
#include "bindings.h"
#include "run.h"
#include "taro25d/EfficientModel.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

struct HashPlace {
    size_t operator()(const std::pair<double, double>& place) const {
        const std::hash<double> hash;  // 0.0 and -0.0 have one hash value
        return hash(place.first) * 31 + hash(place.second);
    }
};

/// Gives vertices the row of the first point at their place as custom index, and all others -1.
void nameByRows(const Taro_2D& mesh, const double* aCoordinates, size_t numPoints) {
    std::vector<Point2*> vVertices;
    mesh.getVertexPointers(vVertices);
    std::unordered_map<std::pair<double, double>, Point2*, HashPlace> mUnnamed;
    for (Point2* pVtx : vVertices) {
        pVtx->setCustomIndex(-1);
        mUnnamed.emplace(std::make_pair(pVtx->x(), pVtx->y()), pVtx);
    }
    for (size_t i = 0; i < numPoints && !mUnnamed.empty(); ++i) {
        const auto found = mUnnamed.find({aCoordinates[3 * i], aCoordinates[3 * i + 1]});
        if (found == mUnnamed.end()) continue;
        found->second->setCustomIndex(static_cast<int>(i));
        mUnnamed.erase(found);
    }
}

struct Simplification {
    double maxError;
    bool bCertified;
    int threads;
};

std::unique_ptr<EfficientModel> makeModel(Surface& surface, const std::vector<Point2>& vPoints,
                                          const std::vector<SegmentArray>& vLines, const Simplification& order) {
    auto pModel = std::make_unique<EfficientModel>(vPoints);
    for (const SegmentArray& line : vLines) pModel->keep(toSegments(line.data(), line.shape(0)));
    pModel->setMaxError(order.maxError);
    pModel->setCertified(order.bCertified);
    pModel->setNumCPU(order.threads);
    pModel->setCancelFlag(surface.getCancelFlag());
    pModel->subscribe(MT_PROGRESS, &surface);
    pModel->go();
    pModel->unsubscribe(MT_PROGRESS, &surface);
    pModel->setCancelFlag(nullptr);
    return pModel;
}

/// Gives each line a graph of its own over its edges; the model has one graph for all lines.
void divideLines(Surface& surface, const std::vector<SegmentArray>& vLines) {
    std::vector<ConstraintGraph2*> vTogether;
    surface.getMesh().getConstraintGraphs(vTogether);
    for (const SegmentArray& line : vLines) surface.addBreakline(line.data(), line.shape(0), CIS_CONSTRAINED_DELAUNAY);
    for (ConstraintGraph2* pGraph : vTogether) surface.getMesh().removeConstraint(pGraph);
}

std::vector<Point2> toPoints(const double* aCoordinates, size_t num) {
    std::vector<Point2> vPoints;
    vPoints.reserve(num);
    for (const double* a = aCoordinates; a != aCoordinates + 3 * num; a += 3) vPoints.emplace_back(a[0], a[1], a[2]);
    return vPoints;
}

void simplify(Surface& surface, const PointArray& points, const std::vector<SegmentArray>& vLines, double maxError,
              bool bCertified, int threads, nb::object progress) {
    const double* aCoordinates = points.data();
    const size_t num = points.shape(0);
    EngineCall call({{&surface, Guarded::WRITE}}, std::move(progress));
    call.run([&] {
        const std::vector<Point2> vPoints = toPoints(aCoordinates, num);
        const auto pModel = makeModel(surface, vPoints, vLines, {maxError, bCertified, threads});
        nameByRows(*pModel->getTriangulation(), aCoordinates, num);
        surface.adopt(pModel->getTriangulation()->clone(), static_cast<std::int64_t>(num));
        divideLines(surface, vLines);
    });
}

/// The ids of vertices are in the order of the first corners at their places.
void importTriangles(Surface& surface, const PointArray& corners, bool bRepair, nb::object progress) {
    const double* aCoordinates = corners.data();
    const size_t num = corners.shape(0);
    EngineCall call({{&surface, Guarded::WRITE}}, std::move(progress));
    call.run([&] {
        std::vector<Point2> vCorners = toPoints(aCoordinates, num);
        surface.noteChange();
        if (!surface.getMesh().importTriangles(vCorners, bRepair, false))
            throw Refused("the triangles make no surface");
        surface.number();
    });
}

}  // namespace

void bindModelling(nb::module_& module) {
    module.def("import_triangles", &importTriangles, nb::arg("surface"), nb::arg("corners").noconvert(),
               nb::arg("repair"), nb::arg("progress").none());
    module.def("simplify", &simplify, nb::arg("surface"), nb::arg("points").noconvert(), nb::arg("lines"),
               nb::arg("max_error"), nb::arg("certified"), nb::arg("threads"), nb::arg("progress").none(),
               "Fills an empty surface. A vertex at the place of points has the row of the first of them as its id.");
}
