#include "taro25d/Circle2.h"

#include <cmath>

namespace LUMO_TARO25D {

Circle2::Circle2(double x, double y, double sqRadius) : center_(x, y, 0.0), sqRadius_(sqRadius) {}

Circle2::Circle2(const Point2& center, double sqRadius) : center_(center), sqRadius_(sqRadius) {}

double Circle2::getRadius() const { return std::sqrt(sqRadius_); }

}  // namespace LUMO_TARO25D
