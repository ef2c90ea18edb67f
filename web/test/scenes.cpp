// Makes the scenes that the tests of the page look at, and answers what the library knows about them.
//   scenes write FOLDER    survey.html and survey.glb, layers.html, and the vertices of the survey in vertices.txt
//   scenes large FOLDER    large.html, of a million triangles
//   scenes heights         reads x and y of places from standard input, and prints the heights of the survey there

#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <random>
#include <string>

#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

constexpr double LEFT = 500000, BOTTOM = 5400000, SIZE = 1000;

double getHeight(double x, double y) { return 300 + 60 * std::sin(x / 170) * std::cos(y / 130) + x / 20; }

/// Survey coordinates with digits in all places.
void insertGround(Taro_2D& mesh, size_t numPoints) {
    std::mt19937_64 random(1);
    std::vector<Point2> vPoints;
    const auto add = [&](double x, double y) { vPoints.emplace_back(LEFT + x, BOTTOM + y, getHeight(x, y)); };
    for (double t = 0; t < SIZE; t += 5) {  // dense around, or slivers stand up along the border
        add(t, 0);
        add(SIZE, t);
        add(SIZE - t, SIZE);
        add(0, SIZE - t);
    }
    const auto next = [&] { return SIZE * std::generate_canonical<double, 53>(random); };
    while (vPoints.size() < numPoints) {
        const double x = next(), y = next();
        add(x, y);
    }
    mesh.insert(vPoints);
}

std::vector<Triangle2*> getTriangles(const Taro_2D& mesh) {
    std::vector<Triangle2*> vTriangles;
    mesh.getTrianglePointers(vTriangles);
    return vTriangles;
}

/// A road over the ground.
std::vector<Segment2> getRoad() {
    std::vector<Segment2> vSegments;
    for (int i = 0; i < 20; ++i) {
        const auto place = [](int k) {
            const double x = 100 + 40 * k, y = 300 + 200 * std::sin(k / 5.0);
            return Point2(LEFT + x, BOTTOM + y, getHeight(x, y));
        };
        vSegments.emplace_back(place(i), place(i + 1));
    }
    return vSegments;
}

bool writeSurvey(const Taro_2D& mesh, const std::string& folder) {
    Visualizer3 scene("Survey <b>of</b> the \"Höhe\" & valley");
    scene.addSurface(getTriangles(mesh), "surface", CR_TERRAIN);
    scene.addSegments(getRoad(), "breaklines", Color(0.1, 0.2, 0.8));
    scene.addLabel(Label(Point2(LEFT + 500, BOTTOM + 500, getHeight(500, 500)), "middle <i>", true, 11), "labels");
    scene.setVerticalExaggeration(2);
    std::ofstream vertices(folder + "/vertices.txt");
    vertices.precision(17);
    std::vector<Point2*> vVertices;
    mesh.getVertexPointers(vVertices);
    for (const Point2* pVtx : vVertices) vertices << pVtx->x() << ' ' << pVtx->y() << ' ' << pVtx->z() << '\n';
    return scene.writeWebScene(folder + "/survey.html") && scene.writeGlb(folder + "/survey.glb");
}

/// Layers of every kind, with names that would break a careless page.
bool writeLayers(const std::string& folder) {
    Point2 a(0, 0, -1), b(10, 0, 0), c(10, 10, 1), d(0, 10, 0), up(5, 5, 4);
    Triangle2 lower(&a, &b, &c), upper(&a, &c, &d), roof(&b, &c, &up);
    Visualizer3 scene("</script><script>document.title='broken'</script>");
    scene.addSurface({&lower}, "cut", Color(0.84, 0.19, 0.15));
    scene.addSurface({&upper}, "\"><img src=x onerror=alert(1)>", CR_DIVERGING);
    scene.addSurface({&roof}, "grey", CR_GREY);
    scene.addSegments({Segment2(a, c)}, "lines", Color(CBLACK, 6.0f));
    return scene.writeWebScene(folder + "/layers.html") && scene.writeGlb(folder + "/layers.glb");
}

int answerHeights(const Taro_2D& mesh) {
    double x = 0, y = 0;
    while (std::cin >> x >> y) {
        double z = NAN;
        mesh.getHeight(x, y, z);
        std::printf("%.9f\n", z);
    }
    return 0;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    const std::string task = numArguments > 1 ? aArguments[1] : "", folder = numArguments > 2 ? aArguments[2] : ".";
    Taro_2D mesh;
    insertGround(mesh, task == "large" ? 500500 : 20000);
    if (task == "heights") return answerHeights(mesh);
    if (task == "write") return writeSurvey(mesh, folder) && writeLayers(folder) ? 0 : 1;
    mesh.setName("A million triangles");
    return task == "large" && mesh.writeWebScene((folder + "/large.html").c_str()) ? 0 : 1;
}
