#include "taro25d/Color.h"

#include <atomic>
#include <tuple>

#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

struct Rgb {
    float r, g, b;
};

constexpr Rgb aNamedColor[] = {
    {1.0f, 0.0f, 0.0f},        // CRED
    {0.0f, 1.0f, 0.0f},        // CGREEN
    {0.0f, 0.0f, 1.0f},        // CBLUE
    {0.0f, 0.0f, 0.0f},        // CBLACK
    {1.0f, 0.4f, 0.7f},        // CPINK
    {0.3f, 0.3f, 0.3f},        // CGRAY
    {1.0f, 0.627f, 0.0f},      // CORANGE
    {0.0f, 0.749f, 1.0f},      // CLIGHTBLUE
    {0.823f, 0.705f, 0.549f},  // CLIGHTBROWN
    {0.545f, 0.271f, 0.074f},  // CDARKBROWN
    {0.627f, 0.125f, 0.941f},  // CPURPLE
    {0.5f, 0.5f, 0.0f},        // COLIVE
    {0.49f, 0.99f, 0.0f},      // CLAWNGREEN
    {0.6f, 0.98f, 0.6f},       // CPALEGREEN
    {0.0f, 1.0f, 1.0f},        // CCYAN
    {1.0f, 1.0f, 0.0f},        // CYELLOW
    {1.0f, 1.0f, 1.0f},        // CWHITE
};
static_assert(sizeof(aNamedColor) / sizeof(Rgb) == CWHITE + 1, "one entry for each name");

auto fields(const Color& c) { return std::tie(c.r, c.g, c.b, c.width, c.bFill); }

Colorname nextName(Colorname name) { return static_cast<Colorname>((name + (name < CCYAN ? 1 : 2)) % CYELLOW); }

}  // namespace

Color::Color(double r, double g, double b, double width, bool bFill)
    : r(static_cast<float>(r)),
      g(static_cast<float>(g)),
      b(static_cast<float>(b)),
      width(static_cast<float>(width)),
      bFill(bFill) {}

Color::Color(Colorname name, float width, bool bFill) : r(0.0f), g(0.0f), b(0.0f), width(width), bFill(bFill) {
    if (name < CRED || name > CWHITE) {
        warning("Color::Color", "Colorname unknown, returning black");
        return;
    }
    r = aNamedColor[name].r;
    g = aNamedColor[name].g;
    b = aNamedColor[name].b;
}

bool Color::operator==(const Color& other) const { return fields(*this) == fields(other); }
bool Color::operator!=(const Color& other) const { return !(*this == other); }
bool Color::operator<(const Color& other) const { return fields(*this) < fields(other); }

Colorname Color::getNextColorName() {
    static std::atomic<Colorname> current(CRED);
    Colorname name = current;
    while (!current.compare_exchange_weak(name, nextName(name))) {
    }
    return nextName(name);
}

}  // namespace LUMO_TARO25D
