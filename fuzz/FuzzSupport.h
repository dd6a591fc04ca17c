#pragma once

#include <Platform/Logging.h>

#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace LumFuzz
{

// Logs everything into a null appender, so that the formatting of every
// message runs on fuzzed input too. FuzzLogging.cpp calls it for the targets
// CMake links it to.
inline void SetUpLogging()
{
    static log4cplus::Initializer* const initializer = new log4cplus::Initializer;
    (void)initializer;
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.setAdditivity(false);
    logger.removeAllAppenders();
    logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    logger.setLogLevel(log4cplus::TRACE_LOG_LEVEL);
}

// A property every input must keep; a crash is what the fuzzer reports.
inline void Check(bool condition)
{
    if (!condition)
        std::abort();
}

// One converter of type T, set up on first use and shared by every input.
template <typename Converter> const Converter& Initialised()
{
    static const Converter converter = []
    {
        Converter c;
        c.Init();
        return c;
    }();
    return converter;
}

// Hands out the fuzzer's bytes front to back; past the end it yields zeros.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    std::uint8_t Byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    std::uint16_t Word() { return static_cast<std::uint16_t>(Byte() << 8 | Byte()); }
    std::uint32_t DWord() { return static_cast<std::uint32_t>(Word()) << 16 | Word(); }
    const std::uint8_t* Rest() const { return m_data + m_pos; }
    std::size_t RestSize() const { return m_size - m_pos; }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
    std::size_t m_pos = 0;
};

} // namespace LumFuzz
