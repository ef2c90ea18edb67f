#pragma once

/// Marks the names that the shared library exports; everything else in it is hidden.
#define TARO25D_API __attribute__((visibility("default")))
/// Hides a member of an exported class.
#define TARO25D_HIDDEN __attribute__((visibility("hidden")))
