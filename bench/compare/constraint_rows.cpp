// Segments forced into the mesh as edges.

#include <CGAL/Exact_predicates_exact_constructions_kernel.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "lineWork.h"
#include "taro25d/Edge2.h"

namespace bench {

namespace {

/// Crossings of constraints are exact.
using ExactConstrained = CGAL::Constrained_Delaunay_triangulation_2<CGAL::Exact_predicates_exact_constructions_kernel,
                                                                    CGAL::Default, CGAL::Exact_intersections_tag>;

/// The segments alone, each in a call of its own.
Sample ourSegments(const LineWork& work) {
    Taro_2D taro;
    taro.insert(work.vPoints);
    Sample sample = timed([&] {
        for (const Segment2& segment : work.vSegments)
            taro.createConstraint({segment}, LUMO_TARO25D::CIS_CONSTRAINED_DELAUNAY);
    });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

Sample ourLoad(const std::string& filename) {
    Taro_2D taro;
    Sample sample = timed([&] { taro.load(filename.c_str()); });
    sample.result = {taro.numberOfPoints(), taro.numberOfTriangles()};
    return sample;
}

Points allPoints(const LineWork& work) {
    Points vPoints = work.vPoints;
    for (const Segment2& segment : work.vSegments) vPoints.insert(vPoints.end(), {segment.getSrc(), segment.getTrg()});
    return vPoints;
}

/// Points and segments against fewer of them, whose time is multiplied by the growth of bulk insertion of the points.
Contest constraintGrowth(const SharedLineWork& pMany, const SharedLineWork& pFew) {
    auto pManyPoints = std::make_shared<const Points>(allPoints(*pMany));
    auto pFewPoints = std::make_shared<const Points>(allPoints(*pFew));
    return {[pMany] { return ourConstrained(*pMany); },
            [=] {
                Sample sample = ourConstrained(*pFew);
                const Sample many = ourBulk(*pManyPoints), few = ourBulk(*pFewPoints);
                sample.cpu *= many.cpu / few.cpu;
                sample.wall *= many.wall / few.wall;
                return sample;
            },
            false};
}

/// Segments into an existing mesh, against making that mesh.
Contest segmentsAgainstMesh(const SharedLineWork& pWork) {
    return {[pWork] { return ourSegments(*pWork); }, [pWork] { return ourBulk(pWork->vPoints); }, false};
}

Contest ownSegments(const SharedLineWork& pWork, const SharedLineWork& pReference) {
    return {[pWork] { return ourSegments(*pWork); }, [pReference] { return ourSegments(*pReference); }, false};
}

/// The name of a file that goes with its last user.
std::shared_ptr<const std::string> makeTemporaryName() {
    const auto path = std::filesystem::temp_directory_path() / ("compare" + std::to_string(getpid()));
    return {new std::string(path), [](const std::string* pName) {
                std::filesystem::remove(*pName);
                delete pName;
            }};
}

Contest loading(const SharedLineWork& pWork) {
    auto pName = makeTemporaryName();
    Taro_2D taro;
    insert(*pWork, taro);
    if (!taro.save(pName->c_str())) throw std::runtime_error("cannot write " + *pName);
    return {[pName] { return ourLoad(*pName); }, [pWork] { return ourConstrained(*pWork); }};
}

/// The edges of two triangulations of n points each.
Segments edgesOfTwo(std::size_t n) {
    Segments vEdges;
    for (const std::uint64_t seed : {1, 2}) {
        Taro_2D taro;
        taro.insert(uniform(n, seed));
        std::vector<Triangle2*> vTriangles;
        taro.getTrianglePointers(vTriangles);
        for (Triangle2* pT : vTriangles) {
            for (int i = 0; i < 3; ++i) {
                const LUMO_TARO25D::Edge2 edge(pT, i);
                if (!pT->getOppositeTriangle(i) || *edge.getSrc() < *edge.getTrg())
                    vEdges.emplace_back(*edge.getSrc(), *edge.getTrg());
            }
        }
    }
    return vEdges;
}

}  // namespace

std::vector<Row> constraintRows(Scale size) {
    const char* const cgalConstraints = "`insert_constraints`";
    return {
        {"constraints-short", "20,000 disjoint short segments and 100,000 uniform points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share(uniform(size(1e5)), shortSegments(size(2e4))), true); }},
        {"constraints-short-million", "200,000 of these and 1,000,000 points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share(uniform(size(1e6)), shortSegments(size(2e5))), true); }},
        {"constraints-growth", "200,000 and 1,000,000", "own, 20,000 and 100,000, times the growth of bulk insertion",
         1.1, cpu,
         [=] {
             return constraintGrowth(share(uniform(size(1e6)), shortSegments(size(2e5))),
                                     share(uniform(size(1e5)), shortSegments(size(2e4))));
         }},
        {"constraints-crossing", "300 long segments that cross 34,000 times and 100,000 uniform points",
         cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share(uniform(size(1e5)), longSegments(300)), false); }},
        {"constraints-crossing-exact", "300 long segments that cross 34,000 times",
         "`insert_constraints`, exact crossings", 0.3, cpu,
         [=] { return constrained<ExactConstrained>(share(uniform(size(1e5)), longSegments(300)), false); }},
        {"constraints-network", "a network of 60,000 segments and no other points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share({}, windingLines(size(6e4))), true); }},
        {"constraints-meshes", "all edges of two meshes of 20,000 points", cgalConstraints, 1.0, cpu,
         [=] { return constrained<RoundingConstrained>(share({}, edgesOfTwo(size(2e4))), false); }},
        {"memory-constraints-meshes", "peak memory, all edges of two meshes of 20,000 points", cgalConstraints, 2.0,
         peak, [=] { return constrained<RoundingConstrained>(share({}, edgesOfTwo(size(2e4))), false); }, true, true},
        {"constraint-across", "one segment across a mesh of 1,000,000 points", "own bulk of these", 0.01, cpu,
         [=] { return segmentsAgainstMesh(share(uniform(size(1e6)), acrossSegments(1))); }},
        {"constraint-across-growth", "20 segments across a mesh of 1,000,000 points, one by one",
         "own, a tenth as long", 10.0 * std::log(2100.0) / std::log(210.0), cpu,
         [=] {
             const Points vPoints = uniform(size(1e6));
             return ownSegments(share(vPoints, acrossSegments(20)), share(vPoints, acrossSegments(20, 0.1)));
         }},
        {"load", "file of 1,000,000 points and 100,000 segments", "own, inserting them from memory", 1.3, cpu,
         [=] { return loading(share(uniform(size(1e6)), shortSegments(size(1e5)))); }},
    };
}

}  // namespace bench
