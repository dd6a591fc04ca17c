#include <Platform/Logging.h>

#include <log4cplus/loggingmacros.h>

#include <boost/thread/mutex.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Lum
{

namespace
{
thread_local unsigned t_formattingDepth = 0;

boost::mutex& ContextMutex()
{
    static boost::mutex* const mutex = new boost::mutex;
    return *mutex;
}

std::string& ContextText()
{
    static std::string* const text = new std::string;
    return *text;
}

const char* BaseName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}
} // namespace

const log4cplus::Logger& GetGlobalDefaultLogger()
{
    // Never destroyed: lines may still be logged while statics go away.
    static const log4cplus::Logger* const logger =
        new log4cplus::Logger(log4cplus::Logger::getInstance(LOG4CPLUS_TEXT("Lum")));
    return *logger;
}

std::string GetLoggingContext()
{
    boost::mutex::scoped_lock lock(ContextMutex());
    return ContextText();
}

void SetLoggingContext(const std::string& context)
{
    boost::mutex::scoped_lock lock(ContextMutex());
    ContextText() = context;
}

std::ostream& operator<<(std::ostream& os, const PrettyFunctionNamePrinter& p)
{
    return os << p.function << " (" << BaseName(p.file) << ':' << p.line << ')';
}

LoggingRecursionPadding::LoggingRecursionPadding() : m_depth(t_formattingDepth++) {}

LoggingRecursionPadding::~LoggingRecursionPadding()
{
    --t_formattingDepth;
}

std::ostream& operator<<(std::ostream& os, const LoggingRecursionPadding& p)
{
    for (unsigned i = 0; i < p.Depth(); ++i)
        os << "  ";
    return os;
}

LogEntryFormatter::LogEntryFormatter(const char* function, const char* file, int line)
    : m_file(file), m_line(line), m_function(function)
{
    const std::string context = GetLoggingContext();
    if (!context.empty())
        m_stream << context << ' ';
    m_stream << PrettyFunctionNamePrinter{function, file, line} << " - " << m_padding;
}

void LogEntryFormatter::Emit(const log4cplus::Logger& logger, log4cplus::LogLevel level)
{
    logger.forcedLog(level, m_stream.str(), m_file, m_line, m_function);
}

void AssertionFailed(const char* text, const char* file, int line)
{
    LUM_LOG_FATAL(text << ' ' << BaseName(file) << ':' << line);
    // The process ends here: say why even when no appender is configured.
    std::fprintf(stderr, "%s %s:%d\n", text, BaseName(file), line);
    std::abort();
}

} // namespace Lum
