#include "ConverterTestUtil.h"

#include <Lum/OruValueHelper.h>
#include <Lum/TimeOfDay.h>
#include <Lum/Unreachable.h>
#include <Platform/Logging.h>

#include <gtest/gtest.h>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <log4cplus/consoleappender.h>

using namespace LumTest;
using boost::gregorian::date;
using boost::posix_time::ptime;
using boost::posix_time::time_duration;

namespace
{

// Death tests run in a child whose log lines would go nowhere; send them to stderr.
void LogToStderr()
{
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::ConsoleAppender(true, true)));
}

TEST(RepairUTF8, ValidTextIsKept)
{
    const std::string texts[] = {"", "plain", "G" + Utf8({0xC3, 0xA4}) + "nse", Utf8({0xE2, 0x82, 0xAC}),
                                 Utf8({0xF0, 0x9F, 0x98, 0x80})};
    for (const std::string& t : texts)
        EXPECT_EQ(t, Lum::RepairUTF8(t).str());
}

TEST(RepairUTF8, InvalidSequencesBecomeQuestionMarks)
{
    struct Case
    {
        std::string in;
        std::string out;
    };
    const Case cases[] = {
        {Utf8({0x61, 0xFF, 0x62}), "a?b"},
        {Utf8({0xFE, 0xFF}), "??"},
        {Utf8({0x61, 0xC3}), "a?"},             // truncated at the end
        {Utf8({0xE2, 0x82, 0x78}), "?x"},       // truncated in the middle: one mark
        {Utf8({0x80, 0x61}), "?a"},             // stray continuation byte
        {std::string("a\xFF", 2) + '\0', "a?"}, // the trailing NUL is dropped
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.out, Lum::RepairUTF8(c.in).str());
}

TEST(ToOruValue, EachNativeTypeGivesItsValueType)
{
    const LumApp::TimeOfDay tod = *LumApp::TimeOfDay::Create(13, 23, 42, LumApp::DayOfWeek::Wednesday);
    const ORUVALUE todValue = Lum::ToOruValue(tod, ivtDayTime);
    ORUTIME expectedTime;
    expectedTime.year = 2000;
    expectedTime.month = 1;
    expectedTime.day = 1;
    expectedTime.hour = 13;
    expectedTime.minute = 23;
    expectedTime.second = 42;
    expectedTime.weekDay = OruWeekDays::WEEK_DAY_WEDNESDAY;

    struct Case
    {
        ORUVALUE made;
        ORUVALUE expected;
    };
    const Case cases[] = {
        {Lum::ToOruValue(true, ivtBool), ORUVALUE::FromBool(true)},
        {Lum::ToOruValue(static_cast<unsigned char>(200), ivtByte), ORUVALUE::FromByte(200)},
        {Lum::ToOruValue(static_cast<short>(-300), ivtInteger), ORUVALUE::FromInteger(-300)},
        {Lum::ToOruValue(static_cast<unsigned short>(60000), ivtWord), ORUVALUE::FromWord(60000)},
        {Lum::ToOruValue(-2147483647L - 1, ivtInteger), ORUVALUE::FromInteger(-2147483647 - 1)},
        {Lum::ToOruValue(4294967295UL, ivtDWord), ORUVALUE::FromDWord(4294967295u)},
        {Lum::ToOruValue(21.5, ivtFloat), ORUVALUE::FromFloat(21.5)},
        {Lum::ToOruValue(std::string("KNX"), ivtString), ORUVALUE::FromString("KNX")},
        {Lum::ToOruValue(Lum::RepairUTF8("ok"), ivtString), ORUVALUE::FromString("ok")},
        {todValue, ORUVALUE::FromTime(ivtDayTime, expectedTime)},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, c.made);
}

TEST(ToOruValueDeathTest, WrongExpectedTypeFailsTheAssertion)
{
    EXPECT_DEATH(
        {
            LogToStderr();
            Lum::ToOruValue(static_cast<unsigned char>(1), ivtInteger);
        },
        "result.ivt == expectedType");
}

TEST(ToOruValue, TimeUpToThe32BitLimit)
{
    const ORUVALUE last = Lum::ToOruValue(ptime(date(2038, 1, 19), time_duration(3, 14, 7)), ivtDateTime);
    EXPECT_EQ(ivtDateTime, last.ivt);
    const ORUTIME& t = last.GetTime();
    EXPECT_EQ(2038, t.year);
    EXPECT_EQ(1, t.month);
    EXPECT_EQ(19, t.day);
    EXPECT_EQ(3, t.hour);
    EXPECT_EQ(14, t.minute);
    EXPECT_EQ(7, t.second);
    EXPECT_EQ(OruWeekDays::WEEK_DAY_TUESDAY, t.weekDay);
    EXPECT_EQ(19, t.dayOfYear);

    EXPECT_EQ(ORUVALUE(), Lum::ToOruValue(ptime(date(2038, 1, 19), time_duration(3, 14, 8)), ivtDateTime));
    EXPECT_EQ(ivtEmpty, Lum::ToOruValue(ptime(date(2100, 1, 1)), ivtDate).ivt);
}

TEST(ToOruValue, CalendarBreakdown)
{
    struct Case
    {
        ptime time;
        OruValueType type;
        std::uint16_t weekDay;
        std::uint16_t dayOfYear;
    };
    const Case cases[] = {
        {ptime(date(1990, 1, 1)), ivtDate, OruWeekDays::WEEK_DAY_MONDAY, 1},
        {ptime(date(1900, 1, 1)), ivtDateTime, OruWeekDays::WEEK_DAY_MONDAY, 1},
        {ptime(date(2024, 12, 31), time_duration(23, 59, 59)), ivtDateTime, OruWeekDays::WEEK_DAY_TUESDAY,
         366},
        {ptime(date(2023, 3, 5), time_duration(12, 0, 1)), ivtDateTime, OruWeekDays::WEEK_DAY_SUNDAY, 64},
    };
    for (const Case& c : cases)
    {
        const ORUVALUE v = Lum::ToOruValue(c.time, c.type);
        EXPECT_EQ(c.type, v.ivt);
        const ORUTIME& t = v.GetTime();
        const auto d = c.time.date();
        EXPECT_EQ(d.year(), t.year);
        EXPECT_EQ(d.month(), t.month);
        EXPECT_EQ(d.day(), t.day);
        EXPECT_EQ(c.time.time_of_day().hours(), t.hour);
        EXPECT_EQ(c.time.time_of_day().minutes(), t.minute);
        EXPECT_EQ(c.time.time_of_day().seconds(), t.second);
        EXPECT_EQ(c.weekDay, t.weekDay);
        EXPECT_EQ(c.dayOfYear, t.dayOfYear);
    }
}

TEST(ToOruValue, SpecialTimesFailInTheBreakdown)
{
    for (const ptime& special : {ptime(boost::posix_time::not_a_date_time),
                                 ptime(boost::posix_time::pos_infin), ptime(boost::posix_time::neg_infin)})
    {
        try
        {
            Lum::ToOruValue(special, ivtDateTime);
            ADD_FAILURE() << "no exception for " << special;
        }
        catch (const std::out_of_range& e)
        {
            EXPECT_NE(std::string::npos, std::string(e.what()).find("tm unable to handle ")) << e.what();
        }
    }
}

TEST(Weekday, MaskToDayAndBack)
{
    struct Case
    {
        std::uint16_t mask;
        LumApp::DayOfWeek day;
    };
    const Case cases[] = {
        {0, LumApp::DayOfWeek::NoDay},     {1, LumApp::DayOfWeek::Monday},   {2, LumApp::DayOfWeek::Tuesday},
        {4, LumApp::DayOfWeek::Wednesday}, {8, LumApp::DayOfWeek::Thursday}, {16, LumApp::DayOfWeek::Friday},
        {32, LumApp::DayOfWeek::Saturday}, {64, LumApp::DayOfWeek::Sunday},
    };
    for (const Case& c : cases)
    {
        ORUTIME t;
        t.hour = 13;
        t.minute = 23;
        t.second = 42;
        t.weekDay = c.mask;
        EXPECT_TRUE(LumApp::TimeOfDay::Create(13, 23, 42, c.day) == LumApp::FromOruTime(t)) << c.mask;
        EXPECT_EQ(c.mask, LumApp::ToOruWeekday(c.day));
    }
    // Masks naming several days, or none known, give no day.
    for (std::uint16_t mask : {3, 5, 96, 127, 128, 256, 0xFFFF})
    {
        ORUTIME t;
        t.hour = 1;
        t.weekDay = mask;
        const auto tod = LumApp::FromOruTime(t);
        ASSERT_TRUE(tod) << mask;
        EXPECT_EQ(LumApp::DayOfWeek::NoDay, tod->GetWeekday()) << mask;
    }
    ORUTIME invalid;
    invalid.hour = 24;
    EXPECT_FALSE(LumApp::FromOruTime(invalid));
    invalid.hour = 0;
    invalid.second = 60;
    EXPECT_FALSE(LumApp::FromOruTime(invalid));
}

TEST(WeekdayDeathTest, DayOutsideTheWeekIsUnreachable)
{
    EXPECT_DEATH(
        {
            LogToStderr();
            LumApp::ToOruWeekday(static_cast<LumApp::DayOfWeek>(8));
        },
        "This statement should not be executed\\. There is a bug somewhere around .*TimeOfDay\\.cpp:[0-9]+");
}

TEST(UnreachableDeathTest, EmptyOptionalEndsTheProcess)
{
    EXPECT_EQ(5, Lum::UndefinedBehaviourIfNone(boost::optional<int>(5)));
    EXPECT_DEATH(
        {
            LogToStderr();
            Lum::UndefinedBehaviourIfNone(boost::optional<int>());
        },
        "FATAL - .*This statement should not be executed\\. There is a bug somewhere around "
        ".*Unreachable\\.h:[0-9]+");
}

} // namespace
