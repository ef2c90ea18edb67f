#pragma once

#include <string_view>

namespace LUMO_TARO25D {

/// The viewer's script, built from web/ before the library; empty if the library was built without it.
std::string_view getViewerScript();

}  // namespace LUMO_TARO25D
