#pragma once

// The libraries build with hidden visibility; this marks the public API.
#define LUM_PLATFORM_API __attribute__((visibility("default")))
