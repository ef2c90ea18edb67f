#pragma once

#include "kernel/GeomTest.h"
#include "taro25d/Point2.h"
#include "taro25d/Triangle2.h"

namespace LUMO_TARO25D {

constexpr int CODE_INSIDE = -1, CODE_DUPLICATE = 4;

/// Walks from pT to the triangle that contains p. Returns CODE_INSIDE if pT contains p strictly (idx -1) or on its
/// inner edge idx; 0 to 2 if p is outside the hull across that edge of pT, or on that hull edge; CODE_DUPLICATE if p
/// equals a corner. The predicates must cover p. Visibility walk that skips the edge of entry (Devillers, Pion,
/// Teillaud 2002).
int walk(const Point2* p, Triangle2*& pT, int& idx, GeomTest& geomTest);

}  // namespace LUMO_TARO25D
