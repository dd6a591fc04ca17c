#include <Platform/TimeOfDay.h>

namespace LumApp
{

boost::optional<TimeOfDay> TimeOfDay::Create(int hour, int minute, int second, DayOfWeek day)
{
    if (hour < 0 || hour >= 24 || minute < 0 || minute >= 60 || second < 0 || second >= 60 ||
        static_cast<unsigned>(day) > static_cast<unsigned>(DayOfWeek::Sunday))
        return boost::none;
    return TimeOfDay(hour, minute, second, day);
}

} // namespace LumApp
