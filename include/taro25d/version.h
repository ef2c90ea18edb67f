#pragma once

#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// The version of the library in use, for example "2.0.0": major, minor and revision number. A static text.
TARO25D_API const char* getTaro2DVersion();

/// Changes when programs must be changed or compiled anew; the name of the shared library (SONAME) carries it.
TARO25D_API int getMajorVersionNumber();

/// Changes when something was added that older programs need not know.
TARO25D_API int getMinorVersionNumber();

/// Changes with corrections alone.
TARO25D_API int getRevisionNumber();

/// True when the library in use was compiled for release (optimised, with NDEBUG), false for a debug build.
TARO25D_API bool isRelease();

}  // namespace LUMO_TARO25D
