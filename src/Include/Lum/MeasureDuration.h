#pragma once

/// @file
/// @brief A scope timer that logs how long its scope took.

#include <Lum/Export.h>

#include <boost/optional.hpp>
#include <boost/timer/timer.hpp>

#include <string>

namespace Lum
{

/// @brief Scope timer.
///
/// Scope timer. With a threshold it logs INFO "<text><elapsed>" only when the
/// scope took at least that long (wall time); without one it logs DEBUG always.
/// The elapsed part is boost::timer's format (wall, user and system time). One object
/// belongs to one scope on one thread.
class LUM_OM_API MeasureDuration
{
public:
    /// @brief Starts timing.
    /// @param text put in front of the elapsed time.
    /// @param threshold in nanoseconds of wall time; none: always log at DEBUG.
    explicit MeasureDuration(std::string text,
                             boost::optional<boost::timer::nanosecond_type> threshold = boost::none);
    /// @brief Logs the elapsed time as described above; never throws (a failed line is dropped).
    ~MeasureDuration();
    /// @brief Not copyable: one timer per scope.
    MeasureDuration(const MeasureDuration&) = delete;
    /// @brief Not copyable: one timer per scope.
    MeasureDuration& operator=(const MeasureDuration&) = delete;

private:
    boost::timer::cpu_timer m_timer;
    std::string m_text;
    boost::optional<boost::timer::nanosecond_type> m_threshold;
};

} // namespace Lum
