#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/capture.h"
#include "support/generators.h"
#include "taro25d/IsoContours.h"
#include "taro25d/Taro_2D.h"

// Contours, and grids of heights to take them from.

namespace contour_lines {

using namespace LUMO_TARO25D;

using Polyline = std::vector<Segment2>;

using Polylines = std::vector<Polyline>;

inline Polylines contours(const IsoContours& iso, double height) {
    Polylines vContours;
    EXPECT_TRUE(iso.getContours(height, vContours, false));
    return vContours;
}

/// The integer points of a square around the origin, with heights.
inline void insertGrid(int halfSide, const std::function<double(double, double)>& heightAt, Taro_2D& mesh) {
    PointVector vPoints;
    for (int x = -halfSide; x <= halfSide; ++x)
        for (int y = -halfSide; y <= halfSide; ++y) vPoints.emplace_back(x, y, heightAt(x, y));
    mesh.insert(vPoints);
}

inline bool isClosed(const Polyline& vPolyline) {
    return samePoint(vPolyline.front().getSrc(), vPolyline.back().getTrg());
}

/// Positive for a closed polyline that runs counterclockwise.
inline double areaOf(const Polyline& vPolyline) {
    double area = 0;
    for (const Segment2& s : vPolyline)
        area += 0.5 * (s.getSrc().x() * s.getTrg().y() - s.getSrc().y() * s.getTrg().x());
    return area;
}

inline std::string toText(const Polylines& vPolylines) {
    std::ostringstream text;
    text.precision(17);
    for (const Polyline& vPolyline : vPolylines) {
        for (const Segment2& s : vPolyline)
            text << s.getSrc().x() << " " << s.getSrc().y() << " " << s.getSrc().z() << ", ";
        text << vPolyline.back().getTrg().x() << " " << vPolyline.back().getTrg().y() << "\n";
    }
    return text.str();
}

/// The output of a query. A query that fails must append nothing.
inline std::string printedBy(const IsoContours& iso, double height, bool bVerbose, bool bAutoAdjustHeight,
                             bool bExpected) {
    Polylines vContours;
    const StdoutCapture capture;
    EXPECT_EQ(iso.getContours(height, vContours, bVerbose, bAutoAdjustHeight), bExpected);
    if (!bExpected) {
        EXPECT_TRUE(vContours.empty());
    }
    return capture.text();
}

inline std::string warningOf(const std::string& text) {
    return "\033[0;93m      [Taro2D-Message] IsoContours::getContours(), WARNING: " + text + "\033[m\n";
}

}  // namespace contour_lines
