#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/constraint_oracle.h"
#include "support/constraint_work.h"
#include "support/generators.h"
#include "taro25d/Taro_2D.h"

// Scenes of points and constraints, inserted in several orders.

namespace constraint_work {

struct Step {
    bool bPoint;
    Segment2 s;
    ConstraintInsertionStrategy cis;
};

struct Scene {
    std::vector<Step> vSteps;

    Scene transformed(int numTurns, double scale, double dx, double dy) const {
        const auto turn = [&](const Point2& p) {
            double x = p.x(), y = p.y();
            for (int i = 0; i < numTurns; ++i) std::swap(x, y), x = -x;
            return Point2(x * scale + dx, y * scale + dy, p.z());
        };
        Scene result = *this;
        for (Step& step : result.vSteps) step.s = Segment2(turn(step.s.getSrc()), turn(step.s.getTrg()));
        return result;
    }

    bool isConstrainedOnly() const {
        return std::all_of(vSteps.begin(), vSteps.end(),
                           [](const Step& step) { return step.bPoint || step.cis == CIS_CONSTRAINED_DELAUNAY; });
    }
};

/// The orders: as given; points first; constraints first; constraints first, one by one, reversed.
constexpr int NUM_ORDERS = 4;

inline void insertIn(int order, const Scene& scene, Work& work) {
    PointVector vPoints;
    std::map<ConstraintInsertionStrategy, SegmentVector> mSegments;
    for (const Step& step : scene.vSteps) {
        if (order == 0 && step.bPoint) {
            work.insert(step.s.getSrc());
        } else if (order == 0) {
            work.constrain({step.s}, step.cis);
        } else if (step.bPoint) {
            vPoints.push_back(step.s.getSrc());
        } else {
            mSegments[step.cis].push_back(step.s);
        }
    }
    if (order == 1) work.insertBulk(vPoints);
    for (const auto& [cis, vSegments] : mSegments) {
        if (order != 3) work.constrain(vSegments, cis, order == 2);
        for (auto it = vSegments.rbegin(); order == 3 && it != vSegments.rend(); ++it)
            work.constrain({reversed(*it)}, cis);
    }
    if (order == 2) work.insertBulk(vPoints);
    for (auto it = vPoints.begin(); order == 3 && it != vPoints.end(); ++it) work.insert(*it);
    work.applyIfPending();
}

/// Returns the number of orders in which the edges could be compared with the exact ones.
inline int checkAllOrders(const Scene& scene) {
    int numExact = 0;
    for (int order = 0; order < NUM_ORDERS; ++order) {
        SCOPED_TRACE(testing::Message() << "order " << order);
        Work work;
        insertIn(order, scene, work);
        if (scene.isConstrainedOnly()) {
            numExact += work.checkExactly();
        } else {
            EXPECT_TRUE(work.check());
            if (work.mesh.is2D()) work.apply();
            EXPECT_TRUE(work.check());
            EXPECT_TRUE(work.gaveUp() || ConstraintOracle(work.mesh).numEncroached() == 0);
        }
    }
    return numExact;
}

/// Lines of "point x y" or a strategy and the coordinates of two ends, in any notation of strtod.
inline Scene readCorpusFile(const std::filesystem::path& path) {
    const std::map<std::string, ConstraintInsertionStrategy> mStrategies{{"constrained", CIS_CONSTRAINED_DELAUNAY},
                                                                         {"surface_z", CIS_CONFORMING_SURFACE_Z},
                                                                         {"linear_z", CIS_CONFORMING_LINEAR_Z}};
    Scene scene;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string kind, number;
        if (!(words >> kind)) continue;
        std::vector<double> v;
        while (words >> number) v.push_back(std::stod(number));
        const bool bPoint = kind == "point";
        EXPECT_EQ(v.size(), bPoint ? 2u : 4u) << path << ": " << line;
        v.resize(4);
        const double z = static_cast<double>(scene.vSteps.size());
        scene.vSteps.push_back({bPoint, makeSegment(v[0], v[1], v[2], v[3], z, z + 0.5),
                                bPoint ? CIS_CONSTRAINED_DELAUNAY : mStrategies.at(kind)});
    }
    return scene;
}

}  // namespace constraint_work
