#pragma once

#include <Lum/Export.h>

#include <boost/optional.hpp>
#include <boost/timer/timer.hpp>

#include <string>

namespace Lum
{

// Scope timer. With a threshold it logs INFO "<text><elapsed>" only when the
// scope took at least that long (wall time); without one it logs DEBUG always.
class LUM_OM_API MeasureDuration
{
public:
    explicit MeasureDuration(std::string text,
                             boost::optional<boost::timer::nanosecond_type> threshold = boost::none);
    ~MeasureDuration();
    MeasureDuration(const MeasureDuration&) = delete;
    MeasureDuration& operator=(const MeasureDuration&) = delete;

private:
    boost::timer::cpu_timer m_timer;
    std::string m_text;
    boost::optional<boost::timer::nanosecond_type> m_threshold;
};

} // namespace Lum
