#pragma once

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "support/polygons.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Zone2.h"

// Zones to mesh, on surfaces that are known.

using Height = std::function<double(double, double)>;

inline double flat(double, double) { return 0; }
inline double plane(double x, double y) { return 3 + 0.5 * x - 0.25 * y; }
inline double steep(double x, double y) { return 40 * std::sin(x / 7) * std::cos(y / 11); }

LUMO_TARO25D::Point2 lift(const LUMO_TARO25D::Point2& p, const Height& height);
SegmentVector lift(const SegmentVector& vSegments, const Height& height);

/// A triangulation with a zone inside polygons.
struct Scene {
    std::unique_ptr<LUMO_TARO25D::Taro_2D> pMesh = std::make_unique<LUMO_TARO25D::Taro_2D>();
    std::vector<LUMO_TARO25D::ConstraintGraph2*> vGraphs;
    LUMO_TARO25D::Zone2* pZone = nullptr;
};

/// The first polygon is the outline; others are holes.
Scene makeScene(const std::vector<PointVector>& vPolygons, const SegmentVector& vInner = {},
                const Height& height = flat, const PointVector& vPoints = {});
Scene makeSquare(double side = 100, const Height& height = flat);

/// Short segments in the middle of a square.
SegmentVector makeRandomSegments(size_t n, double side, Random& r);
