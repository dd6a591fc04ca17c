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
        {"a\377b", "a?b"},
        {"\xE2\x82x", "?x"},               // a truncated sequence counts once
        {std::string("a\xFF\0", 3), "a?"}, // the trailing NUL goes
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.second, Lum::RepairUTF8(c.first).str());
}

TEST(Helpers, ToOruValue)
{
    ORUVALUE tod = TimeV(13, 23, 42, OruWeekDays::WEEK_DAY_WEDNESDAY);
    tod.GetTime().dayOfYear = 0;
    EXPECT_EQ(tod, Lum::ToOruValue(*LumApp::TimeOfDay::Create(13, 23, 42, LumApp::DayOfWeek::Wednesday),
                                   ivtDayTime));
    EXPECT_EQ(B(200), Lum::ToOruValue(static_cast<unsigned char>(200), ivtByte));

    // Times up to the last second of a signed 32-bit count from 1970.
    const ORUVALUE last = Lum::ToOruValue(ptime(date(2038, 1, 19), time_duration(3, 14, 7)), ivtDateTime);
    const ORUTIME& t = last.GetTime();
    EXPECT_EQ(ivtDateTime, last.ivt);
    EXPECT_EQ((std::vector<int>{2038, 1, 19, 3, 14, 7, OruWeekDays::WEEK_DAY_TUESDAY, 19}),
              (std::vector<int>{t.year, t.month, t.day, t.hour, t.minute, t.second, t.weekDay, t.dayOfYear}));
    EXPECT_EQ(ORUVALUE(), Lum::ToOruValue(ptime(date(2038, 1, 19), time_duration(3, 14, 8)), ivtDateTime));
    // No date at all: the empty value and the date library's reason, nothing thrown.
    for (const auto special :
         {boost::posix_time::not_a_date_time, boost::posix_time::pos_infin, boost::posix_time::neg_infin})
    {
        LogCapture capture;
        EXPECT_EQ(ORUVALUE(), Lum::ToOruValue(ptime(special), ivtDateTime));
        const std::vector<std::string> errors = capture.TextsAtLeast(log4cplus::ERROR_LOG_LEVEL);
        ASSERT_EQ(1u, errors.size());
        EXPECT_EQ(0u, errors[0].rfind("tm unable to handle ", 0)) << errors[0];
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
    for (const std::uint16_t mask : {3, 96, 128}) // several days, or none known
    {
        ORUTIME t;
        t.weekDay = mask;
        EXPECT_EQ(LumApp::DayOfWeek::NoDay, LumApp::FromOruTime(t)->GetWeekday()) << mask;
    }
    ORUTIME invalid;
    invalid.hour = 24;
    EXPECT_FALSE(LumApp::FromOruTime(invalid));
}

TEST(HelpersDeathTest, ImpossibleCasesEndTheProcess)
{
    // The child's log lines must reach stderr, where the matcher looks.
    log4cplus::SharedAppenderPtr console(new log4cplus::ConsoleAppender(true, true));
    log4cplus::Logger logger = Lum::GetGlobalDefaultLogger();
    logger.addAppender(console);
    // In the name of the function that reached the case; the file as assertions print it.
    const std::string report = " - This statement should not be executed\\. There is a bug somewhere around ";
    EXPECT_DEATH(Lum::ToOruValue(static_cast<unsigned char>(1), ivtInteger), "result.ivt == expectedType");
    EXPECT_DEATH(LumApp::ToOruWeekday(static_cast<LumApp::DayOfWeek>(8)),
                 "FATAL - ToOruWeekday \\(TimeOfDay\\.cpp:[0-9]+\\)" + report + "TimeOfDay\\.cpp:[0-9]+");
    EXPECT_DEATH(Lum::UndefinedBehaviourIfNone(boost::optional<int>()),
                 "FATAL - UndefinedBehaviourIfNone \\(Unreachable\\.h:[0-9]+\\)" + report +
                     "Unreachable\\.h:[0-9]+");
    logger.removeAppender(console);
}

} // namespace
