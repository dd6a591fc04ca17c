#pragma once

/// @file
/// @brief Symbol visibility of the object-model library (not API).

/// @cond INTERNAL
// The library builds with hidden visibility; this marks the public API.
#define LUM_OM_API __attribute__((visibility("default")))
/// @endcond
