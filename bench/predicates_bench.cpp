// The cost of the predicates inside the engine, by the stage of their ladders that decides.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "generators.h"
#include "kernel/GeomTest.h"

namespace {

using namespace bench;
using benchmark::State;
using LUMO_TARO25D::GeomTest;

using Quadruple = std::array<Point2, 4>;  // a counterclockwise triangle and a query point
using Quadruples = std::vector<Quadruple>;

template <class Make>
Quadruples makeQuadruples(Make make) {
    Random random(8);
    Quadruples vQuadruples(1024);
    for (Quadruple& quadruple : vQuadruples) make(random, quadruple);
    return vQuadruples;
}

/// Four points at ascending angles around a centre, all at the radius that radius() gives.
template <class Radius>
void setAround(Random& random, Quadruple& quadruple, double x, double y, Radius radius) {
    for (int i = 0; i < 4; ++i) {
        const double angle = 0.5 * M_PI * (i + 0.9 * random.unit()), r = radius();
        quadruple[i].set(x + r * std::cos(angle), y + r * std::sin(angle), 0.0);
    }
}

Quadruples randomQuadruples() {
    return makeQuadruples([](Random& random, Quadruple& quadruple) {
        setAround(random, quadruple, random.unit(), random.unit(), [&] { return random.between(0.0005, 0.001); });
    });
}

Quadruples surveyQuadruples() {
    return makeQuadruples([](Random& random, Quadruple& quadruple) {
        setAround(random, quadruple, random.between(4.5e5, 4.6e5), random.between(5.2e6, 5.3e6),
                  [&] { return random.between(2.0, 4.0); });
    });
}

/// On one circle, up to rounding.
Quadruples nearlyCocircularQuadruples() {
    return makeQuadruples([](Random& random, Quadruple& quadruple) {
        setAround(random, quadruple, random.unit(), random.unit(), [] { return 0.001; });
    });
}

/// Corners of a cell of an integer grid.
Quadruples gridCellQuadruples() {
    return makeQuadruples([](Random& random, Quadruple& quadruple) {
        const double x = double(random.below(1000)), y = double(random.below(1000));
        quadruple = {Point2(x, y, 0.0), Point2(x + 1, y, 0.0), Point2(x + 1, y + 1, 0.0), Point2(x, y + 1, 0.0)};
    });
}

/// Exactly on one circle, with integer coordinates but no rectangle: 3^2 + 4^2 = 5^2.
Quadruples cocircularQuadruples() {
    return makeQuadruples([](Random& random, Quadruple& quadruple) {
        const double x = double(random.below(1000)), y = double(random.below(1000));
        quadruple = {Point2(x + 5, y, 0.0), Point2(x + 3, y + 4, 0.0), Point2(x, y + 5, 0.0),
                     Point2(x - 4, y - 3, 0.0)};
    });
}

/// Calls test(geomTest, arguments), with the static bound set for all of the arguments.
template <class Arguments, class Test>
void timePredicate(State& state, const std::vector<Arguments>& vArguments, Test test) {
    double maxAbsCoord = 0.0;
    for (const Arguments& arguments : vArguments)
        for (const Point2& point : arguments)
            maxAbsCoord = std::max({maxAbsCoord, std::abs(point.x()), std::abs(point.y())});
    GeomTest geomTest;
    geomTest.setStaticBound(maxAbsCoord);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(test(geomTest, vArguments[next]));
        next = next + 1 < vArguments.size() ? next + 1 : 0;
    }
    state.SetItemsProcessed(state.iterations());
}

void orientation(State& state, Triples (*make)()) {
    timePredicate(state, make(),
                  [](GeomTest& geomTest, const Triple& p) { return geomTest.getOrientation2(&p[0], &p[1], &p[2]); });
}

void intervalOrientation(State& state, Triples (*make)()) {
    timePredicate(state, make(),
                  [](GeomTest& geomTest, const Triple& p) { return geomTest.dynamicFilterOri2(&p[0], &p[1], &p[2]); });
}

void rationalOrientation(State& state, Triples (*make)()) {
    timePredicate(state, make(), [](GeomTest& geomTest, const Triple& p) {
        return geomTest.exact_getOrientation2(&p[0], &p[1], &p[2]);
    });
}

void inCircle(State& state, Quadruples (*make)()) {
    timePredicate(state, make(), [](GeomTest& geomTest, const Quadruple& p) {
        return geomTest.circleInc(&p[0], &p[1], &p[2], &p[3]);
    });
}

void rationalInCircle(State& state, Quadruples (*make)()) {
    timePredicate(state, make(), [](GeomTest& geomTest, const Quadruple& p) {
        return geomTest.rationalInCircle(p[0], p[1], p[2], p[3]);
    });
}

struct QuadrupleKind {
    const char* name;
    Quadruples (*make)();
};

constexpr QuadrupleKind aQuadrupleKinds[] = {
    {"random", randomQuadruples},
    {"survey", surveyQuadruples},
    {"nearlyCocircular", nearlyCocircularQuadruples},
    {"gridCell", gridCellQuadruples},
    {"cocircular", cocircularQuadruples},
};

template <class Kind, class Function>
void add(const std::string& name, const Kind& kind, Function function) {
    benchmark::RegisterBenchmark((name + "/" + kind.name).c_str(), function, kind.make);
}

}  // namespace

int main(int argc, char** argv) {
    for (const TripleKind& kind : aTripleKinds) {
        add("orientation", kind, orientation);
        add("intervalOrientation", kind, intervalOrientation);
        add("rationalOrientation", kind, rationalOrientation);
    }
    for (const QuadrupleKind& kind : aQuadrupleKinds) {
        add("inCircle", kind, inCircle);
        add("rationalInCircle", kind, rationalInCircle);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
