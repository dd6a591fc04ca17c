#pragma once

#include <Lum/Export.h>
#include <Platform/OruValue.h>
#include <Platform/TimeOfDay.h>

#include <boost/optional.hpp>

namespace LumApp
{

// The time of day of an ORUTIME; a weekday mask with other than one bit set gives no day.
LUM_OM_API boost::optional<TimeOfDay> FromOruTime(const ORUTIME& time);

// The ORUTIME weekday mask of a day; any value outside 0..7 is unreachable.
LUM_OM_API OruWeekDays::WEEK_DAY_TYPES ToOruWeekday(DayOfWeek day);

} // namespace LumApp
