// The scope timer, with the clock held still where the boundary matters: this
// executable's clock_gettime takes precedence over the C library's and
// forwards to it unless frozen.

#include <Lum/MeasureDuration.h>

#include <LogCapture.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <cctype>
#include <cstring>
#include <ctime>
#include <thread>

namespace
{
std::atomic<bool> g_frozen{false};

using ClockGetTime = int (*)(clockid_t, struct timespec*);

ClockGetTime RealClockGetTime()
{
    static const ClockGetTime real = []
    {
        void* symbol = dlsym(RTLD_NEXT, "clock_gettime");
        ClockGetTime fn = nullptr;
        std::memcpy(&fn, &symbol, sizeof fn);
        return fn;
    }();
    return real;
}
} // namespace

extern "C" int clock_gettime(clockid_t clock, struct timespec* ts)
{
    if (g_frozen.load())
    {
        ts->tv_sec = 1000;
        ts->tv_nsec = 0;
        return 0;
    }
    return RealClockGetTime()(clock, ts);
}

namespace
{

const std::string kText = "Decoding a KNX value took ";

// "<digits>.<6 digits>" at pos, followed by suffix; returns the position after it.
std::size_t Seconds(const std::string& s, std::size_t pos, const std::string& suffix)
{
    if (pos == std::string::npos)
        return pos;
    const std::size_t dot = s.find('.', pos);
    if (dot == std::string::npos || dot == pos || s.compare(dot + 7, suffix.size(), suffix) != 0)
        return std::string::npos;
    for (std::size_t i = pos; i < dot + 7; ++i)
    {
        if (i != dot && !std::isdigit(static_cast<unsigned char>(s[i])))
            return std::string::npos;
    }
    return dot + 7 + suffix.size();
}

// "<text><s>s wall, <s>s user + <s>s system = <s>s CPU (<percent>)": boost's
// format with 6 decimals, without its leading blank and trailing line break.
bool IsTimingLine(const std::string& s)
{
    if (s.compare(0, kText.size(), kText) != 0 || s.back() != ')')
        return false;
    std::size_t pos = Seconds(s, kText.size(), "s wall, ");
    pos = Seconds(s, pos, "s user + ");
    pos = Seconds(s, pos, "s system = ");
    pos = Seconds(s, pos, "s CPU (");
    return pos != std::string::npos && s.find('\n') == std::string::npos;
}

struct Frozen
{
    Frozen() { g_frozen = true; }
    ~Frozen() { g_frozen = false; }
};

TEST(MeasureDuration, WallTimeEqualToThresholdLogsAtInfo)
{
    ASSERT_NE(nullptr, RealClockGetTime());
    LumTest::LogCapture capture;
    {
        Frozen frozen; // the elapsed wall time is exactly 0
        Lum::MeasureDuration timer("Decoding a KNX value took ", boost::timer::nanosecond_type(0));
    }
    const auto info = capture.Texts(log4cplus::INFO_LOG_LEVEL);
    ASSERT_EQ(1u, info.size());
    EXPECT_TRUE(IsTimingLine(info[0])) << info[0];
    EXPECT_EQ(0u, info[0].find("Decoding a KNX value took 0.000000s wall")) << info[0];
    EXPECT_EQ(1u, capture.Lines().size());
}

TEST(MeasureDuration, BelowThresholdLogsNothing)
{
    LumTest::LogCapture capture;
    {
        Frozen frozen;
        Lum::MeasureDuration timer("Decoding a KNX value took ", boost::timer::nanosecond_type(1));
    }
    {
        Lum::MeasureDuration timer("Decoding a KNX value took ", boost::timer::nanosecond_type(100000000));
    }
    EXPECT_TRUE(capture.Lines().empty());
}

TEST(MeasureDuration, SlowScopeLogsAtInfo)
{
    LumTest::LogCapture capture;
    {
        Lum::MeasureDuration timer("Decoding a KNX value took ", boost::timer::nanosecond_type(1000000));
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const auto info = capture.Texts(log4cplus::INFO_LOG_LEVEL);
    ASSERT_EQ(1u, info.size());
    EXPECT_TRUE(IsTimingLine(info[0])) << info[0];
}

TEST(MeasureDuration, WithoutThresholdLogsDebugEveryTime)
{
    LumTest::LogCapture capture;
    for (int i = 0; i < 2; ++i)
        Lum::MeasureDuration timer("Decoding a KNX value took ");
    const auto lines = capture.Lines();
    ASSERT_EQ(2u, lines.size());
    for (const auto& line : lines)
    {
        EXPECT_EQ(log4cplus::DEBUG_LOG_LEVEL, line.level);
        EXPECT_TRUE(IsTimingLine(line.text)) << line.text;
    }
    capture.Clear();
    capture.SetLevel(log4cplus::INFO_LOG_LEVEL);
    {
        Lum::MeasureDuration timer("Decoding a KNX value took ");
    }
    EXPECT_TRUE(capture.Lines().empty());
}

} // namespace
