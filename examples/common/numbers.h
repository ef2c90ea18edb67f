#pragma once

#include <string>

namespace examples {

/// The number in as few digits as it needs, and no more than that.
std::string toText(double number, int numDigits = 10);

/// What is at a fraction of the way from one number to another: never beyond them, however far apart they are.
double between(double src, double trg, double t);

/// The nearest of 1, 2, 5, 10, 20, 50, ... that is not above a number above 0.
double roundedDown(double number);

}  // namespace examples
