#include "constraints/SampledBoxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <set>
#include <vector>

using LUMO_TARO25D::Point2;
using LUMO_TARO25D::SampledBoxes;

namespace {

bool touch(const SampledBoxes::Corners& box, const Point2& p, const Point2& q) {
    const auto meet = [](double a, double b, double c, double d) {
        return std::max(a, b) >= std::min(c, d) && std::max(c, d) >= std::min(a, b);
    };
    return meet(p.x(), q.x(), box[0]->x(), box[1]->x()) && meet(p.y(), q.y(), box[0]->y(), box[1]->y());
}

/// Corners on a grid, so that boxes touch in edges and corners too, and some are segments or points.
std::vector<Point2> randomCorners(size_t n, double unit, std::mt19937& random) {
    std::vector<Point2> vCorners;
    for (size_t i = 0; i < n; ++i) {
        const double x = unit * (double(random() % 41) - 20.0), y = unit * (double(random() % 41) - 20.0);
        vCorners.emplace_back(x, y, 0.0);
    }
    return vCorners;
}

}  // namespace

TEST(SampledBoxes, findsExactlyTheBoxesThatTouch) {
    std::mt19937 random(5);
    for (const double unit : {1.0, 1e-300, 8e306}) {  // the width of the last exceeds all doubles
        for (const size_t numBoxes : {size_t(1), size_t(7), SampledBoxes::MAX_NUM_BOXES}) {
            const std::vector<Point2> vCorners = randomCorners(2 * numBoxes, unit, random);
            std::vector<SampledBoxes::Corners> vBoxes;
            for (size_t k = 0; k < numBoxes; ++k) vBoxes.push_back({&vCorners[2 * k], &vCorners[2 * k + 1]});
            const SampledBoxes boxes(vBoxes);
            const std::vector<Point2> vQueries = randomCorners(400, 1.5 * unit, random);
            for (size_t i = 0; i < vQueries.size(); i += 2) {
                std::set<size_t> sExpected, sFound;
                for (size_t k = 0; k < numBoxes; ++k) {
                    if (touch(vBoxes[k], vQueries[i], vQueries[i + 1])) sExpected.insert(k);
                }
                boxes.forEachTouching(vQueries[i], vQueries[i + 1], [&](size_t k) {
                    EXPECT_TRUE(sFound.insert(k).second) << "box " << k << " was visited twice";
                });
                EXPECT_EQ(sFound, sExpected) << "unit " << unit << ", " << numBoxes << " boxes, query " << i / 2;
            }
        }
    }
}
