#include "taro25d/version.h"

#if !defined(TARO25D_MAJOR) || !defined(TARO25D_MINOR) || !defined(TARO25D_REVISION)
#error "the build defines the version numbers"
#endif

#define TARO_STRING(x) #x
#define TARO_VERSION_STRING(major, minor, revision) TARO_STRING(major) "." TARO_STRING(minor) "." TARO_STRING(revision)

namespace LUMO_TARO25D {

const char* getTaro2DVersion() { return TARO_VERSION_STRING(TARO25D_MAJOR, TARO25D_MINOR, TARO25D_REVISION); }

int getMajorVersionNumber() { return TARO25D_MAJOR; }

int getMinorVersionNumber() { return TARO25D_MINOR; }

int getRevisionNumber() { return TARO25D_REVISION; }

bool isRelease() {
#ifdef NDEBUG
    return true;
#else
    return false;
#endif
}

}  // namespace LUMO_TARO25D
