#include "LogCapture.h"

#include <Platform/Logging.h>

#include <gtest/gtest.h>

#include <regex>

namespace
{

struct CountingStreamable
{
    int* count;
};

std::ostream& operator<<(std::ostream& os, const CountingStreamable& c)
{
    ++*c.count;
    return os << "counted";
}

// Logs a line while the line of its caller is being formatted.
struct LoggingStreamable
{
};

std::ostream& operator<<(std::ostream& os, const LoggingStreamable&)
{
    LUM_LOG_INFO("inner");
    return os << "outer";
}

void LogFromNamedFunction()
{
    LUM_LOG_WARN("value=" << 42);
}

} // namespace

TEST(Logging, LineIsFunctionFileLineDashMessage)
{
    LumTest::LogCapture capture;
    LogFromNamedFunction();
    const auto lines = capture.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, log4cplus::WARN_LOG_LEVEL);
    EXPECT_TRUE(std::regex_match(lines[0].line,
                                 std::regex(R"(LogFromNamedFunction \(LoggingTest\.cpp:\d+\) - value=42)")))
        << lines[0].line;
    EXPECT_EQ(lines[0].text, "value=42");
}

TEST(Logging, DisabledLevelFormatsNothing)
{
    LumTest::LogCapture capture;
    capture.SetLevel(log4cplus::INFO_LOG_LEVEL);
    int formatted = 0;
    LUM_LOG_DEBUG("never " << CountingStreamable{&formatted});
    EXPECT_EQ(formatted, 0);
    EXPECT_TRUE(capture.Lines().empty());
    LUM_LOG_INFO("always " << CountingStreamable{&formatted});
    EXPECT_EQ(formatted, 1);
    EXPECT_EQ(capture.Texts(), std::vector<std::string>{"always counted"});
}

TEST(Logging, ContextPrefixesTheLine)
{
    LumTest::LogCapture capture;
    Lum::SetLoggingContext("[app 7]");
    LUM_LOG_ERROR("x");
    Lum::SetLoggingContext("");
    LUM_LOG_ERROR("y");
    const auto lines = capture.Lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].line.rfind("[app 7] ", 0), 0u) << lines[0].line;
    EXPECT_NE(lines[1].line.rfind("[app 7]", 0), 0u) << lines[1].line;
}

TEST(Logging, NestedLineIsPaddedAndOuterLineSurvives)
{
    LumTest::LogCapture capture;
    LUM_LOG_ERROR(LoggingStreamable{});
    EXPECT_EQ(capture.Texts(), (std::vector<std::string>{"  inner", "outer"}));
}

TEST(Logging, NullTextEndsTheLineWithoutCrashing)
{
    LumTest::LogCapture capture;
    const char* nothing = nullptr;
    LUM_LOG_ERROR("before " << nothing << " after");
    EXPECT_EQ(capture.Texts(), std::vector<std::string>{"before "});
}

TEST(LoggingDeathTest, AssertionNamesExpressionAndPosition)
{
    EXPECT_DEATH(
        {
            const int answer = 41;
            LUM_ASSERT2(answer == 42);
        },
        "LUM_ASSERT2\\(answer == 42\\) failed");
}
