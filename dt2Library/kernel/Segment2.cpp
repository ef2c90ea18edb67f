#include "taro25d/Segment2.h"

#include <utility>

#include "kernel/tools.h"

namespace LUMO_TARO25D {

void Segment2::swapSrcTrg() { std::swap(src_, trg_); }

double Segment2::getSqLen2D() const { return sqDistance2D(src_, trg_); }

double Segment2::getSqLen25D() const { return sqDistance25D(src_, trg_); }

bool Segment2::operator==(const Segment2& other) const {
    return (src_ == other.src_ && trg_ == other.trg_) || (src_ == other.trg_ && trg_ == other.src_);
}

}  // namespace LUMO_TARO25D
