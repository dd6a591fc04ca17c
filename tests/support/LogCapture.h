#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>

#include <mutex>
#include <string>
#include <vector>

namespace LumTest
{

struct LogLine
{
    log4cplus::LogLevel level;
    std::string line; // the whole line as the library formatted it
    std::string text; // the message: what follows the first " - "
};

// Records every line of the library's logger while alive; sets the logger to
// log everything and restores its level afterwards.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> Lines() const;
    std::vector<std::string> Texts() const;
    std::vector<std::string> Texts(log4cplus::LogLevel level) const;
    // Lines of this level and above.
    std::vector<std::string> TextsAtLeast(log4cplus::LogLevel level) const;
    bool Contains(log4cplus::LogLevel level, const std::string& text) const;
    void Clear();
    void SetLevel(log4cplus::LogLevel level);

private:
    log4cplus::SharedAppenderPtr m_appender;
    log4cplus::LogLevel m_oldLevel;
};

} // namespace LumTest
