// The scope timer with the clock held still where the boundary matters: this
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

namespace
{
std::atomic<bool> g_frozen{false};
} // namespace

extern "C" int clock_gettime(clockid_t clock, struct timespec* ts)
{
    using Fn = int (*)(clockid_t, struct timespec*);
    static const Fn real = []
    {
        void* symbol = dlsym(RTLD_NEXT, "clock_gettime");
        Fn fn = nullptr;
        std::memcpy(&fn, &symbol, sizeof fn);
        return fn;
    }();
    if (!g_frozen)
        return real(clock, ts);
    ts->tv_sec = 1000;
    ts->tv_nsec = 0;
    return 0;
}

namespace
{

// boost's format with 6 decimals, without its leading blank and line break.
const std::regex kLine("Decoding a KNX value took (\\d+\\.\\d{6})s wall, \\d+\\.\\d{6}s user \\+ "
                       "\\d+\\.\\d{6}s system = \\d+\\.\\d{6}s CPU \\([^)\n]*\\)");

void Measure(boost::optional<boost::timer::nanosecond_type> threshold, bool frozen)
{
    g_frozen = frozen;
    {
        Lum::MeasureDuration timer("Decoding a KNX value took ", threshold);
    }
    g_frozen = false;
}

TEST(MeasureDuration, LogsFromTheThresholdOn)
{
    LumTest::LogCapture capture;
    Measure(boost::timer::nanosecond_type(0), true); // elapsed wall time exactly equals the threshold
    auto lines = capture.Lines();
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(log4cplus::INFO_LOG_LEVEL, lines[0].level);
    std::smatch m;
    ASSERT_TRUE(std::regex_match(lines[0].text, m, kLine)) << lines[0].text;
    EXPECT_EQ("0.000000", m[1].str());

    capture.Clear();
    Measure(boost::timer::nanosecond_type(1), true);
    Measure(boost::timer::nanosecond_type(100000000), false);
    EXPECT_TRUE(capture.Lines().empty());
}

TEST(MeasureDuration, WithoutThresholdLogsDebugEveryTime)
{
    LumTest::LogCapture capture;
    Measure(boost::none, false);
    Measure(boost::none, false);
    const auto lines = capture.Lines();
    ASSERT_EQ(2u, lines.size());
    for (const auto& line : lines)
    {
        EXPECT_EQ(log4cplus::DEBUG_LOG_LEVEL, line.level);
        EXPECT_TRUE(std::regex_match(line.text, kLine)) << line.text;
    }
}

} // namespace
