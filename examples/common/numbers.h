#pragma once

#include <string>

namespace examples {

/// The number in as few digits as it needs, and no more than that.
std::string toText(double number, int numDigits = 10);

/// The nearest of 1, 2, 5, 10, 20, 50, ... that is not above a number above 0.
double roundedDown(double number);

}  // namespace examples
