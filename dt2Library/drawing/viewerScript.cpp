#include "drawing/viewerScript.h"

#include <cstddef>

// The assembler embeds the script in the library unchanged; as a C++ literal it would be the largest source by far.
#ifdef TARO25D_VIEWER_SCRIPT
asm(".pushsection .rodata\n"
    "taro25d_viewer_begin: .incbin \"" TARO25D_VIEWER_SCRIPT
    "\"\n"
    "taro25d_viewer_end:\n"
    ".balign 8\n"
    "taro25d_viewer_size: .quad taro25d_viewer_end - taro25d_viewer_begin\n"
    ".popsection\n");
extern "C" const char taro25d_viewer_begin[] __attribute__((visibility("hidden")));
extern "C" const size_t taro25d_viewer_size __attribute__((visibility("hidden")));
#endif

namespace LUMO_TARO25D {

std::string_view getViewerScript() {
#ifdef TARO25D_VIEWER_SCRIPT
    return {taro25d_viewer_begin, taro25d_viewer_size};
#else
    return {};
#endif
}

}  // namespace LUMO_TARO25D
