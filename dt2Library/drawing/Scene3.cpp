#include "drawing/Scene3.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace LUMO_TARO25D {

namespace {

template <class F>
void forEachPlace(const Scene3& scene, const F& f) {
    for (const SceneSurface& surface : scene.vSurfaces)
        std::for_each(surface.vVertices.begin(), surface.vVertices.end(), f);
    for (const SceneLines& lines : scene.vLines) std::for_each(lines.vEnds.begin(), lines.vEnds.end(), f);
    for (const SceneLabel& label : scene.vLabels) f(label.place);
}

}  // namespace

size_t Scene3::getLayer(const std::string& name) {
    const auto it = std::find(vLayers.begin(), vLayers.end(), name);
    const auto layer = static_cast<size_t>(it - vLayers.begin());
    if (it == vLayers.end()) vLayers.push_back(name);
    return layer;
}

SceneLines& Scene3::getLines(size_t layer, const Color& color) {
    const auto it = std::find_if(vLines.begin(), vLines.end(),
                                 [&](const SceneLines& lines) { return lines.layer == layer && lines.color == color; });
    return it == vLines.end() ? vLines.emplace_back(SceneLines{layer, color, {}}) : *it;
}

size_t Scene3::numVertices() const {
    size_t num = 0;
    for (const SceneSurface& surface : vSurfaces) num += surface.vVertices.size();
    for (const SceneLines& lines : vLines) num += lines.vEnds.size();
    return num;
}

size_t Scene3::numItems() const {
    size_t num = numVertices();
    for (const SceneSurface& surface : vSurfaces) num += surface.numTriangles();
    return num;
}

HeightRange Scene3::getRange(ColourRamp ramp) const {
    HeightRange range{std::numeric_limits<double>::max(), std::numeric_limits<double>::lowest()};
    for (const SceneSurface& surface : vSurfaces) {
        if (surface.ramp != ramp) continue;
        for (const Xyz& vertex : surface.vVertices) {
            range.low = std::min(range.low, vertex[2]);
            range.high = std::max(range.high, vertex[2]);
        }
    }
    if (ramp != CR_DIVERGING || range.isEmpty()) return range;
    const double extent = std::max(std::abs(range.low), std::abs(range.high));
    return {-extent, extent};
}

Scene3::Box Scene3::getBox() const {
    constexpr double MAX = std::numeric_limits<double>::max();
    Box box{{MAX, MAX, MAX}, {-MAX, -MAX, -MAX}};
    forEachPlace(*this, [&box](const Xyz& place) {
        for (size_t i = 0; i < 3; ++i) {
            box.low[i] = std::min(box.low[i], place[i]);
            box.high[i] = std::max(box.high[i], place[i]);
        }
    });
    return box.low[0] <= box.high[0] ? box : Box{};
}

Xyz Scene3::getCentre() const {
    const Box box = getBox();
    Xyz centre;
    for (size_t i = 0; i < 3; ++i) centre[i] = box.low[i] / 2 + box.high[i] / 2;
    return centre;
}

}  // namespace LUMO_TARO25D
