#include <Lum/TimeOfDay.h>
#include <Lum/Unreachable.h>

namespace LumApp
{

namespace
{
DayOfWeek DayFromMask(std::uint16_t mask)
{
    switch (mask)
    {
    case OruWeekDays::WEEK_DAY_MONDAY:
        return DayOfWeek::Monday;
    case OruWeekDays::WEEK_DAY_TUESDAY:
        return DayOfWeek::Tuesday;
    case OruWeekDays::WEEK_DAY_WEDNESDAY:
        return DayOfWeek::Wednesday;
    case OruWeekDays::WEEK_DAY_THURSDAY:
        return DayOfWeek::Thursday;
    case OruWeekDays::WEEK_DAY_FRIDAY:
        return DayOfWeek::Friday;
    case OruWeekDays::WEEK_DAY_SATURDAY:
        return DayOfWeek::Saturday;
    case OruWeekDays::WEEK_DAY_SUNDAY:
        return DayOfWeek::Sunday;
    default:
        return DayOfWeek::NoDay; // none, or several days at once
    }
}
} // namespace

boost::optional<TimeOfDay> FromOruTime(const ORUTIME& time)
{
    return TimeOfDay::Create(time.hour, time.minute, time.second, DayFromMask(time.weekDay));
}

OruWeekDays::WEEK_DAY_TYPES ToOruWeekday(DayOfWeek day)
{
    switch (day)
    {
    case DayOfWeek::NoDay:
        return OruWeekDays::WEEK_DAY_NONE;
    case DayOfWeek::Monday:
        return OruWeekDays::WEEK_DAY_MONDAY;
    case DayOfWeek::Tuesday:
        return OruWeekDays::WEEK_DAY_TUESDAY;
    case DayOfWeek::Wednesday:
        return OruWeekDays::WEEK_DAY_WEDNESDAY;
    case DayOfWeek::Thursday:
        return OruWeekDays::WEEK_DAY_THURSDAY;
    case DayOfWeek::Friday:
        return OruWeekDays::WEEK_DAY_FRIDAY;
    case DayOfWeek::Saturday:
        return OruWeekDays::WEEK_DAY_SATURDAY;
    case DayOfWeek::Sunday:
        return OruWeekDays::WEEK_DAY_SUNDAY;
    }
    LUM_UNREACHABLE();
}

} // namespace LumApp
