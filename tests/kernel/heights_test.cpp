#include "kernel/heights.h"

#include <gtest/gtest.h>

#include <cmath>

#include "kernel/tools.h"
#include "support/exact.h"
#include "support/generators.h"

using namespace LUMO_TARO25D;

namespace {

Point2 anywhere(Random& random, int exponent, double offset) {
    const double x = std::ldexp(uniform(random, 0, 16), exponent), y = std::ldexp(uniform(random, 0, 16), exponent);
    return Point2(offset + x, offset + y, uniform(random, -100, 100));
}

TEST(Heights, AreThoseOfTheEdgeInBothItsTriangles) {
    Random random(1);
    for (int i = 0; i < 2000; ++i) {
        const auto at = [&](double x, double y) { return Point2(x, y, uniform(random, -1, 1)); };
        const double x = random() % 7, y = random() % 7, dx = random() % 5 + 1, dy = random() % 5;
        Point2 src = at(x, y), trg = at(x + 3 * dx, y + 3 * dy), left = at(x - 2, y + 9 + dy), right = at(x + 2, y - 9);
        const Triangle2 first(&src, &trg, &left), second(&right, &trg, &src);
        const Point2 place(x + dx, y + dy, 0);
        double inFirst = 0, inSecond = 0;
        ASSERT_TRUE(getHeightInside(first, place, inFirst) && getHeightInside(second, place, inSecond));
        EXPECT_EQ(inFirst, inSecond);
        EXPECT_NEAR(inFirst, src.z() + (trg.z() - src.z()) / 3, 1e-15);
    }
}

/// The definition, in rational numbers.
double exactDistanceAtCrossing(const Point2& a, const Point2& b, const Point2& c, const Point2& d) {
    const auto heightAt = [](const Point2& p, const Point2& q, const mpq_class& ofP, const mpq_class& ofQ) {
        return mpq_class(p.z() + ofP / (ofP - ofQ) * (mpq_class(q.z()) - p.z()));
    };
    const mpq_class ofC = exactOrientationDeterminant(a, b, c), ofD = exactOrientationDeterminant(a, b, d);
    const mpq_class ofA = exactOrientationDeterminant(c, d, a), ofB = exactOrientationDeterminant(c, d, b);
    return mpq_class(abs(heightAt(c, d, ofC, ofD) - heightAt(a, b, ofA, ofB))).get_d();
}

TEST(Heights, DistanceAtCrossings) {
    Random random(2);
    for (const int exponent : {0, -600, 500, -20}) {
        for (const double offset : {0.0, std::ldexp(4.5e6, exponent)}) {
            int numCrossings = 0;
            while (numCrossings < 200) {
                const Point2 a = anywhere(random, exponent, offset), b = anywhere(random, exponent, offset);
                // Every other pair is nearly parallel.
                const bool bNear = random() % 2 == 0;
                const double side = std::ldexp(uniform(random, 0, 1e-7), exponent);
                const Point2 c = bNear ? Point2(a.x(), a.y() + side, 7) : anywhere(random, exponent, offset);
                const Point2 d = bNear ? Point2(b.x(), b.y() - side, -7) : anywhere(random, exponent, offset);
                if (exactOrientation(a, b, c) * exactOrientation(a, b, d) >= 0) continue;
                if (exactOrientation(c, d, a) * exactOrientation(c, d, b) >= 0) continue;
                ++numCrossings;
                const double distance = getDistanceAtCrossing(a, b, c, d);
                EXPECT_NEAR(distance, exactDistanceAtCrossing(a, b, c, d), 1e-11) << exponent << " " << offset;
            }
        }
    }
}

}  // namespace
