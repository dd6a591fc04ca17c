#include "Cli.h"
#include "GroupAddressPlan.h"

#include <DptVocabulary.h>
#include <Lum/KnxValueConverter.h>
#include <Platform/Logging.h>

#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>
#include <log4cplus/spi/loggingevent.h>

#include <boost/algorithm/string.hpp>

#include <atomic>
#include <cctype>
#include <charconv>
#include <iostream>
#include <memory>
#include <mutex>
#include <set>
#include <string_view>

namespace LumKnx
{

namespace
{
bool ParseNumber(std::string_view text, unsigned long max, unsigned long& out)
{
    if (text.empty() || text.size() > 6)
        return false;
    // At most six digits, so no overflow; from_chars takes no sign or blank
    // for an unsigned number, so a full read means digits only.
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, out);
    return read.ec == std::errc() && read.ptr == end && out <= max;
}

class RecordingAppender : public log4cplus::Appender
{
public:
    ~RecordingAppender() override { destructorImpl(); }
    void close() override {}

    // Asked once or twice per decoded telegram, and almost always with
    // nothing recorded: the flag spares those calls the lock.
    std::string First() const
    {
        if (!m_any.load(std::memory_order_acquire))
            return std::string();
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_first;
    }
    void Clear()
    {
        if (!m_any.load(std::memory_order_acquire))
            return;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_first.clear();
        m_any.store(false, std::memory_order_release);
    }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_first.empty())
            return;
        const std::string& line = event.getMessage();
        const auto pos = line.find(" - ");
        m_first = pos == std::string::npos ? line : line.substr(pos + 3);
        m_any.store(true, std::memory_order_release);
    }

private:
    mutable std::mutex m_mutex;
    std::string m_first;
    std::atomic<bool> m_any{false};
};
} // namespace

namespace
{
// Level and message: the library's function and source line mean nothing to
// an integrator at a console.
class MessageOnlyLayout : public log4cplus::Layout
{
public:
    void formatAndAppend(log4cplus::tostream& output,
                         const log4cplus::spi::InternalLoggingEvent& event) override
    {
        const std::string& line = event.getMessage();
        const auto pos = line.find(" - ");
        std::string level = log4cplus::getLogLevelManager().toString(event.getLogLevel());
        level.resize(std::max<std::size_t>(level.size(), 5), ' ');
        output << level << ' ' << (pos == std::string::npos ? line : line.substr(pos + 3)) << '\n';
    }
};
} // namespace

boost::optional<KNXDPT> ParseDpt(std::string_view text)
{
    const auto dot = text.find('.');
    if (dot == std::string_view::npos)
        return boost::none;
    unsigned long main = 0;
    unsigned long sub = 0;
    const std::string_view subText = text.substr(dot + 1);
    if (!ParseNumber(text.substr(0, dot), 0xFFFF, main) || main == 0)
        return boost::none;
    if (subText != "x" && !ParseNumber(subText, 0xFFFF, sub))
        return boost::none;
    KNXDPT dpt;
    dpt.mainNumber = static_cast<std::uint16_t>(main);
    dpt.subNumber = static_cast<std::uint16_t>(sub);
    const std::uint32_t bits = Lum::KnxValueConverter::GetExpectedBitSize(dpt.mainNumber);
    dpt.bitSize = bits < 256 ? static_cast<std::uint8_t>(bits) : 0;
    return dpt;
}

std::string FormatDpt(const KNXDPT& dpt)
{
    return Lum::Vocabulary::DptName(dpt.mainNumber, dpt.subNumber);
}

boost::optional<std::vector<unsigned char>> ParseHex(const std::string& text)
{
    std::string digits;
    for (char c : text)
    {
        if (c == ' ' || c == ':' || c == '\t')
            continue;
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return boost::none;
        digits.push_back(c);
    }
    if (digits.empty() || digits.size() % 2 != 0)
        return boost::none;
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

void AppendHexByte(std::string& out, unsigned char byte, bool lowerCase)
{
    const char* digits = lowerCase ? "0123456789abcdef" : "0123456789ABCDEF";
    out.push_back(digits[byte >> 4]);
    out.push_back(digits[byte & 15]);
}

std::string FormatHex(const std::vector<unsigned char>& bytes)
{
    std::string text;
    text.reserve(bytes.size() * 3);
    AppendHex(text, bytes);
    return text;
}

void AppendHex(std::string& out, const std::vector<unsigned char>& bytes)
{
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        if (i > 0)
            out.push_back(' ');
        AppendHexByte(out, bytes[i]);
    }
}

std::string EscapeControls(const std::string& text)
{
    std::string out;
    for (const char c : text)
    {
        const auto b = static_cast<unsigned char>(c);
        if (c == '\t')
            out += "\\t";
        else if (c == '\n')
            out += "\\n";
        else if (b < 0x20 || b == 0x7F)
        {
            out += "\\x";
            AppendHexByte(out, b);
        }
        else
            out.push_back(c);
    }
    return out;
}

KnxStack::GroupValue MakeGroupValue(std::uint16_t mainNumber, const std::vector<unsigned char>& bytes)
{
    const KnxStack::BinaryData data(bytes.data(), bytes.size());
    const std::uint32_t expected = Lum::KnxValueConverter::GetExpectedBitSize(mainNumber);
    if (expected < 7 && bytes.size() == 1)
        return KnxStack::GroupValue(data, 6);
    return KnxStack::GroupValue(data, static_cast<unsigned>(bytes.size() * 8));
}

LibraryMessages::LibraryMessages() : m_appender(new RecordingAppender)
{
    m_appender->setThreshold(log4cplus::WARN_LOG_LEVEL);
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.addAppender(m_appender);
}

LibraryMessages::~LibraryMessages()
{
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.removeAppender(m_appender);
}

void LibraryMessages::Clear()
{
    static_cast<RecordingAppender&>(*m_appender).Clear();
}

std::string LibraryMessages::First() const
{
    return static_cast<RecordingAppender&>(*m_appender).First();
}

void ConfigureLogging(const std::string& level, bool detail)
{
    static const std::map<std::string, log4cplus::LogLevel> levels = {
        {"debug", log4cplus::DEBUG_LOG_LEVEL}, {"info", log4cplus::INFO_LOG_LEVEL},
        {"warn", log4cplus::WARN_LOG_LEVEL},   {"error", log4cplus::ERROR_LOG_LEVEL},
        {"fatal", log4cplus::FATAL_LOG_LEVEL}, {"off", log4cplus::OFF_LOG_LEVEL}};
    const auto found = levels.find(boost::algorithm::to_lower_copy(level));
    if (found == levels.end())
        throw UsageError("unknown log level '" + level + "' (debug, info, warn, error, fatal, off)");

    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    // The library's own logger passes warnings on even when the console is
    // quieter, so that failures can be explained beside their results.
    logger.setLogLevel(std::min(found->second, log4cplus::WARN_LOG_LEVEL));
    logger.setAdditivity(false);
    log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true /* stderr */, true));
    if (detail)
        console->setLayout(std::unique_ptr<log4cplus::Layout>(new log4cplus::PatternLayout("%-5p %m%n")));
    else
        console->setLayout(std::unique_ptr<log4cplus::Layout>(new MessageOnlyLayout));
    console->setThreshold(found->second);
    logger.addAppender(console);
}

const std::vector<std::string>& Arguments::PositionalExactly(std::size_t count, const char* usage) const
{
    if (positional.size() != count)
        throw UsageError(usage);
    return positional;
}

std::optional<unsigned long> Arguments::Number(const std::string& option, unsigned long max) const
{
    const auto found = values.find(option);
    if (found == values.end())
        return std::nullopt;
    const std::string& text = found->second;
    unsigned long value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || value == 0 || value > max)
        throw UsageError(option + " takes a number of 1.." + std::to_string(max) + ", not '" + text + "'");
    return value;
}

PlanLoadResult LoadPlanOrThrow(const std::string& path)
{
    PlanLoadResult result = LoadGroupAddressPlan(path);
    for (const std::string& warning : result.warnings)
        std::cerr << "lumknx: warning: " << warning << '\n';
    if (!result.plan)
        throw InputError(result.error);
    return result;
}

} // namespace LumKnx
