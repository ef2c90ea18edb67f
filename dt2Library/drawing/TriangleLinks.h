#pragma once

#include <cstdint>
#include <vector>

#include "drawing/Scene3.h"
#include "support/LargeVector.h"

namespace LUMO_TARO25D {

/// Finds the neighbours of the triangles of a surface, and marks triangles as taken.
///
/// Corner k of triangle i has the number 3 i + k, which also identifies the edge from it to the next corner. Corners
/// are listed by vertex, so the neighbour across an edge is found among the few corners at its end.
class TriangleLinks {
  public:
    static constexpr std::uint32_t NONE = 0xFFFFFFFF;

    /// O(n).
    TriangleLinks(const SceneSurface& surface, const SceneTask& task)
        : vTriangles_(surface.vTriangles),
          vBegin_(surface.vVertices.size() + 1),
          vCorners_(vTriangles_.size()),
          vbTaken_(surface.numTriangles()) {
        for (size_t i = 0; i < vTriangles_.size(); ++i) {
            task.passCancelPoint(i);
            ++vBegin_[vTriangles_[i]];
        }
        for (size_t i = 1; i < vBegin_.size(); ++i) vBegin_[i] += vBegin_[i - 1];
        for (size_t i = vTriangles_.size(); i-- > 0;) {
            task.passCancelPoint(i);
            vCorners_[--vBegin_[vTriangles_[i]]] = static_cast<std::uint32_t>(i);
        }
    }

    static std::uint32_t getNext(std::uint32_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
    std::uint32_t getVertex(std::uint32_t corner) const { return vTriangles_[corner]; }

    bool isTaken(std::uint32_t triangle) const { return vbTaken_[triangle] != 0; }
    void take(std::uint32_t triangle) { vbTaken_[triangle] = 1; }

    /// The number of the same edge in the triangle across it, if that triangle is not taken; NONE if there is none.
    std::uint32_t findAcross(std::uint32_t edge) const {
        const std::uint32_t src = getVertex(edge), trg = getVertex(getNext(edge));
        for (std::uint32_t i = vBegin_[trg]; i < vBegin_[trg + 1]; ++i) {
            const std::uint32_t corner = vCorners_[i];
            if (getVertex(getNext(corner)) == src && !isTaken(corner / 3)) return corner;
        }
        return NONE;
    }

  private:
    const LargeVector<std::uint32_t>& vTriangles_;
    std::vector<std::uint32_t> vBegin_;  // the first corner of each vertex in vCorners_
    LargeVector<std::uint32_t> vCorners_;
    std::vector<std::uint8_t> vbTaken_;
};

}  // namespace LUMO_TARO25D
