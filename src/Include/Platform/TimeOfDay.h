#pragma once

#include <Platform/Export.h>

#include <boost/optional.hpp>

#include <cstdint>

namespace LumApp
{

enum class DayOfWeek : std::uint8_t
{
    NoDay = 0,
    Monday = 1,
    Tuesday = 2,
    Wednesday = 3,
    Thursday = 4,
    Friday = 5,
    Saturday = 6,
    Sunday = 7,
};

// A valid time of day with an optional weekday.
class LUM_PLATFORM_API TimeOfDay
{
public:
    // Nothing unless hour < 24, minute < 60, second < 60 and day <= 7.
    static boost::optional<TimeOfDay> Create(int hour, int minute, int second, DayOfWeek day);

    int GetHour() const { return m_hour; }
    int GetMinute() const { return m_minute; }
    int GetSecond() const { return m_second; }
    DayOfWeek GetWeekday() const { return m_day; }

    bool operator==(const TimeOfDay& other) const
    {
        return m_hour == other.m_hour && m_minute == other.m_minute && m_second == other.m_second &&
               m_day == other.m_day;
    }

private:
    TimeOfDay(int hour, int minute, int second, DayOfWeek day)
        : m_hour(hour), m_minute(minute), m_second(second), m_day(day)
    {
    }

    int m_hour;
    int m_minute;
    int m_second;
    DayOfWeek m_day;
};

} // namespace LumApp
