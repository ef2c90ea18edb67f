#include <nanobind/stl/pair.h>

#include "analysis/TileMesh.h"
#include "arrays.h"
#include "bindings.h"
#include "run.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

/// A tile that several threads may use.
class Tile : public Guarded {
  public:
    Tile(const double* aCoordinates, size_t num) : mesh_(aCoordinates, num) {
        mesh_.getMesh().subscribe(MT_PROGRESS, this);
    }
    ~Tile() override { mesh_.getMesh().unsubscribe(MT_PROGRESS, this); }
    TileMesh& get() { return mesh_; }

  private:
    TileMesh mesh_;
};

/// Boxes as (x, y, x, y).
using BoxArray = nb::ndarray<const double, nb::shape<-1, 4>, nb::c_contig, nb::device::cpu>;

/// A small tile is done with before another thread has begun.
constexpr size_t FEW = 10000;

void run(EngineCall call, size_t num, const std::function<void()>& work) {
    if (num < FEW)
        call.runShort(work);
    else
        call.run(work);
}

void run(Tile& tile, size_t num, const std::function<void()>& work) {
    run(EngineCall({{&tile, Guarded::WRITE}}), num + tile.get().numberOfPoints(), work);
}

void makeTile(Tile* pTile, const PointArray& points) {
    const double* aCoordinates = points.data();
    const size_t num = points.shape(0);
    run(EngineCall({}), num, [&] { new (pTile) Tile(aCoordinates, num); });
}

void insert(Tile& tile, const PointArray& points) {
    const double* aCoordinates = points.data();
    const size_t num = points.shape(0);
    run(tile, num, [&] { tile.get().insert(aCoordinates, num); });
}

void offer(Tile& tile, const PointArray& points) {
    const double* aCoordinates = points.data();
    const size_t num = points.shape(0);
    run(tile, num, [&] { tile.get().offer(aCoordinates, num); });
}

Array<std::uint8_t> findReached(Tile& tile, const BoxArray& boxes) {
    const double* aBoxes = boxes.data();
    const size_t num = boxes.shape(0);
    std::vector<std::uint8_t> vReached;
    run(tile, num, [&] { tile.get().findReached(aBoxes, num, vReached); });
    return toArray(std::move(vReached));
}

std::pair<Array<double>, Array<std::int32_t>> getOwned(Tile& tile) {
    std::vector<double> vHalo;
    std::vector<std::int32_t> vTriangles;
    run(tile, 0, [&] { tile.get().getOwned(vHalo, vTriangles); });
    return {toTable(std::move(vHalo), 3), toTable(std::move(vTriangles), 3)};
}

}  // namespace

void bindTiles(nb::module_& module) {
    nb::class_<Tile>(module, "Tile")
        .def("__init__", &makeTile, nb::arg("points").noconvert())
        .def("insert", &insert, nb::arg("points").noconvert())
        .def("offer", &offer, nb::arg("points").noconvert())
        .def("reached", &findReached, nb::arg("boxes").noconvert(), "Which boxes hold points that may be missing.")
        .def("owned", &getOwned, "Points of other tiles, and triangles.")
        .def("is_2d", [](Tile& tile) { return tile.get().is2D(); })
        .def("count", [](Tile& tile) { return tile.get().numberOfPoints(); });
}
