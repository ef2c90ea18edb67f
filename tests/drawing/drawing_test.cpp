#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <limits>
#include <locale>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "support/capture.h"
#include "support/files.h"
#include "support/polygons.h"
#include "taro25d/Circle2.h"
#include "taro25d/ConstraintGraph2.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Edge2.h"
#include "taro25d/Label.h"
#include "taro25d/Segment2.h"
#include "taro25d/Taro_2D.h"
#include "taro25d/Triangle2.h"
#include "taro25d/Visualizer2.h"
#include "taro25d/Zone2.h"

using namespace LUMO_TARO25D;

namespace {

/// A path that no other test or process uses at the same time.
std::string pathOf(const std::string& name) {
    return testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() +
           std::to_string(getpid()) + name;
}

/// The file that a scene is written to.
template <class F>
std::string drawn(F addObjects) {
    const std::string path = pathOf(".ps");
    printedBy([&] {
        Visualizer2 vis(path);
        addObjects(vis);
        vis.writeFile();
    });
    const std::string text = readFile(path);
    std::remove(path.c_str());
    return text;
}

std::string prologOf(const std::string& comment, const std::string& title) {
    return "%!PS-Adobe-1.0\n\t%%Creator: LUMO PostscriptWriter\n\t%%Title: " + comment +
           "\n\t%%CreationDate: none\n\t%%DocumentMedia: A4 595 842 0 () ()\n\t%%Orientation: Portrait\n"
           "\t%%Pages: 1\t%%DocumentFonts: Times-Roman Helvetica\n\t%%EndComments\n\t%%BeginProlog\n"
           "\t%%EndProlog\n\t%%Page: Lumo PostscriptWriter 1\n0.05\tsetlinewidth\n\t0\t0\t0\tsetrgbcolor\n"
           "\t/Times-Roman findfont 17 scalefont\n\tsetfont\n40\t740\tmoveto\n\t(" +
           title +
           ")\tshow\n0.4\t0.4\t0.4\tsetrgbcolor\n\t/Times-Roman findfont 10 scalefont\n\tsetfont\n"
           "0.0\t0.0\t0.0\tsetrgbcolor\n\t/Times-Roman findfont 10 scalefont\n\tsetfont\n";
}

/// One object of each kind, added in another order than drawn.
void addSmallScene(Visualizer2& vis) {
    Point2 p0(0, 0, 7), p1(10, 0, 7), p2(0, 5, 7);
    Triangle2 triangle(&p0, &p1, &p2);
    vis.addObject(Label(Point2(1, 1, 0), "f(x)\n\\", true, 10), Color(CBLUE));
    vis.addObject(Circle2(5, 2.5, 4), Color(CGREEN, 0.5, true));
    vis.addObject(Circle2(5, 2.5, 1), Color(CGREEN));
    vis.addObject(std::vector<Point2>{p1, p0, p1}, Color(CRED));
    vis.addObject(std::vector<Point2*>{&p0, nullptr}, Color(CRED));
    vis.addObject(p0, Color(CORANGE, 2));
    vis.addObject(Segment2(p1, p2), Color());
    vis.addObject(std::vector<Edge2>{Edge2(&triangle, 1)}, Color());
    vis.addObject(triangle, Color(CRED, 0.1, true));
    vis.addObject(std::vector<Triangle2*>{&triangle, nullptr}, Color(CRED, 0.1, true));
    vis.addObject(std::vector<Triangle2>{triangle, Triangle2()}, Color(CRED));
    p0.set(100, 100, 100);  // coordinates have been copied
    vis.addHeaderLine("one");
    vis.addHeaderLine("(two)");
}

std::string textOfSmallScene(const std::string& path) {
    const std::string filled =
        "stroke\n1\t0\t0\tsetrgbcolor\n0.1\tsetlinewidth\n"
        "50\t200\tmoveto\n530\t200\tlineto\n50\t440\tlineto\nclosepath\ngsave\n  fill\ngrestore\n"
        "  0.3 0.3 .3 setrgbcolor\n0.1\tsetlinewidth\n";
    return prologOf(path, path) +
           "40\t705\tmoveto\n(x-Range: [0 - 10] =10)\tshow\n40\t695\tmoveto\n(y-Range: [0 - 5] =5)\tshow\n"
           "0.0\t0.0\t0.0\tsetrgbcolor\n\t/Times-Roman findfont 12 scalefont\n\tsetfont\n"
           "240\t709\tmoveto\n(one)\tshow\n240\t695\tmoveto\n(\\(two\\))\tshow\n"
           "237\t692\tmoveto\n237\t723\tlineto\n237\t692\tmoveto\n570\t692\tlineto\n570\t692\tlineto\n" +
           filled + filled +
           "stroke\n1\t0\t0\tsetrgbcolor\n0.05\tsetlinewidth\n"
           "50\t200\tmoveto\n530\t200\tlineto\n50\t440\tlineto\nclosepath\n"
           "stroke\n0\t0\t0\tsetrgbcolor\n0.05\tsetlinewidth\n"
           "530\t200\tmoveto\n50\t440\tlineto\n"
           "50\t440\tmoveto\n50\t200\tlineto\n"
           "stroke\n1\t0\t0\tsetrgbcolor\n0.05\tsetlinewidth\n"
           "48.5\t198.5\tmoveto\n51.5\t201.5\tlineto\n48.5\t201.5\tmoveto\n51.5\t198.5\tlineto\n"
           "stroke\n1\t0.627\t0\tsetrgbcolor\n2\tsetlinewidth\n"
           "46\t196\tmoveto\n54\t204\tlineto\n46\t204\tmoveto\n54\t196\tlineto\n"
           "stroke\n1\t0\t0\tsetrgbcolor\n0.05\tsetlinewidth\n"
           "528.5\t198.5\tmoveto\n531.5\t201.5\tlineto\n528.5\t201.5\tmoveto\n531.5\t198.5\tlineto\n"
           "stroke\n0\t1\t0\tsetrgbcolor\n0.5\tsetlinewidth\n"
           "386\t320\tmoveto\n290\t320\t96\t0\t360\tarc\ngsave\n  fill\ngrestore\nstroke\n"
           "stroke\n0\t1\t0\tsetrgbcolor\n0.05\tsetlinewidth\n"
           "338\t320\tmoveto\n290\t320\t48\t0\t360\tarc\nstroke\n"
           "stroke\n0\t0\t1\tsetrgbcolor\n0.05\tsetlinewidth\n"
           "96.5\t246.5\tmoveto\n99.5\t249.5\tlineto\n96.5\t249.5\tmoveto\n99.5\t246.5\tlineto\n"
           "/Arial findfont 10 scalefont\n setfont\n"
           "98\t248\tmoveto\n(f\\(x\\))\tshow\nstroke\n98\t236\tmoveto\n(\\\\)\tshow\nstroke\n"
           "stroke\nshowpage\n%%Trailer\n";
}

}  // namespace

TEST(Color, ConstructorsNamesAndOrder) {
    const Color red(CRED), alsoRed(1, 0, 0), gray(0.5, 0.5, 0.5, 0.1, true), pink(CPINK, 0.25, true);
    EXPECT_EQ(red, alsoRed);
    EXPECT_EQ(Color(), Color(CBLACK));
    EXPECT_EQ(gray.width, 0.1f);
    EXPECT_EQ(pink, Color(1, 0.4, 0.7, 0.25, true));
    EXPECT_NE(red, Color(CRED, 0.1f));
    EXPECT_NE(red, Color(CRED, 0.05f, true));
    EXPECT_EQ(Color(COLIVE, 2, false), Color(0.5, 0.5, 0, 2));
    EXPECT_EQ(Color(CDARKBROWN).b, 0.074f);
    // The order is lexicographic.
    const std::set<Color> sColors = {red, gray, pink, Color(), Color(CBLACK, 0.05f, true), Color(CBLACK, 0.04f, true)};
    EXPECT_EQ(std::vector<Color>(sColors.begin(), sColors.end()),
              (std::vector<Color>{Color(CBLACK, 0.04f, true), Color(), Color(CBLACK, 0.05f, true), gray, red, pink}));

    std::unique_ptr<Color> pUnknown;
    EXPECT_EQ(printedBy([&] { pUnknown = std::make_unique<Color>(static_cast<Colorname>(17), 0.5f, true); }),
              "\033[0;93m      [Taro2D-Message] Color::Color, WARNING: Colorname unknown, returning black\033[m\n");
    EXPECT_EQ(*pUnknown, Color(0, 0, 0, 0.5, true));
}

TEST(Color, NextNamesCycleWithoutRedYellowAndWhite) {
    Colorname previous = Color::getNextColorName();
    for (int i = 0; i < 30; ++i) {
        const Colorname next = Color::getNextColorName();
        EXPECT_EQ(next, previous == CCYAN ? CGREEN : previous + 1);
        previous = next;
    }
    // Two threads together take every name equally often.
    std::vector<int> aCount[2] = {std::vector<int>(17), std::vector<int>(17)};
    const auto take = [](std::vector<int>& vCount) {
        for (int i = 0; i < 7000; ++i) ++vCount[Color::getNextColorName()];
    };
    std::thread thread(take, std::ref(aCount[0]));
    take(aCount[1]);
    thread.join();
    for (int name = 0; name < 17; ++name) {
        EXPECT_EQ(aCount[0][name] + aCount[1][name], name >= CGREEN && name <= CCYAN ? 1000 : 0) << name;
    }
}

TEST(Visualizer2, WritesTheExactTextOfASmallScene) {
    const std::string path = pathOf(".ps");
    Visualizer2* pVis = nullptr;
    EXPECT_EQ(printedBy([&] { pVis = new Visualizer2(path); }), "\033[0;31mVisualizer2:: Writing " + path + "\033[m\n");
    addSmallScene(*pVis);
    EXPECT_EQ(printedBy([&] { pVis->writeFile(); }), "");
    const std::string expected = textOfSmallScene(path);
    EXPECT_EQ(readFile(path), expected);

    EXPECT_EQ(printedBy([&] { pVis->writeFile(); }),
              "\033[0;93m      [Taro2D-Message] Visualizer2::writeFile(), WARNING: "
              "No effect. File has already been closed\033[m\n");
    EXPECT_EQ(printedBy([&] { delete pVis; }), "");
    EXPECT_EQ(readFile(path), expected);
    std::remove(path.c_str());
}

TEST(Visualizer2, DestructorWritesAnUnfinishedFile) {
    const std::string path = pathOf(".ps");
    auto pVis = std::make_unique<Visualizer2>(path);
    pVis->addObject(Point2(3, 4, 0), Color());
    EXPECT_EQ(printedBy([&] { pVis.reset(); }),
              "Calling Visualizer2::writeFile() to complete an unfinished visualization [" + path + "]\n");
    EXPECT_EQ(readFile(path),
              prologOf(path, path) +
                  "40\t705\tmoveto\n(x-Range: [2 - 4] =2)\tshow\n40\t695\tmoveto\n(y-Range: [3 - 5] =2)\tshow\n"
                  "288.5\t438.5\tmoveto\n291.5\t441.5\tlineto\n288.5\t441.5\tmoveto\n291.5\t438.5\tlineto\n"
                  "stroke\nshowpage\n%%Trailer\n");
    std::remove(path.c_str());
}

TEST(Visualizer2, AFileThatCannotBeWrittenOnlyWarns) {
    const std::string printed = printedBy([&] {
        Visualizer2 vis(pathOf("/x.ps"));
        vis.addObject(Point2(1, 2, 3), Color());
        vis.writeFile();
        vis.writeFile();
    });
    EXPECT_TRUE(contains(printed, "could not write"));
    EXPECT_TRUE(contains(printed, "No effect. File has already been closed"));
}

TEST(Visualizer2, StrokesAfterEvery31Objects) {
    const std::string text = drawn([](Visualizer2& vis) {
        std::vector<Segment2> vSegments;
        for (int i = 0; i < 2000; ++i) vSegments.emplace_back(Point2(i, 0, 0), Point2(0, i + 1, 0));
        vis.addObject(vSegments, Color(CRED));
    });
    EXPECT_EQ(countOf("1\t0\t0\tsetrgbcolor\n", text), 1u);
    EXPECT_EQ(countOf("stroke\n", text), 1u + 2000 / 31 + 1u);
    std::istringstream lines(text.substr(text.find("1\t0\t0\tsetrgbcolor")));
    std::string line;
    size_t numSegments = 0;
    while (std::getline(lines, line)) {
        if (contains(line, "lineto")) ++numSegments;
        if (line == "stroke" && numSegments < 2000) {
            EXPECT_EQ(numSegments % 31, 0u);
        }
    }
    EXPECT_EQ(numSegments, 2000u);
}

TEST(Visualizer2, HeaderLinesShrinkAndAreLimited) {
    const struct {
        size_t numLines, length;
        int fontSize;
    } aCase[] = {{1, 1, 12},  {1, 0, 12},  {10, 0, 8},  {10, 20, 8}, {7, 20, 12}, {8, 20, 10},
                 {1, 50, 10}, {2, 100, 6}, {1, 120, 6}, {3, 121, 6}, {1, 5000, 6}};
    for (const auto& c : aCase) {
        const std::string text = drawn([&](Visualizer2& vis) {
            for (size_t i = 0; i < c.numLines; ++i) vis.addHeaderLine(std::string(i == 0 ? c.length : 0, 'x'));
        });
        const int pitch = c.fontSize + 2;
        const int top = 695 + static_cast<int>(c.numLines) * pitch;
        EXPECT_TRUE(contains(text, "findfont " + std::to_string(c.fontSize) + " scalefont\n\tsetfont\n240\t" +
                                       std::to_string(top - pitch) + "\tmoveto\n(" +
                                       std::string(std::min<size_t>(c.length, 120), 'x') + ")\tshow\n"))
            << c.numLines << " lines of " << c.length;
        EXPECT_TRUE(contains(text, "\n237\t" + std::to_string(top) + "\tlineto\n"));
        EXPECT_EQ(countOf("\n240\t", text), c.numLines);
    }

    const std::string path = pathOf(".ps");
    const std::string printed = printedBy([&] {
        Visualizer2 vis(path);
        for (int i = 0; i < 11; ++i) vis.addHeaderLine("line " + std::to_string(i));
    });
    const std::string text = readFile(path);
    EXPECT_TRUE(contains(printed, "skipping text [\"line 10\"], maximum number of header lines reached"));
    EXPECT_EQ(countOf("(line ", text), 10u);
    EXPECT_TRUE(contains(text, "findfont 8 scalefont\n\tsetfont\n240\t785\tmoveto\n(line 0)"));
    EXPECT_TRUE(contains(text, "240\t695\tmoveto\n(line 9)"));
    std::remove(path.c_str());
}

TEST(Visualizer2, AnyInputGivesAValidPage) {
    const double NaN = std::numeric_limits<double>::quiet_NaN();
    const Point2 origin(0, 0, 0);
    const std::string empty = drawn([](Visualizer2&) {});
    EXPECT_TRUE(contains(empty, "(x-Range: [-1 - 1] =2)"));
    // Objects that are not finite are neither drawn nor part of the range.
    EXPECT_EQ(empty, drawn([&](Visualizer2& vis) {
                  Point2 bad(0, NaN, 0), good(1, 1, 0), other(5, 5, 0);
                  vis.addObject(Point2(INF, 0, 0), Color());
                  vis.addObject(Segment2(good, bad), Color());
                  vis.addObject(Triangle2(&good, &bad, &other), Color());
                  vis.addObject(Edge2(nullptr, 0), Color());
                  vis.addObject(Circle2(1, 1, -1), Color());
                  vis.addObject(Circle2(1, 1, INF), Color());
                  vis.addObject(Label(bad, "text"), Color());
              }));
    const double aScale[] = {5e-324, 1e-310, 1e-300, 1e17, 1e299, 1e305, MAX};
    for (const double scale : aScale) {
        const std::string text = drawn([&](Visualizer2& vis) {
            vis.addObject(Segment2(Point2(-scale, scale, 0), Point2(scale, -scale, 0)), Color(CRED));
        });
        EXPECT_TRUE(contains(text, "\n50\t680\tmoveto\n530\t200\tlineto\n")) << scale;
        EXPECT_FALSE(contains(text, "inf") || contains(text, "nan")) << scale;
        const std::string point =
            drawn([&](Visualizer2& vis) { vis.addObject(Point2(scale, -scale, 0), Color(CRED)); });
        EXPECT_FALSE(contains(point, "inf") || contains(point, "nan")) << scale;
    }
    // Attributes are clamped to their range; texts cannot end their string or comment.
    const std::string text = drawn([&](Visualizer2& vis) {
        vis.addObject(origin, Color(NaN, INF, -1, INF));
        vis.addObject(Point2(1, 1, 0), Color(NaN, 1, 0, 1000));
        vis.addObject(Label(origin, "", false, 0), Color());
        vis.addHeaderLine("a\r\nb\\)");
    });
    EXPECT_EQ(countOf("0\t1\t0\tsetrgbcolor\n1000\tsetlinewidth\n", text), 1u);
    EXPECT_TRUE(contains(text, "/Arial findfont 1 scalefont\n"));
    EXPECT_TRUE(contains(text, "()\tshow\n"));
    EXPECT_TRUE(contains(text, "(a  b\\\\\\))\tshow\n"));
    const std::string path = pathOf(" (1)\n.ps");
    printedBy([&] { Visualizer2 vis(path); });
    const std::string shown = pathOf(" \\(1\\) .ps");
    EXPECT_EQ(readFile(path).substr(0, 400), prologOf(pathOf(" (1) .ps"), shown).substr(0, 400));
    std::remove(path.c_str());
}

TEST(Visualizer2, TheGlobalLocaleDoesNotMatter) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const auto scene = [](Visualizer2& vis) {
        vis.addObject(Segment2(Point2(0.5, 0, 0), Point2(12345.5, 1, 0)), Color(CPINK));
        vis.addObject(Label(Point2(1, 1, 0), "x", false, 12345), Color());
    };
    const std::string expected = drawn(scene);
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    const std::string text = drawn(scene);
    std::locale::global(before);
    EXPECT_EQ(text, expected);
}

TEST(Visualizer2, DrawsConstraintSegmentsAliveOrDead) {
    Point2 aPoints[] = {{0, 0, 0}, {10, 5, 0}, {10, 0, 0}};
    ConstraintSegment2 alive(aPoints, aPoints + 1, CIS_CONSTRAINED_DELAUNAY);
    ConstraintSegment2 dead(aPoints + 1, aPoints + 2, CIS_CONSTRAINED_DELAUNAY);
    dead.kill();
    const std::string text = drawn([&](Visualizer2& vis) {
        vis.addObject(std::vector<ConstraintSegment2*>{&alive, nullptr, &dead}, Color(CGREEN));
    });
    EXPECT_TRUE(contains(text,
                         "0\t1\t0\tsetrgbcolor\n0.05\tsetlinewidth\n50\t200\tmoveto\n530\t440\tlineto\n"
                         "530\t440\tmoveto\n530\t200\tlineto\nstroke\nshowpage\n"));
}

TEST(Triangulation, IsDrawnWithTheAlivePiecesOfItsConstraintsOnTop) {
    Taro_2D mesh;
    mesh.insert({{0, 0, 0}, {8, 0, 0}, {8, 8, 0}, {0, 8, 0}});
    mesh.createConstraint({Segment2({0, 0, 0}, {8, 8, 0})}, CIS_CONSTRAINED_DELAUNAY);
    mesh.createConstraint({Segment2({0, 8, 0}, {8, 0, 0})}, CIS_CONSTRAINED_DELAUNAY);
    const std::string with = drawn([&](Visualizer2& vis) { mesh.show(&vis); });
    const std::string without = drawn([&](Visualizer2& vis) { mesh.show(&vis, false); });
    EXPECT_EQ(countOf("closepath", without), 4u);
    // The page without constraints, and four pieces that meet at the crossing; their order and direction are free.
    const size_t end = without.find("stroke\nshowpage");
    EXPECT_EQ(with.substr(0, end), without.substr(0, end));
    const std::string pieces = with.substr(end);
    EXPECT_TRUE(contains(pieces, "stroke\n0\t0\t1\tsetrgbcolor\n0.5\tsetlinewidth\n"));
    EXPECT_EQ(countOf("lineto", pieces), 4u);
    EXPECT_EQ(countOf("290\t440", pieces), 4u);
    for (const char* corner : {"50\t200\t", "530\t200\t", "530\t680\t", "50\t680\t"}) {
        EXPECT_EQ(countOf(corner, pieces), 1u);
    }
}

TEST(Zone, IsDrawnWithTheConstraintsAroundIt) {
    Taro_2D mesh;
    mesh.insert(makeRectangle(0, 0, 8, 8));
    ConstraintGraph2* pGraph = mesh.createConstraint(makeSides(makeRectangle(0, 0, 4, 8)), CIS_CONSTRAINED_DELAUNAY);
    const Zone2* pZone = mesh.createZone(pGraph, ZL_INSIDE);
    const size_t numTriangles = pZone->getNumberOfTriangles();
    EXPECT_DOUBLE_EQ(pZone->getArea25D(), 32);
    for (const bool bMesh : {true, false}) {
        for (const bool bConstraints : {true, false}) {
            printedBy([&] { pZone->show("zone.ps", bMesh, bConstraints); });
            const std::string text = readFile("zone.ps");
            EXPECT_EQ(countOf("closepath", text), (bMesh ? mesh.numberOfTriangles() : 0) + numTriangles);
            EXPECT_EQ(countOf("  fill", text), numTriangles);
            const size_t red = text.find("\n1\t0\t0\tsetrgbcolor\n0.5\tsetlinewidth\n");
            EXPECT_EQ(red != std::string::npos ? countOf("lineto", text.substr(red)) : 0, bConstraints ? 4u : 0u);
        }
    }
    pZone->show(nullptr, true, true);
    const std::string drawing = drawn([&](Visualizer2& vis) { pGraph->show(&vis, Color(CGREEN)); });
    EXPECT_EQ(countOf("lineto", drawing.substr(drawing.find("0\t1\t0\tsetrgbcolor"))), 4u);
    EXPECT_EQ(printedBy([&] { pGraph->show(static_cast<Visualizer2*>(nullptr), Color()); }), "");
}
