// The overlay of two triangles, and its volumes and areas.
//
// The outer triangle is clipped at the three edges of the inner one. A corner within rounding of an edge counts as on
// it, and is neither cut off nor split: so nothing is lost between two triangles that share an edge. Each corner
// remembers the edges of the inner triangle on which it lies, from which the search knows where to go on (reaches). A
// piece that is only rounding along an edge of the outer triangle is recognised by its area and its corners (isAtEdge).
//
// The difference of heights is linear on the piece. If it changes its sign, or crosses the threshold, the piece is cut
// there; each part is a fan of triangles with the mean of three differences.

#include "analysis/OverlayPiece.h"

#include <algorithm>
#include <cmath>

#include "analysis/FacePlane.h"
#include "kernel/tolerances.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

// ---- LocalTriangle ----

LocalTriangle::LocalTriangle(const Triangle2& triangle, const Point2& origin) {
    for (size_t i = 0; i < 3; ++i) {
        const Point2& corner = *triangle.getCorner(static_cast<int>(i));
        aX_[i] = corner.x() - origin.x();
        aY_[i] = corner.y() - origin.y();
        aZ_[i] = corner.z();
        extent_ = std::max({extent_, std::abs(aX_[i]), std::abs(aY_[i])});
    }
    minZ_ = std::min({aZ_[0], aZ_[1], aZ_[2]});
    maxZ_ = std::max({aZ_[0], aZ_[1], aZ_[2]});
    const double ux = aX_[1] - aX_[0], uy = aY_[1] - aY_[0], dzU = aZ_[1] - aZ_[0];
    const double vx = aX_[2] - aX_[0], vy = aY_[2] - aY_[0], dzV = aZ_[2] - aZ_[0];
    const double det = accurateDeterminant(ux, uy, vx, vy);
    // The relative error of the plane of a thin triangle is outweighed by its small area.
    riseEast_ = (dzU * vy - dzV * uy) / det;
    riseNorth_ = (ux * dzV - vx * dzU) / det;
    if (std::isfinite(riseEast_) && std::isfinite(riseNorth_)) return;
    aZ_[0] = 0.5 * minZ_ + 0.5 * maxZ_;
    riseEast_ = riseNorth_ = 0.0;
}

double LocalTriangle::getSideError(size_t i, double extent) const {
    const size_t a = i == 2 ? 0 : i + 1, b = i == 0 ? 2 : i - 1;
    return MAX_SIDE_ERROR * extent * (std::abs(aX_[b] - aX_[a]) + std::abs(aY_[b] - aY_[a]));
}

// ---- OverlayPiece ----

OverlayPiece::OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner)
    : outer_(outer), inner_(inner), extent_(std::max(outer.getExtent(), inner.getExtent())) {
    for (size_t i = 0; i < 3; ++i) aCorners_[0].add({outer.x(i), outer.y(i), 0.0, 0});
    for (size_t edge = 0; edge < 3; ++edge) cutAt(edge);
    for (const Corner& corner : getCorners()) touchedEdges_ |= corner.edges;
}

OverlayPiece::OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner, size_t shift)
    : outer_(outer), inner_(inner), extent_(outer.getExtent()), bSame_(true) {
    for (size_t i = 0; i < 3; ++i) aCorners_[0].add({outer.x(i), outer.y(i), outer.z(i) - inner.z((i + shift) % 3), 0});
}

/// Keeps the part on the inner side of an edge of the inner triangle (Sutherland and Hodgman 1974).
void OverlayPiece::cutAt(size_t edge) {
    Corners &corners = aCorners_[current_], &kept = aCorners_[1 - current_];
    const double slack = inner_.getSideError(edge, extent_);
    std::array<double, MAX_CORNERS> aSides;
    double minSide = 0.0;
    for (size_t i = 0; i < corners.size; ++i) {
        Corner& corner = corners.aCorners[i];
        aSides[i] = inner_.getSide(edge, corner.x, corner.y);
        corner.edges |= static_cast<unsigned>(std::abs(aSides[i]) <= slack) << edge;
        minSide = std::min(minSide, aSides[i]);
    }
    if (minSide >= -slack) return;
    kept.size = 0;
    for (size_t i = 0; i < corners.size; ++i) {
        const size_t next = i + 1 == corners.size ? 0 : i + 1;
        const Corner &p = corners.aCorners[i], &q = corners.aCorners[next];
        const bool bInside = aSides[i] >= -slack, bNextInside = aSides[next] >= -slack;
        if (bInside) kept.add(p);
        if (bInside == bNextInside) continue;
        const double side = bInside ? aSides[i] : aSides[next], nextSide = bInside ? aSides[next] : aSides[i];
        const Corner &from = bInside ? p : q, &to = bInside ? q : p;
        const double t = std::max(0.0, side) / (std::max(0.0, side) - nextSide);
        kept.add({from.x + t * (to.x - from.x), from.y + t * (to.y - from.y), 0.0, (p.edges & q.edges) | 1u << edge});
    }
    current_ = 1 - current_;
}

bool OverlayPiece::isAtEdge() const {
    if (getCorners().size < 3) return true;
    if (bSame_ || measure(getCorners()).area > MIN_PIECE_AREA * extent_ * extent_) return false;
    for (size_t edge = 0; edge < 3; ++edge) {
        const double slack = 8.0 * outer_.getSideError(edge, extent_);
        const auto isAt = [&](const Corner& corner) { return outer_.getSide(edge, corner.x, corner.y) <= slack; };
        if (std::all_of(getCorners().begin(), getCorners().end(), isAt)) return true;
    }
    return false;
}

void OverlayPiece::setDifferences(double tolerance) {
    Corners& corners = aCorners_[current_];
    for (size_t i = 0; i < corners.size; ++i) {
        Corner& corner = corners.aCorners[i];
        if (!bSame_) corner.difference = outer_.getHeight(corner.x, corner.y) - inner_.getHeight(corner.x, corner.y);
        if (std::abs(corner.difference) <= tolerance) corner.difference = 0.0;
    }
}

void OverlayPiece::addTo(SurfaceDifference& sums, double threshold, double tolerance) {
    setDifferences(tolerance);
    double minD = getCorners().aCorners[0].difference, maxD = minD;
    for (const Corner& corner : getCorners()) {
        minD = std::min(minD, corner.difference);
        maxD = std::max(maxD, corner.difference);
    }
    const AreaAndVolume all = measure(getCorners());
    if (minD >= threshold && maxD > threshold) {
        sums.cutVolume += all.volume;
        sums.cutArea += all.area;
    } else if (maxD <= -threshold && minD < -threshold) {
        sums.fillVolume -= all.volume;
        sums.fillArea += all.area;
    } else {
        double rest = all.area;
        if (maxD > threshold) addSigned(1.0, threshold, sums.cutVolume, sums.cutArea, rest);
        if (minD < -threshold) addSigned(-1.0, threshold, sums.fillVolume, sums.fillArea, rest);
        if (!(maxD > threshold && minD < -threshold && threshold == 0.0)) sums.unchangedArea += std::max(0.0, rest);
    }
}

void OverlayPiece::addSigned(double sign, double threshold, double& volume, double& area, double& rest) const {
    const AreaAndVolume part = measure(getPartAbove(getCorners(), threshold, sign));
    volume += sign * part.volume;
    area += part.area;
    rest -= part.area;
}

/// The part of the polygon where the difference times the sign is at least the threshold.
OverlayPiece::Corners OverlayPiece::getPartAbove(const Corners& corners, double threshold, double sign) {
    Corners above;
    for (size_t i = 0; i < corners.size; ++i) {
        const Corner &p = corners.aCorners[i], &q = corners.getNext(i);
        const double overP = sign * p.difference - threshold, overQ = sign * q.difference - threshold;
        if (overP >= 0.0) above.add(p);
        if ((overP > 0.0 && overQ < 0.0) || (overP < 0.0 && overQ > 0.0)) {
            const double t = overP / (overP - overQ);
            above.add({p.x + t * (q.x - p.x), p.y + t * (q.y - p.y), sign * threshold, 0});
        }
    }
    return above;
}

OverlayPiece::AreaAndVolume OverlayPiece::measure(const Corners& corners) {
    AreaAndVolume sums;
    const Corner& first = corners.aCorners[0];
    for (size_t i = 1; i + 1 < corners.size; ++i) {
        const Corner &p = corners.aCorners[i], &q = corners.aCorners[i + 1];
        const double area = 0.5 * ((p.x - first.x) * (q.y - first.y) - (p.y - first.y) * (q.x - first.x));
        sums.area += area;
        sums.volume += area * ((first.difference + p.difference + q.difference) / 3.0);
    }
    return sums;
}

}  // namespace LUMO_TARO25D
