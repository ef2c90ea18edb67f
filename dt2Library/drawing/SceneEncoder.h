#pragma once

#include <cstdint>
#include <vector>

#include "drawing/Scene3.h"
#include "support/LargeVector.h"

namespace LUMO_TARO25D {

/// Encodes the places and triangles of a scene in few bytes, which the page decodes (web/src/decode.ts).
///
/// Places become integer multiples of a step from an origin; a step is at most 2^-14 (0.06 mm, if the unit is a metre)
/// and a 16-millionth of the extent. Numbers are written in groups of seven bits, the lowest first, with the eighth bit
/// set in all bytes except the last; a signed number n is written as 2n or, if negative, as -2n - 1.
///
/// The triangles are written in the order of a walk over their neighbours, in which most triangles cost one byte and
/// most vertices are predicted from the triangle before (Touma and Gotsman 1998, in a simpler form):
///
///   - A walk starts at a triangle that is not written yet: a byte with a bit for each edge that the walk will cross,
///     then for each corner 0 and the place of a new vertex, or the distance back in the list of vertices.
///   - Crossing an edge leads to a triangle of which two corners are known: a byte with two bits for the edges to be
///     crossed from there (first the edge from the first known corner, then the edge to the second), and from bit 2 on
///     0 for a new vertex, or the distance back of the third corner, or 63 with the rest in a number of its own.
///   - Edges to be crossed wait on a stack.
///   - The place of a new vertex is relative to the fourth corner of a parallelogram, or, at a start, to the vertex
///     before.
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
