// A mesh for the high ground of a real terrain: everything above one height, with the basins inside left out.
//
//   meshing FILE [--height METRES] [--edge METRES] [--out FOLDER]
//
// The points of the file make the surface; a contour of it is the outline. Its lines run with higher ground on their left,
// so as oriented constraints they bound a zone: the triangles on their left, holes excluded. At first these reach from shore
// to shore, thin as needles. Refinement makes good ones of them, with angles of at least 25 degrees, and takes the height of
// each new vertex from the surface. The pictures show the zone before and after.

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "picture.h"
#include "readers.h"
#include "taro25d/taro25d.h"

using namespace LUMO_TARO25D;

namespace {

using Polyline = std::vector<Segment2>;

constexpr double MIN_ANGLE = 25;

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Options {
    std::string input;
    std::optional<double> height, edge;
    std::filesystem::path outFolder = ".";
};

Options parseOptions(const std::vector<std::string>& vArguments) {
    Options options;
    for (size_t i = 0; i < vArguments.size(); ++i) {
        const std::string& word = vArguments[i];
        if (word.rfind("--", 0) != 0 && options.input.empty()) {
            options.input = word;
            continue;
        }
        if (i + 1 == vArguments.size()) throw UsageError(word + " needs a value");
        const std::string& value = vArguments[++i];
        if (word == "--out") options.outFolder = value;
        if (word == "--height") options.height = terrain::toNumber(value);
        if (word == "--edge") options.edge = terrain::toNumber(value);
        if (word != "--out" && word != "--height" && word != "--edge") throw UsageError("unknown option " + word);
        if ((word == "--height" && !options.height) || (word == "--edge" && !(options.edge && *options.edge > 0)))
            throw UsageError(word + " takes a number, not '" + value + "'");
    }
    if (options.input.empty()) throw UsageError("which file?");
    return options;
}

// ---- The outline ----

/// Positive for a closed line that runs counterclockwise, so that the high ground is inside; 0 for an open one.
double getSignedArea(const Polyline& vLine) {
    const Point2& origin = vLine.front().getSrc();
    if (origin != vLine.back().getTrg()) return 0;
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
    std::vector<Polyline> vvLines;
    Outline outline;
    outline.height = height;
    if (!isoContours.getContours(height, vvLines, false) || vvLines.empty()) return outline;
    const auto outer = std::max_element(vvLines.begin(), vvLines.end(), [](const Polyline& a, const Polyline& b) {
        return getSignedArea(a) < getSignedArea(b);
    });
    outline.area = getSignedArea(*outer);
    if (!(outline.area > 0)) return outline;
    outline.vLines.push_back(*outer);
    for (const Polyline& vLine : vvLines) {
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

// ---- Pictures ----

void draw(const std::string& filename, const Zone2& zone, const Taro_2D& ground, const std::string& title) {
    std::vector<Triangle2*> vTriangles;
    zone.getTriangles(vTriangles);
    double low = 1e300, high = -1e300;
    const auto heightOf = [&ground](const Triangle2* pT) {
        const Point2 center = pT->getBarycenter();
        double z = center.z();
        ground.getHeight(center.x(), center.y(), z);
        return z;
    };
    for (const Triangle2* pT : vTriangles) {
        low = std::min(low, heightOf(pT));
        high = std::max(high, heightOf(pT));
    }
    Visualizer2 drawing(filename);
    std::ostringstream header;
    header << title << ": " << vTriangles.size() << " triangles";
    drawing.addHeaderLine(header.str());
    for (const Triangle2* pT : vTriangles) {
        const double t = high > low ? (heightOf(pT) - low) / (high - low) : 0;
        drawing.addObject(*pT, Color(0.55 + 0.4 * t, 0.75 + 0.15 * t, 0.45 + 0.4 * t, 0.1, true));
    }
    std::vector<Segment2> vBorder;
    zone.getBoundarySegments(vBorder);
    drawing.addObject(vBorder, Color(0.6, 0.1, 0.1, 0.5));
    drawing.writeFile();
    if (!terrain::convertToPng(filename)) std::cout << "  no PNG: ghostscript (gs) is missing or failed\n";
}

int run(const Options& options) {
    std::cout << "Reading " << options.input << std::setprecision(6) << "\n";
    Taro_2D ground;
    ground.insert(terrain::readPoints(options.input));
    if (!ground.is2D()) throw terrain::BadInput(options.input + ": all points lie on one line, no triangles");
    std::vector<Triangle2*> vTriangles;
    ground.getTrianglePointers(vTriangles);
    const IsoContours isoContours(vTriangles);
    const Outline outline = options.height ? findOutline(isoContours, *options.height) : proposeOutline(isoContours);
    if (outline.vLines.empty()) throw terrain::BadInput("no closed contour there: try another --height");
    std::cout << "Ground above " << outline.height << ", with " << outline.vLines.size() - 1 << " basins left out\n";

    const double edge = options.edge ? *options.edge : std::sqrt(outline.area / 1000);
    Taro_2D mesh;
    ConstraintGraph2* pOutline = mesh.createConstraint(simplify(outline, edge / 4), CIS_CONSTRAINED_DELAUNAY, true);
    mesh.applyConstraintsAndZones();
    Zone2* pZone = mesh.createZone(pOutline, ZL_BOUNDED);
    if (!pZone) throw terrain::BadInput("the outline bounds nothing");
    std::filesystem::create_directories(options.outFolder);
    draw(options.outFolder / "mesh_before.ps", *pZone, ground, "Before refinement");

    MeshGenParams params(pZone);
    params.minAngleDegree = MIN_ANGLE;
    params.maxEdgeLength = edge;
    params.minEdgeLength = edge / 100;
    params.pHeightGuide = &ground;
    mesh.refineAdvanced(&params);
    draw(options.outFolder / "mesh_after.ps", *pZone, ground, "After refinement");
    return mesh.checkZoneQuality(pZone, MIN_ANGLE, "high ground", AcceptExperimentalFeature()) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(parseOptions(std::vector<std::string>(argv + 1, argv + argc)));
    } catch (const UsageError& problem) {
        std::cerr << "meshing: " << problem.what()
                  << "\n\nusage: meshing FILE [--height METRES] [--edge METRES] [--out FOLDER]\n";
        return 2;
    } catch (const std::exception& problem) {
        std::cerr << "meshing: " << problem.what() << "\n";
        return 1;
    }
}
