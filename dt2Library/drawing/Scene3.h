#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "drawing/rampColors.h"
#include "support/LargeVector.h"
#include "support/Progress.h"
#include "taro25d/Color.h"
#include "taro25d/ColourRamp.h"

namespace LUMO_TARO25D {

using Xyz = std::array<double, 3>;

/// Triangles of one layer, with vertices of their own.
struct SceneSurface {
    size_t layer;
    std::optional<ColourRamp> ramp;  // if none, the colour is used
    Color color;
    LargeVector<Xyz> vVertices;
    LargeVector<std::uint32_t> vTriangles;  // three vertex numbers each

    size_t numTriangles() const { return vTriangles.size() / 3; }
};

/// Lines of one layer: from each even place to the next.
struct SceneLines {
    size_t layer;
    Color color;
    LargeVector<Xyz> vEnds;
};

struct SceneLabel {
    size_t layer;
    Xyz place;
    std::string text;
    bool bMark;
    int size;
};

/// The objects that a Visualizer3 has collected.
struct Scene3 {
    std::string title;
    double exaggeration = 1.0;
    std::vector<std::string> vLayers;
    std::vector<SceneSurface> vSurfaces;
    std::vector<SceneLines> vLines;
    std::vector<SceneLabel> vLabels;
    mutable Progress progress;

    /// The number of the layer with this name; makes it if there is none.
    size_t getLayer(const std::string& name);
    /// The lines of a layer in one colour; makes them, without ends, if there are none.
    SceneLines& getLines(size_t layer, const Color& color);
    bool isEmpty() const { return vSurfaces.empty() && vLines.empty() && vLabels.empty(); }
    /// The number of vertices of surfaces and lines.
    size_t numVertices() const;
    /// The number of steps of a writer: vertices, triangles, and ends of lines.
    size_t numItems() const;

    /// The heights of all surfaces with a ramp; for the diverging ramp, extended to be symmetric about 0.
    HeightRange getRange(ColourRamp ramp) const;
    RampColors getColors(ColourRamp ramp) const { return RampColors(ramp, getRange(ramp)); }

    struct Box {
        Xyz low, high;
    };
    /// The box of all places; that of the origin for an empty scene.
    Box getBox() const;
    Xyz getCentre() const;
};

/// The progress of one task on a scene, with reports to listeners and the cancel flag.
class SceneTask {
  public:
    SceneTask(Progress& progress, const std::string& name, size_t numItems) : progress_(progress), end_(progress) {
        progress_.start(name, numItems);
    }

    /// Calls f(begin, end) for one small range after the other until n items are done.
    template <class F>
    void forEachBatch(size_t n, const F& f) {
        for (size_t begin = 0; begin < n; begin += NUM_IN_BATCH) {
            progress_.throwIfStopped();
            const size_t end = n - begin > NUM_IN_BATCH ? begin + NUM_IN_BATCH : n;
            f(begin, end);
            progress_.incProgress(end - begin);
        }
    }
    /// Calls f(i) for n items.
    template <class F>
    void forEach(size_t n, const F& f) {
        forEachBatch(n, [&f](size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i) f(i);
        });
    }
    /// For step i of work that is not counted: a cancellation point once in a few thousand steps.
    void passCancelPoint(size_t i) const {
        if (i % NUM_IN_BATCH == 0) progress_.throwIfStopped();
    }
    void finish() { progress_.finish(); }

  private:
    static constexpr size_t NUM_IN_BATCH = 8192;

    Progress& progress_;
    ProgressEnd end_;
};

}  // namespace LUMO_TARO25D
