#pragma once

#include <Platform/Export.h>

#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <ostream>
#include <sstream>
#include <string>

namespace Lum
{

// The process-wide logger of the library ("Lum"). Applications attach their
// own appenders and levels to it with log4cplus's API.
LUM_PLATFORM_API const log4cplus::Logger& GetGlobalDefaultLogger();

// Text put in front of every line (empty by default; then nothing is put).
LUM_PLATFORM_API std::string GetLoggingContext();
LUM_PLATFORM_API void SetLoggingContext(const std::string& context);

// Prints the function that logs as "name (file:line)", file without its directories.
struct LUM_PLATFORM_API PrettyFunctionNamePrinter
{
    const char* function;
    const char* file;
    int line;
};
LUM_PLATFORM_API std::ostream& operator<<(std::ostream& os, const PrettyFunctionNamePrinter& p);

// Indents lines that are logged while another line of the same thread is
// being formatted (a value's text form that logs, for example).
class LUM_PLATFORM_API LoggingRecursionPadding
{
public:
    LoggingRecursionPadding();
    ~LoggingRecursionPadding();
    LoggingRecursionPadding(const LoggingRecursionPadding&) = delete;
    LoggingRecursionPadding& operator=(const LoggingRecursionPadding&) = delete;

    unsigned Depth() const { return m_depth; }

private:
    unsigned m_depth;
};
LUM_PLATFORM_API std::ostream& operator<<(std::ostream& os, const LoggingRecursionPadding& p);

// Writes the common head of a line: context, function, " - ", padding.
class LUM_PLATFORM_API LogEntryFormatter
{
public:
    LogEntryFormatter(const char* function, const char* file, int line);
    std::ostream& Stream() { return m_stream; }
    void Emit(const log4cplus::Logger& logger, log4cplus::LogLevel level);

private:
    LoggingRecursionPadding m_padding;
    std::ostringstream m_stream;
    const char* m_file;
    int m_line;
    const char* m_function;
};

// Logs FATAL "<expression text> <file>:<line>" and aborts the process.
[[noreturn]] LUM_PLATFORM_API void AssertionFailed(const char* text, const char* file, int line);

} // namespace Lum

// One line at the given level; the message is formatted only when the level
// is enabled. The message is a stream expression: LUM_LOG_ERROR("a=" << a);
// variadic, so that braces with commas may stand in it.
#define LUM_LOG(level, ...)                                                                                  \
    do                                                                                                       \
    {                                                                                                        \
        const log4cplus::Logger& lumLogger_ = ::Lum::GetGlobalDefaultLogger();                               \
        if (lumLogger_.isEnabledFor(level))                                                                  \
        {                                                                                                    \
            ::Lum::LogEntryFormatter lumEntry_(__func__, __FILE__, __LINE__);                                \
            lumEntry_.Stream() << __VA_ARGS__;                                                               \
            lumEntry_.Emit(lumLogger_, level);                                                               \
        }                                                                                                    \
    } while (false)

#define LUM_LOG_DEBUG(...) LUM_LOG(log4cplus::DEBUG_LOG_LEVEL, __VA_ARGS__)
#define LUM_LOG_INFO(...) LUM_LOG(log4cplus::INFO_LOG_LEVEL, __VA_ARGS__)
#define LUM_LOG_WARN(...) LUM_LOG(log4cplus::WARN_LOG_LEVEL, __VA_ARGS__)
#define LUM_LOG_ERROR(...) LUM_LOG(log4cplus::ERROR_LOG_LEVEL, __VA_ARGS__)
#define LUM_LOG_FATAL(...) LUM_LOG(log4cplus::FATAL_LOG_LEVEL, __VA_ARGS__)

#define LUM_ASSERT2(expression)                                                                              \
    do                                                                                                       \
    {                                                                                                        \
        if (!(expression))                                                                                   \
            ::Lum::AssertionFailed("LUM_ASSERT2(" #expression ") failed", __FILE__, __LINE__);               \
    } while (false)
