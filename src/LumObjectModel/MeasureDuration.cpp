#include <Lum/MeasureDuration.h>
#include <Platform/Logging.h>

#include <boost/algorithm/string/trim.hpp>

namespace Lum
{

MeasureDuration::MeasureDuration(std::string text, boost::optional<boost::timer::nanosecond_type> threshold)
    : m_text(std::move(text)), m_threshold(threshold)
{
}

MeasureDuration::~MeasureDuration()
{
    try
    {
        const boost::timer::cpu_times elapsed = m_timer.elapsed();
        const bool slow = m_threshold && elapsed.wall >= *m_threshold;
        const log4cplus::LogLevel level = slow ? log4cplus::INFO_LOG_LEVEL : log4cplus::DEBUG_LOG_LEVEL;
        if (m_threshold && !slow)
            return;
        // boost::timer::format starts with a blank and ends with a line break.
        LUM_LOG(level, m_text << boost::algorithm::trim_copy(boost::timer::format(elapsed, 6)));
    }
    catch (...)
    {
        // A destructor must not throw; a lost timing line is acceptable.
    }
}

} // namespace Lum
