// The encoder of scenes for the page. The format is described in SceneEncoder.h.
//
// A walk visits all triangles of a surface, depth first: an edge with a triangle behind it that is not reserved yet
// becomes a gate on a stack, and the triangle is reserved for it, so that no triangle is written twice and the decoder
// can follow with the same stack. Each vertex is written at its first use, as the difference from a guess: the fourth
// corner of the parallelogram over the gate, or the vertex before at the start of a walk.

#include "drawing/SceneEncoder.h"

#include <algorithm>
#include <cmath>

#include "drawing/TriangleLinks.h"
#include "support/lists.h"

namespace LUMO_TARO25D {

namespace {

/// The step for an extent: a power of two, finer than any visible difference, and coarse enough that a double holds
/// every number of steps.
double getStepFor(double extent) {
    constexpr int MAX_EXPONENT = -14, BITS_OF_EXTENT = 24, MAX_BITS = 50, MIN_EXPONENT = -1000;
    int exponent = 0;
    std::frexp(extent, &exponent);
    if (extent == 0.0) return std::ldexp(1.0, MAX_EXPONENT);
    const int wanted = std::min(MAX_EXPONENT, exponent - BITS_OF_EXTENT);
    return std::ldexp(1.0, std::max({wanted, exponent - MAX_BITS, MIN_EXPONENT}));
}

}  // namespace

/// A walk over all triangles of one surface.
class SceneEncoder::Walk {
  public:
    Walk(SceneEncoder& encoder, const SceneSurface& surface)
        : encoder_(encoder),
          surface_(surface),
          links_(surface, encoder.task_),
          vNumbers_(surface.vVertices.size(), TriangleLinks::NONE) {}

    void go() {
        encoder_.task_.forEach(surface_.numTriangles(), [this](size_t) { writeNext(); });
    }

  private:
    /// An edge that waits to be crossed: as a corner number in the triangle already written, and in the triangle
    /// across.
    struct Gate {
        std::uint32_t near, far;
    };

    void writeNext() {
        if (vGates_.empty()) {
            writeStart();
        } else {
            const Gate gate = vGates_.back();
            vGates_.pop_back();
            writeAcross(gate);
        }
    }

    /// Reserves the triangle across an edge, if there is one that is neither written nor reserved; false if not.
    bool open(std::uint32_t edge) {
        const std::uint32_t across = links_.findAcross(edge);
        if (across == TriangleLinks::NONE) return false;
        links_.take(across / 3);
        vGates_.push_back({edge, across});
        return true;
    }

    void writeStart() {
        while (links_.isTaken(seed_)) ++seed_;
        links_.take(seed_);
        unsigned flags = 0;
        for (std::uint32_t k = 0; k < 3; ++k) flags |= unsigned(open(3 * seed_ + k)) << k;
        encoder_.vBytes_.push_back(static_cast<std::uint8_t>(flags));
        for (std::uint32_t k = 0; k < 3; ++k) {
            const std::uint32_t vertex = links_.getVertex(3 * seed_ + k);
            encoder_.addNumber(getDistance(vertex));
            if (isNew(vertex)) writePlace(vertex, last_);
        }
    }

    void writeAcross(const Gate& gate) {
        // In the far triangle the edge runs from b to a; its third corner is the one before that edge.
        const std::uint32_t toThird = TriangleLinks::getNext(gate.far), third = TriangleLinks::getNext(toThird);
        const std::uint32_t vertex = links_.getVertex(third);
        const unsigned first = open(toThird), second = open(third);  // the order is part of the format
        const std::uint32_t distance = getDistance(vertex);
        constexpr std::uint32_t LARGE = 63;
        encoder_.vBytes_.push_back(static_cast<std::uint8_t>(first | second << 1 | std::min(distance, LARGE) << 2));
        if (distance >= LARGE) encoder_.addNumber(distance - LARGE);
        if (isNew(vertex)) writePlace(vertex, guess(gate));
    }

    /// The fourth corner of the parallelogram over the edge, away from the near triangle.
    Steps guess(const Gate& gate) const {
        const std::uint32_t second = TriangleLinks::getNext(gate.near), opposite = TriangleLinks::getNext(second);
        const auto steps = [&](std::uint32_t corner) { return vSteps_[vNumbers_[links_.getVertex(corner)]]; };
        const Steps a = steps(gate.near), b = steps(second), c = steps(opposite);
        return {a[0] + b[0] - c[0], a[1] + b[1] - c[1], a[2] + b[2] - c[2]};
    }

    bool isNew(std::uint32_t vertex) const { return vNumbers_[vertex] == TriangleLinks::NONE; }
    /// The distance of a vertex from the end of the list of vertices written so far; 0 for a new one.
    std::uint32_t getDistance(std::uint32_t vertex) const {
        return isNew(vertex) ? 0 : static_cast<std::uint32_t>(vSteps_.size()) - vNumbers_[vertex];
    }
    void writePlace(std::uint32_t vertex, const Steps& guess) {
        const Steps steps = encoder_.toSteps(surface_.vVertices[vertex]);
        encoder_.addPlace(steps, guess);
        last_ = steps;
        vNumbers_[vertex] = static_cast<std::uint32_t>(vSteps_.size());
        vSteps_.push_back(steps);
    }

    SceneEncoder& encoder_;
    const SceneSurface& surface_;
    TriangleLinks links_;
    std::vector<std::uint32_t> vNumbers_;  // the number of each vertex in the order of writing
    std::vector<Steps> vSteps_;            // the places of the vertices written so far
    std::vector<Gate> vGates_;
    Steps last_{};
    std::uint32_t seed_ = 0;
};

SceneEncoder::SceneEncoder(const Scene3& scene, SceneTask& task) : task_(task) {
    const Scene3::Box box = scene.getBox();
    origin_ = box.low;
    for (size_t i = 0; i < 3; ++i) step_[i] = getStepFor(box.high[i] - box.low[i]);
}

void SceneEncoder::add(const SceneSurface& surface) {
    reserveMore(vBytes_, 6 * surface.numTriangles());
    Walk(*this, surface).go();
}

void SceneEncoder::add(const SceneLines& lines) {
    Steps last{};
    task_.forEach(lines.vEnds.size(), [&](size_t i) {
        const Steps steps = toSteps(lines.vEnds[i]);
        addPlace(steps, last);
        last = steps;
    });
}

SceneEncoder::Steps SceneEncoder::toSteps(const Xyz& place) const {
    Steps steps;
    for (size_t i = 0; i < 3; ++i) steps[i] = std::llrint((place[i] - origin_[i]) / step_[i]);
    return steps;
}

void SceneEncoder::addNumber(std::uint64_t number) {
    while (number >= 128) {
        vBytes_.push_back(static_cast<std::uint8_t>(number | 128));
        number >>= 7;
    }
    vBytes_.push_back(static_cast<std::uint8_t>(number));
}

void SceneEncoder::addSigned(std::int64_t number) {
    addNumber(number < 0 ? 2 * static_cast<std::uint64_t>(-(number + 1)) + 1 : 2 * static_cast<std::uint64_t>(number));
}

void SceneEncoder::addPlace(const Steps& steps, const Steps& guess) {
    for (size_t i = 0; i < 3; ++i) addSigned(steps[i] - guess[i]);
}

}  // namespace LUMO_TARO25D
