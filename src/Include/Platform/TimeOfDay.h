#pragma once

/// @file
/// @brief A checked time of day with an optional weekday.

#include <Platform/Export.h>

#include <boost/optional.hpp>

#include <cstdint>

/// @brief Application-side value types.
namespace LumApp
{

/// @brief A weekday, or none: 0 no day, 1 Monday .. 7 Sunday.
enum class DayOfWeek : std::uint8_t
{
    NoDay = 0,     ///< No day given.
    Monday = 1,    ///< Monday.
    Tuesday = 2,   ///< Tuesday.
    Wednesday = 3, ///< Wednesday.
    Thursday = 4,  ///< Thursday.
    Friday = 5,    ///< Friday.
    Saturday = 6,  ///< Saturday.
    Sunday = 7,    ///< Sunday.
};

/// @brief A valid time of day with an optional weekday.
///
/// A plain value type; const objects may be read from any thread.
class LUM_PLATFORM_API TimeOfDay
{
public:
    /// @brief The time of day, when valid.
    ///
    /// Nothing unless hour < 24, minute < 60, second < 60 and day <= 7 (no field negative).
    /// Does not log.
    static boost::optional<TimeOfDay> Create(int hour, int minute, int second, DayOfWeek day);

    /// @brief 0 .. 23.
    int GetHour() const { return m_hour; }
    /// @brief 0 .. 59.
    int GetMinute() const { return m_minute; }
    /// @brief 0 .. 59.
    int GetSecond() const { return m_second; }
    /// @brief The weekday; DayOfWeek::NoDay when none is given.
    DayOfWeek GetWeekday() const { return m_day; }

    /// @brief Whether every field is equal.
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
