#include "ConverterCases.h"

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

TEST(Helpers, RepairUTF8)
{
    const std::pair<std::string, std::string> cases[] = {
        {"G\xC3\xA4nse \xF0\x9F\x98\x80", "G\xC3\xA4nse \xF0\x9F\x98\x80"},
        {"a\xFF"
         "b",
         "a?b"},
        {"\xE2\x82x", "?x"},               // a truncated sequence counts once
        {std::string("a\xFF\0", 3), "a?"}, // the trailing NUL goes
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.second, Lum::RepairUTF8(c.first).str());
}

TEST(Helpers, ToOruValueOfNativeTypes)
{
    const LumApp::TimeOfDay tod = *LumApp::TimeOfDay::Create(13, 23, 42, LumApp::DayOfWeek::Wednesday);
    ORUVALUE todValue = TimeV(13, 23, 42, OruWeekDays::WEEK_DAY_WEDNESDAY);
    todValue.GetTime().dayOfYear = 0;
    const std::pair<ORUVALUE, ORUVALUE> cases[] = {
        {Lum::ToOruValue(true, ivtBool), ORUVALUE::FromBool(true)},
        {Lum::ToOruValue(static_cast<unsigned char>(200), ivtByte), B(200)},
        {Lum::ToOruValue(static_cast<short>(-300), ivtInteger), I(-300)},
        {Lum::ToOruValue(static_cast<unsigned short>(60000), ivtWord), W(60000)},
        {Lum::ToOruValue(-2147483647L - 1, ivtInteger), I(INT32_MIN)},
        {Lum::ToOruValue(4294967295UL, ivtDWord), D(4294967295u)},
        {Lum::ToOruValue(21.5, ivtFloat), F(21.5)},
        {Lum::ToOruValue(std::string("KNX"), ivtString), S("KNX")},
        {Lum::ToOruValue(tod, ivtDayTime), todValue},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.second, c.first);
}

TEST(Helpers, ToOruValueOfTimesUpTo2038)
{
    const std::pair<ptime, std::vector<int>> cases[] = {
        {ptime(date(2038, 1, 19), time_duration(3, 14, 7)), {2038, 1, 19, 3, 14, 7, 2, 19}},
        {ptime(date(2024, 12, 31), time_duration(23, 59, 59)), {2024, 12, 31, 23, 59, 59, 2, 366}},
    };
    for (const auto& c : cases)
    {
        const ORUVALUE v = Lum::ToOruValue(c.first, ivtDateTime);
        const ORUTIME& t = v.GetTime();
        EXPECT_EQ(ivtDateTime, v.ivt);
        EXPECT_EQ(c.second, (std::vector<int>{t.year, t.month, t.day, t.hour, t.minute, t.second, t.weekDay,
                                              t.dayOfYear}));
    }
    EXPECT_EQ(ORUVALUE(), Lum::ToOruValue(ptime(date(2038, 1, 19), time_duration(3, 14, 8)), ivtDateTime));
    try
    {
        Lum::ToOruValue(ptime(boost::posix_time::not_a_date_time), ivtDateTime);
        ADD_FAILURE() << "no exception";
    }
    catch (const std::out_of_range& e)
    {
        EXPECT_NE(std::string::npos, std::string(e.what()).find("tm unable to handle ")) << e.what();
    }
}

TEST(Helpers, WeekdayMaskAndDay)
{
    const std::uint16_t masks[] = {0, 1, 2, 4, 8, 16, 32, 64}; // by day number
    for (int day = 0; day <= 7; ++day)
    {
        ORUTIME t;
        t.hour = 13;
        t.weekDay = masks[day];
        EXPECT_TRUE(LumApp::TimeOfDay::Create(13, 0, 0, LumApp::DayOfWeek(day)) == LumApp::FromOruTime(t))
            << day;
        EXPECT_EQ(masks[day], LumApp::ToOruWeekday(LumApp::DayOfWeek(day)));
    }
    for (std::uint16_t mask : {3, 96, 128, 0xFFFF}) // several days or none known
    {
        ORUTIME t;
        t.weekDay = mask;
        EXPECT_EQ(LumApp::DayOfWeek::NoDay, LumApp::FromOruTime(t)->GetWeekday()) << mask;
    }
    ORUTIME invalid;
    invalid.hour = 24;
    EXPECT_FALSE(LumApp::FromOruTime(invalid));
}

// The child's log lines must reach stderr, where the matcher looks.
void LogToStderr()
{
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.addAppender(log4cplus::SharedAppenderPtr(new log4cplus::ConsoleAppender(true, true)));
}

TEST(HelpersDeathTest, ImpossibleCasesEndTheProcess)
{
    const std::string report = "This statement should not be executed\\. There is a bug somewhere around .*";
    EXPECT_DEATH(
        {
            LogToStderr();
            Lum::ToOruValue(static_cast<unsigned char>(1), ivtInteger);
        },
        "result.ivt == expectedType");
    EXPECT_DEATH(
        {
            LogToStderr();
            LumApp::ToOruWeekday(static_cast<LumApp::DayOfWeek>(8));
        },
        report + "TimeOfDay\\.cpp:[0-9]+");
    EXPECT_EQ(5, Lum::UndefinedBehaviourIfNone(boost::optional<int>(5)));
    EXPECT_DEATH(
        {
            LogToStderr();
            Lum::UndefinedBehaviourIfNone(boost::optional<int>());
        },
        "FATAL - .*" + report + "Unreachable\\.h:[0-9]+");
}

} // namespace
