#include "LogCapture.h"

#include <Platform/Logging.h>

#include <log4cplus/spi/loggingevent.h>

#include <algorithm>

namespace LumTest
{

namespace
{
class RecordingAppender : public log4cplus::Appender
{
public:
    ~RecordingAppender() override { destructorImpl(); }
    void close() override {}

    std::vector<LogLine> Lines() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    void Clear()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.clear();
    }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        const std::string& line = event.getMessage();
        const auto pos = line.find(" - ");
        std::string text = pos == std::string::npos ? line : line.substr(pos + 3);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back(LogLine{event.getLogLevel(), line, std::move(text)});
    }

private:
    mutable std::mutex m_mutex;
    std::vector<LogLine> m_lines;
};

RecordingAppender& Recorder(const log4cplus::SharedAppenderPtr& p)
{
    return static_cast<RecordingAppender&>(*p);
}
} // namespace

LogCapture::LogCapture() : m_appender(new RecordingAppender)
{
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    m_oldLevel = logger.getLogLevel();
    logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
    logger.addAppender(m_appender);
}

LogCapture::~LogCapture()
{
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.removeAppender(m_appender);
    logger.setLogLevel(m_oldLevel);
}

std::vector<LogLine> LogCapture::Lines() const
{
    return Recorder(m_appender).Lines();
}

std::vector<std::string> LogCapture::Texts() const
{
    std::vector<std::string> out;
    for (const auto& l : Lines())
        out.push_back(l.text);
    return out;
}

std::vector<std::string> LogCapture::Texts(log4cplus::LogLevel level) const
{
    std::vector<std::string> out;
    for (const auto& l : Lines())
        if (l.level == level)
            out.push_back(l.text);
    return out;
}

std::vector<std::string> LogCapture::TextsAtLeast(log4cplus::LogLevel level) const
{
    std::vector<std::string> out;
    for (const auto& l : Lines())
        if (l.level >= level)
            out.push_back(l.text);
    return out;
}

bool LogCapture::Contains(log4cplus::LogLevel level, const std::string& text) const
{
    const auto lines = Lines();
    return std::any_of(lines.begin(), lines.end(),
                       [&](const LogLine& l) { return l.level == level && l.text == text; });
}

void LogCapture::Clear()
{
    Recorder(m_appender).Clear();
}

void LogCapture::SetLevel(log4cplus::LogLevel level)
{
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.setLogLevel(level);
}

} // namespace LumTest
