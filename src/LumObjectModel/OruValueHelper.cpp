#include <Lum/OruValueHelper.h>
#include <Lum/TimeOfDay.h>
#include <Lum/Unreachable.h>
#include <Platform/Logging.h>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <utf8cpp/utf8.h>

#include <ctime>
#include <iterator>
#include <stdexcept>

namespace Lum
{

UTF8String RepairUTF8(std::string text)
{
    if (utf8::is_valid(text.begin(), text.end()))
        return UndefinedBehaviourIfNone(UTF8String::Create(std::move(text)));

    std::string repaired;
    repaired.reserve(text.size());
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(repaired),
                          static_cast<utf8::uint32_t>('?'));
    if (!repaired.empty() && repaired.back() == '\0')
        repaired.pop_back();
    return UndefinedBehaviourIfNone(UTF8String::Create(std::move(repaired)));
}

namespace
{

// The value for each native type; the type code follows from the overload.
ORUVALUE MakeValue(bool v)
{
    return ORUVALUE::FromBool(v);
}
ORUVALUE MakeValue(unsigned char v)
{
    return ORUVALUE::FromByte(v);
}
ORUVALUE MakeValue(short v)
{
    return ORUVALUE::FromInteger(v);
}
ORUVALUE MakeValue(unsigned short v)
{
    return ORUVALUE::FromWord(v);
}
// long and unsigned long carry 32-bit numbers, also where they are wider.
ORUVALUE MakeValue(long v)
{
    return ORUVALUE::FromInteger(static_cast<std::int32_t>(v));
}
ORUVALUE MakeValue(unsigned long v)
{
    return ORUVALUE::FromDWord(static_cast<std::uint32_t>(v));
}
ORUVALUE MakeValue(double v)
{
    return ORUVALUE::FromFloat(v);
}
ORUVALUE MakeValue(const std::string& v)
{
    return ORUVALUE::FromString(v);
}
ORUVALUE MakeValue(const UTF8String& v)
{
    return ORUVALUE::FromString(v.str());
}

// A time of day sits on the fixed date 2000-01-01.
ORUVALUE MakeValue(const LumApp::TimeOfDay& v)
{
    ORUTIME t;
    t.year = 2000;
    t.month = 1;
    t.day = 1;
    t.hour = static_cast<std::uint8_t>(v.GetHour());
    t.minute = static_cast<std::uint8_t>(v.GetMinute());
    t.second = static_cast<std::uint8_t>(v.GetSecond());
    t.weekDay = LumApp::ToOruWeekday(v.GetWeekday());
    return ORUVALUE::FromTime(ivtDayTime, t);
}

OruWeekDays::WEEK_DAY_TYPES WeekdayFromTm(int tmWday)
{
    // struct tm counts from Sunday = 0; the mask from Monday = 1.
    static const OruWeekDays::WEEK_DAY_TYPES masks[7] = {
        OruWeekDays::WEEK_DAY_SUNDAY,    OruWeekDays::WEEK_DAY_MONDAY,   OruWeekDays::WEEK_DAY_TUESDAY,
        OruWeekDays::WEEK_DAY_WEDNESDAY, OruWeekDays::WEEK_DAY_THURSDAY, OruWeekDays::WEEK_DAY_FRIDAY,
        OruWeekDays::WEEK_DAY_SATURDAY};
    return (tmWday >= 0 && tmWday < 7) ? masks[tmWday] : OruWeekDays::WEEK_DAY_NONE;
}

} // namespace

template <typename T> ORUVALUE ToOruValue(const T& value, OruValueType expectedType)
{
    ORUVALUE result = MakeValue(value);
    LUM_ASSERT2(result.ivt == expectedType);
    return result;
}

template LUM_OM_API ORUVALUE ToOruValue<bool>(const bool&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<unsigned char>(const unsigned char&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<short>(const short&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<unsigned short>(const unsigned short&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<long>(const long&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<unsigned long>(const unsigned long&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<double>(const double&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<std::string>(const std::string&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<UTF8String>(const UTF8String&, OruValueType);
template LUM_OM_API ORUVALUE ToOruValue<LumApp::TimeOfDay>(const LumApp::TimeOfDay&, OruValueType);

ORUVALUE ToOruValue(const boost::posix_time::ptime& time, OruValueType type)
{
    // The last second of a signed 32-bit time_t; later times stay empty on purpose.
    static const boost::posix_time::ptime limit(boost::gregorian::date(2038, 1, 19),
                                                boost::posix_time::time_duration(3, 14, 7));
    ORUVALUE result;
    if (!time.is_special() && time > limit)
        return result;
    std::tm tm;
    try
    {
        tm = boost::posix_time::to_tm(time);
    }
    catch (const std::out_of_range& e)
    {
        // Not a date (not-a-date-time, +-infinity): the date library says why.
        LUM_LOG_ERROR(e.what());
        return result;
    }
    ORUTIME t;
    t.year = static_cast<std::uint16_t>(tm.tm_year + 1900);
    t.month = static_cast<std::uint8_t>(tm.tm_mon + 1);
    t.day = static_cast<std::uint8_t>(tm.tm_mday);
    t.hour = static_cast<std::uint8_t>(tm.tm_hour);
    t.minute = static_cast<std::uint8_t>(tm.tm_min);
    t.second = static_cast<std::uint8_t>(tm.tm_sec);
    t.weekDay = WeekdayFromTm(tm.tm_wday);
    t.dayOfYear = static_cast<std::uint16_t>(tm.tm_yday + 1);
    result = ORUVALUE::FromTime(type, t);
    return result;
}

} // namespace Lum
