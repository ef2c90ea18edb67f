#pragma once

#include "taro25d/Triangle2.h"

/// Whether a tile owns a triangle: the smallest corner of the triangle is one of the first numOwn points.
inline bool isOwned(const LUMO_TARO25D::Triangle2* pT, int numOwn) {
    const LUMO_TARO25D::Point2* pSmallest = pT->getCorner(0);
    for (const int i : {1, 2})
        if (*pT->getCorner(i) < *pSmallest) pSmallest = pT->getCorner(i);
    return pSmallest->getCustomIndex() >= 0 && pSmallest->getCustomIndex() < numOwn;
}
