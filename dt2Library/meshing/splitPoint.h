#pragma once

#include "kernel/GeomTest.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Finds a point in doubles near the middle of an edge: exactly on the edge, or else a few units beside it with both
/// ends visible.
bool computeCenterWithoutConflict(GeomTest* pGeomTest, Triangle2* pT, int edgeIndex, Point2& splitPoint);

/// Whether computeCenterWithoutConflict finds a point that differs from the corners.
bool canBeSplit(GeomTest& geomTest, Triangle2* pT, int edgeIndex);

/// The point at which to split a segment; false, with a warning, if there is none that differs from the corners.
bool findSplitPoint(GeomTest& geomTest, Triangle2* pT, int edgeIndex, Point2& splitPoint);

}  // namespace LUMO_TARO25D
