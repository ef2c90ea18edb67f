#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "kernel/GeomTest.h"
#include "support/exact.h"
#include "support/generators.h"
#include "taro25d/Point2.h"
#include "taro25d/Vector2.h"

// Values of the kernel: random ones, as text, and compared with a tolerance.

namespace values {

using namespace LUMO_TARO25D;

template <class T>
std::string toText(const T& object) {
    std::ostringstream stream;
    stream << object;
    return stream.str();
}

inline Point2 randomPoint(Random& r, double center, double size) {
    const double x = center + uniform(r, -size, size), y = center + uniform(r, -size, size);
    return Point2(x, y, uniform(r, -size, size));
}

inline void expectNear(const Vector2& v, double x, double y, double z, double tolerance = 0.0) {
    EXPECT_NEAR(v.x(), x, tolerance);
    EXPECT_NEAR(v.y(), y, tolerance);
    EXPECT_NEAR(v.z(), z, tolerance);
}

}  // namespace values
