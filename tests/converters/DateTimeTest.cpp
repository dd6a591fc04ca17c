#include "ConverterTestUtil.h"

#include <Lum/KnxConverterDateTime.h>

#include <gtest/gtest.h>

using namespace LumTest;

namespace
{

const Lum::KnxConverterDate kDate;
const Lum::KnxConverterTimeOfDay kTime;
const Lum::KnxConverterDateTime kDateTime;

ORUVALUE DateValue(unsigned short year, unsigned char month, unsigned char day)
{
    ORUTIME t;
    t.Clear(true);
    t.SetDate(year, month, day, true);
    return ORUVALUE::FromTime(ivtDate, t);
}

ORUVALUE TimeValue(std::uint8_t hour, std::uint8_t minute, std::uint8_t second, std::uint16_t weekMask)
{
    ORUTIME t;
    t.year = 2000;
    t.month = 1;
    t.day = 1;
    t.hour = hour;
    t.minute = minute;
    t.second = second;
    t.weekDay = weekMask;
    t.dayOfYear = 1;
    return ORUVALUE::FromTime(ivtDayTime, t);
}

ORUTIME DateTime(unsigned short y, unsigned char mo, unsigned char d, unsigned char h, unsigned char mi,
                 unsigned char s)
{
    ORUTIME t;
    t.Clear(true);
    t.SetDateTime(y, mo, d, h, mi, s, true);
    return t;
}

bool StartsWith(const std::string& s, const std::string& prefix)
{
    return s.compare(0, prefix.size(), prefix) == 0;
}

TEST(Date, KnxStandardBytesBothWays)
{
    struct Case
    {
        unsigned short year;
        unsigned char month;
        unsigned char day;
        Bytes bytes;
    };
    const Case cases[] = {
        {2002, 1, 4, {0x04, 0x01, 0x02}},
        {1990, 1, 31, {0x1F, 0x01, 0x5A}},
        {2089, 12, 4, {0x04, 0x0C, 0x59}},
        {2089, 12, 31, {0x1F, 0x0C, 0x59}},
    };
    for (const Case& c : cases)
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(kDate.ToKnxValue(Dpt(11, 1), DateValue(c.year, c.month, c.day), group)) << c.year;
        EXPECT_EQ(c.bytes, RawBytes(group));
        ORUVALUE back = Typed(ivtUnset, 0);
        ASSERT_TRUE(kDate.FromKnxValue(Dpt(11, 1), Group(c.bytes, 24), back));
        EXPECT_EQ(DateValue(c.year, c.month, c.day), back);
    }
}

TEST(Date, LooseAcceptance)
{
    KnxStack::GroupValue group;
    // Main 11, sub 1 or the date type: any one suffices.
    ORUVALUE other = DateValue(2000, 2, 29);
    other.ivt = ivtDateTime;
    EXPECT_TRUE(kDate.ToKnxValue(Dpt(99, 1), other, group));
    EXPECT_TRUE(kDate.ToKnxValue(Dpt(11, 5), other, group));
    EXPECT_TRUE(kDate.ToKnxValue(Dpt(12, 2), DateValue(2000, 2, 29), group));
    EXPECT_EQ((Bytes{0x1D, 0x02, 0x00}), RawBytes(group));
    ORUVALUE back = Typed(ivtUnset, 0);
    EXPECT_TRUE(kDate.FromKnxValue(Dpt(12, 1), Group({0x1D, 0x02, 0x00}, 24), back));
    EXPECT_EQ(DateValue(2000, 2, 29), back);
}

TEST(TimeOfDay, KnxStandardBytesBothWays)
{
    struct Case
    {
        std::uint8_t hour, minute, second;
        std::uint16_t mask;
        Bytes bytes;
    };
    const Case cases[] = {
        {13, 23, 42, OruWeekDays::WEEK_DAY_TUESDAY, {0x4D, 0x17, 0x2A}},
        {23, 59, 59, OruWeekDays::WEEK_DAY_SUNDAY, {0xF7, 0x3B, 0x3B}},
        {0, 0, 0, OruWeekDays::WEEK_DAY_NONE, {0x00, 0x00, 0x00}},
        {7, 5, 3, OruWeekDays::WEEK_DAY_WEDNESDAY, {0x67, 0x05, 0x03}},
    };
    for (const Case& c : cases)
    {
        KnxStack::GroupValue group;
        ASSERT_TRUE(kTime.ToKnxValue(Dpt(10, 1), TimeValue(c.hour, c.minute, c.second, c.mask), group));
        EXPECT_EQ(c.bytes, RawBytes(group));
        ORUVALUE back = Typed(ivtUnset, 0);
        ASSERT_TRUE(kTime.FromKnxValue(Dpt(10, 1), Group(c.bytes, 24), back));
        EXPECT_EQ(TimeValue(c.hour, c.minute, c.second, c.mask), back);
        EXPECT_EQ(c.mask, back.GetTime().weekDay);
    }
}

TEST(TimeOfDay, SeveralWeekdayBitsSendNoDay)
{
    KnxStack::GroupValue group;
    ASSERT_TRUE(kTime.ToKnxValue(Dpt(10, 1), TimeValue(13, 0, 0, 3), group));
    EXPECT_EQ((Bytes{0x0D, 0x00, 0x00}), RawBytes(group));
}

TEST(DateTime, WritesTheLowByteOfTheYear)
{
    // Byte 0 is the year's own low byte (2024 -> E8), byte 6 is 20: the
    // converter's own layout, not year - 1900.
    KnxStack::GroupValue group;
    LogCapture capture;
    ASSERT_TRUE(kDateTime.ToKnxValue(Dpt(1, 1),
                                     ORUVALUE::FromTime(ivtDateTime, DateTime(2024, 5, 6, 7, 8, 9)), group));
    EXPECT_EQ((Bytes{0xE8, 0x05, 0x06, 0x07, 0x08, 0x09, 0x20, 0x00}), RawBytes(group));
    EXPECT_EQ(64u, group.GetDefinedSize());

    ORUVALUE back = Typed(ivtUnset, 0);
    ASSERT_TRUE(kDateTime.FromKnxValue(Dpt(1, 1), group, back));
    EXPECT_EQ(DateTime(2132, 5, 6, 7, 8, 9), back.GetTime());
    EXPECT_EQ(ivtUnset, back.ivt);        // left as prepared
    EXPECT_TRUE(capture.Lines().empty()); // no trace in either direction
}

TEST(DateTime, ReadsTheKnxStandardLayout)
{
    struct Case
    {
        Bytes bytes;
        ORUTIME expected;
    };
    const Case cases[] = {
        {{0x75, 0x0B, 0x1C, 0x17, 0x07, 0x18, 0x24, 0x00}, DateTime(2017, 11, 28, 23, 7, 24)},
        {{0x00, 0x01, 0x01, 0x00, 0x00, 0x00, 0x24, 0x00}, DateTime(1900, 1, 1, 0, 0, 0)},
        // Weekday bits above the hour and flag bytes are ignored.
        {{0x75, 0x0B, 0x1C, 0xF7, 0x07, 0x18, 0xFF, 0xFF}, DateTime(2017, 11, 28, 23, 7, 24)},
    };
    for (const Case& c : cases)
    {
        ORUVALUE back = Typed(ivtDateTime, 0);
        ASSERT_TRUE(kDateTime.FromKnxValue(Dpt(19, 1), Group(c.bytes, 64), back));
        EXPECT_EQ(c.expected, back.GetTime());
    }
}

struct Rejection
{
    const char* name;
    const Lum::KnxConverter* conv;
    bool toKnx;
    KNXDPT dpt;
    ORUVALUE value;
    Bytes bytes;
    std::string message;
};

class DateTimeRejection : public testing::TestWithParam<Rejection>
{
};

TEST_P(DateTimeRejection, LogsOnceAndWritesNothing)
{
    const Rejection& r = GetParam();
    KnxStack::GroupValue group = Group(r.bytes, static_cast<unsigned>(r.bytes.size() * 8));
    ORUVALUE value = r.value;
    LogCapture capture;
    const bool ok =
        r.toKnx ? r.conv->ToKnxValue(r.dpt, value, group) : r.conv->FromKnxValue(r.dpt, group, value);
    EXPECT_FALSE(ok);
    const auto errors = capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL);
    ASSERT_EQ(1u, errors.size());
    // Exception texts come from the stack; only their prefix is ours.
    if (StartsWith(r.message, "Exception caught"))
    {
        EXPECT_TRUE(StartsWith(errors[0], r.message)) << errors[0];
    }
    else
        EXPECT_EQ(r.message, errors[0]);
    EXPECT_EQ(r.bytes, RawBytes(group));
    EXPECT_EQ(r.value, value);
}

ORUVALUE BadTime()
{
    ORUVALUE v = TimeValue(24, 0, 0, 1);
    v.GetTime().hundredths = 7;
    v.GetTime().isDaylightSaving = true;
    return v;
}

INSTANTIATE_TEST_SUITE_P(
    All, DateTimeRejection,
    testing::Values(
        Rejection{"DateAfter2089",
                  &kDate,
                  true,
                  Dpt(11, 1),
                  DateValue(2090, 1, 1),
                  {0x11, 0x22, 0x33},
                  "Cannot convert the date outside of the range [1990...2089]: year=2090, month=1, day=1"},
        Rejection{"DateBefore1990",
                  &kDate,
                  true,
                  Dpt(11, 1),
                  DateValue(1989, 12, 31),
                  {0x11, 0x22, 0x33},
                  "Cannot convert the date outside of the range [1990...2089]: year=1989, month=12, day=31"},
        Rejection{"DateWrongEverything",
                  &kDate,
                  true,
                  Dpt(10, 2),
                  TimeValue(1, 2, 3, 0),
                  {0x11, 0x22, 0x33},
                  "Wrong DPT main number (10.001) or oru value type (ivtDayTime)!"},
        Rejection{"DateReadWrongDpt",
                  &kDate,
                  false,
                  Dpt(10, 2),
                  Typed(ivtUnset, 0),
                  {0x04, 0x01, 0x02},
                  "Wrong DPT main number (11.001)!"},
        Rejection{"DateReservedYearBit",
                  &kDate,
                  false,
                  Dpt(11, 1),
                  Typed(ivtUnset, 0),
                  {0x04, 0x01, 0x82},
                  "No valid Date datagram, reserved fields are not zero!"},
        Rejection{"DateReservedMonthBits",
                  &kDate,
                  false,
                  Dpt(11, 1),
                  Typed(ivtUnset, 0),
                  {0x04, 0x11, 0x02},
                  "No valid Date datagram, reserved fields are not zero!"},
        Rejection{"DateReservedDayBits",
                  &kDate,
                  false,
                  Dpt(11, 1),
                  Typed(ivtUnset, 0),
                  {0x24, 0x01, 0x02},
                  "No valid Date datagram, reserved fields are not zero!"},
        Rejection{"DateThirtiethFebruary",
                  &kDate,
                  false,
                  Dpt(11, 1),
                  Typed(ivtUnset, 0),
                  {0x1E, 0x02, 0x02},
                  "Cannot convert invalid date: year=2002, month=2, day=30"},
        Rejection{"DateMonthZero",
                  &kDate,
                  false,
                  Dpt(11, 1),
                  Typed(ivtUnset, 0),
                  {0x04, 0x00, 0x59},
                  "Cannot convert invalid date: year=2089, month=0, day=4"},
        Rejection{"DateShortDatagram",
                  &kDate,
                  false,
                  Dpt(11, 1),
                  Typed(ivtUnset, 0),
                  {0x04},
                  "Exception caught during conversion of date: "},
        Rejection{"TimeWrongEverything",
                  &kTime,
                  true,
                  Dpt(11, 2),
                  DateValue(2000, 1, 1),
                  {0x11, 0x22, 0x33},
                  "Wrong DPT main number (10.001) or oru value type (ivtDayTime)!"},
        Rejection{"TimeHour24",
                  &kTime,
                  true,
                  Dpt(10, 1),
                  BadTime(),
                  {0x11, 0x22, 0x33},
                  "Could not convert ORUTIME 2000 1 1 24 0 0 7 1 1 0 1 to TimeOfDay"},
        Rejection{"TimeReadWrongDpt",
                  &kTime,
                  false,
                  Dpt(11, 2),
                  Typed(ivtUnset, 0),
                  {0x00, 0x00, 0x00},
                  "Wrong DPT main number (10.001)!"},
        Rejection{"TimeReservedMinuteBits",
                  &kTime,
                  false,
                  Dpt(10, 1),
                  Typed(ivtUnset, 0),
                  {0x00, 0x40, 0x00},
                  "No valid TimeOfDay datagram, reserved fields are not zero!"},
        Rejection{"TimeReservedSecondBits",
                  &kTime,
                  false,
                  Dpt(10, 1),
                  Typed(ivtUnset, 0),
                  {0x00, 0x00, 0x80},
                  "No valid TimeOfDay datagram, reserved fields are not zero!"},
        Rejection{"TimeSecond60",
                  &kTime,
                  false,
                  Dpt(10, 1),
                  Typed(ivtUnset, 0),
                  {0xF7, 0x3B, 0x3C},
                  "No valid TimeOfDay (10.001)!"},
        Rejection{"TimeMinute60",
                  &kTime,
                  false,
                  Dpt(10, 1),
                  Typed(ivtUnset, 0),
                  {0x00, 0x3C, 0x00},
                  "No valid TimeOfDay (10.001)!"},
        Rejection{"TimeHour24Read",
                  &kTime,
                  false,
                  Dpt(10, 1),
                  Typed(ivtUnset, 0),
                  {0x18, 0x00, 0x00},
                  "No valid TimeOfDay (10.001)!"},
        Rejection{"DateTimeAfter2155",
                  &kDateTime,
                  true,
                  Dpt(19, 1),
                  ORUVALUE::FromTime(ivtDateTime, DateTime(2156, 1, 1, 0, 0, 0)),
                  {0x11},
                  "Cannot convert the date outside of the range [1990...2089]: year=2156"},
        Rejection{"DateTimeBefore1900",
                  &kDateTime,
                  true,
                  Dpt(19, 1),
                  ORUVALUE::FromTime(ivtDateTime, DateTime(1899, 12, 31, 0, 0, 0)),
                  {0x11},
                  "Cannot convert the date outside of the range [1990...2089]: year=1899"},
        Rejection{
            "DateTimeMonthZero",
            &kDateTime,
            false,
            Dpt(19, 1),
            Typed(ivtDateTime, 0),
            {0x75, 0x00, 0x1C, 0x17, 0x07, 0x18, 0x24, 0x00},
            "Cannot convert invalid date and time: year=2017, month=0, day=28, hour=23, minute=7, second=24"},
        Rejection{"DateTimeHour24",
                  &kDateTime,
                  false,
                  Dpt(19, 1),
                  Typed(ivtDateTime, 0),
                  {0x75, 0x0B, 0x1C, 0x18, 0x07, 0x18, 0x24, 0x00},
                  "Cannot convert invalid date and time: year=2017, month=11, day=28, hour=24, minute=7, "
                  "second=24"},
        Rejection{"DateTimeShortDatagram",
                  &kDateTime,
                  false,
                  Dpt(19, 1),
                  Typed(ivtDateTime, 0),
                  {0x75, 0x0B},
                  "Exception caught during conversion of date and time: "}),
    [](const testing::TestParamInfo<Rejection>& tp) { return std::string(tp.param.name); });

TEST(DateTimeSweep, EveryByteInEveryPositionIsHandled)
{
    const Bytes dateBase{0x04, 0x01, 0x02};
    const Bytes timeBase{0x4D, 0x17, 0x2A};
    const Bytes dateTimeBase{0x75, 0x0B, 0x1C, 0x17, 0x07, 0x18, 0x24, 0x00};
    for (unsigned b = 0; b < 256; ++b)
    {
        for (std::size_t pos = 0; pos < 3; ++pos)
        {
            Bytes date = dateBase;
            date[pos] = static_cast<unsigned char>(b);
            ORUVALUE v = Typed(ivtUnset, 0);
            if (kDate.FromKnxValue(Dpt(11, 1), Group(date, 24), v))
            {
                const ORUTIME& t = v.GetTime();
                EXPECT_TRUE(ORUTIME::IsValidDate(t.year, t.month, t.day));
                // The stack reads years 100..127 of the 7-bit field as 2100..2127.
                EXPECT_TRUE(t.year >= 1990 && t.year <= 2127) << t.year;
                EXPECT_EQ(ivtDate, v.ivt);
            }

            Bytes time = timeBase;
            time[pos] = static_cast<unsigned char>(b);
            v = Typed(ivtUnset, 0);
            if (kTime.FromKnxValue(Dpt(10, 1), Group(time, 24), v))
            {
                const ORUTIME& t = v.GetTime();
                EXPECT_TRUE(ORUTIME::IsValidTime(t.hour, t.minute, t.second)) << b;
                EXPECT_EQ(ivtDayTime, v.ivt);
            }
        }
        for (std::size_t pos = 0; pos < 8; ++pos)
        {
            Bytes bytes = dateTimeBase;
            bytes[pos] = static_cast<unsigned char>(b);
            ORUVALUE v = Typed(ivtDateTime, 0);
            if (kDateTime.FromKnxValue(Dpt(19, 1), Group(bytes, 64), v))
            {
                const ORUTIME& t = v.GetTime();
                EXPECT_TRUE(ORUTIME::IsValidDate(t.year, t.month, t.day));
                EXPECT_TRUE(ORUTIME::IsValidTime(t.hour, t.minute, t.second));
                EXPECT_TRUE(t.year >= 1900 && t.year <= 2155);
            }
        }
    }
}

TEST(DateTimeClone, CopiesAreOfTheSameClass)
{
    const Lum::KnxConverter* all[] = {&kDate, &kTime, &kDateTime};
    for (const Lum::KnxConverter* c : all)
    {
        auto clone = Own(c->Clone());
        EXPECT_NE(c, clone.get());
        EXPECT_EQ(typeid(*c), typeid(*clone));
    }
}

} // namespace
