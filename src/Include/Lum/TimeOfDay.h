#pragma once

/// @file
/// @brief Time of day to and from the platform's ORUTIME.

#include <Lum/Export.h>
#include <Platform/OruValue.h>
#include <Platform/TimeOfDay.h>

#include <boost/optional.hpp>

namespace LumApp
{

/// @brief The time of day of an ORUTIME.
///
/// The time of day of an ORUTIME; a weekday mask with other than one bit set gives no day.
/// None when hour, minute or second is out of range. Does not log; safe from any thread.
LUM_OM_API boost::optional<TimeOfDay> FromOruTime(const ORUTIME& time);

/// @brief The ORUTIME weekday mask of a day.
///
/// The ORUTIME weekday mask of a day; any value outside 0..7 is unreachable
/// (it ends the process through LUM_UNREACHABLE).
LUM_OM_API OruWeekDays::WEEK_DAY_TYPES ToOruWeekday(DayOfWeek day);

} // namespace LumApp
