// Scene files: the content read back must equal the scene.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "drawing/PieceCutter.h"
#include "drawing/SceneFile.h"
#include "drawing/viewerScript.h"
#include "support/capture.h"
#include "support/files.h"
#include "support/mesh.h"
#include "support/polygons.h"
#include "support/recorder.h"
#include "taro25d/CutAndFill.h"
#include "taro25d/Label.h"
#include "taro25d/TaroCancelled.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Visualizer3.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

using Places = std::array<Xyz, 3>;
using TriangleSet = std::multiset<Places>;

/// The corners, beginning with the smallest.
Places rotated(Places corners) {
    std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
    return corners;
}

TriangleSet toSet(const TriangleVector& vTriangles) {
    TriangleSet triangles;
    for (const Triangle2* pT : vTriangles) {
        Places corners;
        for (int i = 0; i < 3; ++i) {
            const Point2& p = *pT->getCorner(i);
            corners[static_cast<size_t>(i)] = {p.x(), p.y(), p.z()};
        }
        triangles.insert(rotated(corners));
    }
    return triangles;
}

/// Rolling ground at survey coordinates that have digits in all places.
PointVector makeGround(size_t n) {
    Random r(7);
    PointVector vPoints;
    for (size_t i = 0; i < n; ++i) {
        const double x = uniform(r, 0, 1000), y = uniform(r, 0, 1000);
        vPoints.emplace_back(500000 + x, 5400000 + y, 300 + 40 * std::sin(x / 200) * std::cos(y / 150));
    }
    return vPoints;
}

/// The content of an OBJ file, each element with its layer and material.
struct ObjContent {
    std::vector<Xyz> vVertices;
    std::map<std::string, TriangleSet> mTriangles;
    size_t numLines = 0;
    std::set<std::string> sMaterials;

    explicit ObjContent(const std::string& filename) {
        std::istringstream text(readFile(filename));
        std::string layer;
        for (std::string line; std::getline(text, line);) {
            std::istringstream words(line);
            std::string key;
            words >> key;
            if (key == "o") words >> layer;
            if (key == "usemtl") sMaterials.insert(line.substr(7));
            if (key == "v") addVertex(words);
            if (key == "f") mTriangles[layer].insert(readTriangle(words));
            if (key == "l") ++numLines;
        }
    }

  private:
    void addVertex(std::istream& words) {
        Xyz& vertex = vVertices.emplace_back();
        words >> vertex[0] >> vertex[1] >> vertex[2];
    }
    Places readTriangle(std::istream& words) {
        Places corners;
        for (Xyz& corner : corners) {
            size_t number = 0;
            words >> number;
            corner = vVertices.at(number - 1);
        }
        return rotated(corners);
    }
};

std::set<std::string> definedMaterials(const std::string& filename) {
    std::istringstream text(readFile(filename));
    std::set<std::string> sNames;
    for (std::string line; std::getline(text, line);) {
        if (line.rfind("newmtl ", 0) == 0) sNames.insert(line.substr(7));
    }
    return sNames;
}

bool includes(const std::set<std::string>& sAll, const std::set<std::string>& sSome) {
    return std::includes(sAll.begin(), sAll.end(), sSome.begin(), sSome.end());
}

template <class T>
T valueAt(const std::string& bytes, size_t at) {
    T value;
    std::memcpy(&value, bytes.data() + at, sizeof(value));
    return value;
}

/// The triangles as a surface for writers.
SceneSurface toSurface(const TriangleVector& vTriangles) {
    SceneSurface surface{0, CR_TERRAIN, Color(), {}, {}};
    std::map<const Point2*, std::uint32_t> mNumbers;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Point2& p = *pT->getCorner(i);
            const auto [it, bNew] = mNumbers.emplace(&p, static_cast<std::uint32_t>(mNumbers.size()));
            if (bNew) surface.vVertices.push_back({p.x(), p.y(), p.z()});
            surface.vTriangles.push_back(it->second);
        }
    }
    return surface;
}

}  // namespace

TEST(Scene, PositionsBeyondFloatsAreNoGlbAndNoPage) {
    Visualizer3 scene("far");
    scene.addSegments({makeSegment(0, 0, 1e39, 0)}, "far", Color(CBLUE));
    const std::string aboutGlb = printedBy([&] { EXPECT_FALSE(scene.writeGlb("far.glb")); });
    EXPECT_NE(aboutGlb.find("beyond the range of floats"), std::string::npos);
    EXPECT_NE(printedBy([&] { EXPECT_FALSE(scene.writeWebScene("far.html")); }), "");
    EXPECT_FALSE(std::filesystem::exists("far.html"));
}

TEST(Scene, LinesOfOneLayerAndColourAreOneObject) {
    Visualizer3 scene("lines");
    for (const double y : {0.0, 1.0, 2.0}) scene.addSegments({makeSegment(0, y, 1, y)}, "contours", Color(CBLUE));
    scene.addSegments({makeSegment(0, 3, 1, 3)}, "contours", Color(CRED));
    ASSERT_TRUE(scene.writeObj("lines.obj"));
    std::ifstream file("lines.obj");
    int numObjects = 0, numLines = 0;
    for (std::string line; std::getline(file, line);) {
        numObjects += line.rfind("o ", 0) == 0;
        numLines += line.rfind("l ", 0) == 0;
    }
    EXPECT_EQ(numObjects, 2);
    EXPECT_EQ(numLines, 4);
}

TEST(Scene, ObjGivesEveryTriangleOfEveryLayerAgain) {
    Taro_2D mesh;
    mesh.insert(makeGround(2000));
    const TriangleVector vTriangles = trianglesOf(mesh);
    const TriangleVector vOthers(vTriangles.begin(), vTriangles.begin() + 100);
    Visualizer3 scene("ground\nf 1 2 3");
    scene.setVerticalExaggeration(4);
    scene.addSurface(vTriangles, "the ground", CR_TERRAIN);
    scene.addSurface(vOthers, "chosen", Color(CRED));
    scene.addSegments({makeSegment(1, 2, 3, 4, 5, 6)}, "lines", Color(CBLUE));
    ASSERT_TRUE(scene.writeObj("scene.obj"));

    const ObjContent content("scene.obj");
    EXPECT_EQ(content.mTriangles.at("the_ground"), toSet(vTriangles));
    EXPECT_EQ(content.mTriangles.at("chosen"), toSet(vOthers));
    EXPECT_EQ(content.mTriangles.size(), 2u);
    EXPECT_EQ(content.vVertices.size(), 2000u + toSurface(vOthers).vVertices.size() + 2u);
    EXPECT_EQ(content.numLines, 1u);
    EXPECT_TRUE(contains(readFile("scene.obj"), "\nmtllib scene.mtl\n"));
    EXPECT_TRUE(includes(definedMaterials("scene.mtl"), content.sMaterials));
    EXPECT_GT(content.sMaterials.size(), 20u);  // the ramp's, and two
    ASSERT_TRUE(scene.writeObj("scene"));
    EXPECT_TRUE(std::filesystem::exists("scene.mtl"));
}

TEST(Scene, PlyGivesEveryVertexAndTriangleAgain) {
    Taro_2D mesh;
    mesh.insert(makeGround(500));
    const TriangleVector vTriangles = trianglesOf(mesh);
    Visualizer3 scene("ground");
    scene.addSurface(vTriangles, "ground", Color(CRED));
    scene.addSurface(vTriangles, "again", CR_GREY);
    scene.addSegments({makeSegment(1, 2, 3, 4, 5, 6)}, "lines", Color(CBLUE));
    ASSERT_TRUE(scene.writePly("scene.ply"));

    const std::string bytes = readFile("scene.ply");
    const std::string end = "end_header\n";
    const size_t vertices = bytes.find(end) + end.size(), faces = vertices + 1002 * 27;
    const std::string header = bytes.substr(0, vertices);
    EXPECT_TRUE(contains(header, "element vertex 1002\n"));
    EXPECT_TRUE(contains(header, "element face " + std::to_string(2 * vTriangles.size()) + "\n"));
    EXPECT_TRUE(contains(header, "element edge 1\n"));
    ASSERT_EQ(bytes.size(), faces + 2 * vTriangles.size() * 13 + 11);
    TriangleSet triangles;
    for (size_t i = 0; i < 2 * vTriangles.size(); ++i) {
        EXPECT_EQ(bytes[faces + 13 * i], 3);
        Places corners;
        for (size_t k = 0; k < 3; ++k) {
            const auto number = valueAt<std::int32_t>(bytes, faces + 13 * i + 1 + 4 * k);
            corners[k] = valueAt<Xyz>(bytes, vertices + 27 * static_cast<size_t>(number));
        }
        triangles.insert(rotated(corners));
    }
    TriangleVector vTwice = vTriangles;
    vTwice.insert(vTwice.end(), vTriangles.begin(), vTriangles.end());
    EXPECT_EQ(triangles, toSet(vTwice));
    EXPECT_EQ(bytes.substr(vertices + 24, 3), "\xff" + std::string(2, '\0'));
    EXPECT_EQ(valueAt<std::int32_t>(bytes, bytes.size() - 11), 1000);
}

TEST(Scene, GlbHasChunksOfTheLengthsThatItTells) {
    Taro_2D mesh;
    mesh.insert(makeGround(500));
    Visualizer3 scene("a \"title\"");
    scene.addSurface(trianglesOf(mesh), "ground", CR_DIVERGING);
    scene.addLabel(Label(Point2(500000, 5400000, 0), "corner"), "names");
    ASSERT_TRUE(scene.writeGlb("scene.glb"));
    const std::string bytes = readFile("scene.glb");
    ASSERT_GT(bytes.size(), 28u);
    const size_t jsonLength = valueAt<std::uint32_t>(bytes, 12),
                 binaryLength = valueAt<std::uint32_t>(bytes, 20 + jsonLength);
    EXPECT_EQ(bytes.substr(0, 4), "glTF");
    EXPECT_EQ(valueAt<std::uint32_t>(bytes, 8), bytes.size());
    EXPECT_EQ(28 + jsonLength + binaryLength, bytes.size());
    EXPECT_EQ(binaryLength, 500u * (12 + 4) + (mesh.numberOfTriangles() * 6 + 3) / 4 * 4);
    EXPECT_TRUE(contains(bytes.substr(20, jsonLength), "\"name\":\"a \\\"title\\\"\""));
}

TEST(Scene, APieceHasVerticesFor16BitsAndAllPiecesMakeTheSurface) {
    Taro_2D mesh;
    mesh.insert(makeGround(150000));
    const SceneSurface surface = toSurface(trianglesOf(mesh));
    Progress progress;
    SceneTask task(progress, "cutting", 1);
    PieceCutter cutter(surface, task);
    std::multiset<std::array<std::uint32_t, 3>> triangles;
    size_t numPieces = 0, numVertices = 0;
    for (SurfacePiece piece; cutter.getNext(piece); ++numPieces) {
        ASSERT_LE(piece.vVertices.size(), PieceCutter::MAX_VERTICES);
        numVertices += piece.vVertices.size();
        for (size_t i = 0; i < piece.vTriangles.size(); i += 3) {
            const auto vertex = [&](size_t k) { return piece.vVertices.at(piece.vTriangles[i + k]); };
            triangles.insert({vertex(0), vertex(1), vertex(2)});
        }
    }
    for (size_t i = 0; i < surface.vTriangles.size(); i += 3) {
        const auto& v = surface.vTriangles;
        ASSERT_EQ(triangles.count({v[i], v[i + 1], v[i + 2]}), 1u);
    }
    EXPECT_EQ(triangles.size(), surface.numTriangles());
    EXPECT_EQ(numPieces, 3u);
    EXPECT_LT(numVertices, 1.03 * 150000);
}

TEST(Scene, GeomviewHasTheColoursAndHeightsToBeShown) {
    Point2 p0(10, 20, 0), p1(12, 20, 0), p2(10, 24, 2);
    Triangle2 triangle(&p0, &p1, &p2);
    Visualizer3 scene("one triangle");
    scene.setVerticalExaggeration(3);
    scene.addSurface({&triangle}, "ground", Color(CWHITE));
    scene.addSegments({Segment2(p0, p2)}, "lines", Color(CRED));
    ASSERT_TRUE(scene.writeGeomview("scene.gv"));
    EXPECT_EQ(readFile("scene.gv"),
              "LIST\n# one triangle\n# relative to x 11, y 22, z 1; heights times 3\n# layer ground\n{ OFF\n3 1 0\n"
              "-1 -2 -3\n1 -2 -3\n-1 2 3\n3 0 1 2 1 1 1 0.5\n}\n"
              "# layer lines\n{ VECT\n1 2 1\n2\n1\n-1 -2 -3\n-1 2 3\n 1 0 0 1\n}\n");
}

TEST(Scene, DrawsWhatItCanAndRefusesTheRest) {
    Point2 p0(0, 0, 0), p1(1, 0, 0), p2(0, 1, 0), far(0, 1, INF);
    Triangle2 good(&p0, &p1, &p2), high(&p0, &p1, &far), none;
    Visualizer3 scene("strange");
    Recorder listener;
    scene.subscribe(MT_WARNING, &listener);
    const std::string printed = printedBy([&] {
        EXPECT_FALSE(scene.writePly("strange.ply"));  // nothing in it
        scene.addSurface({nullptr, &good, &high, &none}, "layer", CR_TERRAIN);
        scene.addSegments({Segment2(p0, far), Segment2(p0, p1)}, "lines", Color());
        scene.addLabel(Label(far, "far"), "names");
        scene.setVerticalExaggeration(0);
        scene.setVerticalExaggeration(NOT_A_NUMBER);
        scene.addSurface({&good}, "other", static_cast<ColourRamp>(3));
        EXPECT_FALSE(scene.writeObj("no such folder/strange.obj"));
    });
    EXPECT_EQ(listener.vMessages.size(), 8u);
    EXPECT_TRUE(contains(printed, "3 left out"));
    p0.set(5, 5, 5);  // coordinates have been copied
    ASSERT_TRUE(scene.writeObj("strange.obj"));
    const ObjContent content("strange.obj");
    EXPECT_EQ(content.mTriangles,
              (std::map<std::string, TriangleSet>{{"layer", {{Xyz{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}}}));
    EXPECT_EQ(content.numLines, 1u);
}

TEST(Scene, TellsHowFarItIsAndEndsWhenCancelled) {
    Taro_2D mesh;
    mesh.insert(makeGround(60000));
    Visualizer3 scene("ground");
    scene.addSurface(trianglesOf(mesh), "ground", CR_TERRAIN);
    ASSERT_TRUE(scene.writePly("scene.ply"));
    const std::string before = readFile("scene.ply");
    Recorder listener;
    scene.subscribe(MT_PROGRESS, &listener);
    for (bool (Visualizer3::*write)(const std::string&) const :
         {&Visualizer3::writePly, &Visualizer3::writeGlb, &Visualizer3::writeGeomview}) {
        listener.vValues.clear();
        ASSERT_TRUE((scene.*write)("other"));
        EXPECT_TRUE(std::is_sorted(listener.vValues.begin(), listener.vValues.end()));
        EXPECT_EQ(listener.vValues.back(), 1.0);
        EXPECT_EQ(std::count(listener.vValues.begin(), listener.vValues.end(), 1.0), 1);
        EXPECT_GT(listener.vValues.size(), 3u);
    }

    std::atomic<bool> bCancelled{false};
    scene.setCancelFlag(&bCancelled);
    listener.hook = [&] { bCancelled = true; };
    EXPECT_THROW(scene.writePly("scene.ply"), TaroCancelled);
    EXPECT_THROW(scene.addSurface(trianglesOf(mesh), "more", CR_GREY), TaroCancelled);
    EXPECT_EQ(readFile("scene.ply"), before);
    bCancelled = false;
    listener.hook = nullptr;
    ASSERT_TRUE(scene.writePly("again.ply"));
    EXPECT_EQ(readFile("again.ply"), before);
    listener.hook = [] { throw std::runtime_error("of a listener"); };
    EXPECT_THROW(scene.writePly("scene.ply"), std::runtime_error);
}

TEST(Scene, ATriangulationAndItsZonesWriteThemselves) {
    Taro_2D mesh, other;
    printedBy([&] { EXPECT_FALSE(mesh.writeObj("none.obj")); });
    EXPECT_FALSE(std::filesystem::exists("none.obj"));
    mesh.insert(makeGround(3000));
    Zone2* const pZone = mesh.createZone(
        mesh.createConstraint(makeSides({{500200, 5400200, 0}, {500800, 5400200, 0}, {500500, 5400700, 0}}),
                              CIS_CONSTRAINED_DELAUNAY, true),
        ZL_INSIDE);
    ASSERT_TRUE(mesh.writeObj("all.obj"));
    EXPECT_EQ(ObjContent("all.obj").mTriangles.at("surface"), toSet(trianglesOf(mesh)));
    ASSERT_TRUE(mesh.writeObj("zone.obj", pZone));
    EXPECT_EQ(ObjContent("zone.obj").mTriangles.at("surface"), toSet(trianglesOf(pZone)));
    EXPECT_TRUE(contains(printedBy([&] { EXPECT_FALSE(other.writeObj("none.obj", pZone)); }), "another triangulation"));

    ASSERT_TRUE(mesh.showGeomview("all.gv"));
    ASSERT_TRUE(pZone->showGeomview("zone.gv"));
    EXPECT_EQ(countOf(" 1 1 1 0.5\n", readFile("all.gv")), mesh.numberOfTriangles());
    EXPECT_EQ(countOf(" 1 1 1 0.5\n", readFile("zone.gv")), pZone->getNumberOfTriangles());
    Visualizer3 scene("both");
    mesh.showGeomview(&scene);
    pZone->showGeomview(&scene);
    mesh.showGeomview(static_cast<Visualizer3*>(nullptr));
    ASSERT_TRUE(scene.writeObj("both.obj"));
    EXPECT_EQ(ObjContent("both.obj").mTriangles.at("zone"), toSet(trianglesOf(pZone)));
}

TEST(Scene, APageHasViewerAndDataAndNoMarkupOfNames) {
    Taro_2D mesh;
    mesh.insert(makeGround(1000));
    mesh.setName("</title><b>\"bold\"");
    std::filesystem::remove("page.html");
    bool bWritten = false;
    const std::string printed = printedBy([&] { bWritten = mesh.writeWebScene("page.html"); });
    ASSERT_EQ(bWritten, !getViewerScript().empty());
    ASSERT_EQ(std::filesystem::exists("page.html"), bWritten);
    if (!bWritten) {
        EXPECT_TRUE(contains(printed, "built without the viewer"));
        return;
    }
    const std::string page = readFile("page.html");
    EXPECT_TRUE(contains(page, "<title>&lt;/title>&lt;b>\"bold\"</title>"));
    EXPECT_TRUE(contains(page, "{\"title\":\"\\u003c/title>\\u003cb>\\\"bold\\\"\""));
    EXPECT_TRUE(contains(page, "\"vertices\":1000,\"triangles\":" + std::to_string(mesh.numberOfTriangles())));
    EXPECT_EQ(countOf("class=\"block\"", page), 1u);
    EXPECT_LT(page.size(), getViewerScript().size() + 30000);
    printedBy([&] {
        EXPECT_FALSE(mesh.writeWebScene(nullptr));
        EXPECT_FALSE(mesh.writeWebScene("page.html", nullptr));
    });
}

TEST(Scene, EarthworksStandOnTheSurfaceAfter) {
    const PointVector vCorners = {{0, 0, 10}, {100, 0, 10}, {100, 100, 10}, {0, 100, 10}};
    Taro_2D before, after;
    before.insert(vCorners);
    for (const Point2& corner : vCorners) after.insert(Point2(corner.x(), corner.y(), 10 + (corner.x() - 50) / 10));
    CutAndFill earthworks(before.createZone(nullptr, ZL_GLOBAL), after.createZone(nullptr, ZL_GLOBAL), 0);
    printedBy([&] { earthworks.go(); });
    Visualizer3 scene("earthworks");
    earthworks.show(&scene);
    ASSERT_TRUE(scene.writeObj("earthworks.obj"));
    const ObjContent content("earthworks.obj");
    EXPECT_EQ(content.mTriangles.size(), 2u);
    for (const auto& [layer, triangles] : content.mTriangles) {
        for (const Places& corners : triangles) {
            for (const Xyz& corner : corners) {
                EXPECT_NEAR(corner[2], 10 + (corner[0] - 50) / 10, 1e-9);
                EXPECT_TRUE(layer == "cut" ? corner[0] <= 50 + 1e-6 : corner[0] >= 50 - 1e-6);
            }
        }
    }
}

TEST(Scene, NamesAreQuotedAsJson) {
    EXPECT_EQ(toJson("a\"b\\c\n</script>"), "\"a\\\"b\\\\c\\u000a\\u003c/script>\"");
    EXPECT_EQ(toJson("\xc3\xa9\xf0\x9f\x98\x80"), "\"\xc3\xa9\xf0\x9f\x98\x80\"");
    EXPECT_EQ(toJson("\xc3(\xed\xa0\x80\xff\xf0\x9f"), "\"\\ufffd(\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\"");
}
