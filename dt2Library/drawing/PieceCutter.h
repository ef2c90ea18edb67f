#pragma once

#include <cstdint>
#include <vector>

#include "drawing/Scene3.h"
#include "drawing/TriangleLinks.h"

namespace LUMO_TARO25D {

/// A part of a surface with few enough vertices for numbers of 16 bits.
struct SurfacePiece {
    std::vector<std::uint32_t> vVertices;   // their numbers on the surface
    std::vector<std::uint16_t> vTriangles;  // three places in vVertices each
};

/// Cuts a surface into pieces. Each grows from a triangle over its neighbours until all numbers are used, so pieces are
/// round and share few vertices. Triangles left between pieces are gathered in the next one. O(n).
class PieceCutter {
  public:
    /// All numbers of 16 bits except the largest, which restarts strips when drawn.
    static constexpr size_t MAX_VERTICES = 65535;

    PieceCutter(const SceneSurface& surface, SceneTask& task);
    /// The next piece; false at the end.
    bool getNext(SurfacePiece& piece);

  private:
    std::uint32_t findSeed();
    bool add(std::uint32_t triangle, SurfacePiece& piece);

    const SceneSurface& surface_;
    SceneTask& task_;
    TriangleLinks links_;
    LargeVector<std::uint32_t> vPlaces_;        // the place of each vertex in its latest piece
    std::vector<std::uint32_t> vPieceNumbers_;  // the latest piece of each vertex, 0 for none
    std::vector<std::uint32_t> vQueue_;         // edges of the piece that are still to be crossed
    std::uint32_t seed_ = 0;
    std::uint32_t pieceNumber_ = 0;
};

}  // namespace LUMO_TARO25D
