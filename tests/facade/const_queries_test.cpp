#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/capture.h"
#include "support/files.h"
#include "support/generators.h"
#include "support/mesh.h"
#include "taro25d/taro25d.h"

// Const calls on several threads at the same time. The thread sanitizer shows that none of them writes data that
// another reads.

using namespace LUMO_TARO25D;

namespace {

using Numbers = std::vector<double>;
using Query = std::function<Numbers()>;

/// A mesh that often needs exact arithmetic, with constraints of both kinds and every kind of zone.
struct Scene {
    Scene() {
        mesh.insert(makeGrid(12, 0, 0, 1, random));
        mesh.insert(makeScattered(60, 0, 0, 11, 11, random, 10));
        pRing = mesh.createConstraint(
            {Segment2(Point2(2, 2, 1), Point2(9, 2.5, 2)), Segment2(Point2(9, 2.5, 2), Point2(8, 9, 3)),
             Segment2(Point2(8, 9, 3), Point2(2, 2, 1))},
            CIS_CONSTRAINED_DELAUNAY);
        pLine = mesh.createConstraint({Segment2(Point2(0.5, 6, 0), Point2(10.5, 4, 0))}, CIS_CONFORMING_LINEAR_Z);
        pExtra = mesh.createConstraint({Segment2(Point2(1, 1, 0), Point2(3, 10, 0))}, CIS_CONSTRAINED_DELAUNAY);
        mesh.removeConstraint(pExtra);
        mesh.insert(makeScattered(20, 0, 0, 11, 11, random, 10));  // splits segments after the last call
        pInside = mesh.createZone(pRing, ZL_INSIDE);
        pAll = mesh.createZone(nullptr, ZL_GLOBAL);
        vZones = {pInside,
                  pAll,
                  mesh.createZone(pLine, ZL_GROW, Point2(5, 1, 0)),
                  mesh.createZone(pRing, ZL_OUTSIDE),
                  mesh.createZone(someOf(trianglesOf(mesh), 0.5, random)),
                  zoneSymmetricDifference(pInside, mesh.createZone(pLine, ZL_GROW, Point2(5, 10, 0)))};
        for (size_t i = 0; i < 40; ++i) {
            vPlaces.emplace_back(integer(random, -2, 24) / 2.0, integer(random, -2, 24) / 2.0, 0);
        }
    }
    Random random{7};
    Taro_2D mesh;
    ConstraintGraph2 *pRing, *pLine, *pExtra;
    Zone2 *pInside, *pAll;
    std::vector<Zone2*> vZones;
    PointVector vPlaces;
};

double number(const void* p) { return static_cast<double>(reinterpret_cast<std::uintptr_t>(p)); }

template <class Pointers>
void append(Numbers& v, const Pointers& vPointers) {
    v.push_back(static_cast<double>(vPointers.size()));
    for (const auto* p : vPointers) v.push_back(number(p));
}

Numbers askPlaces(const Scene& s) {
    Numbers v;
    for (const Point2& place : s.vPlaces) {
        v.push_back(number(s.mesh.locate(place)));
        double height = 0;
        v.push_back(s.mesh.getHeight(place.x(), place.y(), height, nullptr, 2.0) ? height : -1);
        v.push_back(number(s.mesh.getNearestVertex(place)));
        for (const Zone2* pZone : s.vZones) v.push_back(pZone->contains(place));
        VertexVector vVertices;
        TriangleVector vTriangles;
        s.mesh.getVerticesInCircle(Circle2(place, 2.0), vVertices);
        s.mesh.getVerticesInBox(Bbox2(place.x(), place.y(), place.x() + 2, place.y() + 2), vVertices);
        s.mesh.getTrianglesInBox(Bbox2(place.x(), place.y(), place.x() + 2, place.y() + 2), vTriangles);
        append(v, vVertices);
        append(v, vTriangles);
    }
    return v;
}

Numbers askMesh(const Scene& s) {
    Numbers v;
    append(v, verticesOf(s.mesh));
    append(v, trianglesOf(s.mesh));
    append(v, hullOf(s.mesh, true));
    append(v, hullOf(s.mesh, false));
    append(v, aliveSegmentsOf(s.mesh));
    append(v, collect<CSegVector>([&](auto& vAll) { s.mesh.getAliveAndDeadConstraintSegments(vAll); }));
    append(v, collect<std::vector<ConstraintGraph2*>>([&](auto& vAll) { s.mesh.getConstraintGraphs(vAll); }));
    IndexedMesh exported;
    s.mesh.getIndexedMesh(exported, s.pInside);
    v.insert(v.end(), exported.vTriangles.begin(), exported.vTriangles.end());
    v.push_back(s.mesh.computeBoundingBox().getMaxX());
    std::vector<HeightConflict> vConflicts;
    s.mesh.getHeightConflicts(0.0, vConflicts);
    v.push_back(static_cast<double>(vConflicts.size()));
    return v;
}

Numbers askNeighbours(const Scene& s) {
    Numbers v;
    const VertexVector vVertices = verticesOf(s.mesh);
    for (Point2* pVtx : vVertices) {
        append(v, trianglesAround(s.mesh, pVtx));
        VertexVector vNeighbours;
        s.mesh.getIncidentVertices(pVtx, vNeighbours);
        append(v, vNeighbours);
        v.push_back(number(s.mesh.getAdjacentTriangle(pVtx, vNeighbours.front())));
        v.push_back(s.mesh.isConstraint(pVtx));
        v.push_back(s.mesh.isConstraint(pVtx, vNeighbours.front()));
        v.push_back(number(s.mesh.getConstraintSegment(pVtx, vNeighbours.front())));
        v.push_back(getOrientation2(pVtx, vVertices[0], vNeighbours.front()));
    }
    return v;
}

Numbers askZones(const Scene& s) {
    Numbers v;
    for (const Zone2* pZone : s.vZones) {
        append(v, trianglesOf(pZone));
        v.insert(v.end(), {pZone->getArea2D(), pZone->getArea25D(), pZone->getBoundingBox().getMinX()});
        VertexVector vVertices;
        pZone->getVertices(vVertices);
        append(v, vVertices);
        std::vector<Edge2> vBorder;
        pZone->getBorderEdges(vBorder);
        v.push_back(static_cast<double>(vBorder.size()));
        v.push_back(pZone->contains(trianglesOf(s.pAll).front()));
    }
    for (const ConstraintGraph2* pGraph : {s.pRing, s.pLine}) {
        CSegVector vPieces;
        pGraph->getAliveConstraintChain(vPieces);
        append(v, vPieces);
        append(v, polygonOf(pGraph));
        append(v, originalsOf(pGraph));
    }
    return v;
}

Numbers askSurface(const Scene& s) {
    const RasterFrame frame{0.0, 11.0, 0.5, 0.5, 22, 22};
    Numbers v;
    for (const RasterKind kind : {RK_LINEAR, RK_NATURAL_NEIGHBOUR, RK_HILLSHADE}) {
        Numbers vCells(22 * 22);
        rasterize(s.pInside, frame, kind, vCells.data());
        for (const double cell : vCells) v.push_back(cell == cell ? cell : -1);
    }
    const SurfaceDifference difference = compareSurfaces(s.pInside, s.pAll, 0.0);
    v.push_back(difference.unchangedArea);
    Numbers vXY, vHeights(s.vPlaces.size());
    for (const Point2& place : s.vPlaces) vXY.insert(vXY.end(), {place.x(), place.y()});
    v.push_back(static_cast<double>(s.mesh.getHeights(s.vPlaces.size(), vXY.data(), vHeights.data())));
    return v;
}

Numbers askGraphs(const Scene& s) {
    Numbers v;
    for (const ConstraintGraph2* pGraph : {s.pRing, s.pLine}) {
        CSegVector vPieces;
        pGraph->getChildConstraintSegments(vPieces);
        for (ConstraintSegment2* pCSeg : vPieces) {
            v.push_back(pGraph->isConstraint(pCSeg));
            v.push_back(pGraph->isConstraint(pCSeg->getSrc(), pCSeg->getTrg()));
            if (pGraph->isOriented()) v.push_back(pGraph->isReverse(pCSeg));
        }
    }
    for (const Zone2* pZone : s.vZones) {
        append(v, collect<std::vector<ConstraintGraph2*>>([&](auto& vAll) { pZone->getConstraintGraphs(vAll); }));
        v.push_back(static_cast<double>(pZone->getNumberOfTriangles()));
        v.push_back(static_cast<double>(
            collect<std::vector<Segment2>>([&](auto& vAll) { pZone->getBoundarySegments(vAll); }).size()));
    }
    return v;
}

Numbers askLines(const Scene& s) {
    std::vector<Segment2> vDraped;
    s.mesh.drape(makePolyline(s.vPlaces), vDraped);
    Numbers v{double(s.mesh.clone()->numberOfTriangles()), double(vDraped.size())};
    std::vector<Segment2*> vPointers, vIllegal;
    for (Segment2& segment : vDraped) vPointers.push_back(&segment);
    SegmentChecker(vPointers).getIllegalSegments(true, vIllegal);
    v.push_back(static_cast<double>(vIllegal.size()));
    return v;
}

/// Each thread writes files of its own.
Numbers askFiles(const Scene& s) {
    static std::atomic<int> numFiles{0};
    const std::string name = "const_queries_" + std::to_string(numFiles++);
    Visualizer3 scene("thread");
    s.mesh.showGeomview(&scene);
    s.pInside->showGeomview(&scene);
    const bool bAll = s.mesh.save((name + ".301").c_str()) && s.mesh.saveAll((name + ".302").c_str()) &&
                      s.mesh.writeObj(name + ".obj") && s.mesh.writeObj(name + "_zone.obj", s.pInside) &&
                      s.mesh.writeWebScene((name + ".html").c_str()) && scene.writeGlb(name + ".glb") &&
                      scene.writePly(name + ".ply") && scene.writeGeomview(name + ".list");
    s.mesh.show(name + ".ps");
    s.pInside->show(name + "_zone.ps");
    s.pRing->show(name + "_ring.ps");
    return {double(bAll)};
}

Numbers askReports(const Scene& s) {
    s.mesh.statistics("thread");
    s.pInside->statistics("thread");
    return {double(s.mesh.checkValidity(true, "thread")), double(s.mesh.numberOfPoints()),
            double(s.mesh.numberOfTriangles())};
}

/// Earthworks and a simplified surface, computed before they are asked.
struct Results {
    explicit Results(const Scene& scene) : work(scene.pInside, scene.pAll, 0.0), model(verticesAsPoints(scene)) {
        work.go();
        model.setMaxError(2.0);
        model.go();
    }
    static PointVector verticesAsPoints(const Scene& scene) {
        PointVector vPoints;
        for (const Point2* pVtx : verticesOf(scene.mesh)) vPoints.push_back(*pVtx);
        return vPoints;
    }
    Numbers ask() const {
        SurfaceDifference totals{};
        work.getTotals(totals);
        Numbers v{totals.unchangedArea, model.getError(), model.getSurfaceError()};
        for (size_t i = 0; i < work.getNumberOfComponents(); ++i) {
            const CAF_Component& component = *work.getComponent(i);
            v.insert(v.end(), {component.getArea2D(), component.getMaxHeightDifference()});
            v.push_back(static_cast<double>(
                collect<std::vector<Segment2>>([&](auto& vAll) { component.getBorder(vAll); }).size()));
        }
        return v;
    }
    CutAndFill work;
    EfficientModel model;
};

TEST(Parallel, ConstQueriesDoNotDisturbEachOther) {
    setMessageHandler([](MsgLevel, const std::string&, const std::string&) {});
    const Scene scene;
    const Results results(scene);
    const IsoContours contours(trianglesOf(scene.mesh));
    const auto askContours = [&contours](const Scene&) {
        std::vector<std::vector<Segment2>> vvContours;
        std::vector<Segment2> vProfile;
        contours.getContours(3.3, vvContours);
        contours.getProfile(Point2(5, 5, 0), vProfile);
        std::vector<ContourBand> vBands;
        contours.getBands({2.0, 4.0, 6.0}, vBands);
        return Numbers{double(vvContours.size()), double(vProfile.size()), double(vBands.size())};
    };
    std::vector<Query> vQueries;
    for (const auto& f :
         std::vector<std::function<Numbers(const Scene&)>>{askPlaces, askMesh, askNeighbours, askZones, askGraphs,
                                                           askLines, askFiles, askSurface, askReports, askContours}) {
        vQueries.push_back([&scene, f] { return f(scene); });
    }
    vQueries.push_back([&results] { return results.ask(); });
    std::vector<Numbers> vExpected;
    for (const Query& query : vQueries) vExpected.push_back(query());
    std::atomic<int> numWrong{0};
    std::vector<std::thread> vThreads;
    for (size_t t = 0; t < 4; ++t) {
        vThreads.emplace_back([&, t] {
            for (size_t k = 0; k < 2 * vQueries.size(); ++k) {
                const size_t q = (k + 2 * t) % vQueries.size();
                if (vQueries[q]() != vExpected[q]) ++numWrong;
            }
        });
    }
    for (std::thread& thread : vThreads) thread.join();
    setMessageHandler(nullptr);
    EXPECT_EQ(numWrong, 0);
}

}  // namespace
