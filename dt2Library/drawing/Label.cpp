#include "taro25d/Label.h"

namespace LUMO_TARO25D {

Label::Label(const Point2& position, const std::string& text, bool bMark, int size)
    : position_(position), text_(text), bMark_(bMark), size_(size) {}

}  // namespace LUMO_TARO25D
