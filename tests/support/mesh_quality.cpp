#include "support/mesh_quality.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <vector>

#include "support/capture.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Zone2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace {

constexpr double NO_LIMIT = std::numeric_limits<double>::max();

using CSegVector = std::vector<ConstraintSegment2*>;

double distance(const Point2& p, const Point2& q, bool bPlanar = false) {
    return std::hypot(q.x() - p.x(), q.y() - p.y(), bPlanar ? 0.0 : q.z() - p.z());
}

/// The angle at p in degrees.
double angleAt(const Point2& p, const Point2& q, const Point2& r, bool bPlanar) {
    const double a = distance(q, r, bPlanar), b = distance(p, r, bPlanar), c = distance(p, q, bPlanar);
    return 180 / M_PI * std::acos(std::clamp((b * b + c * c - a * a) / (2 * b * c), -1.0, 1.0));
}

double smallestAngle(const Triangle2& t, bool bPlanar) {
    const Point2 &p = *t.getCorner(0), &q = *t.getCorner(1), &r = *t.getCorner(2);
    return std::min({angleAt(p, q, r, bPlanar), angleAt(q, r, p, bPlanar), angleAt(r, p, q, bPlanar)});
}

/// Limits that nothing can meet do not count.
double usable(double limit) { return limit > 0 ? limit : NO_LIMIT; }

double area(const Triangle2& t) { return getArea25D(*t.getCorner(0), *t.getCorner(1), *t.getCorner(2)); }

/// The segment on edge i.
ConstraintSegment2* segmentOn(const Taro_2D& mesh, const Triangle2& t, int i) {
    return mesh.getConstraintSegment(t.getCorner((i + 1) % 3), t.getCorner((i + 2) % 3));
}

bool missesGrowth(const Taro_2D& mesh, const Triangle2& t, const MeshGenParams& params) {
    if (params.growthFactor == NO_LIMIT || params.growthFactor <= 0) return false;
    for (int i = 0; i < 3; ++i) {
        const ConstraintSegment2* pCSeg = segmentOn(mesh, t, i);
        const Triangle2* pN = t.getOppositeTriangle(i);
        const double other = pCSeg ? pCSeg->getAdjacentArea() : pN ? area(*pN) : 0;
        if (other == 0 || other == NO_LIMIT || other < params.growthMinArea) continue;
        if (area(t) > (1 + 1e-9) * params.growthFactor * other) return true;
    }
    return false;
}

bool isNarrowCorner(const Taro_2D& mesh, const Triangle2& t, double minAngle) {
    for (int i = 0; i < 3; ++i) {
        const Point2 &p = *t.getCorner(i), &q = *t.getCorner((i + 1) % 3), &r = *t.getCorner((i + 2) % 3);
        const bool bBoth = segmentOn(mesh, t, (i + 1) % 3) && segmentOn(mesh, t, (i + 2) % 3);
        if (bBoth && angleAt(p, q, r, false) < minAngle + 1e-3) return true;
    }
    return false;
}

/// The parameter, from 0 to 1, at which the path from p to q meets a segment; more than 1 if it does not.
double reach(const Point2& p, const Point2& q, const ConstraintSegment2& segment) {
    const Point2 &a = *segment.getSrc(), &b = *segment.getTrg();
    const auto fromPath = [&](const Point2& end) { return getOrientation2_mt(&p, &q, &end); };
    const auto fromSegment = [&](const Point2& end) { return getOrientation2_mt(&a, &b, &end); };
    if (fromSegment(p) == ORIENTATION2_COLLINEAR || fromSegment(p) == fromSegment(q)) return 2;
    if (fromPath(a) == fromPath(b) && fromPath(a) != ORIENTATION2_COLLINEAR) return 2;
    const double dx = b.x() - a.x(), dy = b.y() - a.y();
    const double before = (p.x() - a.x()) * dy - (p.y() - a.y()) * dx,
                 after = (q.x() - a.x()) * dy - (q.y() - a.y()) * dx;
    return std::clamp(before / (before - after), 0.0, 1.0);
}

/// The reason why a segment cannot be split; empty if it can.
std::string whyWhole(ConstraintSegment2* pCSeg, const MeshGenParams& params) {
    const Point2 &a = *pCSeg->getSrc(), &b = *pCSeg->getTrg();
    if (!params.bAllowConstraintSplitting) return "no splitting";
    if (params.pLockedConstraints && params.pLockedConstraints->count(pCSeg) > 0) return "locked";
    if (2 * params.minEdgeLength > (1 - 1e-9) * distance(a, b)) return "short segment";
    const double magnitude = std::max(std::abs(a.x()), std::abs(a.y()));
    return distance(a, b, true) < 1e-14 * magnitude ? "no number between" : "";
}

/// The reason why neither the circumcentre of a triangle nor a segment on the path to it can get a vertex; empty if one
/// can.
std::string whyNoSteiner(const Taro_2D& mesh, const Triangle2& t, const CSegVector& vCSegs,
                         const MeshGenParams& params) {
    bool bAccurate;
    const Point2 center = t.getDual(bAccurate);
    if (!bAccurate) return "inaccurate centre";
    const Point2& start = *t.getCorner(t.getMaxIndex());
    const double magnitude = std::max(std::abs(center.x()), std::abs(center.y()));
    if (distance(start, center, true) < 17 * 2.3e-16 * magnitude) return "too small";
    std::vector<std::pair<double, ConstraintSegment2*>> vObstructing;
    for (ConstraintSegment2* pCSeg : vCSegs) {
        const double place = reach(start, center, *pCSeg);
        if (place <= 1) vObstructing.emplace_back(place, pCSeg);
    }
    std::sort(vObstructing.begin(), vObstructing.end());
    for (const auto& [place, pCSeg] : vObstructing) {
        if (place > vObstructing.front().first + 1e-9) break;  // where segments meet, the path may touch all of them
        const std::string reason = whyWhole(pCSeg, params);
        if (!reason.empty()) return reason;
    }
    return vObstructing.empty() && !mesh.locate(center) ? "outside the hull" : "";
}

std::string describe(const Triangle2& t) {
    std::ostringstream text;
    text.precision(17);
    text << "angle " << smallestAngle(t, false) << ", planar " << smallestAngle(t, true) << ", area " << area(t) << "\n"
         << t;
    return text.str();
}

}  // namespace

MeshQuality inspectMesh(const Taro_2D& mesh, MeshGenParams& params) {
    MeshQuality quality;
    std::vector<Triangle2*> vTriangles;
    params.pZone->getTriangles(vTriangles);
    CSegVector vCSegs;
    mesh.getAliveConstraintSegments(vCSegs);
    for (Triangle2* pT : vTriangles) {
        ++quality.numTriangles;
        double longest = 0;
        for (int i = 0; i < 3; ++i)
            longest = std::max(longest, distance(*pT->getCorner(i), *pT->getCorner((i + 1) % 3)));
        const double maxLength = usable(params.getMaxEdgeLength(pT)), maxArea = usable(params.getMaxTriangleArea(pT));
        const bool bTooLarge =
            longest > (1 + 1e-9) * maxLength || area(*pT) > (1 + 1e-6) * maxArea || missesGrowth(mesh, *pT, params);
        const bool bNarrow = smallestAngle(*pT, false) < params.minAngleDegree - 1e-5;
        if (!bTooLarge && !bNarrow) continue;
        std::string excuse = whyNoSteiner(mesh, *pT, vCSegs, params);
        if (excuse.empty() && !bTooLarge && smallestAngle(*pT, true) > 29.5 - 1e-5) excuse = "planar";
        if (excuse.empty() && !bTooLarge && isNarrowCorner(mesh, *pT, params.minAngleDegree)) excuse = "narrow";
        ++quality.mExcuses[excuse];
        if (excuse.empty()) quality.unexplained = describe(*pT);
    }
    return quality;
}

testing::AssertionResult isWellMeshed(const Taro_2D& mesh, MeshGenParams& params) {
    const MeshQuality quality = inspectMesh(mesh, params);
    if (quality.mExcuses.count("") > 0) {
        return testing::AssertionFailure()
               << quality.mExcuses.at("") << " of " << quality.numTriangles << " triangles miss a limit, such as\n"
               << quality.unexplained;
    }
    const StdoutCapture capture;
    if (mesh.checkValidity(true, "refined")) return testing::AssertionSuccess();
    return testing::AssertionFailure() << capture.text();
}
