#pragma once

/// Marks what the shared library exports; everything else in it is hidden.
#define TARO25D_API __attribute__((visibility("default")))
/// Takes a member of an exported class out of that.
#define TARO25D_HIDDEN __attribute__((visibility("hidden")))
