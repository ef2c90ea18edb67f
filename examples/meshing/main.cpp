// A mesh for the high ground of a real terrain: everything above one height, with the basins inside left out.
//
// The points of the file make the surface; a contour of it is the outline. Its lines run with higher ground on their
// left, so as oriented constraints they bound a zone: the triangles on their left, holes excluded. At first these reach
// from shore to shore, thin as needles. Refinement makes good ones of them, with angles of at least 25 degrees, and
// takes the height of each new vertex from the surface. The pictures show the zone before and after.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "levels.h"
#include "numbers.h"
#include "program.h"
#include "readers.h"
#include "sheet.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;
using namespace examples;

namespace {

constexpr double MIN_ANGLE = 25;
const Color BORDER(0.6, 0.1, 0.1, 0.5);

struct Options {
    std::string input;
    std::optional<double> height;
    double edge = 0;  ///< 0 for one that suits the outline
    std::filesystem::path outFolder = ".";
    bool bPage = false;
};

void addOptions(CLI::App& app, Options& options) {
    addPointFile(app, options.input);
    app.add_option(
           "--height", options.height,
           "the mesh is of the ground above it (default: one with much ground above it and some basins in that)")
        ->type_name("HEIGHT");
    app.add_option("--edge", options.edge, "of the longest edge (default: one that makes some thousand triangles)")
        ->type_name("LENGTH")
        ->check(POSITIVE_NUMBER);
    app.add_flag("--page", options.bPage, "also write a page with the mesh in space");
    app.add_option("--out", options.outFolder, "write the pictures there")->type_name("FOLDER")->capture_default_str();
}

// ---- The outline ----

/// Positive for a closed line that runs counterclockwise, so that the high ground is inside; 0 for an open one.
double getSignedArea(const Polyline& vLine) {
    if (!isClosed(vLine)) return 0;
    const Point2& origin = vLine.front().getSrc();
    double sum = 0;
    for (const Segment2& s : vLine) {
        sum += (s.getSrc().x() - origin.x()) * (s.getTrg().y() - origin.y()) -
               (s.getSrc().y() - origin.y()) * (s.getTrg().x() - origin.x());
    }
    return sum / 2;
}

/// Whether a point is inside a closed line: a ray to the right crosses it an odd number of times.
bool isInside(const Point2& p, const Polyline& vLine) {
    bool bInside = false;
    for (const Segment2& s : vLine) {
        const Point2 &a = s.getSrc(), &b = s.getTrg();
        if ((a.y() > p.y()) == (b.y() > p.y())) continue;
        if (p.x() < a.x() + (p.y() - a.y()) / (b.y() - a.y()) * (b.x() - a.x())) bInside = !bInside;
    }
    return bInside;
}

/// The largest high ground at a height, and the basins in it.
struct Outline {
    double height = 0, area = 0;
    std::vector<Polyline> vLines;  // the outer one first
};

Outline findOutline(const IsoContours& isoContours, double height) {
    std::vector<Polyline> vLines;
    Outline outline;
    outline.height = height;
    if (!isoContours.getContours(height, vLines, false) || vLines.empty()) return outline;
    const auto outer = std::max_element(vLines.begin(), vLines.end(), [](const Polyline& a, const Polyline& b) {
        return getSignedArea(a) < getSignedArea(b);
    });
    outline.area = getSignedArea(*outer);
    if (!(outline.area > 0)) return outline;
    outline.vLines.push_back(*outer);
    for (const Polyline& vLine : vLines) {
        const double area = getSignedArea(vLine);
        if (area < 0 && isInside(vLine.front().getSrc(), *outer)) outline.vLines.push_back(vLine);
    }
    return outline;
}

/// Among some heights, the one where the most ground is inside a closed line that has basins, up to five of them.
Outline proposeOutline(const IsoContours& isoContours) {
    const double low = isoContours.getMinHeight(), high = isoContours.getMaxHeight();
    const auto rank = [](const Outline& outline) {
        return std::pair(std::min<size_t>(outline.vLines.size(), 6), outline.area);
    };
    Outline best;
    constexpr int NUM_TRIALS = 50;
    for (int i = 1; i < NUM_TRIALS; ++i) {
        const Outline outline = findOutline(isoContours, low + (high - low) * i / NUM_TRIALS);
        if (rank(outline) > rank(best)) best = outline;
    }
    return best;
}

Outline takeOutline(const Taro_2D& ground, std::optional<double> height) {
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const IsoContours isoContours(vTriangles);
    const Outline outline = height ? findOutline(isoContours, *height) : proposeOutline(isoContours);
    if (outline.vLines.empty()) throw terrain::BadInput("no closed contour there: try another --height");
    return outline;
}

/// The line through those of its points that are some distance apart.
Polyline thinOut(const Polyline& vLine, double distance) {
    std::vector<Point2> vPoints{vLine.front().getSrc()};
    const auto isFar = [distance](const Point2& p, const Point2& q) {
        return std::hypot(q.x() - p.x(), q.y() - p.y()) >= distance;
    };
    for (const Segment2& segment : vLine) {
        if (isFar(vPoints.back(), segment.getSrc()) && isFar(vPoints.front(), segment.getSrc()))
            vPoints.push_back(segment.getSrc());
    }
    Polyline vThin;
    for (size_t i = 0; vPoints.size() > 2 && i < vPoints.size(); ++i)
        vThin.emplace_back(vPoints[i], vPoints[(i + 1) % vPoints.size()]);
    return vThin;
}

/// All lines, thinned out as far as they do not run into each other.
Polyline simplify(const Outline& outline, double distance) {
    for (;; distance /= 2) {
        Polyline vAll;
        for (const Polyline& vLine : outline.vLines) {
            const Polyline vThin = thinOut(vLine, distance);
            vAll.insert(vAll.end(), vThin.begin(), vThin.end());
        }
        std::vector<Segment2*> vPointers, vIllegal;
        for (Segment2& segment : vAll) vPointers.push_back(&segment);
        SegmentChecker(vPointers).getIllegalSegments(false, vIllegal);
        if (vIllegal.empty()) return vAll;
        std::cout << "  points " << distance << " apart: " << vIllegal.size() << " segments meet, once more\n";
    }
}

// ---- Refining ----

/// What is inside the lines, as coarse as it can be.
Zone2* triangulate(const Polyline& vOutline, Taro_2D& mesh) {
    ConstraintGraph2* pOutline = mesh.createConstraint(vOutline, CIS_CONSTRAINED_DELAUNAY, true);
    mesh.applyConstraintsAndZones();
    Zone2* pZone = mesh.createZone(pOutline, ZL_BOUNDED);
    if (!pZone) throw terrain::BadInput("the outline bounds nothing");
    return pZone;
}

/// New vertices take their heights from the ground.
void refine(Zone2* pZone, double edge, Taro_2D& ground, Taro_2D& mesh) {
    MeshGenParams params(pZone);
    params.minAngleDegree = MIN_ANGLE;
    params.maxEdgeLength = edge;
    params.minEdgeLength = edge / 100;
    params.pHeightGuide = &ground;
    mesh.refineAdvanced(&params);
}

// ---- Drawing ----

/// From green at the lowest to pale at the highest triangle, by the ground in their middle.
void draw(const std::string& filename, const Zone2& zone, const Taro_2D& ground, const std::string& title) {
    std::vector<Triangle2*> vTriangles;
    zone.getTriangles(vTriangles);
    std::vector<double> vHeights;
    for (const Triangle2* pT : vTriangles) {
        const Point2 center = pT->getBarycenter();
        vHeights.push_back(center.z());
        ground.getHeight(center.x(), center.y(), vHeights.back());
    }
    const auto range = std::minmax_element(vHeights.begin(), vHeights.end());
    const double lowest = *range.first, highest = *range.second;

    const auto colorOf = [&](double z) {
        const double t = highest > lowest ? (z - lowest) / (highest - lowest) : 0;
        return Color(0.55 + 0.4 * t, 0.75 + 0.15 * t, 0.45 + 0.4 * t, 0.1, true);
    };
    Visualizer2 drawing(filename);
    for (size_t i = 0; i < vTriangles.size(); ++i) drawing.addObject(*vTriangles[i], colorOf(vHeights[i]));
    std::vector<Segment2> vBorder;
    zone.getBoundarySegments(vBorder);
    drawing.addObject(vBorder, BORDER);
    Sheet sheet(drawing, zone.getBoundingBox(), title, toGrouped(vTriangles.size()) + " triangles");
    sheet.addFrame();
    sheet.addRamp("height", lowest, highest, colorOf);
    sheet.addLine("border of the zone", BORDER);
    sheet.write(filename);
}

/// The mesh in space, with its edges.
void writePage(const std::string& filename, const Zone2& zone) {
    std::vector<Triangle2*> vTriangles;
    zone.getTriangles(vTriangles);
    std::vector<Segment2> vEdges, vBorder;
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            const Point2 &src = *pT->getCorner((i + 1) % 3), &trg = *pT->getCorner((i + 2) % 3);
            if (src < trg) vEdges.emplace_back(src, trg);  // the neighbour has it the other way round
        }
    }
    zone.getBoundarySegments(vBorder);
    Visualizer3 scene("A mesh of the high ground");
    scene.addSurface(vTriangles, "surface", CR_TERRAIN);
    scene.addSegments(vEdges, "edges", Color(0.25, 0.3, 0.25, 0.6));
    scene.addSegments(vBorder, "border", Color(0.6, 0.1, 0.1, 1.5));
    scene.setVerticalExaggeration(3);
    scene.writeWebScene(filename);
}

ExitStatus run(const Options& options) {
    printChapter("Reading " + options.input);
    Taro_2D ground;
    ground.insert(terrain::readPoints(options.input));
    if (!ground.is2D()) throw terrain::BadInput(options.input + ": all points lie on one line, no triangles");
    row("points") << ground.numberOfPoints() << "\n";

    printChapter("Taking the outline");
    const Outline outline = takeOutline(ground, options.height);
    row("ground above") << outline.height << ", with " << outline.vLines.size() - 1 << " basins left out\n";
    const double edge = options.edge > 0 ? options.edge : std::sqrt(outline.area / 1000);
    const Polyline vOutline = simplify(outline, edge / 4);

    printChapter("Refining");
    std::filesystem::create_directories(options.outFolder);
    Taro_2D mesh;
    Zone2* pZone = triangulate(vOutline, mesh);
    draw(options.outFolder / "mesh_before.ps", *pZone, ground, "Before refinement");
    refine(pZone, edge, ground, mesh);
    draw(options.outFolder / "mesh_after.ps", *pZone, ground, "After refinement");
    if (options.bPage) writePage(options.outFolder / "mesh.html", *pZone);
    const bool bGood = mesh.checkZoneQuality(pZone, MIN_ANGLE, "high ground", AcceptExperimentalFeature());
    return bGood ? ALL_IS_WELL : BAD_DATA;
}

}  // namespace

int main(int numArguments, char** aArguments) {
    CLI::App app(
        "Meshes the largest piece of ground above a height, with angles of at least 25 degrees, and draws it before "
        "and\n"
        "after the refinement.",
        "meshing");
    Options options;
    addOptions(app, options);
    return runProgram(app, numArguments, aArguments, [&] { return run(options); });
}
