#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Taro_2D.h"

/// The coordinates of a point; zeros of different sign are different here.
using Bits = std::array<std::uint64_t, 3>;

inline Bits toBits(const LUMO_TARO25D::Point2& point) {
    const double coordinates[] = {point.x(), point.y(), point.z()};
    Bits bits;
    std::memcpy(bits.data(), coordinates, sizeof(coordinates));
    return bits;
}

/// All that a file keeps of a mesh, to the last bit.
struct Kept {
    explicit Kept(const LUMO_TARO25D::Taro_2D& mesh) {
        std::vector<LUMO_TARO25D::Point2*> vVertices;
        mesh.getVertexPointers(vVertices);
        for (const LUMO_TARO25D::Point2* pVtx : vVertices) sVertices.insert(toBits(*pVtx));
        std::vector<LUMO_TARO25D::ConstraintSegment2*> vCSegs;
        mesh.getAliveConstraintSegments(vCSegs);
        for (const LUMO_TARO25D::ConstraintSegment2* pCSeg : vCSegs) {
            sSegments.insert(std::minmax(toBits(*pCSeg->getSrc()), toBits(*pCSeg->getTrg())));
        }
    }
    bool operator==(const Kept& other) const { return sVertices == other.sVertices && sSegments == other.sSegments; }

    std::set<Bits> sVertices;
    std::set<std::pair<Bits, Bits>> sSegments;
};
