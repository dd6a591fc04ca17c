#pragma once

/// @file
/// @brief Symbol visibility of the platform library (not API).

/// @cond INTERNAL
// The libraries build with hidden visibility; this marks the public API.
#define LUM_PLATFORM_API __attribute__((visibility("default")))
/// @endcond
