#pragma once

#include <string_view>

namespace LUMO_TARO25D {

/// The viewer's script, which is built from web/ beforehand; empty in a library that was built without it.
std::string_view getViewerScript();

}  // namespace LUMO_TARO25D
