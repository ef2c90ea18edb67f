#include <nanobind/stl/pair.h>
#include <nanobind/stl/tuple.h>
#include <nanobind/stl/vector.h>

#include <algorithm>

#include "analysis/TileMesh.h"
#include "arrays.h"
#include "bindings.h"
#include "ownership.h"
#include "run.h"
#include "taro25d/IsoContours.h"
#include "taro25d/TriangleAroundVertexIterator.h"

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

/// Smaller tiles are finished before another thread would have started.
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

bool watch(Tile& tile, const PlaceArray& places) {
    const double* aPlaces = places.data();
    const size_t num = places.shape(0);
    bool bNew = false;
    run(tile, num, [&] { bNew = tile.get().watch(aPlaces, num); });
    return bNew;
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

/// Whether the tile owns one of the triangles that contain a place, border included.
bool isInOwned(const Triangle2* pT, const Point2& place, int numOwn) {
    if (isOwned(pT, numOwn)) return true;
    for (int i = 0; i < 3; ++i) {
        const Triangle2* pN = pT->getOppositeTriangle(i);
        if (pN && isOwned(pN, numOwn) && pT->hasOnEdge(i, place)) return true;
        if (*pT->getCorner(i) != place) continue;
        TriangleAroundVertexIterator it(pT->getCorner(i));
        const Triangle2* const pFirst = *it;
        do {
            if (isOwned(*it, numOwn)) return true;
            ++it;
        } while (*it != pFirst);
    }
    return false;
}

Array<std::uint8_t> findOwned(Surface& surface, const PlaceArray& places, int numOwn) {
    const double* aPlaces = places.data();
    std::vector<std::uint8_t> vOwned(places.shape(0), 0);
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        for (size_t k = 0; k < vOwned.size(); ++k) {
            const Point2 place(aPlaces[2 * k], aPlaces[2 * k + 1], 0.0);
            const Triangle2* pT = surface.getMesh().locate(place);
            vOwned[k] = pT && isInOwned(pT, place, numOwn);
        }
    });
    return toArray(std::move(vOwned));
}

/// The points of all lines, the index at which each line begins, and the position of its level.
using LineArrays = std::tuple<Array<double>, Array<std::int64_t>, Array<std::int64_t>>;

LineArrays getOwnedContours(Surface& surface, int numOwn, const std::vector<double>& vLevels) {
    std::vector<double> vPlaces;
    std::vector<std::int64_t> vStarts{0}, vPositions;
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        vPlaces.clear();
        vStarts.assign(1, 0);
        vPositions.clear();
        std::vector<Triangle2*> vTriangles;
        surface.getMesh().getTrianglePointers(vTriangles);
        const auto isOther = [numOwn](const Triangle2* pT) { return !isOwned(pT, numOwn); };
        vTriangles.erase(std::remove_if(vTriangles.begin(), vTriangles.end(), isOther), vTriangles.end());
        if (vTriangles.empty()) return;
        IsoContours contours(vTriangles);
        std::vector<std::vector<std::vector<Segment2>>> vvvLines;
        contours.getContours(vLevels, vvvLines, false);
        for (size_t k = 0; k < vvvLines.size(); ++k) {
            for (const std::vector<Segment2>& vLine : vvvLines[k]) {
                vPlaces.insert(vPlaces.end(), {vLine.front().getSrc().x(), vLine.front().getSrc().y()});
                for (const Segment2& segment : vLine)
                    vPlaces.insert(vPlaces.end(), {segment.getTrg().x(), segment.getTrg().y()});
                vStarts.push_back(static_cast<std::int64_t>(vPlaces.size() / 2));
                vPositions.push_back(static_cast<std::int64_t>(k));
            }
        }
    });
    return LineArrays(toTable(std::move(vPlaces), 2), toArray(std::move(vStarts)), toArray(std::move(vPositions)));
}

}  // namespace

void bindTiles(nb::module_& module) {
    nb::class_<Tile>(module, "Tile")
        .def("__init__", &makeTile, nb::arg("points").noconvert())
        .def("insert", &insert, nb::arg("points").noconvert())
        .def("offer", &offer, nb::arg("points").noconvert())
        .def("watch", &watch, nb::arg("places").noconvert(),
             "Certifies the natural neighbours of places; whether that takes more stars.")
        .def("reached", &findReached, nb::arg("boxes").noconvert(), "Which boxes hold points that may be missing.")
        .def("owned", &getOwned, "Points of other tiles, and triangles.")
        .def("is_2d", [](Tile& tile) { return tile.get().is2D(); })
        .def("count", [](Tile& tile) { return tile.get().numberOfPoints(); });
    module.def("owned_places", &findOwned, nb::arg("surface"), nb::arg("places").noconvert(), nb::arg("num_own"),
               "Whether places lie in triangles whose smallest corner has an id below a number.");
    module.def("owned_contours", &getOwnedContours, nb::arg("surface"), nb::arg("num_own"), nb::arg("levels"),
               "Places of all lines in these triangles, where each begins, and the position of its level.");
}
