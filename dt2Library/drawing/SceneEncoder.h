#pragma once

#include <cstdint>
#include <vector>

#include "drawing/Scene3.h"
#include "support/LargeVector.h"

namespace LUMO_TARO25D {

/// Turns the places and triangles of a scene into the few bytes that the page decodes again (web/src/decode.ts).
///
/// Places become whole numbers of steps from an origin; a step is at most 2^-14 (0.06 mm, if the unit is a metre) and a
/// 16-millionth of the extent. Numbers are written in groups of seven bits, the lowest first, with the eighth bit set in all
/// but the last byte; signed ones as 2n or, if negative, as -2n - 1.
///
/// The triangles are told in the order of a walk over their neighbours, in which most of them cost one byte and most
/// vertices are guessed from the triangle before (Touma and Gotsman 1998, in a simpler form):
///
///   - A walk starts at a triangle that was not told yet: a byte with a bit for each edge that the walk will cross, then its
///     corners, 0 for a new vertex and its place, or how far back in the list of vertices the corner is.
///   - Crossing an edge gives a triangle of which two corners are known: a byte, in it two bits for the edges that will be
///     crossed from there (the one from the first known corner, and the one to the second), and from bit 2 on 0 for a new
///     vertex, or how far back the third corner is, or 63 and the rest in a number of its own.
///   - Edges that are to be crossed wait on a stack.
///   - A new vertex has its place relative to the corner that would make a parallelogram, or at a start to the vertex before.
class SceneEncoder {
  public:
    SceneEncoder(const Scene3& scene, SceneTask& task);

    const Xyz& getOrigin() const { return origin_; }
    const Xyz& getStep() const { return step_; }
    const LargeVector<std::uint8_t>& getBytes() const { return vBytes_; }

    void add(const SceneSurface& surface);
    void add(const SceneLines& lines);

  private:
    using Steps = std::array<std::int64_t, 3>;
    class Walk;

    Steps toSteps(const Xyz& place) const;
    void addNumber(std::uint64_t number);
    void addSigned(std::int64_t number);
    void addPlace(const Steps& steps, const Steps& guess);

    SceneTask& task_;
    Xyz origin_, step_;
    LargeVector<std::uint8_t> vBytes_;
};

}  // namespace LUMO_TARO25D
