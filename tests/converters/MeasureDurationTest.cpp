// The scope timer, with the clock held still where the boundary matters: this
// executable's clock_gettime takes precedence over the C library's and
// forwards to it unless frozen.

#include <Lum/MeasureDuration.h>

#include <LogCapture.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <cstring>
#include <ctime>
#include <regex>
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

// "<text><seconds with 6 decimals>s wall, ..." without the blank or line break of boost's format.
const std::regex kLine("Decoding a KNX value took [0-9]+\\.[0-9]{6}s wall, [0-9]+\\.[0-9]{6}s user \\+ "
                       "[0-9]+\\.[0-9]{6}s system = [0-9]+\\.[0-9]{6}s CPU \\(.*\\)");

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
    EXPECT_TRUE(std::regex_match(info[0], kLine)) << info[0];
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
    EXPECT_TRUE(std::regex_match(info[0], kLine)) << info[0];
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
        EXPECT_TRUE(std::regex_match(line.text, kLine)) << line.text;
    }
    capture.Clear();
    capture.SetLevel(log4cplus::INFO_LOG_LEVEL);
    {
        Lum::MeasureDuration timer("Decoding a KNX value took ");
    }
    EXPECT_TRUE(capture.Lines().empty());
}

} // namespace
