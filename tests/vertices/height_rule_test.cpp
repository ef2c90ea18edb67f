#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace {

double heightAt(const Taro_2D& mesh, double x, double y) {
    const Point2* pVtx = mesh.getImpl()->getVertexPointer(Point2(x, y, 0));
    return pVtx ? pVtx->z() : NOT_A_NUMBER;
}

std::vector<HeightConflict> conflictsOf(const Taro_2D& mesh, double tolerance = 0) {
    std::vector<HeightConflict> v;
    mesh.getHeightConflicts(tolerance, v);
    return v;
}

constexpr HeightRule rules[] = {HR_FIRST, HR_LAST, HR_MEAN, HR_MIN, HR_MAX};

/// The result of heights that meet one after the other.
double expectedHeight(HeightRule rule, const std::vector<double>& vHeights) {
    double sum = 0;
    for (const double z : vHeights) sum += z;
    const auto [min, max] = std::minmax_element(vHeights.begin(), vHeights.end());
    const double aResults[] = {vHeights.front(), vHeights.back(), sum / static_cast<double>(vHeights.size()), *min,
                               *max};
    return aResults[rule];
}

TEST(HeightRule, HoldsForPointsAtOnePlaceHoweverTheyCome) {
    const std::vector<double> vHeights{5, 9, 2, 2, 6};
    for (const HeightRule rule : rules) {
        for (int batches = 0; batches < 8; ++batches) {  // singly, in one bulk, and in two; before and after triangles
            Taro_2D mesh;
            mesh.setHeightRule(rule);
            if (batches & 4) mesh.insert(makeRectangle(0, 0, 9, 9));
            PointVector vPoints;
            for (const double z : vHeights) vPoints.emplace_back(3, 4, z);
            if ((batches & 3) == 0) {
                for (const Point2& p : vPoints) mesh.insert(p);
            } else if ((batches & 3) == 1) {
                mesh.insert(vPoints);
            } else {
                mesh.insert(PointVector(vPoints.begin(), vPoints.begin() + batches % 4));
                mesh.insert(PointVector(vPoints.begin() + batches % 4, vPoints.end()));
            }
            EXPECT_DOUBLE_EQ(heightAt(mesh, 3, 4), expectedHeight(rule, vHeights)) << rule << " " << batches;
            const auto vConflicts = conflictsOf(mesh);
            for (const HeightConflict& conflict : vConflicts) EXPECT_EQ(conflict.pVtx->x(), 3);
            if (rule == HR_FIRST) {
                ASSERT_EQ(vConflicts.size(), 4u) << batches;
                for (size_t i = 0; i < 4; ++i) {
                    EXPECT_EQ(vConflicts[i].zKept, 5);
                    EXPECT_EQ(vConflicts[i].zOther, vHeights[i + 1]);
                }
                EXPECT_EQ(conflictsOf(mesh, 2.9).size(), 3u) << "9, 2 and 2 are farther from 5";
            }
        }
    }
}

TEST(HeightRule, HoldsForEndsPathsAndCrossingsOfSegments) {
    for (const HeightRule rule : rules) {
        for (const ConstraintInsertionStrategy cis :
             {CIS_CONSTRAINED_DELAUNAY, CIS_CONFORMING_LINEAR_Z, CIS_CONFORMING_SURFACE_Z}) {
            Taro_2D mesh;
            mesh.insert(makeRectangle(-50, -50, 50, 50));
            mesh.setHeightRule(rule);
            mesh.insert(PointVector{{-10, 0, 1}, {5, 0, 7}});
            // At an end (1, then 3), through a vertex (7, then 3), and across another one (3, then 8, then 4).
            mesh.createConstraint(makeChain({{-10, 0, 3}, {20, 0, 3}}), cis);
            mesh.createConstraint({makeSegment(0, -10, 0, 10, 8, 8)}, CIS_CONSTRAINED_DELAUNAY);
            mesh.createConstraint({makeSegment(-8, -8, 8, 8, 4, 4)}, CIS_CONSTRAINED_DELAUNAY);
            EXPECT_DOUBLE_EQ(heightAt(mesh, -10, 0), expectedHeight(rule, {1, 3})) << rule << " " << cis;
            if (cis != CIS_CONSTRAINED_DELAUNAY) continue;
            EXPECT_DOUBLE_EQ(heightAt(mesh, 5, 0), expectedHeight(rule, {7, heightAt(mesh, -10, 0) / 2 + 1.5})) << rule;
            EXPECT_EQ(mesh.numberOfPoints(), 12u);
            if (rule == HR_FIRST) {
                std::vector<double> vOther;
                for (const HeightConflict& c : conflictsOf(mesh, 1e-9)) vOther.push_back(c.zOther);
                ASSERT_EQ(vOther.size(), 4u);
                EXPECT_EQ(vOther[2], 8);
                EXPECT_EQ(vOther[3], 4) << "a third constraint through a crossing is a later meeting";
            }
        }
    }
}

TEST(HeightRule, ChainsCountOnceInTheMean) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(-50, -50, 50, 50));
    mesh.insert(Point2(0, 0, 1));
    mesh.setHeightRule(HR_MEAN);
    mesh.createConstraint(makeChain({{-10, 0, 3}, {0, 0, 3}, {10, 5, 3}}), CIS_CONSTRAINED_DELAUNAY);
    EXPECT_EQ(heightAt(mesh, 0, 0), 2.0);
}

TEST(HeightRule, OperationsOnTheSurfaceLeaveNothing) {
    Taro_2D mesh;
    mesh.setHeightRule(HR_MAX);
    Random random(2);
    PointVector vPoints;
    for (int i = 0; i < 200; ++i)
        vPoints.emplace_back(integer(random, 0, 40), integer(random, 0, 40), uniform(random, 0, 9));
    mesh.insert(vPoints);
    const size_t numBefore = conflictsOf(mesh).size();
    EXPECT_GT(numBefore, 0u);
    const std::vector<double> vBefore = [&] {
        std::vector<double> v;
        for (const Point2& p : vPoints) v.push_back(heightAt(mesh, p.x(), p.y()));
        return v;
    }();
    mesh.cutTriangles(Point2(1, 1, 77), Point2(39, 30, 77));
    mesh.createZone_cookieCutter(makeSides(makeRectangle(5, 5, 30, 30)));
    EXPECT_EQ(conflictsOf(mesh).size(), numBefore);
    for (size_t i = 0; i < vPoints.size(); ++i) EXPECT_EQ(heightAt(mesh, vPoints[i].x(), vPoints[i].y()), vBefore[i]);
}

TEST(HeightRule, WhatWasNotedOfRemovedVerticesVanishes) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(0, 0, 9, 9));
    Point2* pFirst = mesh.insert(Point2(3, 3, 1));
    Point2* pSecond = mesh.insert(Point2(5, 5, 1));
    for (const double z : {2.0, 4.0}) {
        mesh.insert(Point2(3, 3, z));
        mesh.insert(Point2(5, 5, z));
    }
    EXPECT_EQ(conflictsOf(mesh).size(), 4u);
    EXPECT_EQ(conflictsOf(mesh, 1.0).size(), 2u);
    EXPECT_TRUE(conflictsOf(mesh, NOT_A_NUMBER).empty());
    mesh.remove(pFirst);
    ASSERT_EQ(conflictsOf(mesh).size(), 2u);
    EXPECT_EQ(conflictsOf(mesh)[0].pVtx, pSecond);
    mesh.insert(Point2(4, 4, 1));  // takes the record of the vertex that is gone
    mesh.insert(Point2(4, 4, 6));
    EXPECT_EQ(conflictsOf(mesh).size(), 3u);
    StdoutCapture capture;
    mesh.setHeightRule(static_cast<HeightRule>(5));
    EXPECT_TRUE(contains(capture, "Taro_2D::setHeightRule(), WARNING: unknown rule"));
}

}  // namespace
