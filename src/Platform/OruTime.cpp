#include <Platform/OruValue.h>

#include <boost/date_time/gregorian/gregorian.hpp>

#include <ctime>

namespace
{

// The years the Gregorian calendar of boost::gregorian covers.
constexpr unsigned kFirstYear = 1400;
constexpr unsigned kLastYear = 9999;

std::uint16_t WeekDayMask(int tmWeekDay) // 0 = Sunday
{
    if (tmWeekDay == 0)
        return OruWeekDays::WEEK_DAY_SUNDAY;
    return static_cast<std::uint16_t>(1u << (tmWeekDay - 1));
}

// -1 unless exactly one day bit is set.
int TmWeekDayFromMask(std::uint16_t mask)
{
    for (int bit = 0; bit < 7; ++bit)
    {
        if (mask == (1u << bit))
            return bit == 6 ? 0 : bit + 1;
    }
    return -1;
}

void FillCalendarFields(ORUTIME& t)
{
    if (!ORUTIME::IsValidDate(t.year, t.month, t.day))
        return;
    const boost::gregorian::date date(t.year, t.month, t.day);
    t.weekDay = WeekDayMask(date.day_of_week().as_number());
    t.dayOfYear = static_cast<std::uint16_t>(date.day_of_year());
}

} // namespace

void ORUTIME::Clear(bool localTime)
{
    *this = ORUTIME{};
    isLocalTime = localTime;
}

void ORUTIME::SetDate(unsigned short y, unsigned char m, unsigned char d, bool localTime)
{
    Clear(localTime);
    year = y;
    month = m;
    day = d;
    FillCalendarFields(*this);
}

void ORUTIME::SetDateTime(unsigned short y, unsigned char mo, unsigned char d, unsigned char h,
                          unsigned char mi, unsigned char s, bool localTime)
{
    SetDate(y, mo, d, localTime);
    hour = h;
    minute = mi;
    second = s;
}

ORUTIME& ORUTIME::operator=(std::time_t seconds)
{
    Clear(false);
    struct tm broken = {};
    // A count whose year does not fit leaves the cleared time.
    if (gmtime_r(&seconds, &broken) == nullptr || broken.tm_year < -1900 || broken.tm_year > 65535 - 1900)
        return *this;
    year = static_cast<std::uint16_t>(broken.tm_year + 1900);
    month = static_cast<std::uint8_t>(broken.tm_mon + 1);
    day = static_cast<std::uint8_t>(broken.tm_mday);
    hour = static_cast<std::uint8_t>(broken.tm_hour);
    minute = static_cast<std::uint8_t>(broken.tm_min);
    second = static_cast<std::uint8_t>(broken.tm_sec);
    weekDay = WeekDayMask(broken.tm_wday);
    dayOfYear = static_cast<std::uint16_t>(broken.tm_yday + 1);
    return *this;
}

ORUTIME::operator struct tm() const
{
    struct tm result = {};
    result.tm_year = static_cast<int>(year) - 1900;
    result.tm_mon = static_cast<int>(month) - 1;
    result.tm_mday = day;
    result.tm_hour = hour;
    result.tm_min = minute;
    result.tm_sec = second;
    result.tm_isdst = isDaylightSaving ? 1 : 0;

    const bool validDate = IsValidDate(year, month, day);
    const boost::gregorian::date date = validDate ? boost::gregorian::date(year, month, day)
                                                  : boost::gregorian::date(boost::gregorian::not_a_date_time);

    const int fromMask = TmWeekDayFromMask(weekDay);
    if (fromMask >= 0)
        result.tm_wday = fromMask;
    else if (validDate)
        result.tm_wday = date.day_of_week().as_number();

    if (dayOfYear != 0)
        result.tm_yday = dayOfYear - 1;
    else if (validDate)
        result.tm_yday = date.day_of_year() - 1;
    return result;
}

bool ORUTIME::IsValidDate(unsigned short y, unsigned char m, unsigned char d)
{
    if (y < kFirstYear || y > kLastYear || m < 1 || m > 12 || d < 1)
        return false;
    return d <= boost::gregorian::gregorian_calendar::end_of_month_day(y, m);
}

bool ORUTIME::IsValidTime(unsigned char h, unsigned char m, unsigned char s)
{
    return h < 24 && m < 60 && s < 60;
}

bool ORUTIME::operator==(const ORUTIME& other) const
{
    return year == other.year && month == other.month && day == other.day && hour == other.hour &&
           minute == other.minute && second == other.second && hundredths == other.hundredths &&
           weekDay == other.weekDay && dayOfYear == other.dayOfYear && isLocalTime == other.isLocalTime &&
           isDaylightSaving == other.isDaylightSaving;
}
