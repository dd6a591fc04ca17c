#include <Lum/GroupValueOruValue.h>
#include <Lum/KnxPelMapping.h>
#include <Lum/KnxValueConverter.h>
#include <Lum/MeasureDuration.h>
#include <Lum/OruValueHelper.h>
#include <Lum/TimeOfDay.h>
#include <Platform/Logging.h>

#include "LogAs.h"
#include <Platform/Text.h>

#include <boost/date_time/gregorian/gregorian.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cmath>
#include <cstdint>
#include <ctime>
#include <exception>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>

#include "DateTimeFields.h"
#include "DptVocabulary.h"

namespace Lum
{

namespace
{

using OptGroupValue = boost::optional<KnxStack::GroupValue>;
using OptValue = boost::optional<ORUVALUE>;

// A packed DPT as the KNX stack names it, printed as main.sub.
struct Dpt
{
    explicit Dpt(unsigned long packed)
        : main(static_cast<std::uint16_t>(static_cast<std::uint32_t>(packed) >> 16)),
          sub(static_cast<std::uint16_t>(packed & 0xFFFFu))
    {
    }
    std::uint16_t main;
    std::uint16_t sub;
};

std::ostream& operator<<(std::ostream& os, const Dpt& dpt)
{
    return os << Vocabulary::DptLogText{dpt.main, dpt.sub};
}

// A platform text that may be null: a null text writes nothing and marks the
// stream failed, so the rest of the line stays empty as well.
struct PlatformText
{
    const char* text;
};

std::ostream& operator<<(std::ostream& os, const PlatformText& t)
{
    if (t.text != nullptr)
        os << t.text;
    else
        os.setstate(std::ios_base::badbit);
    return os;
}

PlatformText TypeName(OruValueType type)
{
    return PlatformText{ORUVALUE::GetNameFromValueType(type)};
}

// Every field of a time in its order; the one-byte fields go in as
// characters, as the message has always shown them.
struct OruTimeFields
{
    const ORUTIME& time;
};

std::ostream& operator<<(std::ostream& os, const OruTimeFields& fields)
{
    const ORUTIME& t = fields.time;
    return os << t.year << ' ' << t.month << ' ' << t.day << ' ' << t.hour << ' ' << t.minute << ' '
              << t.second << ' ' << t.hundredths << ' ' << t.weekDay << ' ' << t.dayOfYear << ' '
              << t.isLocalTime << ' ' << t.isDaylightSaving;
}

// --- encoding -------------------------------------------------------------

// The helpers below log as the public function they serve.
constexpr char kEncoder[] = "OruValueToGroupValue";
constexpr char kDecoder[] = "GroupValueToOruValue";

constexpr unsigned kDateTimeBytes = 8;

// DPT 19.001 flags, byte 6.
constexpr std::uint8_t kFlagNoWorkingDay = 0x20; // NWD: working-day field not valid
constexpr std::uint8_t kFlagSummerTime = 0x01;   // SUTI

OptGroupValue EncodeDateTime(const ORUTIME& time)
{
    const std::tm calendar = time;
    boost::gregorian::date date;
    try
    {
        date = boost::gregorian::date_from_tm(calendar);
    }
    catch (const std::out_of_range& e)
    {
        LUM_LOG_ERROR_AS(kEncoder, "Not a valid date and time: " << time.year << '-' << unsigned{time.month}
                                                                 << '-' << unsigned{time.day} << " ("
                                                                 << e.what() << ')');
        return boost::none;
    }
    const unsigned year = date.year();
    if (year < 1900 || year > 2155)
    {
        LUM_LOG_ERROR_AS(
            kEncoder, "Cannot convert the date and time outside of the range [1900...2155]: year=" << year);
        return boost::none;
    }
    if (!ORUTIME::IsValidTime(time.hour, time.minute, time.second))
    {
        LUM_LOG_ERROR_AS(kEncoder, "Not a valid time of day: " << unsigned{time.hour} << ':'
                                                               << unsigned{time.minute} << ':'
                                                               << unsigned{time.second});
        return boost::none;
    }
    // 1 = Monday .. 7 = Sunday; the date library counts from Sunday = 0.
    const unsigned dayOfWeek = date.day_of_week().as_number();
    const unsigned weekday = dayOfWeek == 0 ? 7 : dayOfWeek;

    // Year, date, weekday and time are all known, so their "not valid" flags
    // stay clear; the weekday is valid because it comes from the date itself.
    // Whether the day is a working day is not known here: NWD is set. Summer
    // time follows the value's daylight-saving flag. No fault, and nothing is
    // claimed about the clock's synchronisation (byte 7 zero).
    const unsigned char bytes[kDateTimeBytes] = {
        static_cast<unsigned char>(year - 1900),
        static_cast<unsigned char>(date.month().as_number()),
        static_cast<unsigned char>(date.day().as_number()),
        static_cast<unsigned char>((weekday << 5) | time.hour),
        time.minute,
        time.second,
        static_cast<unsigned char>(kFlagNoWorkingDay | (calendar.tm_isdst > 0 ? kFlagSummerTime : 0)),
        0,
    };
    return KnxStack::GroupValue(KnxStack::BinaryData(bytes, kDateTimeBytes), 64);
}

OptGroupValue EncodeUnsigned24(std::uint32_t value)
{
    const unsigned char bytes[3] = {static_cast<unsigned char>(value >> 16),
                                    static_cast<unsigned char>(value >> 8),
                                    static_cast<unsigned char>(value)};
    return KnxStack::GroupValue(KnxStack::BinaryData(bytes, 3), 24);
}

OptGroupValue Encode(const ORUVALUE& value, unsigned long packed)
{
    const Dpt dpt(packed);
    KnxStack::GroupValue gv;
    switch (dpt.main)
    {
    case 1:
        gv.SetAsBoolean(value.GetByte() != 0);
        break;
    case 2:
    case 23:
        gv.SetAsUnsigned2(value.GetByte());
        break;
    case 3:
        gv.SetAsUnsigned4(value.GetByte());
        break;
    case 5:
    case 18:
    case 20:
    case 21:
    case 26:
    case 238:
        gv.SetAsUnsigned8(value.GetByte());
        break;
    case 17:
        if (value.GetByte() > 63)
            return boost::none;
        gv.SetAsUnsigned8(value.GetByte());
        break;
    case 6:
        gv.SetAsSigned8(static_cast<signed char>(value.GetByte()));
        break;
    case 7:
    case 22:
    case 217:
    case 234:
    case 237:
    {
        std::uint32_t number = value.GetDWord();
        if (number > 65535)
        {
            LUM_LOG_ERROR_AS(kEncoder, "Value out of range: " << number << " (DPT " << dpt.main << ")");
            number = 65535;
        }
        gv.SetAsUnsigned16(static_cast<unsigned short>(number));
        break;
    }
    case 8:
    {
        std::int32_t number = value.GetInteger();
        if (number < -32768 || number > 32767)
        {
            LUM_LOG_ERROR_AS(kEncoder, "Value out of range: " << number << " (DPT " << dpt.main << ")");
            number = number < 0 ? -32768 : 32767;
        }
        gv.SetAsSigned16(static_cast<short>(number));
        break;
    }
    case 9:
    {
        const double number = value.GetFloat();
        if (!(std::fabs(number) <= std::numeric_limits<double>::max()))
            return boost::none;
        gv.SetAsFloat16(number);
        break;
    }
    case 10:
    {
        const boost::optional<LumApp::TimeOfDay> timeOfDay = LumApp::FromOruTime(value.GetTime());
        if (!timeOfDay)
        {
            LUM_LOG_ERROR_AS(kEncoder, "Could not convert ORUTIME " << OruTimeFields{value.GetTime()}
                                                                    << " to TimeOfDay");
            return boost::none;
        }
        gv.SetAsTimeOfDay(timeOfDay->GetHour(), timeOfDay->GetMinute(), timeOfDay->GetSecond(),
                          static_cast<KnxStack::DayOfWeek>(timeOfDay->GetWeekday()));
        break;
    }
    case 11:
    {
        const ORUTIME& time = value.GetTime();
        if (!ORUTIME::IsValidDate(time.year, time.month, time.day))
        {
            LUM_LOG_ERROR_AS(kEncoder,
                             "Not a valid date: " << time.year << ' ' << time.month << ' ' << time.day);
            return boost::none;
        }
        gv.SetAsDate(time.day, time.month, time.year);
        break;
    }
    case 12:
    case 15:
    case 27:
        gv.SetAsUnsigned32(value.GetDWord());
        break;
    case 13:
        gv.SetAsSigned32(value.GetInteger());
        break;
    case 14:
        gv.SetAsFloat32(static_cast<float>(value.GetFloat()));
        break;
    case 16:
    {
        const boost::optional<UTF8String> text = UTF8String::Create(value.GetString().str());
        if (!text)
        {
            LUM_LOG_ERROR_AS(kEncoder, "Got ORUVALUE that contains a non-UTF8 string");
            return boost::none;
        }
        gv.SetAsString14(getLatin1FromUTF8Lossy(*text).str());
        break;
    }
    case 19:
        return EncodeDateTime(value.GetTime());
    case 232:
        return EncodeUnsigned24(value.GetDWord());
    default:
        LUM_LOG_ERROR_AS(kEncoder, "Value type " << TypeName(value.ivt) << " not supported (dwDPT=" << packed
                                                 << " with value='"
                                                 << "ivt: " << static_cast<std::int32_t>(value.ivt)
                                                 << ", ToString(): " << PlatformText{value.ToString()}
                                                 << "').");
        return boost::none;
    }
    return gv;
}

// --- decoding -------------------------------------------------------------

OptValue DecodeTimeOfDay(const KnxStack::GroupValue& gv)
{
    int hour = 0;
    int minute = 0;
    int second = 0;
    KnxStack::DayOfWeek day = KnxStack::DayOfWeek::NoDay;
    gv.GetAsTimeOfDay(&hour, &minute, &second, &day);
    const boost::optional<LumApp::TimeOfDay> timeOfDay =
        LumApp::TimeOfDay::Create(hour, minute, second, static_cast<LumApp::DayOfWeek>(day));
    if (!timeOfDay)
    {
        LUM_LOG_WARN_AS(kDecoder, "Received invalid DPT 10 time of day: " << hour << ' ' << minute << ' '
                                                                          << second << ' '
                                                                          << static_cast<unsigned>(day));
        return boost::none;
    }
    return ToOruValue(*timeOfDay, ivtDayTime);
}

OptValue DecodeDate(const KnxStack::GroupValue& gv, OruValueType expected)
{
    const KnxStack::BinaryData& raw = gv.GetRawData();
    if (raw.GetSize() != 3)
    {
        LUM_LOG_WARN_AS(kDecoder, "Received an invalid DPT 11.001 date from the KNX: Length in bytes is "
                                      << raw.GetSize() << ", expected 3");
        return boost::none;
    }
    const unsigned twoDigitYear = raw.GetUInt8Value(2);
    if (twoDigitYear > 99)
    {
        LUM_LOG_WARN_AS(kDecoder, "Received an invalid DPT 11.001 date from the KNX: Year "
                                      << twoDigitYear << " is out of range (0-99)");
        return boost::none;
    }
    int day = 0;
    int month = 0;
    int year = 0;
    gv.GetAsDate(&day, &month, &year);
    // GetAsDate masks its fields (day 0-31, month 0-15, year 1990-2089): only the calendar can refuse them.
    if (!ORUTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                              static_cast<unsigned char>(day)))
    {
        LUM_LOG_WARN_AS(kDecoder, "Received an invalid DPT 11.001 date from the KNX: " << year << '-' << month
                                                                                       << '-' << day);
        return boost::none;
    }
    const boost::gregorian::date date(static_cast<unsigned short>(year), static_cast<unsigned short>(month),
                                      static_cast<unsigned short>(day));
    return ToOruValue(boost::posix_time::ptime(date), expected);
}

OptValue DecodeDateTime(const KnxStack::GroupValue& gv, OruValueType expected)
{
    const KnxStack::BinaryData& raw = gv.GetRawData();
    if (raw.GetSize() < kDateTimeBytes)
    {
        LUM_LOG_WARN_AS(kDecoder,
                        "Received an invalid DPT 19.001 date and time from the KNX: Length in bytes is "
                            << raw.GetSize() << ", expected " << kDateTimeBytes);
        return boost::none;
    }
    const Detail::DateTimeFields f = Detail::ReadDateTimeFields(raw);
    if (!f.IsValid())
    {
        LUM_LOG_WARN_AS(kDecoder, "Received an invalid DPT 19.001 date and time from the KNX: "
                                      << f.year << '-' << f.month << '-' << f.day << ' ' << f.hour << ':'
                                      << f.minute << ':' << f.second);
        return boost::none;
    }
    const boost::posix_time::ptime time(
        boost::gregorian::date(static_cast<unsigned short>(f.year), static_cast<unsigned short>(f.month),
                               static_cast<unsigned short>(f.day)),
        boost::posix_time::time_duration(static_cast<int>(f.hour), static_cast<int>(f.minute),
                                         static_cast<int>(f.second)));
    return ToOruValue(time, expected);
}

OptValue Decode(const KnxStack::GroupValue& gv, unsigned main, OruValueType expected)
{
    switch (main)
    {
    case 1:
        return ToOruValue(gv.GetAsBoolean(), expected);
    case 2:
    case 23:
        return ToOruValue(gv.GetAsUnsigned2(), expected);
    case 3:
        return ToOruValue(gv.GetAsUnsigned4(), expected);
    case 31:
        return ToOruValue(gv.GetAsUnsigned3(), expected);
    case 5:
    case 17:
    case 18:
    case 20:
    case 21:
    case 26:
    case 238:
        return ToOruValue(gv.GetAsUnsigned8(), expected);
    case 6:
        // Objects of 6.x hold the two's-complement byte.
        return ToOruValue(static_cast<unsigned char>(gv.GetAsSigned8()), expected);
    case 7:
    case 22:
    case 217:
    case 234:
    case 237:
        return ToOruValue(gv.GetAsUnsigned16(), expected);
    case 8:
        return ToOruValue(gv.GetAsSigned16(), expected);
    case 9:
        return ToOruValue(gv.GetAsFloat16(), expected);
    case 10:
        return DecodeTimeOfDay(gv);
    case 11:
        return DecodeDate(gv, expected);
    case 12:
    case 15:
    case 27:
    case 232:
        // 232 holds three bytes; the stack reads them as a 24-bit number.
        return ToOruValue(static_cast<unsigned long>(gv.GetRawData().GetUInt32Value(0)), expected);
    case 13:
        return ToOruValue(gv.GetAsSigned32(), expected);
    case 14:
        return ToOruValue(static_cast<double>(gv.GetAsFloat32()), expected);
    case 16:
        return ToOruValue(getUTF8FromLatin1(KnxStyleString(gv.GetAsString14())), expected);
    case 19:
        return DecodeDateTime(gv, expected);
    default:
        // Typed, but not decoded here: the caller gets the empty value.
        return ORUVALUE();
    }
}

} // namespace

boost::optional<KnxStack::GroupValue> OruValueToGroupValue(const ORUVALUE& value, unsigned long dpt)
{
    const OruValueType expected = KnxPelMapping::GetIvtFromDpt(static_cast<std::uint32_t>(dpt));
    if (expected != value.ivt)
    {
        LUM_LOG_ERROR("Value type mismatch: Expected '" << TypeName(expected) << "', got '"
                                                        << TypeName(value.ivt) << "'");
        return boost::none;
    }
    try
    {
        return Encode(value, dpt);
    }
    catch (const std::exception& e)
    {
        LUM_LOG_ERROR("Could not encode the value for DPT " << Dpt(dpt) << ": " << e.what());
        return boost::none;
    }
}

bool CheckGroupValue(const KnxStack::GroupValue& groupValue, unsigned long dpt)
{
    const Dpt parts(dpt);
    KNXDPT knxDpt;
    knxDpt.mainNumber = static_cast<std::uint16_t>(parts.main);
    knxDpt.subNumber = static_cast<std::uint16_t>(parts.sub);
    const unsigned bitSize = groupValue.GetDefinedSize();

    // Built afresh for every check; Init() is kept cheap because this runs
    // once per received telegram.
    KnxValueConverter converter;
    if (!converter.Init())
    {
        LUM_LOG_FATAL("Could not Init() the value converter");
        return false;
    }
    LUM_LOG_DEBUG("DPT is " << parts << " with bit size " << bitSize);
    ORUVALUE decoded;
    try
    {
        return converter.FromKnxValue(knxDpt, groupValue, decoded);
    }
    catch (const std::exception& e)
    {
        LUM_LOG_ERROR("Could not check the group value " << groupValue.GetRawData().ToString() << " for DPT "
                                                         << parts << ": " << e.what());
        return false;
    }
}

boost::optional<ORUVALUE> GroupValueToOruValue(const KnxStack::GroupValue& groupValue, unsigned long dpt)
{
    const MeasureDuration timer("Decoding a KNX value took ", boost::timer::nanosecond_type{100000000});
    const Dpt parts(dpt);
    const OruValueType expected = KnxPelMapping::GetIvtFromDpt(static_cast<std::uint32_t>(dpt));
    if (expected == ivtEmpty)
    {
        LUM_LOG_ERROR("Unsupported DPT: " << parts);
        return boost::none;
    }
    if (!CheckGroupValue(groupValue, dpt))
    {
        LUM_LOG_ERROR("Received invalid value " << groupValue.GetRawData().ToString() << " for DPT "
                                                << parts);
        return boost::none;
    }
    try
    {
        return Decode(groupValue, parts.main, expected);
    }
    catch (const std::exception& e)
    {
        LUM_LOG_ERROR("Could not decode the value " << groupValue.GetRawData().ToString() << " for DPT "
                                                    << parts << ": " << e.what());
        return boost::none;
    }
}

} // namespace Lum
