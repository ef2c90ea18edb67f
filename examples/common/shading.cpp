#include "shading.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "taro25d/Vector2.h"
#include "taro25d/freeFunctions.h"

using namespace LUMO_TARO25D;

namespace terrain {

namespace {

/// Colours at even steps from the lowest to the highest point.
const std::array<std::array<double, 3>, 6> RAMP{{{0.25, 0.50, 0.35},
                                                 {0.55, 0.70, 0.42},
                                                 {0.90, 0.87, 0.58},
                                                 {0.80, 0.63, 0.40},
                                                 {0.58, 0.42, 0.33},
                                                 {0.97, 0.96, 0.95}}};

/// How steep the surface is: the tangent of its slope.
double steepness(const Vector2& normal) { return normal.z() > 0 ? std::hypot(normal.x(), normal.y()) / normal.z() : 0; }

/// Mean over the area.
double meanSteepness(const std::vector<Triangle2*>& vTriangles) {
    double sum = 0, area = 0;
    for (const Triangle2* pT : vTriangles) {
        const double share = getArea2D(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2));
        sum += share * steepness(pT->getNormalVector());
        area += share;
    }
    return sum / area;
}

/// A component of a colour in light of that strength: 0 is night, 1 the light on level ground, above it turns white.
double lit(double component, double light) {
    return light < 1 ? component * light : component + (1 - component) * std::min(1.0, light - 1);
}

}  // namespace

Shading::Shading(const std::vector<Triangle2*>& vTriangles, double contrast)
    : minHeight_(std::numeric_limits<double>::max()),
      maxHeight_(std::numeric_limits<double>::lowest()),
      contrast_(contrast) {
    for (const Triangle2* pT : vTriangles) {
        for (int i = 0; i < 3; ++i) {
            minHeight_ = std::min(minHeight_, pT->getCorner(i)->z());
            maxHeight_ = std::max(maxHeight_, pT->getCorner(i)->z());
        }
    }
    constexpr double CLEARLY_VISIBLE = 0.5;
    const double steepness = meanSteepness(vTriangles);
    if (steepness > 0 && std::isfinite(steepness)) exaggeration_ = CLEARLY_VISIBLE / steepness;
}

Color Shading::ofHeight(double height) const {
    const double fraction = (height - minHeight_) / (maxHeight_ - minHeight_);
    // Not a number where all is level.
    const double position = std::isfinite(fraction) ? std::clamp(fraction, 0.0, 1.0) * (RAMP.size() - 1) : 0;
    const size_t step = std::min(static_cast<size_t>(position), RAMP.size() - 2);
    const double t = position - static_cast<double>(step);
    const auto component = [&](size_t i) { return (1 - t) * RAMP[step][i] + t * RAMP[step + 1][i]; };
    return Color(component(0), component(1), component(2), 0.05, true);
}

Color Shading::ofTriangle(const Triangle2& triangle) const {
    const Color level = ofHeight(triangle.getBarycenter().z());
    const double strength = light(triangle);
    return Color(lit(level.r, strength), lit(level.g, strength), lit(level.b, strength), level.width, true);
}

/// 1 on level ground.
Color Shading::paleOfTriangle(const Triangle2& triangle) const {
    const Color color = ofTriangle(triangle);
    const auto pale = [](double component) { return 0.55 + 0.45 * component; };
    return Color(pale(color.r), pale(color.g), pale(color.b), color.width, true);
}

double Shading::light(const Triangle2& triangle) const {
    const Vector2 toSun = normalize(Vector2(-1, 1, 1.2));
    const Vector2 normal = triangle.getNormalVector();
    const Vector2 exaggerated(normal.x() * exaggeration_, normal.y() * exaggeration_, normal.z());
    if (exaggerated.isDegenerate()) return 1;
    const double direct = std::max(0.0, normalize(exaggerated) * toSun) / toSun.z();
    return 1 + contrast_ * (direct - 1);
}

}  // namespace terrain
