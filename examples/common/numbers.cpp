#include "numbers.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace examples {

std::string toText(double number, int numDigits) {
    std::ostringstream text;
    text << std::setprecision(numDigits) << number;
    return text.str();
}

std::string toPlain(double number, double range) {
    const double size = std::max(std::abs(number), range);
    if (!(range > 1e-6) || !(size < 1e12)) return toText(number, 6);
    std::ostringstream text;
    text << std::fixed << std::setprecision(static_cast<int>(std::clamp(std::ceil(2 - std::log10(range)), 0.0, 8.0)))
         << number;
    return text.str();
}

std::string toGrouped(double number) {
    if (!(std::abs(number) < 1e12)) return toText(number, 6);
    std::string digits = toPlain(std::round(std::abs(number)), 100);
    for (size_t end = digits.size(); end > 3; end -= 3) digits.insert(end - 3, ",");
    return number < 0 ? "-" + digits : digits;
}

double between(double src, double trg, double t) {
    return std::clamp((1 - t) * src + t * trg, std::min(src, trg), std::max(src, trg));
}

double roundedDown(double number) {
    const double power = std::pow(10, std::floor(std::log10(number)));
    const double digit = number / power;
    return power * (digit >= 5 ? 5 : digit >= 2 ? 2 : 1);
}

}  // namespace examples
