#pragma once

#include <Platform/Logging.h>

// One line in the name of another function: helpers that do the work of a
// public function write their lines as that function, so that a reader of
// the log finds the call the application made.
#define LUM_LOG_AS(level, function, ...) LUM_LOG_AT(level, function, __FILE__, __LINE__, __VA_ARGS__)

#define LUM_LOG_ERROR_AS(function, ...) LUM_LOG_AS(log4cplus::ERROR_LOG_LEVEL, function, __VA_ARGS__)
#define LUM_LOG_WARN_AS(function, ...) LUM_LOG_AS(log4cplus::WARN_LOG_LEVEL, function, __VA_ARGS__)
