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

double between(double src, double trg, double t) {
    return std::clamp((1 - t) * src + t * trg, std::min(src, trg), std::max(src, trg));
}

double roundedDown(double number) {
    const double power = std::pow(10, std::floor(std::log10(number)));
    const double digit = number / power;
    return power * (digit >= 5 ? 5 : digit >= 2 ? 2 : 1);
}

}  // namespace examples
