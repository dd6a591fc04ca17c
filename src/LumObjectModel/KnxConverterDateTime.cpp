#include "KnxConverterLog.h"

#include <Lum/KnxConverterDateTime.h>

#include "DateTimeFields.h"
#include <Lum/TimeOfDay.h>

#include <exception>

namespace Lum
{

namespace
{
constexpr std::uint32_t kDateReservedBits = 0xE0F080u;
constexpr unsigned kTimeReservedBits = 0xC0C0u;
constexpr unsigned kMaxTwoDigitYear = 99;

// All eleven fields, numbers only, one blank apart.
struct OruTimeFields
{
    const ORUTIME& t;
};

std::ostream& operator<<(std::ostream& os, const OruTimeFields& f)
{
    const ORUTIME& t = f.t;
    return os << t.year << ' ' << static_cast<unsigned>(t.month) << ' ' << static_cast<unsigned>(t.day) << ' '
              << static_cast<unsigned>(t.hour) << ' ' << static_cast<unsigned>(t.minute) << ' '
              << static_cast<unsigned>(t.second) << ' ' << static_cast<unsigned>(t.hundredths) << ' '
              << t.weekDay << ' ' << t.dayOfYear << ' ' << static_cast<unsigned>(t.isLocalTime) << ' '
              << static_cast<unsigned>(t.isDaylightSaving);
}

bool FitsByte(int v)
{
    return v >= 0 && v <= 0xFF;
}

bool ReadTimeOfDay(const Detail::ConverterSite& site, const KnxStack::GroupValue& group, ORUVALUE& value)
{
    const KnxStack::BinaryData& raw = group.GetRawData();
    const unsigned minuteSecond = (static_cast<unsigned>(raw.GetUInt8Value(1)) << 8) | raw.GetUInt8Value(2);
    if ((minuteSecond & kTimeReservedBits) != 0)
        return Detail::Reject(site, "No valid TimeOfDay datagram, reserved fields are not zero!");
    int hour = 0;
    int minute = 0;
    int second = 0;
    KnxStack::DayOfWeek knxDay = KnxStack::DayOfWeek::NoDay;
    group.GetAsTimeOfDay(&hour, &minute, &second, &knxDay);
    const boost::optional<LumApp::TimeOfDay> tod = LumApp::TimeOfDay::Create(
        hour, minute, second, static_cast<LumApp::DayOfWeek>(static_cast<std::uint8_t>(knxDay)));
    if (!tod)
        return Detail::Reject(site, "No valid TimeOfDay (10.001)!");
    value.ivt = ivtDayTime;
    ORUTIME& t = value.GetTime();
    t.year = 2000;
    t.month = 1;
    t.day = 1;
    t.hour = static_cast<std::uint8_t>(tod->GetHour());
    t.minute = static_cast<std::uint8_t>(tod->GetMinute());
    t.second = static_cast<std::uint8_t>(tod->GetSecond());
    t.hundredths = 0;
    t.weekDay = LumApp::ToOruWeekday(tod->GetWeekday());
    t.dayOfYear = 1;
    t.isLocalTime = false;
    t.isDaylightSaving = false;
    return true;
}
} // namespace

// --- 11.001 ------------------------------------------------------------------

bool KnxConverterDate::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 11 && dpt.subNumber != 1 && value.ivt != ivtDate)
    {
        LUM_LOG_ERROR("Wrong DPT main number (10.001) or oru value type (ivtDayTime)!");
        return false;
    }
    const ORUTIME& t = value.GetTime();
    if (static_cast<unsigned>(t.year - 1990) >= 100u)
    {
        LUM_LOG_ERROR("Cannot convert the date outside of the range [1990...2089]: year="
                      << t.year << ", month=" << static_cast<unsigned>(t.month)
                      << ", day=" << static_cast<unsigned>(t.day));
        return false;
    }
    group.SetAsDate(t.day, t.month, t.year);
    return true;
}
LUM_CONVERTER_CATCH_NAMED("date")

bool KnxConverterDate::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 11 && dpt.subNumber != 1)
    {
        LUM_LOG_ERROR("Wrong DPT main number (11.001)!");
        return false;
    }
    if ((group.GetRawData().GetUInt24Value(0) & kDateReservedBits) != 0)
    {
        LUM_LOG_ERROR("No valid Date datagram, reserved fields are not zero!");
        return false;
    }
    int day = 0;
    int month = 0;
    int year = 0;
    group.GetAsDate(&day, &month, &year);
    // Seven bits carry the year, but only 0..99 are years of this type:
    // 100..127 would read as 2100..2127 and are invalid dates.
    const bool valid =
        group.GetRawData().GetUInt8Value(2) <= kMaxTwoDigitYear && year >= 0 && year <= 0xFFFF &&
        FitsByte(month) && FitsByte(day) &&
        ORUTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                             static_cast<unsigned char>(day));
    if (!valid)
    {
        LUM_LOG_ERROR("Cannot convert invalid date: year=" << year << ", month=" << month << ", day=" << day);
        return false;
    }
    ORUTIME& t = value.GetTime();
    t.Clear(true);
    t.SetDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
              static_cast<unsigned char>(day), true);
    value.ivt = ivtDate;
    return true;
}
LUM_CONVERTER_CATCH_NAMED("date")

KnxConverter* KnxConverterDate::Clone() const
{
    return new KnxConverterDate(*this);
}

// --- 10.001 ------------------------------------------------------------------

bool KnxConverterTimeOfDay::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 10 && dpt.subNumber != 1 && value.ivt != ivtDayTime,
                            "Wrong DPT main number (10.001) or oru value type (ivtDayTime)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               const boost::optional<LumApp::TimeOfDay> tod =
                                   LumApp::FromOruTime(value.GetTime());
                               if (!tod)
                                   return Detail::Reject(site, "Could not convert ORUTIME ",
                                                         OruTimeFields{value.GetTime()}, " to TimeOfDay");
                               group.SetAsTimeOfDay(tod->GetHour(), tod->GetMinute(), tod->GetSecond(),
                                                    static_cast<KnxStack::DayOfWeek>(
                                                        static_cast<std::uint8_t>(tod->GetWeekday())));
                               return true;
                           });
}

bool KnxConverterTimeOfDay::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                         ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 10 && dpt.subNumber != 1, "Wrong DPT main number (10.001)!"},
                           [&](const Detail::ConverterSite& site)
                           { return ReadTimeOfDay(site, group, value); });
}

KnxConverter* KnxConverterTimeOfDay::Clone() const
{
    return new KnxConverterTimeOfDay(*this);
}

// --- 19.001 ------------------------------------------------------------------
// No entry trace and no DPT check in either direction.

bool KnxConverterDateTime::ToKnxValue(const KNXDPT& /*dpt*/, const ORUVALUE& value,
                                      KnxStack::GroupValue& group)
try
{
    const ORUTIME& t = value.GetTime();
    if (static_cast<unsigned>(t.year - 1900) >= 256u)
    {
        // The message names the date converter's range; kept as it always read.
        LUM_LOG_ERROR("Cannot convert the date outside of the range [1990...2089]: year=" << t.year);
        return false;
    }
    // Byte 0 is the low byte of the year itself, not year - 1900, and byte 6
    // only flags "no weekday": this is how the bytes have always been produced.
    const unsigned char bytes[8] = {
        static_cast<unsigned char>(t.year & 0xFFu), t.month, t.day, t.hour, t.minute, t.second, 0x20, 0x00};
    group = KnxStack::GroupValue(KnxStack::BinaryData(bytes, sizeof bytes), 64);
    return true;
}
LUM_CONVERTER_CATCH_NAMED("date and time")

bool KnxConverterDateTime::FromKnxValue(const KNXDPT& /*dpt*/, const KnxStack::GroupValue& group,
                                        ORUVALUE& value)
try
{
    const Detail::DateTimeFields f = Detail::ReadDateTimeFields(group.GetRawData());
    if (!f.IsValid())
    {
        LUM_LOG_ERROR("Cannot convert invalid date and time: year="
                      << f.year << ", month=" << f.month << ", day=" << f.day << ", hour=" << f.hour
                      << ", minute=" << f.minute << ", second=" << f.second);
        return false;
    }
    ORUTIME& t = value.GetTime();
    t.Clear(true);
    t.SetDateTime(static_cast<unsigned short>(f.year), static_cast<unsigned char>(f.month),
                  static_cast<unsigned char>(f.day), static_cast<unsigned char>(f.hour),
                  static_cast<unsigned char>(f.minute), static_cast<unsigned char>(f.second), true);
    return true;
}
LUM_CONVERTER_CATCH_NAMED("date and time")

KnxConverter* KnxConverterDateTime::Clone() const
{
    return new KnxConverterDateTime(*this);
}

} // namespace Lum
