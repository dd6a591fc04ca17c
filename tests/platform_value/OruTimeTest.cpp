#include <Platform/OruValue.h>

#include <gtest/gtest.h>

#include <ctime>

TEST(OruTime, IsValidDate)
{
    struct Case
    {
        unsigned short year;
        unsigned char month;
        unsigned char day;
        bool valid;
    };
    const Case cases[] = {
        {2024, 2, 29, true},  {2023, 2, 29, false}, {2000, 2, 29, true},  {1900, 2, 29, false},
        {2100, 2, 29, false}, {2400, 2, 29, true},  {2023, 2, 28, true},  {2024, 4, 30, true},
        {2024, 4, 31, false}, {2024, 12, 31, true}, {2024, 1, 31, true},  {2024, 13, 1, false},
        {2024, 0, 1, false},  {2024, 1, 0, false},  {2024, 1, 32, false}, {0, 1, 1, false},
        {9999, 12, 31, true}, {1990, 1, 1, true},   {2089, 12, 31, true}, {2024, 255, 255, false},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(c.valid, ORUTIME::IsValidDate(c.year, c.month, c.day))
            << c.year << "-" << int(c.month) << "-" << int(c.day);
    }
}

TEST(OruTime, IsValidTime)
{
    EXPECT_TRUE(ORUTIME::IsValidTime(0, 0, 0));
    EXPECT_TRUE(ORUTIME::IsValidTime(23, 59, 59));
    EXPECT_FALSE(ORUTIME::IsValidTime(24, 0, 0));
    EXPECT_FALSE(ORUTIME::IsValidTime(0, 60, 0));
    EXPECT_FALSE(ORUTIME::IsValidTime(0, 0, 60));
    EXPECT_FALSE(ORUTIME::IsValidTime(255, 255, 255));
}

TEST(OruTime, SetDateFillsWeekdayAndDayOfYear)
{
    struct Case
    {
        unsigned short year;
        unsigned char month;
        unsigned char day;
        std::uint16_t weekDay;
        std::uint16_t dayOfYear;
    };
    using namespace OruWeekDays;
    const Case cases[] = {
        {2024, 1, 1, WEEK_DAY_MONDAY, 1},       {2024, 12, 31, WEEK_DAY_TUESDAY, 366},
        {2023, 12, 31, WEEK_DAY_SUNDAY, 365},   {2000, 1, 1, WEEK_DAY_SATURDAY, 1},
        {2000, 2, 29, WEEK_DAY_TUESDAY, 60},    {1970, 1, 1, WEEK_DAY_THURSDAY, 1},
        {1900, 1, 1, WEEK_DAY_MONDAY, 1},       {1990, 1, 1, WEEK_DAY_MONDAY, 1},
        {2024, 3, 1, WEEK_DAY_FRIDAY, 61},      {2023, 3, 1, WEEK_DAY_WEDNESDAY, 60},
        {2089, 12, 31, WEEK_DAY_SATURDAY, 365},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" + std::to_string(c.day));
        ORUTIME t;
        t.hour = 9;
        t.hundredths = 5;
        t.isDaylightSaving = true;
        t.SetDate(c.year, c.month, c.day, true);
        EXPECT_EQ(c.year, t.year);
        EXPECT_EQ(c.month, t.month);
        EXPECT_EQ(c.day, t.day);
        EXPECT_EQ(0, t.hour);
        EXPECT_EQ(0, t.hundredths);
        EXPECT_FALSE(t.isDaylightSaving);
        EXPECT_TRUE(t.isLocalTime);
        EXPECT_EQ(c.weekDay, t.weekDay);
        EXPECT_EQ(c.dayOfYear, t.dayOfYear);
    }
}

TEST(OruTime, InvalidDateLeavesCalendarFieldsZero)
{
    ORUTIME t;
    t.SetDate(2023, 2, 29, false);
    EXPECT_EQ(2023, t.year);
    EXPECT_EQ(29, t.day);
    EXPECT_EQ(0, t.weekDay);
    EXPECT_EQ(0, t.dayOfYear);

    t.SetDateTime(2024, 13, 1, 25, 61, 61, true);
    EXPECT_EQ(13, t.month);
    EXPECT_EQ(25, t.hour);
    EXPECT_EQ(0, t.weekDay);
}

TEST(OruTime, ClearZeroesEveryFieldAndSetsTheFlag)
{
    ORUTIME t;
    t.SetDateTime(2024, 5, 6, 7, 8, 9, false);
    t.hundredths = 3;
    t.isDaylightSaving = true;
    t.Clear(true);
    ORUTIME expected;
    expected.isLocalTime = true;
    EXPECT_EQ(expected, t);
    t.Clear(false);
    EXPECT_EQ(ORUTIME(), t);
}

TEST(OruTime, FromSecondsBreaksDownInUtc)
{
    struct Case
    {
        std::time_t seconds;
        unsigned short year;
        unsigned char month, day, hour, minute, second;
        std::uint16_t weekDay;
        std::uint16_t dayOfYear;
    };
    using namespace OruWeekDays;
    const Case cases[] = {
        {0, 1970, 1, 1, 0, 0, 0, WEEK_DAY_THURSDAY, 1},
        {-1, 1969, 12, 31, 23, 59, 59, WEEK_DAY_WEDNESDAY, 365},
        {951782400, 2000, 2, 29, 0, 0, 0, WEEK_DAY_TUESDAY, 60},
        {1735603200 + 3723, 2024, 12, 31, 1, 2, 3, WEEK_DAY_TUESDAY, 366},
        {2147483647, 2038, 1, 19, 3, 14, 7, WEEK_DAY_TUESDAY, 19},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(static_cast<long long>(c.seconds));
        ORUTIME t;
        t.isLocalTime = true;
        t.hundredths = 7;
        t = c.seconds;
        EXPECT_EQ(c.year, t.year);
        EXPECT_EQ(c.month, t.month);
        EXPECT_EQ(c.day, t.day);
        EXPECT_EQ(c.hour, t.hour);
        EXPECT_EQ(c.minute, t.minute);
        EXPECT_EQ(c.second, t.second);
        EXPECT_EQ(0, t.hundredths);
        EXPECT_EQ(c.weekDay, t.weekDay);
        EXPECT_EQ(c.dayOfYear, t.dayOfYear);
        EXPECT_FALSE(t.isLocalTime);
    }
}

TEST(OruTime, ToStructTm)
{
    ORUTIME t;
    t.SetDateTime(2024, 12, 31, 1, 2, 3, false);
    struct tm tm = t;
    EXPECT_EQ(124, tm.tm_year);
    EXPECT_EQ(11, tm.tm_mon);
    EXPECT_EQ(31, tm.tm_mday);
    EXPECT_EQ(1, tm.tm_hour);
    EXPECT_EQ(2, tm.tm_min);
    EXPECT_EQ(3, tm.tm_sec);
    EXPECT_EQ(2, tm.tm_wday); // Tuesday
    EXPECT_EQ(365, tm.tm_yday);
    EXPECT_EQ(1735606923, timegm(&tm));

    // A Sunday mask maps to 0; the mask wins over the calendar.
    t.weekDay = OruWeekDays::WEEK_DAY_SUNDAY;
    tm = t;
    EXPECT_EQ(0, tm.tm_wday);

    // Without mask and day of year, a valid date still gives both.
    ORUTIME bare;
    bare.year = 2000;
    bare.month = 3;
    bare.day = 1;
    tm = bare;
    EXPECT_EQ(3, tm.tm_wday); // Wednesday
    EXPECT_EQ(60, tm.tm_yday);
}
