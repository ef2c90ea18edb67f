#include <nanobind/stl/pair.h>
#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/tuple.h>

#include "arrays.h"
#include "bindings.h"
#include "run.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

/// Bulk work below this number of items is done on the calling thread.
constexpr size_t FEW = 1000;

void runBySize(EngineCall& call, size_t num, const std::function<void()>& work) {
    if (num < FEW)
        call.runShort(work);
    else
        call.run(work);
}

void insertByPosition(Surface& surface, const PointArray& points, nb::object progress) {
    const double* aCoordinates = points.data();
    const size_t num = points.shape(0);
    EngineCall call({{&surface, Guarded::WRITE}}, std::move(progress));
    call.run([&] { surface.insertByPosition(aCoordinates, num); });
}

Array<std::int64_t> insert(Surface& surface, const PointArray& points, nb::object progress) {
    const double* aCoordinates = points.data();
    const size_t num = points.shape(0);
    std::vector<std::int64_t> vIds;
    EngineCall call({{&surface, Guarded::WRITE}}, std::move(progress));
    call.run([&] { vIds = surface.insert(aCoordinates, num); });
    return toArray(std::move(vIds));
}

void removeVertices(Surface& surface, const IdArray& ids) {
    const std::int64_t* aIds = ids.data();
    const size_t num = ids.shape(0);
    EngineCall call({{&surface, Guarded::WRITE}});
    runBySize(call, num, [&] { surface.remove(aIds, num); });
}

void moveVertex(Surface& surface, std::int64_t id, double x, double y, double z) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.runShort([&] { surface.move(id, Point2(x, y, z)); });
}

/// What a function of a surface returns, and the version of the mesh that it describes.
template <class T>
std::pair<std::uint64_t, T> getWithVersion(Surface& surface, T (Surface::*get)()) {
    std::pair<std::uint64_t, T> result;
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] { result = {surface.getVersion(), (surface.*get)()}; });
    return result;
}

std::tuple<std::uint64_t, Array<double>> getPoints(Surface& surface) {
    auto [version, vPoints] = getWithVersion(surface, &Surface::getPoints);
    return {version, toTable(std::move(vPoints), 3)};
}

std::tuple<std::uint64_t, Array<std::int64_t>> getIds(Surface& surface) {
    auto [version, vIds] = getWithVersion(surface, &Surface::getIds);
    return {version, toArray(std::move(vIds))};
}

using Triangles = std::tuple<std::uint64_t, Array<std::int32_t>, Array<std::int32_t>, Array<std::int32_t>>;

Triangles getTriangles(Surface& surface) {
    auto [version, arrays] = getWithVersion(surface, &Surface::getTriangles);
    return {version, toTable(std::move(arrays.vCorners), 3), toTable(std::move(arrays.vNeighbours), 3),
            toTable(std::move(arrays.vConstraints), 2)};
}

std::pair<size_t, size_t> getCounts(Surface& surface) {
    size_t numPoints = 0, numTriangles = 0;
    EngineCall call({{&surface, Guarded::READ}});
    call.runShort([&] {
        numPoints = surface.getMesh().numberOfPoints();
        numTriangles = surface.getMesh().numberOfTriangles();
    });
    return {numPoints, numTriangles};
}

Array<double> getHeights(Surface& surface, const PlaceArray& places) {
    const double* aPlaces = places.data();
    const size_t num = places.shape(0);
    std::vector<double> vHeights(num);
    EngineCall call({{&surface, Guarded::READ}});
    runBySize(call, num, [&] { surface.getMesh().getHeights(num, aPlaces, vHeights.data()); });
    return toArray(std::move(vHeights));
}

void canonicalizeMesh(Surface& surface) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] {
        surface.noteChange();
        surface.getMesh().canonicalizeDiagonals();
    });
}

std::shared_ptr<Surface> copySurface(Surface& surface) {
    auto pCopy = std::make_shared<Surface>();
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] { surface.copyTo(*pCopy); });
    return pCopy;
}

int setThreads(Surface& surface, int num) {
    int numNow = 0;
    EngineCall call({{&surface, Guarded::WRITE}});
    call.runShort([&] { numNow = surface.getMesh().setNumCPU(num); });
    return numNow;
}

bool checkValidity(Surface& surface) {
    bool bValid = false;
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] { bValid = !surface.getMesh().is2D() || surface.getMesh().checkValidity(true, ""); });
    return bValid;
}

using Conflicts = std::tuple<Array<std::int64_t>, Array<double>, Array<double>>;

Conflicts getConflicts(Surface& surface, double tolerance) {
    std::vector<std::int64_t> vIds;
    std::vector<double> vKept, vOther;
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] { surface.getConflicts(tolerance, vIds, vKept, vOther); });
    return Conflicts(toArray(std::move(vIds)), toArray(std::move(vKept)), toArray(std::move(vOther)));
}

void setHeightRule(Surface& surface, int rule) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.runShort([&] { surface.getMesh().setHeightRule(static_cast<HeightRule>(rule)); });
}

}  // namespace

void bindSurface(nb::module_& module) {
    nb::class_<Surface>(module, "Surface")
        .def(nb::init<>())
        .def("version", &Surface::getVersion, "Counts the changes.")
        .def("counts", &getCounts, "The numbers of points and triangles.")
        .def("set_threads", &setThreads, nb::arg("threads"))
        .def("insert_by_position", &insertByPosition, nb::arg("points").noconvert(), nb::arg("progress").none())
        .def("insert", &insert, nb::arg("points").noconvert(), nb::arg("progress").none(), "The id of each point.")
        .def("remove", &removeVertices, nb::arg("ids").noconvert())
        .def("move", &moveVertex, nb::arg("id"), nb::arg("x"), nb::arg("y"), nb::arg("z"))
        .def("points", &getPoints, "Version, points.")
        .def("ids", &getIds, "Version, ids.")
        .def("triangles", &getTriangles, "Version, triangles, neighbours, constraints.")
        .def("heights", &getHeights, nb::arg("places").noconvert())
        .def("conflicts", &getConflicts, nb::arg("tolerance"), "Ids, heights that were kept, heights that came.")
        .def("set_height_rule", &setHeightRule, nb::arg("rule"))
        .def("canonicalize", &canonicalizeMesh)
        .def("copy", &copySurface)
        .def("check", &checkValidity);
}
