#pragma once

/// @file
/// @brief The library's logging: the logger, the line head and the logging macros.

#include <Platform/Export.h>

#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <ostream>
#include <sstream>
#include <string>

namespace Lum
{

/// @brief The process-wide logger of the library ("Lum").
///
/// The process-wide logger of the library ("Lum"). Applications attach their
/// own appenders and levels to it with log4cplus's API. Created on first use and never
/// destroyed, so it may be used until the process ends; safe from any thread.
LUM_PLATFORM_API const log4cplus::Logger& GetGlobalDefaultLogger();

/// @brief The text put in front of every line.
///
/// Text put in front of every line (empty by default; then nothing is put).
/// Guarded by a mutex: safe from any thread.
LUM_PLATFORM_API std::string GetLoggingContext();
/// @brief Replaces the text put in front of every line (empty: nothing is put); safe from any thread.
LUM_PLATFORM_API void SetLoggingContext(const std::string& context);

/// @brief Prints the function that logs as "name (file:line)", file without its directories.
///
/// Holds pointers only: the texts must outlive it.
struct LUM_PLATFORM_API PrettyFunctionNamePrinter
{
    const char* function; ///< The function's name.
    const char* file;     ///< The source file, directories included.
    int line;             ///< The source line.
};
/// @brief Writes @p p as "name (file:line)".
LUM_PLATFORM_API std::ostream& operator<<(std::ostream& os, const PrettyFunctionNamePrinter& p);

/// @brief Indentation of nested log lines.
///
/// Indents lines that are logged while another line of the same thread is
/// being formatted (a value's text form that logs, for example). The depth is
/// counted per thread; an object must end on the thread that made it.
class LUM_PLATFORM_API LoggingRecursionPadding
{
public:
    /// @brief Takes the current depth of this thread and raises it by one.
    LoggingRecursionPadding();
    /// @brief Lowers this thread's depth by one again.
    ~LoggingRecursionPadding();
    LoggingRecursionPadding(const LoggingRecursionPadding&) = delete;
    LoggingRecursionPadding& operator=(const LoggingRecursionPadding&) = delete;

    /// @brief The number of lines of this thread being formatted when the object was made.
    unsigned Depth() const { return m_depth; }

private:
    unsigned m_depth;
};
/// @brief Writes two blanks per level of @p p's depth.
LUM_PLATFORM_API std::ostream& operator<<(std::ostream& os, const LoggingRecursionPadding& p);

/// @brief One log line being formatted; used by LUM_LOG.
///
/// Writes the common head of a line: context, function, " - ", padding.
/// One object per line, on one thread.
class LUM_PLATFORM_API LogEntryFormatter
{
public:
    /// @brief Starts a line with the head; the texts must outlive the object.
    LogEntryFormatter(const char* function, const char* file, int line);
    /// @brief The stream that takes the message after the head.
    std::ostream& Stream() { return m_stream; }
    /// @brief Logs the line to @p logger at @p level, whether or not that level is enabled.
    void Emit(const log4cplus::Logger& logger, log4cplus::LogLevel level);

private:
    LoggingRecursionPadding m_padding;
    std::ostringstream m_stream;
    const char* m_file;
    int m_line;
    const char* m_function;
};

/// @brief Ends the process on a broken invariant; used by LUM_ASSERT2.
///
/// Logs FATAL "<expression text> <file>:<line>" and aborts the process.
/// The same line goes to standard error too, so it is seen without any appender.
[[noreturn]] LUM_PLATFORM_API void AssertionFailed(const char* text, const char* file, int line);

} // namespace Lum

/// @brief Logs one line to the library's logger.
///
/// One line at the given level; the message is formatted only when the level
/// is enabled. The message is a stream expression: LUM_LOG_ERROR("a=" << a);
/// variadic, so that braces with commas may stand in it.
#define LUM_LOG(level, ...) LUM_LOG_AT(level, __func__, __FILE__, __LINE__, __VA_ARGS__)

/// @brief LUM_LOG in the name of @p function at @p file and @p line.
///
/// For helpers that write a line as the public function they work for. The
/// formatting sits in a cold function of its own, so that a disabled level
/// costs the caller one test and no stack frame for the stream.
#define LUM_LOG_AT(level, function, file, line, ...)                                                         \
    do                                                                                                       \
    {                                                                                                        \
        const log4cplus::Logger& lumLogger_ = ::Lum::GetGlobalDefaultLogger();                               \
        if (lumLogger_.isEnabledFor(level))                                                                  \
        {                                                                                                    \
            const char* const lumFunction_ = (function);                                                     \
            [&]() __attribute__((noinline, cold))                                                            \
            {                                                                                                \
                ::Lum::LogEntryFormatter lumEntry_(lumFunction_, file, line);                                \
                lumEntry_.Stream() << __VA_ARGS__;                                                           \
                lumEntry_.Emit(lumLogger_, level);                                                           \
            }                                                                                                \
            ();                                                                                              \
        }                                                                                                    \
    } while (false)

/// @brief LUM_LOG at DEBUG.
#define LUM_LOG_DEBUG(...) LUM_LOG(log4cplus::DEBUG_LOG_LEVEL, __VA_ARGS__)
/// @brief LUM_LOG at INFO.
#define LUM_LOG_INFO(...) LUM_LOG(log4cplus::INFO_LOG_LEVEL, __VA_ARGS__)
/// @brief LUM_LOG at WARN.
#define LUM_LOG_WARN(...) LUM_LOG(log4cplus::WARN_LOG_LEVEL, __VA_ARGS__)
/// @brief LUM_LOG at ERROR.
#define LUM_LOG_ERROR(...) LUM_LOG(log4cplus::ERROR_LOG_LEVEL, __VA_ARGS__)
/// @brief LUM_LOG at FATAL; does not end the process by itself.
#define LUM_LOG_FATAL(...) LUM_LOG(log4cplus::FATAL_LOG_LEVEL, __VA_ARGS__)

/// @brief Ends the process through Lum::AssertionFailed() when @p expression is false.
///
/// Checked in every build type, release included.
#define LUM_ASSERT2(expression)                                                                              \
    do                                                                                                       \
    {                                                                                                        \
        if (!(expression))                                                                                   \
            ::Lum::AssertionFailed("LUM_ASSERT2(" #expression ") failed", __FILE__, __LINE__);               \
    } while (false)
