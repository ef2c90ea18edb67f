#include "vertices/HC2.h"

#include <array>
#include <cstdint>

#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

// The next state and the key digit of each quadrant: index 4 * state + quadrant.
constexpr unsigned nextS[16] = {1, 0, 2, 0, 0, 3, 1, 1, 2, 2, 0, 3, 3, 1, 3, 2};
constexpr unsigned addVls[16] = {0, 1, 3, 2, 0, 3, 1, 2, 2, 1, 3, 0, 2, 3, 1, 0};

/// Five levels of the curve at once: for each state, five bits of ix and five bits of iy, the ten key bits
/// and, in the two bits above them, the next state.
struct FiveLevels {
    std::array<std::uint16_t, 4096> entry;
};

constexpr FiveLevels makeFiveLevels() {
    FiveLevels table{};
    for (unsigned i = 0; i < 4096; ++i) {
        unsigned state = i >> 10, key = 0;
        for (int bit = 4; bit >= 0; --bit) {
            const unsigned quadrant = 2 * ((i >> (5 + bit)) & 1) + ((i >> bit) & 1);
            key = 4 * key + addVls[4 * state + quadrant];
            state = nextS[4 * state + quadrant];
        }
        table.entry[i] = static_cast<std::uint16_t>(state << 10 | key);
    }
    return table;
}

constexpr FiveLevels fiveLevels = makeFiveLevels();

unsigned checkedNumBits(int numBits) {
    if (numBits >= 0 && numBits < 33 && numBits % 2 == 0) return static_cast<unsigned>(numBits);
    error("HC2::HC2(..)", "Can't determine Hermite factors");
    TARO_ASSERT_TEXT(false, "invalid bitlength");
    return 0;
}

}  // namespace

HC2::Axis::Axis(double min, double max, unsigned gridSize) : prescale(1.0), maxCell(gridSize - 1) {
    if (!(max * 0.5 - min * 0.5 < 0x1p1000)) prescale = 0x1p-60;
    if (max - min < 0x1p-900) prescale = 0x1p200;
    origin = min * prescale;
    const double width = max * prescale - origin;
    scale = width > 0.0 ? gridSize / width : 0.0;
}

unsigned HC2::Axis::cell(double coordinate) const {
    // With prescale 1 this is (coordinate - min) * scale to the last bit.
    const double position = (coordinate * prescale - origin) * scale;
    if (!(position > 0.0)) return 0;
    return position < maxCell ? static_cast<unsigned>(position) : maxCell;
}

HC2::HC2(double minX, double minY, double maxX, double maxY, int numBits)
    : gridSize_(1u << (checkedNumBits(numBits) / 2)),
      initialShift_(numBits - 2),
      xAxis_(minX, maxX, gridSize_),
      yAxis_(minY, maxY, gridSize_) {}

unsigned HC2::iReset(double x, double y) const {
    const unsigned ix = xAxis_.cell(x);
    const unsigned iy = yAxis_.cell(y);
    unsigned state = 0, key = 0;
    int bit = initialShift_ / 2;  // the bit of ix and iy, from the highest down
    for (; (bit + 1) % 5 != 0; --bit) {
        const unsigned i = 4 * state + 2 * ((ix >> bit) & 1) + ((iy >> bit) & 1);
        key = 4 * key + addVls[i];
        state = nextS[i];
    }
    for (bit -= 4; bit >= 0; bit -= 5) {
        const unsigned entry = fiveLevels.entry[state << 10 | ((ix >> bit) & 31) << 5 | ((iy >> bit) & 31)];
        key = key << 10 | (entry & 1023);
        state = entry >> 10;
    }
    return key;
}

}  // namespace LUMO_TARO25D
