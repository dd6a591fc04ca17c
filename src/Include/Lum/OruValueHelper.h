#pragma once

/// @file
/// @brief Building ORUVALUEs from C++ values.

#include <Lum/Export.h>
#include <Platform/OruValue.h>
#include <Platform/Text.h>
#include <Platform/TimeOfDay.h>

#include <boost/date_time/posix_time/ptime.hpp>

#include <string>

namespace Lum
{

/// @brief Valid UTF-8 from any text.
///
/// The text itself when it is valid UTF-8, else with each invalid sequence
/// replaced by "?". Does not log; safe from any thread.
LUM_OM_API UTF8String RepairUTF8(std::string text);

/// @brief The ORUVALUE of a C++ value.
///
/// The ORUVALUE holding value, typed after T; asserts
/// "result.ivt == expectedType". Instantiated for bool, unsigned char, short,
/// unsigned short, long, unsigned long, double, std::string, UTF8String and
/// LumApp::TimeOfDay. A type other than @p expectedType ends the process (LUM_ASSERT2,
/// FATAL line), as it is a bug of the caller.
template <typename T> LUM_OM_API ORUVALUE ToOruValue(const T& value, OruValueType expectedType);

/// @brief The ORUVALUE of a point in time.
///
/// An ORUVALUE of the given type holding the time; empty (type 1) for a time
/// past 2038-01-19 03:14:07, and for a time that is no date (not-a-date-time,
/// +-infinity) after an ERROR line with the date library's reason. Never throws.
LUM_OM_API ORUVALUE ToOruValue(const boost::posix_time::ptime& time, OruValueType type);

} // namespace Lum
