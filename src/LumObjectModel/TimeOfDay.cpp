#include <Lum/TimeOfDay.h>
#include <Lum/Unreachable.h>

#include <cstddef>
#include <iterator>

namespace LumApp
{

namespace
{
// Indexed by DayOfWeek: no day, then Monday .. Sunday.
constexpr OruWeekDays::WEEK_DAY_TYPES kDayMasks[] = {
    OruWeekDays::WEEK_DAY_NONE,      OruWeekDays::WEEK_DAY_MONDAY,   OruWeekDays::WEEK_DAY_TUESDAY,
    OruWeekDays::WEEK_DAY_WEDNESDAY, OruWeekDays::WEEK_DAY_THURSDAY, OruWeekDays::WEEK_DAY_FRIDAY,
    OruWeekDays::WEEK_DAY_SATURDAY,  OruWeekDays::WEEK_DAY_SUNDAY,
};

// None, or several days at once, is no day.
DayOfWeek DayFromMask(std::uint16_t mask)
{
    for (std::size_t day = 1; day < std::size(kDayMasks); ++day)
    {
        if (kDayMasks[day] == mask)
            return static_cast<DayOfWeek>(day);
    }
    return DayOfWeek::NoDay;
}
} // namespace

boost::optional<TimeOfDay> FromOruTime(const ORUTIME& time)
{
    return TimeOfDay::Create(time.hour, time.minute, time.second, DayFromMask(time.weekDay));
}

OruWeekDays::WEEK_DAY_TYPES ToOruWeekday(DayOfWeek day)
{
    const auto index = static_cast<std::size_t>(day);
    if (index < std::size(kDayMasks))
        return kDayMasks[index];
    LUM_UNREACHABLE();
}

} // namespace LumApp
