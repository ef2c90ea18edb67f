// Reads any bytes as a triangulation file. A refused file must leave the mesh empty; an accepted one must give a valid
// mesh that saving and loading reproduce.

#include <algorithm>
#include <string>
#include <vector>

#include "input.h"
#include "memory_file.h"
#include "support/kept.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/MsgBase.h"
#include "taro25d/Taro_2D.h"

namespace {

using LUMO_TARO25D::ConstraintSegment2;
using LUMO_TARO25D::Taro_2D;

/// Counts warnings.
struct Listener : LUMO_TARO25D::MsgBase {
    void update(LUMO_TARO25D::MsgType, const std::string&, double) override { ++numWarnings; }
    int numWarnings = 0;
};

bool isEstablished(const Taro_2D& mesh) {
    const auto isEdge = [&mesh](const ConstraintSegment2* pCSeg) {
        return mesh.getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg()) ||
               mesh.getAdjacentTriangle(pCSeg->getTrg(), pCSeg->getSrc());
    };
    std::vector<ConstraintSegment2*> vCSegs;
    mesh.getAliveConstraintSegments(vCSegs);
    return !mesh.is2D() || std::all_of(vCSegs.begin(), vCSegs.end(), isEdge);
}

std::size_t countGraphs(const Taro_2D& mesh) {
    std::vector<LUMO_TARO25D::ConstraintGraph2*> vGraphs;
    mesh.getConstraintGraphs(vGraphs);
    return vGraphs.size();
}

void requireRoundTrip(const Taro_2D& mesh, bool bSameAfterwards) {
    const MemoryFile file;
    require(mesh.save(file.getName().c_str()), "a mesh that was loaded can be saved");
    Taro_2D copy;
    require(copy.load(file.getName().c_str()), "a mesh that was saved can be loaded");
    if (!bSameAfterwards) return;
    const MemoryFile fullFile;
    require(mesh.saveAll(fullFile.getName().c_str()), "a mesh that was loaded can be saved with its graphs");
    Taro_2D fullCopy;
    require(fullCopy.load(fullFile.getName().c_str()), "a mesh that was saved with its graphs can be loaded");
    require(Kept(fullCopy) == Kept(mesh), "vertices and constraints are the same with graphs");
    require(countGraphs(fullCopy) == countGraphs(mesh), "there are as many graphs");
    require(Kept(copy) == Kept(mesh), "vertices and constraints are the same");
    require(copy.numberOfTriangles() == mesh.numberOfTriangles(), "there are as many triangles");
}

void loadFrom(const std::uint8_t* pData, std::size_t size) {
    MemoryFile file;
    file.write(pData, size);
    Taro_2D mesh;
    Listener listener;
    mesh.subscribe(LUMO_TARO25D::MT_WARNING, &listener);
    if (!mesh.load(file.getName().c_str())) {
        require(Kept(mesh) == Kept(Taro_2D()), "what is refused changes nothing");
        return;
    }
    // Where doubles are too coarse, constraints are given up, with a warning. Loading again would try them again.
    const bool bEstablished = isEstablished(mesh);
    require(bEstablished || listener.numWarnings > 0, "no constraint is given up without a warning");
    require(!bEstablished || mesh.checkValidity(true, "loaded"), "the mesh is valid");
    requireRoundTrip(mesh, bEstablished);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size) {
    return runQuietly([&] { loadFrom(pData, size); });
}
