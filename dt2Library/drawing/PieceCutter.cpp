#include "drawing/PieceCutter.h"

namespace LUMO_TARO25D {

PieceCutter::PieceCutter(const SceneSurface& surface, SceneTask& task)
    : surface_(surface),
      task_(task),
      links_(surface, task),
      vPlaces_(surface.vVertices.size()),
      vPieceNumbers_(surface.vVertices.size()) {}

bool PieceCutter::getNext(SurfacePiece& piece) {
    piece.vVertices.clear();
    piece.vTriangles.clear();
    ++pieceNumber_;
    vQueue_.clear();
    for (size_t next = 0;;) {
        std::uint32_t triangle;
        if (next < vQueue_.size()) {
            task_.passCancelPoint(next);
            const std::uint32_t edge = links_.findAcross(vQueue_[next++]);
            if (edge == TriangleLinks::NONE) continue;
            triangle = edge / 3;
        } else {
            triangle = findSeed();
            if (triangle == TriangleLinks::NONE) break;
        }
        if (!add(triangle, piece)) break;
    }
    return !piece.vTriangles.empty();
}

/// The first triangle that is not taken.
std::uint32_t PieceCutter::findSeed() {
    while (seed_ < surface_.numTriangles() && links_.isTaken(seed_)) ++seed_;
    return seed_ < surface_.numTriangles() ? seed_ : TriangleLinks::NONE;
}

/// Takes a triangle; false, with no effect, if the piece is full.
bool PieceCutter::add(std::uint32_t triangle, SurfacePiece& piece) {
    if (piece.vVertices.size() + 3 > MAX_VERTICES) return false;
    links_.take(triangle);
    for (std::uint32_t corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
        const std::uint32_t vertex = links_.getVertex(corner);
        if (vPieceNumbers_[vertex] != pieceNumber_) {
            vPieceNumbers_[vertex] = pieceNumber_;
            vPlaces_[vertex] = static_cast<std::uint32_t>(piece.vVertices.size());
            piece.vVertices.push_back(vertex);
        }
        piece.vTriangles.push_back(static_cast<std::uint16_t>(vPlaces_[vertex]));
        vQueue_.push_back(corner);
    }
    return true;
}

}  // namespace LUMO_TARO25D
