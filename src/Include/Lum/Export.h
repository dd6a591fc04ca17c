#pragma once

// The library builds with hidden visibility; this marks the public API.
#define LUM_OM_API __attribute__((visibility("default")))
