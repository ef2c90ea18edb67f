#include "mesh/meshState.h"

#include <utility>

#include "mesh/Dt2.h"
#include "mesh/InnerVtxMgr.h"

namespace LUMO_TARO25D {

std::function<void()> rememberMesh(Dt2& mesh) {
    auto restoreVertices = mesh.getVertexVault().rememberState();
    auto restoreTriangles = mesh.rememberState();
    return [&mesh, restoreVertices = std::move(restoreVertices), restoreTriangles = std::move(restoreTriangles),
            innerVertices = mesh.getInnerVtxMgr(), name = mesh.getName()] {
        restoreVertices();
        restoreTriangles();
        mesh.getInnerVtxMgr() = innerVertices;
        mesh.forgetShortcuts();
        mesh.setName(name);
    };
}

}  // namespace LUMO_TARO25D
