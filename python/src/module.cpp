// The extension module: the library with arrays in place of pointers. Types, defaults, names and the wording of errors
// belong to the Python files beside it.

#include "bindings.h"
#include "messages.h"
#include "run.h"
#include "taro25d/version.h"

namespace nb = nanobind;

NB_MODULE(_engine, module) {
    installMessageHandler();
    module.def("connect", &EngineCall::connect, nb::arg("warn"), nb::arg("fail"),
               "Sets the functions warn(warnings, notes) and fail(kind, texts) -> exception.");
    module.attr("version") = LUMO_TARO25D::getTaro2DVersion();
    bindSurface(module);
    bindBreaklines(module);
    bindZones(module);
    bindMeshing(module);
    bindAnalysis(module);
    bindFiles(module);
    bindTiles(module);
    bindTileParts(module);
    bindModelling(module);
    bindDatasets(module);
    nb::module_::import_("atexit").attr("register")(nb::cpp_function(&EngineCall::disconnect));
}
