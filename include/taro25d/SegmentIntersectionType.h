#pragma once

namespace LUMO_TARO25D {

/// How two closed segments meet in the x-y plane.
enum SegmentIntersectionType {
    SIT_UNINITIALIZED = 0,  ///< not yet classified
    SIT_NONE = 1,           ///< no common point
    SIT_SEGMENT = 2,        ///< on one line, with an overlap of positive length, or equal
    SIT_POINT = 3,          ///< exactly one common point, which is not an end point of both
    SIT_ENDPOINT = 4        ///< exactly one common point, which is an end point of both
};

}  // namespace LUMO_TARO25D
