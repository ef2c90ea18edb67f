#pragma once

#include "kernel/GeomTest.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

/// Finds a point in the middle of an edge that the numbers can express: exactly on it, or else so near that nothing is in
/// between.
bool computeCenterWithoutConflict(GeomTest* pGeomTest, Triangle2* pT, int edgeIndex, Point2& splitPoint);

/// Whether such a point is different from the ends.
bool canBeSplit(GeomTest& geomTest, Triangle2* pT, int edgeIndex);

/// The point at which to split a segment that is in the way; warns where there is none that is different from the ends.
bool findSplitPoint(GeomTest& geomTest, Triangle2* pT, int edgeIndex, Point2& splitPoint);

}  // namespace LUMO_TARO25D
