#pragma once

#include <string>

namespace examples {

/// The number in as few digits as it needs, and no more than that.
std::string toText(double number, int numDigits = 10);

/// The number without an exponent, in as many decimals as show a hundredth of a range; numbers that would be longer
/// than a line as toText.
std::string toPlain(double number, double range);

/// The nearest integer, its digits in groups of three: 1,234,567.
std::string toGrouped(double number);

/// What is at a fraction of the way from one number to another: never beyond them, however far apart they are.
double between(double src, double trg, double t);

/// The nearest of 1, 2, 5, 10, 20, 50, ... that is not above a number above 0.
double roundedDown(double number);

}  // namespace examples
