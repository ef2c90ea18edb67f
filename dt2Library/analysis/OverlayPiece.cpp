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
    bPoint_ = ux == 0.0 && uy == 0.0 && vx == 0.0 && vy == 0.0;
    aZ_[0] = 0.5 * minZ_ + 0.5 * maxZ_;
    riseEast_ = riseNorth_ = 0.0;
}

double LocalTriangle::getSideError(size_t i, double extent) const {
    const size_t a = i == 2 ? 0 : i + 1, b = i == 0 ? 2 : i - 1;
    return MAX_SIDE_ERROR * extent * (std::abs(aX_[b] - aX_[a]) + std::abs(aY_[b] - aY_[a]));
}

// ---- OverlayPiece ----

/// Keeps the part on the inner side of an edge of the inner triangle (Sutherland and Hodgman 1974). Which corners are
/// kept is random, so each is written and counted if it is kept, without a branch; the same holds for the crossings.
inline void OverlayPiece::cutAt(size_t edge) {
    Corners &corners = aCorners_[current_], &kept = aCorners_[1 - current_];
    const double slack = inner_.getSideError(edge, extent_);
    std::array<double, MAX_CORNERS> aSides;
    double minSide = 0.0;
    for (size_t i = 0; i < corners.size; ++i) {
        aSides[i] = inner_.getSide(edge, corners.aX[i], corners.aY[i]);
        corners.aMarks[i] |= static_cast<unsigned>(std::abs(aSides[i]) <= slack) << edge;
        minSide = std::min(minSide, aSides[i]);
    }
    if (minSide >= -slack) return;
    size_t size = 0;
    for (size_t i = 0; i < corners.size; ++i) {
        const size_t next = corners.getNext(i);
        const bool bInside = aSides[i] >= -slack, bNextInside = aSides[next] >= -slack;
        kept.aX[size] = corners.aX[i];
        kept.aY[size] = corners.aY[i];
        kept.aMarks[size] = corners.aMarks[i];
        size += static_cast<size_t>(bInside);
        const size_t from = bInside ? i : next, to = bInside ? next : i;
        const double side = std::max(0.0, aSides[from]), t = side / (side - aSides[to]);
        kept.aX[size] = corners.aX[from] + t * (corners.aX[to] - corners.aX[from]);
        kept.aY[size] = corners.aY[from] + t * (corners.aY[to] - corners.aY[from]);
        kept.aMarks[size] = (corners.aMarks[i] & corners.aMarks[next]) | 1u << edge;
        size += static_cast<size_t>(bInside != bNextInside);
    }
    kept.size = size;
    current_ = 1 - current_;
}

OverlayPiece::OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner)
    : outer_(outer), inner_(inner), extent_(std::max(outer.getExtent(), inner.getExtent())) {
    for (size_t i = 0; i < 3; ++i) {
        // The corners of a triangle that is far from the origin may become equal; its edges then cut off nothing.
        if (inner.isPoint()) {
            aCorners_[0].aMarks[i] = 0;
            aCorners_[0].add(inner.x(0), inner.y(0), 0.0);
        } else {
            aCorners_[0].aMarks[i] = 8u << i;
            aCorners_[0].add(outer.x(i), outer.y(i), 0.0);
        }
    }
    for (size_t edge = 0; edge < 3; ++edge) cutAt(edge);
    for (size_t i = 0; i < getCorners().size; ++i) marks_ |= getCorners().aMarks[i];
}

OverlayPiece::OverlayPiece(const LocalTriangle& outer, const LocalTriangle& inner, size_t shift)
    : outer_(outer), inner_(inner), extent_(outer.getExtent()), bSame_(true) {
    for (size_t i = 0; i < 3; ++i) {
        aCorners_[0].add(outer.x(i), outer.y(i), outer.z(i) - inner.z((i + shift) % 3));
    }
}

/// The area of the triangle of corner 0 and the corners i and i + 1.
inline double OverlayPiece::getAreaInFan(const Corners& corners, size_t i) {
    const double x = corners.aX[0], y = corners.aY[0];
    return 0.5 * ((corners.aX[i] - x) * (corners.aY[i + 1] - y) - (corners.aY[i] - y) * (corners.aX[i + 1] - x));
}

bool OverlayPiece::isAtEdge() const {
    const Corners& corners = getCorners();
    if (corners.size < 3) return true;
    double area = 0.0;
    for (size_t i = 1; i + 1 < corners.size; ++i) area += getAreaInFan(corners, i);
    if (bSame_ || area > MIN_PIECE_AREA * extent_ * extent_) return false;
    for (size_t edge = 0; edge < 3; ++edge) {
        const double slack = 8.0 * outer_.getSideError(edge, extent_);
        bool bAllAt = true;
        for (size_t i = 0; i < corners.size; ++i) {
            bAllAt = bAllAt && outer_.getSide(edge, corners.aX[i], corners.aY[i]) <= slack;
        }
        if (bAllAt) return true;
    }
    return false;
}

void OverlayPiece::setDifferences(double tolerance) {
    Corners& corners = aCorners_[current_];
    for (size_t i = 0; i < corners.size; ++i) {
        const double x = corners.aX[i], y = corners.aY[i];
        double& difference = corners.aDifference[i];
        if (!bSame_) difference = outer_.getHeight(x, y) - inner_.getHeight(x, y);
        if (std::abs(difference) <= tolerance) difference = 0.0;
    }
}

/// The part lies in both triangles, so that far corners of one of them do not matter.
inline double OverlayPiece::getTolerance(double originMagnitude) const {
    const double magnitude = originMagnitude + std::min(outer_.getExtent(), inner_.getExtent());
    return outer_.getUncertainty(magnitude) + inner_.getUncertainty(magnitude);
}

void OverlayPiece::addTo(SurfaceDifference& sums, double threshold, double originMagnitude) {
    setDifferences(getTolerance(originMagnitude));
    double minD = getCorners().aDifference[0], maxD = minD;
    for (size_t i = 1; i < getCorners().size; ++i) {
        minD = std::min(minD, getCorners().aDifference[i]);
        maxD = std::max(maxD, getCorners().aDifference[i]);
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
        const size_t next = corners.getNext(i);
        const double over = sign * corners.aDifference[i] - threshold;
        const double overNext = sign * corners.aDifference[next] - threshold;
        if (over >= 0.0) above.add(corners.aX[i], corners.aY[i], corners.aDifference[i]);
        if ((over > 0.0 && overNext < 0.0) || (over < 0.0 && overNext > 0.0)) {
            const double t = over / (over - overNext);
            above.add(corners.aX[i] + t * (corners.aX[next] - corners.aX[i]),
                      corners.aY[i] + t * (corners.aY[next] - corners.aY[i]), sign * threshold);
        }
    }
    return above;
}

OverlayPiece::AreaAndVolume OverlayPiece::measure(const Corners& corners) {
    AreaAndVolume sums;
    for (size_t i = 1; i + 1 < corners.size; ++i) {
        const double area = getAreaInFan(corners, i);
        sums.area += area;
        sums.volume += area * ((corners.aDifference[0] + corners.aDifference[i] + corners.aDifference[i + 1]) / 3.0);
    }
    return sums;
}

}  // namespace LUMO_TARO25D
