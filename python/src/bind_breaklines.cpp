#include <nanobind/stl/shared_ptr.h>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

#include "arrays.h"
#include "bindings.h"
#include "run.h"
#include "taro25d/ConstraintSegment2.h"

namespace nb = nanobind;
using namespace LUMO_TARO25D;

namespace {

size_t addBreakline(Surface& surface, const SegmentArray& segments, int strategy, const std::string& name,
                    nb::object progress) {
    const double* aCoordinates = segments.data();
    const size_t num = segments.shape(0);
    size_t number = 0;
    EngineCall call({{&surface, Guarded::WRITE}}, std::move(progress));
    call.run([&] {
        number = surface.addBreakline(aCoordinates, num, static_cast<ConstraintInsertionStrategy>(strategy));
        surface.getBreakline(number)->setName(name);
    });
    return number;
}

void removeBreakline(Surface& surface, size_t number, bool bVertices) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.run([&] { surface.removeBreakline(number, bVertices); });
}

std::vector<size_t> getBreaklines(Surface& surface) {
    std::vector<size_t> vNumbers;
    EngineCall call({{&surface, Guarded::READ}});
    call.runShort([&] { vNumbers = surface.getBreaklines(); });
    return vNumbers;
}

std::string getName(Surface& surface, size_t number) {
    std::string name;
    EngineCall call({{&surface, Guarded::READ}});
    call.runShort([&] { name = surface.getBreakline(number)->getName(); });
    return name;
}

void setName(Surface& surface, size_t number, const std::string& name) {
    EngineCall call({{&surface, Guarded::WRITE}});
    call.runShort([&] { surface.getBreakline(number)->setName(name); });
}

/// The pieces of a breakline that are edges at present.
Array<double> getPieces(Surface& surface, size_t number) {
    std::vector<double> vCoordinates;
    EngineCall call({{&surface, Guarded::READ}});
    call.run([&] {
        vCoordinates.clear();
        std::vector<ConstraintSegment2*> vPieces;
        surface.getBreakline(number)->getAliveConstraintChain(vPieces);
        for (const ConstraintSegment2* pPiece : vPieces)
            for (const Point2* pEnd : {pPiece->getSrc(), pPiece->getTrg()})
                vCoordinates.insert(vCoordinates.end(), {pEnd->x(), pEnd->y(), pEnd->z()});
    });
    const size_t num = vCoordinates.size() / 6;
    return toArray(std::move(vCoordinates), {num, 2, 3});
}

}  // namespace

void bindBreaklines(nb::module_& module) {
    module.def("add_breakline", &addBreakline, nb::arg("surface"), nb::arg("segments").noconvert(), nb::arg("strategy"),
               nb::arg("name"), nb::arg("progress").none(), "Gives the number of the breakline.");
    module.def("remove_breakline", &removeBreakline, nb::arg("surface"), nb::arg("number"), nb::arg("vertices"));
    module.def("breaklines", &getBreaklines, nb::arg("surface"), "The numbers of all breaklines.");
    module.def("breakline_name", &getName, nb::arg("surface"), nb::arg("number"));
    module.def("set_breakline_name", &setName, nb::arg("surface"), nb::arg("number"), nb::arg("name"));
    module.def("breakline_pieces", &getPieces, nb::arg("surface"), nb::arg("number"), "Its edges, (k, 2, 3).");
}
