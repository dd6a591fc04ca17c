#pragma once

/// @file
/// @brief Reporting a case that cannot happen.

#include <Lum/Export.h>

#include <boost/optional.hpp>

namespace Lum
{

/// @brief Ends the process at a case that cannot happen.
///
/// Logs FATAL "This statement should not be executed. There is a bug somewhere
/// around <file>:<line>" in the name of the function that reached the case
/// (the file without its directories, as assertions print it), writes the
/// same to stderr and terminates the process.
[[noreturn]] LUM_OM_API void ReportUnreachable(const char* function, const char* file, int line);

/// @brief The value held by @p value; ends the process through ReportUnreachable() when
/// there is none.
template <typename T> T UndefinedBehaviourIfNone(boost::optional<T> value)
{
    if (!value)
        ReportUnreachable(__func__, __FILE__, __LINE__);
    return std::move(*value);
}

} // namespace Lum

/// @brief Reports the current function and line through Lum::ReportUnreachable(); never returns.
#define LUM_UNREACHABLE() ::Lum::ReportUnreachable(__func__, __FILE__, __LINE__)
