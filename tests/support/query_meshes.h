#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "mesh/Dt2.h"
#include "support/capture.h"
#include "support/delaunay_oracle.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Visualizer2.h"

// Meshes to ask, and expected answers.

namespace query_meshes {

using namespace LUMO_TARO25D;

/// Small triangulations of every kind of points, made at once and point by point.
inline void forEachMesh(const std::function<void(Taro_2D&, Random&)>& check) {
    for (const Generator& generator : generators) {
        for (const size_t n : {5, 40}) {
            SCOPED_TRACE(generator.name + (" " + std::to_string(n)));
            Random random(n);
            const PointVector vPoints = generator.make(n, random);
            Taro_2D bulkMesh, singleMesh;
            bulkMesh.insert(vPoints);
            if (bulkMesh.is2D()) check(bulkMesh, random);
            for (const Point2& point : vPoints) singleMesh.insert(point);
            if (singleMesh.is2D()) check(singleMesh, random);
        }
    }
}

template <class T>
std::vector<T> sorted(std::vector<T> v) {
    std::sort(v.begin(), v.end());
    return v;
}

/// Andrew's monotone chain: counterclockwise from the leftmost point, with or without collinear points.
inline PointVector monotoneChain(const VertexVector& vVertices, bool bAllVertices) {
    PointVector vSorted, vHull;
    for (const Point2* p : vVertices) vSorted.push_back(*p);
    std::sort(vSorted.begin(), vSorted.end());
    const auto addChain = [&](auto begin, auto end) {
        const size_t base = vHull.size();
        for (auto it = begin; it != end; ++it) {
            while (vHull.size() >= base + 2 &&
                   oracleOrientation(vHull[vHull.size() - 2], vHull.back(), *it) < (bAllVertices ? 0 : 1)) {
                vHull.pop_back();
            }
            vHull.push_back(*it);
        }
        vHull.pop_back();
    };
    addChain(vSorted.begin(), vSorted.end());
    addChain(vSorted.rbegin(), vSorted.rend());
    return vHull;
}

inline PointVector getHull(const Taro_2D& mesh, bool bAllVertices) {
    const VertexVector vHull = hullOf(mesh, bAllVertices);
    PointVector vResult;
    for (const Point2* p : vHull) vResult.push_back(*p);
    std::rotate(vResult.begin(), std::min_element(vResult.begin(), vResult.end()), vResult.end());
    return vResult;
}

/// The unit square with one more vertex in the middle of its upper side; height x.
struct Square {
    Square() {
        for (const auto& [x, y] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}, {0.5, 1.0}}) {
            vCorners.push_back(mesh.insert(Point2(x, y, x)));
        }
    }
    Taro_2D mesh;
    VertexVector vCorners;
};

inline void expectPrinted(const StdoutCapture& capture, std::initializer_list<std::string> texts) {
    for (const std::string& text : texts) {
        EXPECT_TRUE(contains(capture, text));
    }
}

}  // namespace query_meshes
